// The audio of the bridge: the router, the capture service and the monitor equaliser.

#include "audio/capture/AudioRouterService.h"
#include "bridge/AudioDeviceMaps.h"
#include "bridge/EqualizerPreset.h"
#include "bridge/Guarded.h"
#include "bridge/SampleRateProbe.h"
#include "bridge/SystemBridge.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/router/AudioRouterAPI.h"
#include "platform/InventorySources.h"
#include "platform/SoundInputs.h"
#include "platform/SoundServerWatch.h"

#include <QDebug>
#include <QGuiApplication>
#include <QPermissions>
#include <QPointer>
#include <QTimer>

#include <atomic>
#include <chrono>

namespace {

// How long the router's start waits for what the sound server has.
constexpr std::chrono::milliseconds kSoundServerLimit(500);

// Tells the plain functions that the service calls for its blocks which bridge to forward to.
std::atomic<SystemBridge*> blockReceiver{nullptr};

void forwardBlock(float* block, std::int32_t channels, std::int32_t frames, double rate) {
    if (SystemBridge* const bridge = blockReceiver) {
        bridge->processBlock(block, channels, frames, rate);
    }
}

void forwardFormat(std::int32_t channels, double rate) {
    if (SystemBridge* const bridge = blockReceiver) {
        bridge->prepareEqualizer(channels, rate);
    }
}

} // namespace

// ---- the router

void SystemBridge::startRouter() {
    AudioRouterAPI& router = AudioRouterAPI::instance();
    router.initAudioRouter();
    // A report may arrive after the bridge has been destroyed.
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

// While the sound server has not said what it has, the start waits for that in the event loop: a start
// without outputs would have to be repeated.
void SystemBridge::startRouterWhenDevicesAreKnown() {
    if (soundDevicesKnown()) {
        startRouter();
    } else {
        QTimer::singleShot(kSoundServerLimit, this, &SystemBridge::startLateRouter);
    }
}

void SystemBridge::startLateRouter() {
    guarded("SystemBridge::startLateRouter: Exception:", [this] {
        if (!AudioRouterAPI::instance().isAudioRouterRunning()) {
            restartRouter();
        }
    });
}

void SystemBridge::noteSoundDevices() {
    if (!AudioRouterAPI::instance().isAudioRouterRunning()) {
        startLateRouter();
    }
    if (!soundDevicesTimer.isActive()) {
        soundDevicesTimer.start();
    }
}

// A router that was started without a sound server, or before the server had its outputs, has no output and
// is started again. Missing inputs stay configured and are searched for again, and an input that found
// another device in the place of its own gets that when it comes. What plays and records is not touched.
void SystemBridge::useNewSoundDevices() {
    guarded("SystemBridge::useNewSoundDevices: Exception:", [this] {
        if (AudioRouterAPI::instance().isSoloWorthARestart()) {
            restartRouter();
        }
        if (audioRouterService &&
            (audioRouterService->HasMissingInput() || audioRouterService->HasMisplacedInput())) {
            static_cast<void>(audioRouterService->RefreshDevices());
        }
    });
}

void SystemBridge::setAudioConfig(const QVariantList& configs) {
    qDebug() << "SystemBridge::setAudioConfig() called with" << configs.size() << "configs";
    guarded("SystemBridge::setAudioConfig: Exception:", [&] {
        lastConfigs = configs;
        AudioRouterAPI::instance().setAudioConfig(configs);
    });
}

// ---- the capture service

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
    audioRouterService = std::make_unique<AudioRouterService>(PerAppInputBuffers::instance());
    blockReceiver = this;
    audioRouterService->SetAudioCallback(forwardBlock);
    audioRouterService->SetPrepareCallback(forwardFormat);
    static_cast<void>(Start());
}

void SystemBridge::endCaptureService() {
    if (!audioRouterService) {
        return;
    }
    audioRouterService->Stop();
    audioRouterService.reset();
    SystemBridge* expected = this;
    blockReceiver.compare_exchange_strong(expected, nullptr);
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
            // The printed number is the index, not a count of channels. Kept so.
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
        const QList<AudioDeviceFacts> inputs = audioInputDevices();
        const QList<AudioDeviceFacts> outputs = audioOutputDevices();
        if (!inputs.isEmpty() || !outputs.isEmpty()) {
            appendAudioDeviceMaps(devices, inputs, outputs, type);
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

bool SystemBridge::SetDeviceSampleRate(const QString& deviceName, double sampleRate) const {
    return guarded("SystemBridge::SetDeviceSampleRate: Exception:", false,
                   [&] { return probeDeviceSampleRate(systemSoundInputs(), deviceName, sampleRate); });
}

// ---- the monitor equaliser

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
    if (!stored("device_equalizer").toBool()) {
        monitorEqualizer.switchOff();
        return;
    }
    monitorEqualizer.switchOn();
    if (const auto gainsDb = equalizerPresetGains(stored("device_equalizer_current").toString())) {
        monitorEqualizer.setGains(*gainsDb);
    }
}

void SystemBridge::prepareEqualizer(std::int32_t channels, double rate) {
    monitorEqualizer.prepare(rate, channels);
}

void SystemBridge::processBlock(float* block, std::int32_t channels, std::int32_t frames, double) {
    monitorEqualizer.processBlock(block, channels, frames);
}
