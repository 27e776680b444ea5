#include "platform/InventorySources.h"

#include "inventory/ProgramFiles.h"
#include "platform/IconFiles.h"
#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/applications/IconHelper.h"
#include "platform/linux/applications/IconTheme.h"
#include "platform/linux/sound/PulseServer.h"
#include "platform/linux/system/ProcessInfo.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <chrono>
#include <mutex>
#include <optional>
#include <vector>

namespace {

const QString kAnyProgramIcon = QStringLiteral("application-x-executable");

// A client of the sound server names its icon as it likes. A path would have any file opened.
QString iconNameOfSession(std::uint32_t processId) {
    for (const PulsePlayback& playback : PulseServer::shared()->playbacks()) {
        if (playback.processId == processId) {
            QString name = QString::fromStdString(playback.iconName);
            return isIconName(name) ? name : QString();
        }
    }
    return {};
}

// The inventory asks for the name of one playing program after the other: what was read for the first serves
// the others, too.
QList<DesktopEntry> recentDesktopEntries() {
    constexpr std::chrono::milliseconds kKeptFor{200};
    static std::mutex mutex;
    static QList<DesktopEntry> entries;
    static std::optional<std::chrono::steady_clock::time_point> readAt;
    const std::lock_guard lock(mutex);
    const auto now = std::chrono::steady_clock::now();
    if (!readAt || now - *readAt > kKeptFor) {
        entries = readDesktopEntries();
        readAt = std::chrono::steady_clock::now();
    }
    return entries;
}

// What stands for a program: its image, or, of one in a Flatpak, its desktop entry, since images have the
// same paths in many of those.
QString pathOfProgram(std::uint32_t processId) {
    const QString application = QString::fromStdString(flatpakApplication(processId));
    if (!application.isEmpty()) {
        for (const DesktopEntry& entry : recentDesktopEntries()) {
            if (QFileInfo(entry.path).completeBaseName() == application) {
                return entry.path;
            }
        }
    }
    return QFile::decodeName(processImagePath(processId).c_str());
}

QImage runningProgramIcon(const QString& executablePath, std::uint32_t processId) {
    const QList<DesktopEntry> entries = readDesktopEntries();
    const DesktopEntry* const entry = entryOfExecutable(entries, executablePath);
    for (const QString& name : {entry != nullptr ? entry->icon : QString(), iconNameOfSession(processId),
                                fileStem(executablePath), kAnyProgramIcon}) {
        const QImage picture = name.isEmpty() ? QImage() : loadIconInHelper(name);
        if (!picture.isNull()) {
            return picture;
        }
    }
    return {};
}

// Paths of icons that were looked for in vain a short time ago: the screens ask for all icons every ten
// seconds, and a search in all themes takes its time. Any thread.
class VainSearches {
public:
    bool contain(const QString& path) {
        constexpr std::chrono::minutes kForgottenAfter{5};
        const std::lock_guard lock(mutex);
        const auto found = times.constFind(path);
        return found != times.constEnd() && Clock::now() - *found < kForgottenAfter;
    }
    void add(const QString& path) {
        const std::lock_guard lock(mutex);
        times.insert(path, Clock::now());
    }

private:
    using Clock = std::chrono::steady_clock;
    std::mutex mutex;
    QHash<QString, Clock::time_point> times;
};

VainSearches& vainSearches() {
    static auto* const searches = new VainSearches; // outlives threads that hang
    return *searches;
}

QList<AudioDeviceFacts> factsOf(const std::vector<PulseDevice>& devices) {
    QList<AudioDeviceFacts> facts;
    for (const PulseDevice& device : devices) {
        facts.append({QByteArray::fromStdString(device.name), QString::fromStdString(device.description),
                      static_cast<int>(device.channelCount), static_cast<double>(device.sampleRate)});
    }
    return facts;
}

} // namespace

QList<RawAudioSession> rawAudioSessions() {
    const std::shared_ptr<PulseServer> server = PulseServer::shared();
    if (!server->isReady()) {
        return {};
    }
    const std::vector<PulsePlayback> playbacks = server->playbacks();
    QSet<std::uint32_t> playing;
    for (const PulsePlayback& playback : playbacks) {
        if (!playback.paused) {
            playing.insert(playback.processId);
        }
    }
    const std::uint32_t own = ownProcess();
    QList<RawAudioSession> sessions;
    for (const PulsePlayback& playback : playbacks) {
        if (playback.processId == own || playback.processId == 0) {
            continue; // our own outputs, and what is nobody's
        }
        sessions.append(
            {playback.processId, QString::fromStdString(playback.applicationName),
             pathOfProgram(playback.processId), QString::fromStdString(processFileName(playback.processId)),
             playing.contains(playback.processId) ? QStringLiteral("Active") : QStringLiteral("Inactive")});
    }
    return sessions;
}

QList<AudioDeviceFacts> audioInputDevices() {
    std::vector<PulseDevice> sources = PulseServer::shared()->sources();
    std::erase_if(sources, [](const PulseDevice& source) { return !source.isInput(); });
    return factsOf(sources);
}

QList<AudioDeviceFacts> audioOutputDevices() {
    return factsOf(PulseServer::shared()->sinks());
}

QString getFileDisplayName(const QString& path) {
    const QList<DesktopEntry> entries = recentDesktopEntries();
    const DesktopEntry* const entry = entryOfExecutable(entries, path);
    return entry != nullptr ? entry->name : QString();
}

QString extractIconToFile(const QString& executablePath, std::uint32_t processId) {
    QString path = sessionIconPath(temporaryFolder(), executablePath, processId);
    if (path.isEmpty() || !prepareIconFolder(QFileInfo(path).path())) {
        return {};
    }
    // Made once: an icon stays until the folder is cleared.
    if (isIconFile(path)) {
        return path;
    }
    if (vainSearches().contain(path)) {
        return {};
    }
    const QImage picture = runningProgramIcon(executablePath, processId);
    if (picture.isNull()) {
        vainSearches().add(path);
        return {};
    }
    return writeIconFile(path, iconFileOf(picture)) ? path : QString();
}

QList<InstalledProgram> installedPrograms() {
    QList<InstalledProgram> programs;
    for (const DesktopEntry& entry : readDesktopEntries()) {
        if (entry.shown) {
            programs.append(
                {entry.name, entry.path, QFileInfo(entry.path).completeBaseName(), !entry.icon.isEmpty()});
        }
    }
    return programs;
}

std::optional<QImage> installedProgramIcon(const QString& path) {
    const std::optional<QByteArray> text = desktopEntryText(path);
    const QString icon = text ? parseDesktopEntry(*text, {}, {}).icon : QString();
    return icon.isEmpty() ? std::nullopt : std::optional(loadIconInHelper(icon));
}
