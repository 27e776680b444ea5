#pragma once

#include <QImage>

#include <string>

/// How far drawing an icon came.
enum class IconStep {
    GdiPlus, ///< GDI+ did not start
    Icon,    ///< there is no icon
    Bitmap,  ///< the icon could not be drawn
    Done
};

/// The icon of an executable, drawn by GDI+ into a square of 128 pixels: the largest of 256 to 32 pixels that
/// it has, else its first icon, else the one that the shell shows for it, else, `orAnyProgram`, the one that
/// it shows for any program. Null unless Done. Any thread.
[[nodiscard]] IconStep drawIcon(const std::wstring& executablePath, bool orAnyProgram, QImage& picture);

/// The same without that of any program; null when there is none or it cannot be drawn.
[[nodiscard]] QImage extractIcon(const std::wstring& executablePath);
