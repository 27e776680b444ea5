#pragma once

// Names, paths and icons of program files, shared by the inventories of all systems. Plain functions that use
// no service of the system but its files. Any thread.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>

class QImage;

/// "file:///" and the path with forward slashes.
[[nodiscard]] QString fileUrl(const QString& path);

/// The last part of a path, between its last separator and its last dot; either kind of separator.
[[nodiscard]] QString fileStem(const QString& path);

/// Where the icons of running programs lie in the temporary folder.
inline constexpr QLatin1StringView kSessionIconFolder("/VexoDeck/icons");

/// The folder of the icons of running programs; empty without a temporary folder.
[[nodiscard]] QString sessionIconFolder(const QString& temporaryFolder);

/// The path of a running program's icon there: the stem of its executable, "process_" and the id without one.
/// Empty without a temporary folder.
[[nodiscard]] QString sessionIconPath(const QString& temporaryFolder, const QString& executablePath,
                                      std::uint32_t processId);

/// The file name of an installed program's icon: every character but letters, digits, "_" and "-" as "_".
[[nodiscard]] QString programIconFileName(const QString& baseName);

/// Files with this suffix, in any case, in the order of the folders: those of a root, of its folders and of
/// their folders, down to `depth` levels. Of equal base names the first is kept. Programs of this vendor are
/// left out.
[[nodiscard]] QStringList programFiles(const QStringList& roots, const QString& suffix, int depth);

/// Edge lengths in pixels in which an icon is requested, best first.
inline constexpr std::array<int, 5> kIconSizes = {256, 128, 64, 48, 32};
/// Edge length of the PNG.
inline constexpr int kIconFileSize = 128;

/// The content of an icon's file: the picture as PNG, fitted into a square of kIconFileSize. Its device pixel
/// ratio is ignored.
[[nodiscard]] QByteArray iconFileOf(const QImage& picture);
