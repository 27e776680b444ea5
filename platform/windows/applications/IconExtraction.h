#pragma once

// The icons of programs. All functions here may be called by any thread.

#include "platform/windows/applications/InventorySystemCalls.h"

#include <QImage>
#include <QString>

#include <cstdint>
#include <string>

/// The step at which drawing an icon ended.
enum class IconStep {
    GdiPlus, ///< GDI+ did not start
    Icon,    ///< there is no icon
    Bitmap,  ///< the icon could not be drawn
    Done
};

/// The icon of an executable, drawn by GDI+ into a square of 128 pixels: the largest of 256 to 32 pixels that
/// it has, else its first icon, else the one that the shell shows for it, else, `orAnyProgram`, the one that
/// it shows for any program. Null unless Done.
[[nodiscard]] IconStep drawIcon(const InventorySystemCalls& calls, const std::wstring& executablePath,
                                bool orAnyProgram, QImage& picture);

/// Writes the icon as PNG, without the fallback to the generic icon. The file appears whole or not at all.
[[nodiscard]] bool writeIcon(const InventorySystemCalls& calls, const std::wstring& executablePath,
                             const std::wstring& targetPath);

/// The user's temporary folder, without a separator at its end; empty when Windows names none.
[[nodiscard]] QString temporaryFolder(const InventorySystemCalls& calls);

/// Makes a folder and the one above it, where they do not exist.
void makeIconFolder(const InventorySystemCalls& calls, const QString& folder);

/// extractIconToFile() with these calls.
[[nodiscard]] QString extractIconToFile(const InventorySystemCalls& calls, const QString& executablePath,
                                        std::uint32_t processId);
