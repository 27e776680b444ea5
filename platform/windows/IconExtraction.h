#pragma once

#include <QImage>

#include <string>

/// The icon of an executable, drawn by GDI+ into a square of 128 pixels: the largest of 256 to 32 pixels that it
/// has, else its first icon, else the one that the shell shows for it. Null when there is none or it cannot be
/// drawn. Any thread.
[[nodiscard]] QImage extractIcon(const std::wstring& executablePath);
