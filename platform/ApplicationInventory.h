#pragma once

// What runs and plays sound, and what is installed, as maps that QML stores as they are: their keys are a
// contract. Both inventories give each entry an icon as a PNG file, which may come after the list.
//
// The UI thread. Nothing fails: a missing piece is a shorter list, or an entry without an icon. Only icons
// are made elsewhere, on up to 8 threads for each list, and for installed programs on the global thread pool.

#include <QFuture>
#include <QList>
#include <QString>
#include <QVariantList>

#include <array>
#include <cstdint>
#include <functional>

class QImage;

/// One process that has sound.
struct AudioSessionInfo {
    std::uint32_t processId = 0;
    QString name;           ///< of the session, else of the image, else of the process, else "(unknown)"
    QString executablePath; ///< empty when it may not be read
    QString state;          ///< "Active", "Inactive", "Expired" or "Unknown"
    QString iconPath;       ///< of the PNG, which may come later; empty without an executable
};

using IconReady = std::function<void(std::uint32_t processId, const QString& path)>;
using AllIconsReady = std::function<void()>;

/// The processes that have sound, each once. Starts making their icons and returns; the callbacks come on
/// other threads.
[[nodiscard]] QList<AudioSessionInfo> getAudioSessions(const IconReady& onIconReady,
                                                       const AllIconsReady& onAllIconsReady);

/// The programs that have sound, without this one: "processIdentifier", "bundleIdentifier", "iconFilePath",
/// "name", "type" ("app"), "isActive".
[[nodiscard]] QVariantList getWindowsRunningApplicationsWithIcon();

/// `applications` behind the input devices of a device list, whose maps get "bundleIdentifier" and
/// "processIdentifier", both the device's name. The program's own virtual devices ("VEXO" in the name) are
/// left out.
[[nodiscard]] QVariantList withInputDevices(QVariantList applications, const QVariantList& inputDevices);

/// The system's browser, then the installed programs: "name", "executablePath", "bundlePath", and
/// "iconFilePath" where an icon may come.
[[nodiscard]] QVariantList installedProgramMaps();

/// Makes the PNG of an installed program on the global thread pool, unless it is there. The future ends with
/// that, and may be dropped.
[[nodiscard]] QFuture<void> generateIconAsync(const QString& exePath, const QString& iconPath,
                                              const QString& name);

/// Makes the PNG of a running program, unless it is there; its path, or empty. Any thread.
QString extractIconToFile(const QString& executablePath, std::uint32_t processId);

// ---- shared steps, plain functions

/// A session as the system tells it.
struct RawAudioSession {
    std::uint32_t processId = 0;
    QString displayName;
    QString executablePath;
    QString processFileName;
    QString state;
};

/// One record for each process, in the order of the sessions: names and icon paths made up.
[[nodiscard]] QList<AudioSessionInfo> audioSessionsFrom(const QList<RawAudioSession>& sessions);

/// The maps of getWindowsRunningApplicationsWithIcon(). `displayName` gives a program's own name by its path.
[[nodiscard]] QVariantList applicationMaps(const QList<AudioSessionInfo>& sessions,
                                           const std::function<QString(const QString& path)>& displayName);

/// "file:///" and the path with forward slashes.
[[nodiscard]] QString fileUrl(const QString& path);

/// The last part of a path, between its last separator and its last dot; either kind of separator.
[[nodiscard]] QString fileStem(const QString& path);

/// Where the icon of a running program lies: the stem of its executable, "process_" and the id without one.
/// Empty without a temporary folder.
[[nodiscard]] QString sessionIconPath(const QString& temporaryFolder, const QString& executablePath,
                                      std::uint32_t processId);

/// The file name of an installed program's icon: every character but letters, digits, "_" and "-" as "_".
[[nodiscard]] QString programIconFileName(const QString& baseName);

/// Files with this suffix, in any case, in the order of the folders: those of a root, of its folders and of
/// their folders, down to `depth` levels. Of two files with one base name the first counts; the maker's own
/// programs do not.
[[nodiscard]] QStringList programFiles(const QStringList& roots, const QString& suffix, int depth);

/// Edge lengths in pixels in which an icon is asked for, best first.
inline constexpr std::array<int, 5> kIconSizes = {256, 128, 64, 48, 32};
/// Edge length of the PNG.
inline constexpr int kIconFileSize = 128;

/// Writes the picture, fitted into a square of kIconFileSize, as PNG; false when it cannot be written. The
/// picture's device pixel ratio is of no account.
[[nodiscard]] bool saveIcon(const QImage& picture, const QString& path);
