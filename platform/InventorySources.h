#pragma once

// What the inventories ask of the operating system.

#include "platform/ApplicationInventory.h"

#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

/// The sessions of the sound system, in its order; empty without one. Waits for nothing. The UI thread.
[[nodiscard]] QList<RawAudioSession> rawAudioSessions();

/// The name that a program gives itself, in the user's language; empty when it has none.
[[nodiscard]] QString getFileDisplayName(const QString& path);

/// The icon of a running program; null when there is none. Any thread.
[[nodiscard]] QImage runningProgramIcon(const QString& executablePath, std::uint32_t processId);

/// One installed program.
struct InstalledProgram {
    QString name;     ///< for people
    QString path;     ///< absolute, what starts it
    QString baseName; ///< of its file
    bool hasIcon = false;
};

/// What is installed and offered to users, in the order of the folders. The UI thread.
[[nodiscard]] QList<InstalledProgram> installedPrograms();

/// The icon of an installed program: nothing when it has none, null when that cannot be read. Any thread.
[[nodiscard]] std::optional<QImage> installedProgramIcon(const QString& path);

/// Makes a folder for this user alone, with those above it; false when somebody else's is in its place.
[[nodiscard]] bool makePrivateFolder(const QString& path);
