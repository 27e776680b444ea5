#pragma once

// What the inventories ask of the operating system.

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

/// One session of the sound system, as read.
struct RawAudioSession {
    std::uint32_t processId = 0;
    QString displayName;
    QString executablePath;
    QString processFileName;
    QString state;
};

/// The sessions of the sound system, in its order; empty without one. Waits for nothing. The UI thread.
[[nodiscard]] QList<RawAudioSession> rawAudioSessions();

/// One audio device in one direction, from the system's device list.
struct AudioDeviceFacts {
    QByteArray id;
    QString description;
    int maxChannels = 0;
    double preferredSampleRate = 0.0; ///< Hz; 0 or less: none
};

/// The inputs and the outputs of the system. Empty where it has none, or no sound system; on Linux waits for
/// nothing. The UI thread.
[[nodiscard]] QList<AudioDeviceFacts> audioInputDevices();
[[nodiscard]] QList<AudioDeviceFacts> audioOutputDevices();

/// Makes the PNG of a running program, unless it is there; its path, or empty. Any thread.
QString extractIconToFile(const QString& executablePath, std::uint32_t processId);

/// The name that a program gives itself, in the user's language; empty when it has none.
[[nodiscard]] QString getFileDisplayName(const QString& path);

/// One installed program.
struct InstalledProgram {
    QString name;     ///< for people
    QString path;     ///< absolute, what starts it
    QString baseName; ///< of its file
    bool hasIcon = false;
};

/// What is installed and offered to users, in the order of the folders. The UI thread.
[[nodiscard]] QList<InstalledProgram> installedPrograms();

/// The icon of an installed program, in pixels (device pixel ratio 1): nothing when it has none, null when
/// that cannot be read. Any thread.
[[nodiscard]] std::optional<QImage> installedProgramIcon(const QString& path);
