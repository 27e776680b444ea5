#include "bridge/SystemBridge.h"

#include "audio/capture/AudioRouterService.h"
#include "audio/equalizer/EqualizerBands.h"
#include "bridge/ApplicationInventory.h"
#include "bridge/AudioDeviceMaps.h"
#include "bridge/Guarded.h"
#include "mixer/router/AudioRouterAPI.h"
#include "platform/IconFiles.h"
#include "platform/SoundServerWatch.h"

#include <QCoreApplication>
#include <QDebug>
#include <QOperatingSystemVersion>
#include <QPointer>
#include <QStandardPaths>
#include <QSysInfo>

#include <chrono>
#include <utility>

namespace {

// New devices often come several at once: they are used together.
constexpr std::chrono::milliseconds kSoundDevicesPause(200);
// An icon that is being made ends sooner, unless the disk does not answer.
constexpr std::chrono::seconds kIconEndLimit(2);

} // namespace

SystemBridge* SystemBridge::instance() {
    static auto* const bridge = new SystemBridge;
    return bridge;
}

SystemBridge::SystemBridge(QObject* parent) : QObject(parent) {
    soundDevicesTimer.setSingleShot(true);
    soundDevicesTimer.setInterval(kSoundDevicesPause);
    connect(&soundDevicesTimer, &QTimer::timeout, this, &SystemBridge::useNewSoundDevices);
    soundDevicesWatch = watchSoundDevices([bridge = QPointer<SystemBridge>(this)] {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [bridge] {
                if (bridge) {
                    bridge->noteSoundDevices();
                }
            },
            Qt::QueuedConnection);
    });
    startRouterWhenDevicesAreKnown();
}

SystemBridge::~SystemBridge() {
    stopPowerEventMonitor();
    soundDevicesWatch.reset();
    cleanupNativeBridge();
    endCaptureService();
    AudioRouterAPI::instance().shutdownAudioRouter();
    if (!endIconWork(kIconEndLimit)) {
        qWarning() << "Icons are still being made at the end of the program";
    }
}

void SystemBridge::setSettingsReader(SettingsReader reader) {
    settingsReader = std::move(reader);
}

bool SystemBridge::isWindows() const {
    return QOperatingSystemVersion::currentType() == QOperatingSystemVersion::Windows;
}

QList<double> SystemBridge::equalizerFrequencies() {
    QList<double> frequencies;
    for (const EqualizerBand& band : kEqualizerBands) {
        frequencies.append(static_cast<double>(band.frequencyHz));
    }
    return frequencies;
}

QVariantMap SystemBridge::getSystemInfo() const {
    qDebug() << "SystemBridge::getSystemInfo() called on platform:" << getPlatform();
    return {
        {QStringLiteral("osName"), QSysInfo::prettyProductName()},
        {QStringLiteral("kernelType"), QSysInfo::kernelType()},
        {QStringLiteral("kernelVersion"), QSysInfo::kernelVersion()},
        // The key is kept, though the value is the host's name.
        {QStringLiteral("machineType"), QSysInfo::machineHostName()},
        {QStringLiteral("platform"), getPlatform()},
    };
}

QVariantMap SystemBridge::getAudioDeviceInfo() const {
    qDebug() << "SystemBridge::getAudioDeviceInfo() called on platform:" << getPlatform();
    return {};
}

void SystemBridge::showNotification(const QString&, const QString&) const {
    qDebug() << "SystemBridge::showNotification() called on platform:" << getPlatform();
}

QVariantMap SystemBridge::checkSystemPermissions() const {
    qDebug() << "SystemBridge::checkSystemPermissions() called on platform:" << getPlatform();
    return {};
}

QVariantList SystemBridge::getNetworkInterfaces() const {
    qDebug() << "SystemBridge::getNetworkInterfaces() called on platform:" << getPlatform();
    return {};
}

QVariantMap SystemBridge::getStorageInfo() const {
    qDebug() << "SystemBridge::getStorageInfo() called on platform:" << getPlatform();
    return {};
}

QVariantMap SystemBridge::getCurrentUserInfo() const {
    qDebug() << "SystemBridge::getCurrentUserInfo() called on platform:" << getPlatform();
    return {};
}

void SystemBridge::bringAppToFront() const {
    qDebug() << "SystemBridge::bringAppToFront() called on platform:" << getPlatform();
}

void SystemBridge::openSystemPreferences() const {
    qDebug() << "SystemBridge::openSystemPreferences() called on platform:" << getPlatform();
}

QString SystemBridge::getTempDirectory() const {
    if (QString folder = temporaryFolder(); !folder.isEmpty()) {
        return folder;
    }
    for (const auto location : {QStandardPaths::GenericCacheLocation, QStandardPaths::AppDataLocation}) {
        const QString folder = QStandardPaths::writableLocation(location);
        if (!folder.isEmpty()) {
            return folder;
        }
    }
    return {};
}

void SystemBridge::requestNotificationPermission() const {
    qDebug() << "SystemBridge::requestNotificationPermission() called on platform:" << getPlatform();
    qDebug() << "Windows notification permission not required";
}

QVariantList SystemBridge::getRunningApplications() const {
    return guarded("SystemBridge::getRunningApplications: Exception:", QVariantList(), [this] {
        return withInputDevices(getWindowsRunningApplicationsWithIcon(), GetDeviceList(kInputDeviceList));
    });
}

QVariantList SystemBridge::getRunningApplicationsByQt() const {
    qDebug() << "SystemBridge::getRunningApplicationsByQt() called on platform:" << getPlatform();
    return guarded("SystemBridge::getRunningApplicationsByQt: Exception:", QVariantList(), [] {
        QVariantList programs = installedProgramMaps();
        qDebug() << "getRunningApplicationsByQt: Found" << programs.size() << "applications";
        return programs;
    });
}

QString SystemBridge::iconSource(const QString& iconFilePath) const {
    return ownIconAddress(iconFilePath);
}

QString SystemBridge::getPlatform() const {
    const QString name = QOperatingSystemVersion::current().name();
    // Systems that Qt has no name for.
    return name.isEmpty() ? QSysInfo::kernelType() : name;
}
