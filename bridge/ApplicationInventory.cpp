#include "bridge/ApplicationInventory.h"

#include "inventory/ProgramFiles.h"
#include "platform/IconFiles.h"
#include "platform/IconHelper.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QImage>
#include <QPromise>
#include <QSet>
#include <QStandardPaths>
#include <QThreadPool>
#include <QUrl>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr qsizetype kIconThreads = 8;

std::atomic<bool> iconWorkEnds{false};

// The coordinating threads, one for each list. Never destroyed: that would wait for them without a limit.
QThreadPool& coordinators() {
    static auto* const pool = new QThreadPool;
    return *pool;
}

// Makes the icons on threads of their own, a chunk of the sessions on each, and waits for them.
void extractIcons(const QList<AudioSessionInfo>& sessions, const IconReady& onIconReady) {
    const qsizetype threadCount = std::min(sessions.size(), kIconThreads);
    if (threadCount == 0) {
        return;
    }
    const qsizetype chunkSize = (sessions.size() + threadCount - 1) / threadCount;
    std::vector<std::jthread> threads;
    for (qsizetype first = 0; first < sessions.size(); first += chunkSize) {
        threads.emplace_back([chunk = sessions.mid(first, chunkSize), &onIconReady] {
            for (const AudioSessionInfo& session : chunk) {
                if (iconWorkEnds) {
                    return;
                }
                onIconReady(session.processId, extractIconToFile(session.executablePath, session.processId));
            }
        });
    }
}

void startIconExtraction(const QList<AudioSessionInfo>& sessions, const IconReady& onIconReady,
                         const AllIconsReady& onAllIconsReady) {
    coordinators().start([sessions, onIconReady, onAllIconsReady, helper = holdIconHelper()] {
        extractIcons(sessions, onIconReady);
        if (!iconWorkEnds) {
            onAllIconsReady();
        }
    });
}

bool isOwnProgram(const QString& name) {
    return name == QLatin1String("VEXO") || name == QLatin1String("Vexo Deck") ||
           name.contains(QLatin1String("VexoDeck"));
}

void generateIcon(const QString& exePath, const QString& iconPath, const QString& name) {
    if (iconWorkEnds || isIconFile(iconPath)) {
        return;
    }
    const std::optional<QImage> picture = installedProgramIcon(exePath);
    if (!picture) {
        return;
    }
    if (iconWorkEnds) {
        return;
    }
    if (picture->isNull()) {
        qWarning() << "未能生成图标:" << name;
        return;
    }
    static_cast<void>(writeIconFile(iconPath, iconFileOf(*picture)));
}

QString programIconFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QStringLiteral("/app_icons");
}

} // namespace

// ---- programs that play sound

QList<AudioSessionInfo> audioSessionsFrom(const QList<RawAudioSession>& sessions) {
    QList<AudioSessionInfo> result;
    QSet<std::uint32_t> seen;
    for (const RawAudioSession& session : sessions) {
        // 0 is the system's own sounds.
        if (session.processId == 0 || seen.contains(session.processId)) {
            continue;
        }
        seen.insert(session.processId);
        AudioSessionInfo info;
        info.processId = session.processId;
        info.executablePath = session.executablePath;
        info.name = session.displayName;
        if (info.name.isEmpty()) {
            info.name = fileStem(session.executablePath);
        }
        if (info.name.isEmpty()) {
            info.name = fileStem(session.processFileName);
        }
        if (info.name.isEmpty()) {
            info.name = QStringLiteral("(unknown)");
        }
        info.state = session.state;
        if (!info.executablePath.isEmpty()) {
            info.iconPath = sessionIconPath(temporaryFolder(), info.executablePath, info.processId);
        }
        result.append(info);
    }
    return result;
}

QList<AudioSessionInfo> getAudioSessions(const IconReady& onIconReady, const AllIconsReady& onAllIconsReady) {
    QList<AudioSessionInfo> sessions = audioSessionsFrom(rawAudioSessions());
    startIconExtraction(sessions, onIconReady, onAllIconsReady);
    return sessions;
}

QVariantList applicationMaps(const QList<AudioSessionInfo>& sessions,
                             const std::function<QString(const QString& path)>& displayName) {
    QVariantList maps;
    for (const AudioSessionInfo& session : sessions) {
        if (isOwnProgram(session.name)) {
            continue;
        }
        const QString ownName = displayName(session.executablePath);
        // Of another user's process the path is not told: its name tells it apart from others of this kind.
        const QString& program = session.executablePath.isEmpty() ? session.name : session.executablePath;
        maps.append(QVariantMap{
            {QStringLiteral("processIdentifier"), QString::number(session.processId)},
            {QStringLiteral("bundleIdentifier"), fileUrl(program)},
            {QStringLiteral("iconFilePath"),
             session.iconPath.isEmpty() ? QString() : fileUrl(session.iconPath)},
            {QStringLiteral("name"), ownName.isEmpty() ? session.name : ownName},
            {QStringLiteral("type"), QStringLiteral("app")},
            {QStringLiteral("isActive"), session.state == QLatin1String("Active")},
        });
    }
    return maps;
}

QVariantList getWindowsRunningApplicationsWithIcon() {
    const QList<AudioSessionInfo> sessions = getAudioSessions(
        [](std::uint32_t processId, const QString& path) {
            qDebug().noquote().nospace() << "Icon extracted for process " << processId << " to " << path;
        },
        [] { qDebug() << "All icons extracted"; });
    return applicationMaps(sessions, getFileDisplayName);
}

QVariantList withInputDevices(QVariantList applications, const QVariantList& inputDevices) {
    for (qsizetype at = inputDevices.size(); at-- > 0;) {
        QVariantMap device = inputDevices.at(at).toMap();
        const QString name = device.value(QStringLiteral("name")).toString();
        if (name.contains(QLatin1String("VEXO"))) {
            continue;
        }
        device.insert(QStringLiteral("bundleIdentifier"), name);
        device.insert(QStringLiteral("processIdentifier"), name);
        applications.prepend(device);
    }
    return applications;
}

// ---- installed programs

QVariantList installedProgramMaps() {
    // What the user picks for the default browser.
    QVariantList maps{QVariantMap{
        {QStringLiteral("name"), QStringLiteral("系统浏览器")},
        {QStringLiteral("bundlePath"), QString()},
        {QStringLiteral("executablePath"), QString()},
        {QStringLiteral("isSystemBrowser"), true},
    }};
    const QString iconFolder = programIconFolder();
    const bool iconsCanBeKept = prepareIconFolder(iconFolder);
    for (const InstalledProgram& program : installedPrograms()) {
        QVariantMap map{
            {QStringLiteral("name"), program.name},
            {QStringLiteral("executablePath"), program.path},
            {QStringLiteral("bundlePath"), fileUrl(program.path)},
        };
        if (iconsCanBeKept && program.hasIcon) {
            const QString iconPath = iconFolder + QLatin1Char('/') + programIconFileName(program.baseName);
            map.insert(QStringLiteral("iconFilePath"), fileUrl(iconPath));
            static_cast<void>(generateIconAsync(program.path, iconPath, program.name));
        }
        maps.append(map);
    }
    return maps;
}

QFuture<void> generateIconAsync(const QString& exePath, const QString& iconPath, const QString& name) {
    const auto promise = std::make_shared<QPromise<void>>();
    promise->start();
    QThreadPool::globalInstance()->start([promise, exePath, iconPath, name, helper = holdIconHelper()] {
        generateIcon(exePath, iconPath, name);
        promise->finish();
    });
    return promise->future();
}

// ---- icons

QString ownIconAddress(const QString& iconFilePath) {
    const qsizetype slash = iconFilePath.lastIndexOf(QLatin1Char('/'));
    const QString folderAddress = iconFilePath.left(slash);
    const QString name = iconFilePath.mid(slash + 1);
    QString folder;
    if (folderAddress == fileUrl(programIconFolder())) {
        folder = programIconFolder();
    } else if (folderAddress.startsWith(QLatin1String("file:///")) &&
               folderAddress.endsWith(kSessionIconFolder)) {
        // Entries that were stored when the folder lay elsewhere name the same icons.
        folder = sessionIconFolder(temporaryFolder());
    }
    const QString path = folder + QLatin1Char('/') + name;
    const bool isOwn = !folder.isEmpty() && !name.contains(QLatin1Char('\\')) && isIconFile(path);
    return isOwn ? QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded) : QString();
}

bool endIconWork(std::chrono::milliseconds limit) {
    iconWorkEnds = true;
    giveUpIcons(true);
    const QDeadlineTimer deadline(limit);
    const bool ended =
        coordinators().waitForDone(deadline) && QThreadPool::globalInstance()->waitForDone(deadline);
    if (ended) {
        giveUpIcons(false);
        iconWorkEnds = false;
    }
    return ended;
}
