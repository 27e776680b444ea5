#pragma once

// The programs that play sound and the programs that are installed, as maps. QML stores these as they are:
// their keys are a contract. Each entry has the path of an icon, a PNG file that may be written after the
// list is returned.
//
// The UI thread. Nothing fails: what cannot be read makes the list shorter or leaves an entry without an
// icon. Only the icons are made on other threads: for programs that play sound on up to 8 threads for each
// list, for installed programs on the global thread pool. endIconWork() ends these threads.

#include "platform/InventorySources.h"

#include <QFuture>
#include <QList>
#include <QString>
#include <QVariantList>

#include <chrono>
#include <cstdint>
#include <functional>

/// One process that has sound.
struct AudioSessionInfo {
    std::uint32_t processId = 0;
    QString name;           ///< of the session, else of the image, else of the process, else "(unknown)"
    QString executablePath; ///< empty when it may not be read
    QString state;          ///< "Active", "Inactive", "Expired" or "Unknown"
    QString iconPath;       ///< of the PNG, which may be written later; empty without an executable
};

using IconReady = std::function<void(std::uint32_t processId, const QString& path)>;
using AllIconsReady = std::function<void()>;

/// The processes that have sound, each once. Starts making their icons and returns; the callbacks are called
/// on other threads.
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
/// "iconFilePath" where an icon may be written.
[[nodiscard]] QVariantList installedProgramMaps();

/// Makes the PNG of an installed program on the global thread pool, unless the file exists. The future ends
/// with the work and may be ignored.
[[nodiscard]] QFuture<void> generateIconAsync(const QString& exePath, const QString& iconPath,
                                              const QString& name);

/// The address of an icon that an entry names ("iconFilePath"), for an image. Empty while the file is not
/// there, and for any file but the icons that the inventories make: stored entries may name anything. One
/// that names an icon in another "VexoDeck/icons" gets that of the same name in today's.
[[nodiscard]] QString ownIconAddress(const QString& iconFilePath);

/// Leaves out the icons that are still to be made, gives up those that are being made, and waits for the
/// threads, `limit` at most; false when one of them still runs then. If all have ended, later lists get icons
/// again.
bool endIconWork(std::chrono::milliseconds limit);

// ---- steps, plain functions

/// One record for each process, in the order of the sessions: names and icon paths made up.
[[nodiscard]] QList<AudioSessionInfo> audioSessionsFrom(const QList<RawAudioSession>& sessions);

/// The maps of getWindowsRunningApplicationsWithIcon(). `displayName` returns a program's own name by its
/// path.
[[nodiscard]] QVariantList applicationMaps(const QList<AudioSessionInfo>& sessions,
                                           const std::function<QString(const QString& path)>& displayName);
