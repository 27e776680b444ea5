#include "platform/InventorySources.h"

#include "inventory/ProgramFiles.h"
#include "platform/windows/applications/AudioSessions.h"
#include "platform/windows/applications/VersionName.h"

#include <QAudioDevice>
#include <QDir>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QMediaDevices>
#include <QPixmap>

namespace {

// Levels of folders that are searched for programs, the root among them.
constexpr int kProgramDepth = 3;

QList<AudioDeviceFacts> factsOf(const QList<QAudioDevice>& devices) {
    QList<AudioDeviceFacts> facts;
    facts.reserve(devices.size());
    for (const QAudioDevice& device : devices) {
        facts.append({device.id(), device.description(), device.maximumChannelCount(),
                      static_cast<double>(device.preferredFormat().sampleRate())});
    }
    return facts;
}

} // namespace

QList<RawAudioSession> rawAudioSessions() {
    return audioSessions(windowsAudioSystemCalls(), windowsInventorySystemCalls());
}

QList<AudioDeviceFacts> audioInputDevices() {
    return factsOf(QMediaDevices::audioInputs());
}

QList<AudioDeviceFacts> audioOutputDevices() {
    return factsOf(QMediaDevices::audioOutputs());
}

QString getFileDisplayName(const QString& path) {
    return QString::fromStdWString(versionDisplayName(windowsInventorySystemCalls(), path.toStdWString()));
}

QList<InstalledProgram> installedPrograms() {
    const QStringList roots{QStringLiteral("C:\\Program Files"), QStringLiteral("C:\\Program Files (x86)"),
                            QDir::homePath() +
                                QStringLiteral("/AppData/Roaming/Microsoft/Windows/Start Menu/Programs")};
    QList<InstalledProgram> programs;
    for (const QString& path : programFiles(roots, QStringLiteral("exe"), kProgramDepth)) {
        const QString name = QFileInfo(path).completeBaseName();
        programs.append({name, path, name, true});
    }
    return programs;
}

std::optional<QImage> installedProgramIcon(const QString& path) {
    const QIcon icon = QFileIconProvider().icon(QFileInfo(path));
    if (icon.isNull()) {
        return std::nullopt;
    }
    // In pixels: what a file holds does not hang on the display's scaling.
    return icon.pixmap(QSize(kIconFileSize, kIconFileSize), 1.0).toImage();
}
