#include "bridge/SystemBridge.h"

#include "audio/capture/AudioRouterService.h"
#include "audio/equalizer/FBiquadChain.h"
#include "bridge/ApplicationInventory.h"
#include "bridge/AudioDeviceMaps.h"
#include "bridge/SampleRateProbe.h"
#include "device/HIDHotplugManager.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/router/AudioRouterAPI.h"
#include "platform/SoundLibraries.h"
#include "platform/SoundServerWatch.h"

#include <QAudioDevice>
#include <QDebug>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMediaDevices>
#include <QOperatingSystemVersion>
#include <QPermissions>
#include <QPointer>
#include <QStandardPaths>
#include <QSysInfo>
#include <QWindow>

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kSoundDevicesPause(200);

// Tells the plain function that the service calls for each block which bridge to forward to.
std::atomic<SystemBridge*> blockReceiver{nullptr};

void forwardBlock(float* block, std::int32_t channels, std::int32_t frames, double rate) {
    if (SystemBridge* const bridge = blockReceiver) {
        bridge->processBlock(block, channels, frames, rate);
    }
}

// Runs an operation; an exception is logged under `message`, and `fallback` is the result.
template <typename Result, typename Operation>
Result guarded(const char* message, Result fallback, const Operation& operation) {
    try {
        return operation();
    } catch (const std::exception& exception) {
        qCritical() << message << exception.what();
        return fallback;
    }
}

// The same for an operation without a result.
template <typename Operation>
void guarded(const char* message, const Operation& operation) {
    static_cast<void>(guarded(message, false, [&operation] {
        operation();
        return true;
    }));
}

QList<AudioDeviceFacts> factsOf(const QList<QAudioDevice>& devices) {
    QList<AudioDeviceFacts> facts;
    facts.reserve(devices.size());
    for (const QAudioDevice& device : devices) {
        facts.append({device.id(), device.description(), device.maximumChannelCount(),
                      static_cast<double>(device.preferredFormat().sampleRate())});
    }
    return facts;
}

// One frame after the other, for a block whose channels are not the chain's: channels that the chain does not
// have pass as they are.
void filterByFrames(FBiquadChain& chain, float* block, std::int32_t channels, std::int32_t frames) {
    const std::int32_t shared = std::min(channels, chain.channelCount());
    if (shared < 1 || chain.channelCount() > FBiquadChain::kMaxChannels) {
        return;
    }
    std::array<float, FBiquadChain::kMaxChannels> frame{};
    for (std::int32_t at = 0; at < frames; ++at) {
        float* const samples = block + static_cast<std::ptrdiff_t>(at) * channels;
        frame.fill(0.0f);
        std::copy_n(samples, shared, frame.begin());
        chain.process(frame.data(), frame.data());
        std::copy_n(frame.begin(), shared, samples);
    }
    chain.clearNonFinite();
}

} // namespace

SystemBridge* SystemBridge::instance() {
    static auto* const bridge = new SystemBridge;
    return bridge;
}

SystemBridge::SystemBridge(QObject* parent) : QObject(parent) {
    startRouter();
    // What comes together is used together.
    soundDevicesTimer.setSingleShot(true);
    soundDevicesTimer.setInterval(kSoundDevicesPause);
    connect(&soundDevicesTimer, &QTimer::timeout, this, &SystemBridge::useNewSoundDevices);
    soundDevicesWatch = watchSoundDevices([bridge = QPointer<SystemBridge>(this)] {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [bridge] {
                if (bridge && !bridge->soundDevicesTimer.isActive()) {
                    bridge->soundDevicesTimer.start();
                }
            },
            Qt::QueuedConnection);
    });
}

void SystemBridge::startRouter() {
    AudioRouterAPI& router = AudioRouterAPI::instance();
    router.initAudioRouter();
    // A report that is under way when the bridge goes finds nobody.
    router.setLevelCallback([bridge = QPointer<SystemBridge>(this)](const QVariantList& levels) {
        if (bridge) {
            emit bridge->audioInputLevelChanged(levels);
        }
    });
}

void SystemBridge::restartRouter() {
    AudioRouterAPI::instance().shutdownAudioRouter();
    startRouter();
    AudioRouterAPI::instance().setAudioConfig(lastConfigs);
}

// A router that was started without a sound server, or before the server had its outputs, has no output;
// inputs that were not there, or went with the server, stay configured. The outputs play on; the search for a
// missing input opens the others anew, which are silent for a moment then.
void SystemBridge::useNewSoundDevices() {
    guarded("SystemBridge::useNewSoundDevices: Exception:", [this] {
        if (AudioRouterAPI::instance().isSoloWorthARestart()) {
            restartRouter();
        }
        if (audioRouterService && audioRouterService->HasMissingInput()) {
            static_cast<void>(audioRouterService->RefreshDevices());
        }
    });
}

SystemBridge::~SystemBridge() {
    soundDevicesWatch.reset();
    cleanupNativeBridge();
    if (audioRouterService) {
        audioRouterService->Stop();
        audioRouterService.reset();
        SystemBridge* expected = this;
        blockReceiver.compare_exchange_strong(expected, nullptr);
    }
    filterChain.reset();
    AudioRouterAPI::instance().shutdownAudioRouter();
}

void SystemBridge::setSettingsReader(SettingsReader reader) {
    settingsReader = std::move(reader);
}

bool SystemBridge::isWindows() const {
    return QOperatingSystemVersion::currentType() == QOperatingSystemVersion::Windows;
}

// ---- system

QVariantMap SystemBridge::getSystemInfo() const {
    qDebug() << "SystemBridge::getSystemInfo() called on platform:" << getPlatform();
    return {
        {QStringLiteral("osName"), QSysInfo::prettyProductName()},
        {QStringLiteral("kernelType"), QSysInfo::kernelType()},
        {QStringLiteral("kernelVersion"), QSysInfo::kernelVersion()},
        // Named so, and holds the host's name.
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
    for (const auto location : {QStandardPaths::TempLocation, QStandardPaths::GenericCacheLocation,
                                QStandardPaths::AppDataLocation}) {
        const QString folder = QStandardPaths::writableLocation(location);
        if (!folder.isEmpty()) {
            return folder;
        }
    }
    return {};
}

// The device goes first, while the event loop still runs, then the audio, and the windows last.
void SystemBridge::quitApplication() {
    qDebug() << "SystemBridge::quitApplication 正在退出应用程序";
    if (HIDHotplugManager* const manager = HIDHotplugManager::instance()) {
        manager->stopAndDisconnectDevice();
    }
    if (audioRouterService) {
        // The windows close and the program ends, whatever the audio does.
        guarded("SystemBridge::quitApplication: Exception:", [this] { audioRouterService->Stop(); });
    }
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr) {
        for (QWindow* const window : QGuiApplication::allWindows()) {
            window->close();
        }
    }
    QCoreApplication::exit(0);
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

QString SystemBridge::getPlatform() const {
    const QString name = QOperatingSystemVersion::current().name();
    // Systems that Qt has no name for.
    return name.isEmpty() ? QSysInfo::kernelType() : name;
}

// ---- audio

void SystemBridge::setAudioConfig(const QVariantList& configs) {
    qDebug() << "SystemBridge::setAudioConfig() called with" << configs.size() << "configs";
    guarded("SystemBridge::setAudioConfig: Exception:", [&] {
        lastConfigs = configs;
        AudioRouterAPI::instance().setAudioConfig(configs);
    });
}

Qt::PermissionStatus SystemBridge::microphonePermission() const {
    return qApp->checkPermission(QMicrophonePermission());
}

void SystemBridge::requestMicrophonePermission(const std::function<void()>& continuation) {
    qApp->requestPermission(QMicrophonePermission(), this,
                            [continuation](const QPermission&) { continuation(); });
}

void SystemBridge::initializeMonitorDevice() {
    guarded("SystemBridge::initializeMonitorDevice: Exception:", [this] {
        switch (microphonePermission()) {
        case Qt::PermissionStatus::Undetermined:
            requestMicrophonePermission([this] { initializeMonitorDevice(); });
            return;
        case Qt::PermissionStatus::Denied:
            qWarning() << "Microphone permission is not granted!";
            return;
        case Qt::PermissionStatus::Granted:
            qWarning() << "PermissionStatus::Granted ";
            break;
        }
        qDebug() << "SystemBridge::initializeMonitorDevice() - Initializing" << getPlatform() << "bridge";
        initializeNativeBridge();
    });
}

void SystemBridge::initializeNativeBridge() {
    if (audioRouterService) {
        return;
    }
    prepareSoundLibraries();
    audioRouterService = std::make_unique<AudioRouterService>(PerAppInputBuffers::instance());
    blockReceiver = this;
    audioRouterService->SetAudioCallback(forwardBlock);
    static_cast<void>(Start());
}

void SystemBridge::cleanupNativeBridge() const {
    qDebug() << "SystemBridge::cleanupNativeBridge() - Cleaning up" << getPlatform() << "bridge";
}

bool SystemBridge::Start() {
    return guarded("SystemBridge::Start: Exception:", false, [this] {
        if (!audioRouterService) {
            initializeNativeBridge();
        }
        if (!audioRouterService) {
            qWarning() << "SystemBridge::Start: AudioRouterService not initialized";
            return false;
        }
        AudioRouterConfig config;
        config.sampleRate = defaultSampleRate;
        const bool started = audioRouterService->Start(config);
        if (started) {
            qDebug() << "SystemBridge::Start: Audio router service started successfully";
        } else {
            qWarning() << "SystemBridge::Start: Failed to start audio router service";
        }
        return started;
    });
}

void SystemBridge::Stop() {
    if (!audioRouterService) {
        qWarning() << "SystemBridge::Stop: AudioRouterService not initialized";
        return;
    }
    guarded("SystemBridge::Stop: Exception:", [this] {
        audioRouterService->Stop();
        qDebug() << "SystemBridge::Stop: Audio router service stopped";
    });
}

bool SystemBridge::Restart() {
    if (!audioRouterService) {
        qWarning() << "SystemBridge::Restart: AudioRouterService not initialized";
        return false;
    }
    return guarded("SystemBridge::Restart: Exception:", false, [this] {
        const bool restarted = audioRouterService->Restart();
        if (restarted) {
            qDebug() << "SystemBridge::Restart: Audio router service restarted successfully";
        } else {
            qWarning() << "SystemBridge::Restart: Failed to restart audio router service";
        }
        return restarted;
    });
}

bool SystemBridge::IsRunning() const {
    return guarded("SystemBridge::IsRunning: Exception:", false,
                   [this] { return audioRouterService && audioRouterService->IsRunning(); });
}

bool SystemBridge::SetSampleRate(double sampleRate) {
    if (!audioRouterService) {
        qWarning() << "SystemBridge::SetSampleRate: AudioRouterService not initialized";
        return false;
    }
    return guarded("SystemBridge::SetSampleRate: Exception:", false, [&] {
        const bool accepted = audioRouterService->SetSampleRate(sampleRate);
        if (accepted) {
            qDebug() << "SystemBridge::SetSampleRate: Sample rate set to" << sampleRate;
        } else {
            qWarning() << "SystemBridge::SetSampleRate: Failed to set sample rate to" << sampleRate;
        }
        return accepted;
    });
}

double SystemBridge::GetSampleRate() const {
    if (!audioRouterService) {
        qWarning() << "SystemBridge::GetSampleRate: AudioRouterService not initialized";
        return 0.0;
    }
    return guarded("SystemBridge::GetSampleRate: Exception:", 0.0,
                   [this] { return audioRouterService->GetSampleRate(); });
}

bool SystemBridge::AddInputDevice(const QString& deviceName, int index) {
    if (!audioRouterService) {
        qWarning() << "SystemBridge::AddInputDevice: AudioRouterService not initialized";
        return false;
    }
    return guarded("SystemBridge::AddInputDevice: Exception:", false, [&] {
        const bool added = audioRouterService->AddInputDevice(deviceName.toStdString(), 0, index);
        if (added) {
            // The number is the index, whatever the word behind it says. Kept so.
            qDebug() << "SystemBridge::AddInputDevice: Added device" << deviceName << "with" << index
                     << "channels";
        } else {
            qWarning() << "SystemBridge::AddInputDevice: Failed to add device" << deviceName;
        }
        return added;
    });
}

bool SystemBridge::RemoveInputDevice(const QString& deviceName) {
    if (!audioRouterService) {
        qWarning() << "SystemBridge::RemoveInputDevice: AudioRouterService not initialized";
        return false;
    }
    return guarded("SystemBridge::RemoveInputDevice: Exception:", false, [&] {
        const bool removed = audioRouterService->RemoveInputDevice(deviceName.toStdString());
        if (removed) {
            qDebug() << "SystemBridge::RemoveInputDevice: Removed device" << deviceName;
        } else {
            qWarning() << "SystemBridge::RemoveInputDevice: Device not found:" << deviceName;
        }
        return removed;
    });
}

QVariantList SystemBridge::GetInputDevices() const {
    if (!audioRouterService) {
        qWarning() << "SystemBridge::GetInputDevices: AudioRouterService not initialized";
        return {};
    }
    return guarded("SystemBridge::GetInputDevices: Exception:", QVariantList(), [this] {
        QVariantList maps;
        for (const InputDeviceRequest& input : audioRouterService->GetInputDevices()) {
            maps.append(QVariantMap{{QStringLiteral("name"), QString::fromStdString(input.name)},
                                    {QStringLiteral("requestedChannels"), input.channels}});
        }
        return maps;
    });
}

QVariantList SystemBridge::GetDeviceList(int type) const {
    QVariantList devices; // an exception leaves what has been gathered
    guarded("SystemBridge::GetDeviceList: Exception:", [&] {
        const QList<QAudioDevice> inputs = QMediaDevices::audioInputs();
        const QList<QAudioDevice> outputs = QMediaDevices::audioOutputs();
        if (!inputs.isEmpty() || !outputs.isEmpty()) {
            appendAudioDeviceMaps(devices, factsOf(inputs), factsOf(outputs), type);
            return;
        }
        if (!audioRouterService) {
            return;
        }
        const std::vector<AudioDeviceEntry> entries = audioRouterService->GetDeviceList(type);
        qDebug() << "SystemBridge::GetDeviceList: Found" << entries.size()
                 << "devices using audio_router_api";
        appendAudioDeviceMaps(devices, entries);
    });
    return devices;
}

void SystemBridge::updateMonitorDevice() {
    if (!audioRouterService) {
        qDebug() << "SystemBridge::updateMonitorDevice: AudioRouterService not initialized";
        return;
    }
    guarded("SystemBridge::updateMonitorDevice: Exception:", [this] { readEqualizerSettings(); });
}

void SystemBridge::readEqualizerSettings() {
    const auto stored = [this](const char* key) {
        return settingsReader ? settingsReader(QString::fromLatin1(key)) : QVariant();
    };
    const bool enabled = stored("device_equalizer").toBool();
    if (!enabled) {
        equalizerEnabled = false;
        for (std::atomic<float>& gain : equalizerGains) {
            gain = 0.0f;
        }
        return;
    }
    equalizerEnabled = true;
    const QByteArray text = stored("device_equalizer_current").toString().toUtf8();
    const QJsonObject preset = QJsonDocument::fromJson(text).object();
    if (preset.isEmpty()) {
        return;
    }
    const QJsonArray values = preset.value(QLatin1String("value")).toArray();
    if (values.size() != static_cast<qsizetype>(kEqualizerBandCount)) {
        qCritical() << "SystemBridge::updateMonitorDevice: Equalizer config array size is not 12, got"
                    << values.size();
        return;
    }
    for (std::size_t band = 0; band < kEqualizerBandCount; ++band) {
        equalizerGains[band] = static_cast<float>(values.at(static_cast<qsizetype>(band)).toDouble());
    }
    filterDirty = true;
}

void SystemBridge::processBlock(float* block, std::int32_t channels, std::int32_t frames, double rate) {
    if (!equalizerEnabled) {
        return;
    }
    if (!filterReady) {
        if (!filterChain) {
            filterChain = std::make_unique<FBiquadChain>();
        }
        // The first block's rate and channels stay in force, also after the stream's rate changes. Kept so.
        filterChain->init(static_cast<float>(rate), static_cast<std::int32_t>(kEqualizerBandCount), channels);
        for (std::int32_t band = 0; band < filterChain->bandCount(); ++band) {
            filterChain->setEnabled(band, false);
        }
        filterReady = true;
        filterDirty = true;
    }
    // Cleared before the gains are read: a change that comes meanwhile counts for the next block.
    if (filterDirty.exchange(false)) {
        std::array<float, kEqualizerBandCount> gains{};
        std::ranges::copy(equalizerGains, gains.begin());
        applyEqualizerGains(*filterChain, gains);
    }
    if (channels == filterChain->channelCount()) {
        filterChain->processBlock(block, static_cast<std::size_t>(frames));
    } else {
        filterByFrames(*filterChain, block, channels, frames);
    }
}

bool SystemBridge::SetDeviceSampleRate(const QString& deviceName, double sampleRate) const {
    return guarded("SystemBridge::SetDeviceSampleRate: Exception:", false,
                   [&] { return probeDeviceSampleRate(deviceName, sampleRate); });
}
