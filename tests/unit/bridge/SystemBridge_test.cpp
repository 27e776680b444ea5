#include "mixer/router/AudioRouterAPI.h"
#include "tests/unit/bridge/SystemBridgeFixture.h"

#include <QStandardPaths>
#include <QSysInfo>

#include <utility>
#include <vector>

// ---- permission and life

TEST_F(SystemBridgeTest, ConstructionStartsTheRouterAndNoCaptureService) {
    EXPECT_TRUE(AudioRouterAPI::instance().isAudioRouterRunning());
    EXPECT_FALSE(bridge->IsRunning());
    EXPECT_EQ(scriptedPortAudio::initializations(), 0);
}

TEST_F(SystemBridgeTest, WithoutASoundServerSoloIsOffAndTheRouterRuns) {
    EXPECT_TRUE(routerLines.contains("[ERROR] No devices available, Solo forwarding will be disabled."));
    EXPECT_EQ(log.count("[INFO] AudioRouterAPI initialized successfully"), 1);
    EXPECT_TRUE(bridge->getRunningApplications().isEmpty());
}

TEST_F(SystemBridgeTest, GrantedPermissionCreatesAndStartsTheService) {
    bridge->initializeMonitorDevice();
    EXPECT_TRUE(bridge->IsRunning());
    EXPECT_EQ(log.count("PermissionStatus::Granted "), 1);
    EXPECT_EQ(log.count("SystemBridge::initializeMonitorDevice() - Initializing"), 1);
    EXPECT_EQ(log.count("SystemBridge::Start: Audio router service started successfully"), 1);
}

TEST_F(SystemBridgeTest, DeniedPermissionLeavesTheServiceUncreatedAndEveryOperationSaysSo) {
    bridge->permission = Qt::PermissionStatus::Denied;
    bridge->initializeMonitorDevice();
    bridge->Stop();
    EXPECT_FALSE(bridge->Restart());
    EXPECT_FALSE(bridge->IsRunning());
    EXPECT_FALSE(bridge->SetSampleRate(44100.0));
    EXPECT_EQ(bridge->GetSampleRate(), 0.0);
    EXPECT_FALSE(bridge->AddInputDevice("mic", 0));
    EXPECT_FALSE(bridge->RemoveInputDevice("mic"));
    EXPECT_TRUE(bridge->GetInputDevices().isEmpty());
    EXPECT_EQ(log.texts(QtWarningMsg),
              (QStringList{"Microphone permission is not granted!",
                           "SystemBridge::Stop: AudioRouterService not initialized",
                           "SystemBridge::Restart: AudioRouterService not initialized",
                           "SystemBridge::SetSampleRate: AudioRouterService not initialized",
                           "SystemBridge::GetSampleRate: AudioRouterService not initialized",
                           "SystemBridge::AddInputDevice: AudioRouterService not initialized",
                           "SystemBridge::RemoveInputDevice: AudioRouterService not initialized",
                           "SystemBridge::GetInputDevices: AudioRouterService not initialized"}));
    bridge->updateMonitorDevice();
    EXPECT_EQ(log.count("SystemBridge::updateMonitorDevice: AudioRouterService not initialized"), 1);
}

TEST_F(SystemBridgeTest, StartOfADeniedBridgeCreatesTheServiceAfterAll) {
    bridge->permission = Qt::PermissionStatus::Denied;
    bridge->initializeMonitorDevice();
    EXPECT_FALSE(bridge->Start()) << "the new service has started by itself";
    EXPECT_TRUE(bridge->IsRunning());
}

TEST_F(SystemBridgeTest, UndecidedPermissionIsAskedForAndItsAnswerGoesOn) {
    bridge->permission = Qt::PermissionStatus::Undetermined;
    bridge->initializeMonitorDevice();
    ASSERT_TRUE(bridge->pendingRequest);
    EXPECT_FALSE(bridge->IsRunning());
    bridge->permission = Qt::PermissionStatus::Granted;
    bridge->pendingRequest();
    EXPECT_TRUE(bridge->IsRunning());
}

TEST_F(SystemBridgeTest, SecondInitialisationKeepsTheService) {
    bringAudioUp();
    bridge->initializeMonitorDevice();
    EXPECT_EQ(log.count("SystemBridge::Start"), 0);
    EXPECT_TRUE(bridge->IsRunning());
}

TEST_F(SystemBridgeTest, DestructorCleansUpThenStopsTheServiceThenTheRouter) {
    bringAudioUp();
    bridge.reset();
    EXPECT_EQ(log.texts(QtDebugMsg),
              (QStringList{"SystemBridge::cleanupNativeBridge() - Cleaning up \"linux\" bridge",
                           "Audio routing service stopped"}));
    EXPECT_FALSE(AudioRouterAPI::instance().isAudioRouterRunning());
    EXPECT_FALSE(scriptedPortAudio::initialized());
}

TEST_F(SystemBridgeTest, RouterStartsAgainForTheNextBridge) {
    bridge.reset();
    bridge = std::make_unique<TestBridge>();
    EXPECT_TRUE(AudioRouterAPI::instance().isAudioRouterRunning());
}

// ---- system facts and empty operations

TEST_F(SystemBridgeTest, SystemInfoHoldsExactlyFiveKeys) {
    const QVariantMap info = bridge->getSystemInfo();
    EXPECT_EQ(info.keys(), (QStringList{"kernelType", "kernelVersion", "machineType", "osName", "platform"}));
    EXPECT_EQ(info["machineType"], QSysInfo::machineHostName());
    EXPECT_EQ(info["osName"], QSysInfo::prettyProductName());
    EXPECT_EQ(info["platform"], bridge->getPlatform());
    EXPECT_FALSE(bridge->getPlatform().isEmpty());
}

TEST_F(SystemBridgeTest, EmptyOperationsLogTheirNameAndGiveEmptyValues) {
    EXPECT_TRUE(bridge->getAudioDeviceInfo().isEmpty());
    bridge->showNotification("a", "b");
    EXPECT_TRUE(bridge->checkSystemPermissions().isEmpty());
    EXPECT_TRUE(bridge->getNetworkInterfaces().isEmpty());
    EXPECT_TRUE(bridge->getStorageInfo().isEmpty());
    EXPECT_TRUE(bridge->getCurrentUserInfo().isEmpty());
    bridge->bringAppToFront();
    bridge->openSystemPreferences();
    bridge->requestNotificationPermission();
    for (const char* name : {"getAudioDeviceInfo", "showNotification", "checkSystemPermissions",
                             "getNetworkInterfaces", "getStorageInfo", "getCurrentUserInfo",
                             "bringAppToFront", "openSystemPreferences", "requestNotificationPermission"}) {
        EXPECT_EQ(
            log.count(
                QStringLiteral("SystemBridge::%1() called on platform: \"linux\"").arg(QLatin1String(name))),
            1)
            << name;
    }
    EXPECT_EQ(log.count("Windows notification permission not required"), 1);
}

TEST_F(SystemBridgeTest, OutputStreamsAreNoneAndTheProgramIsNeverInFront) {
    EXPECT_TRUE(bridge->getOutputStreamIDs().isEmpty());
    EXPECT_FALSE(bridge->isAppInForeground());
    EXPECT_FALSE(bridge->isMacOS());
    EXPECT_FALSE(bridge->isWindows());
}

TEST_F(SystemBridgeTest, TheTemporaryFolderIsTheUsersOwn) {
    EXPECT_EQ(bridge->getTempDirectory(),
              QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation));
    EXPECT_NE(bridge->getTempDirectory(), QStandardPaths::writableLocation(QStandardPaths::TempLocation));
}

TEST_F(SystemBridgeTest, InstalledProgramsBeginWithTheSystemsBrowser) {
    const QVariantList programs = bridge->getRunningApplicationsByQt();
    ASSERT_FALSE(programs.isEmpty());
    EXPECT_EQ(programs[0].toMap(), (QVariantMap{{"name", QStringLiteral("系统浏览器")},
                                                {"bundlePath", ""},
                                                {"executablePath", ""},
                                                {"isSystemBrowser", true}}));
    EXPECT_EQ(
        log.count(QStringLiteral("getRunningApplicationsByQt: Found %1 applications").arg(programs.size())),
        1);
}

// ---- the capture service

TEST_F(SystemBridgeTest, StopTwiceLogsItsLineTwice) {
    bringAudioUp();
    bridge->Stop();
    bridge->Stop();
    EXPECT_EQ(log.count("SystemBridge::Stop: Audio router service stopped"), 2);
}

TEST_F(SystemBridgeTest, StartRestartAndRateSayHowTheyWent) {
    bringAudioUp();
    EXPECT_FALSE(bridge->Start());
    EXPECT_EQ(log.count("SystemBridge::Start: Failed to start audio router service"), 1);
    EXPECT_TRUE(bridge->Restart());
    EXPECT_EQ(log.count("SystemBridge::Restart: Audio router service restarted successfully"), 1);
    EXPECT_EQ(bridge->GetSampleRate(), 48000.0);
    EXPECT_FALSE(bridge->SetSampleRate(0.0));
    EXPECT_EQ(log.count("SystemBridge::SetSampleRate: Failed to set sample rate to 0"), 1);
    EXPECT_TRUE(bridge->SetSampleRate(44100.0));
    EXPECT_EQ(log.count("SystemBridge::SetSampleRate: Sample rate set to 44100"), 1);
}

TEST_F(SystemBridgeTest, AddInputDeviceLogsTheIndexAsChannels) {
    bringAudioUp();
    EXPECT_TRUE(bridge->AddInputDevice("mic", 3));
    EXPECT_EQ(log.count("SystemBridge::AddInputDevice: Added device \"mic\" with 3 channels"), 1);
    ASSERT_TRUE(await([this] { return !bridge->GetInputDevices().isEmpty(); }));
    EXPECT_EQ(bridge->GetInputDevices(),
              (QVariantList{QVariantMap{{"name", "mic"}, {"requestedChannels", 0}}}));
    EXPECT_FALSE(bridge->AddInputDevice("MIC", 4));
    EXPECT_EQ(log.count("SystemBridge::AddInputDevice: Failed to add device \"MIC\""), 1);
}

TEST_F(SystemBridgeTest, AddInputDeviceWithOneArgumentPassesNoIndex) {
    bringAudioUp();
    EXPECT_TRUE(QMetaObject::invokeMethod(bridge.get(), "AddInputDevice", QString("mic")));
    EXPECT_EQ(log.count("Added device \"mic\" with -1 channels"), 1);
}

TEST_F(SystemBridgeTest, RemoveInputDeviceFailsOnlyWhileTheServiceDoesNotRun) {
    bringAudioUp();
    EXPECT_TRUE(bridge->RemoveInputDevice("nobody"));
    EXPECT_EQ(log.count("SystemBridge::RemoveInputDevice: Removed device \"nobody\""), 1);
    bridge->Stop();
    EXPECT_FALSE(bridge->RemoveInputDevice("nobody"));
    EXPECT_EQ(log.count("SystemBridge::RemoveInputDevice: Device not found: \"nobody\""), 1);
}

TEST_F(SystemBridgeTest, DeviceListComesFromTheServiceWhereTheSystemHasNone) {
    scriptedPortAudio::Device output;
    output.name = "out";
    output.hostApi = paWASAPI;
    output.maxInputChannels = 0;
    output.maxOutputChannels = 2;
    scriptedPortAudio::Device other = output;
    other.hostApi = paALSA;
    scriptedPortAudio::setDevices({other, output});
    EXPECT_TRUE(bridge->GetDeviceList().isEmpty()) << "neither devices nor a service";
    bringAudioUp();
    const QVariantList devices = bridge->GetDeviceList(2);
    ASSERT_EQ(devices.size(), 1);
    EXPECT_EQ(devices[0].toMap()["hostApi"], "Windows WASAPI");
    EXPECT_EQ(log.count("SystemBridge::GetDeviceList: Found 1 devices using audio_router_api"), 1);
}

TEST_F(SystemBridgeTest, SetAudioConfigLogsTheCount) {
    bridge->setAudioConfig({QVariantMap{{"processID", 7}}});
    EXPECT_EQ(log.count("SystemBridge::setAudioConfig() called with 1 configs"), 1);
}

// ---- the rate probe

class RateProbe : public SystemBridgeTest {
protected:
    void setDevices(const std::vector<scriptedPortAudio::Device>& devices) {
        scriptedPortAudio::setDevices(devices);
        bringAudioUp();
    }
    static scriptedPortAudio::Device unit(int inputs, int outputs, std::vector<double> rates = {}) {
        scriptedPortAudio::Device device;
        device.name = inputs > 0 ? "Microphone (VEXO Unit)" : "Speakers (VEXO Unit)";
        device.maxInputChannels = inputs;
        device.maxOutputChannels = outputs;
        device.sampleRates = std::move(rates);
        return device;
    }
};

TEST_F(RateProbe, NameOfARenderAndACaptureDeviceTestsBothAndFailsWithOne) {
    setDevices({unit(2, 0), unit(0, 2, {44100.0})});
    EXPECT_FALSE(bridge->SetDeviceSampleRate("vexo unit", 48000.0));
    EXPECT_EQ(log.count("SystemBridge::SetDeviceSampleRate: Found 2 matching device(s)"), 1);
    EXPECT_EQ(log.count("SystemBridge::SetDeviceSampleRate: Processing device:"), 2);
    EXPECT_EQ(log.count("SystemBridge::SetDeviceSampleRate: Device does not support sample rate 48000 Hz"),
              1);
    EXPECT_EQ(log.count("  Default sample rate: 48000 Hz"), 1);
    EXPECT_TRUE(bridge->SetDeviceSampleRate("vexo unit", 44100.0));
}

TEST_F(RateProbe, SuccessSaysThatNothingWasChanged) {
    setDevices({unit(2, 2)});
    EXPECT_TRUE(bridge->SetDeviceSampleRate("VEXO", 48000.0));
    EXPECT_EQ(log.count("SystemBridge::SetDeviceSampleRate: Device supports sample rate 48000 Hz"), 1);
    EXPECT_EQ(log.count("  Input channels: 2 can use this sample rate"), 1);
    EXPECT_EQ(log.count("  Output channels: 2 can use this sample rate"), 1);
    const QString refusal = "SystemBridge::SetDeviceSampleRate: Windows platform - Cannot directly modify "
                            "system device sample rate via PortAudio.";
    const QString useSettings =
        "  Note: To change system device sample rate, use Windows Sound Settings or device driver settings.";
    const QString useStreams = "  Note: PortAudio can use the requested sample rate when opening audio "
                               "streams, but cannot change the system default.";
    EXPECT_EQ(log.texts(QtWarningMsg),
              (QStringList{refusal, "  Device: \"Microphone (VEXO Unit)\"",
                           "  Requested sample rate: 48000 Hz", "  Device default sample rate: 48000 Hz",
                           "  Input channels: 2 (sample rate can be set when opening stream)",
                           "  Output channels: 2 (sample rate can be set when opening stream)", useSettings,
                           useStreams}));
}

TEST_F(RateProbe, BadParametersUnknownDevicesAndErrorsAreFalse) {
    setDevices({unit(2, 0)});
    EXPECT_FALSE(bridge->SetDeviceSampleRate("", 48000.0));
    EXPECT_FALSE(bridge->SetDeviceSampleRate("VEXO", 0.0));
    EXPECT_EQ(log.count("SystemBridge::SetDeviceSampleRate: Invalid parameters - deviceName:"), 2);
    EXPECT_FALSE(bridge->SetDeviceSampleRate("nobody", 48000.0));
    EXPECT_EQ(log.count("SystemBridge::SetDeviceSampleRate: Device not found: \"nobody\""), 1);
    scriptedPortAudio::fail(scriptedPortAudio::Call::IsFormatSupported, -9994);
    scriptedPortAudio::setErrorText(-9994, "bad format");
    EXPECT_FALSE(bridge->SetDeviceSampleRate("VEXO", 48000.0));
    EXPECT_EQ(log.count("SystemBridge::SetDeviceSampleRate: Error checking format support: bad format"), 1);
}

TEST_F(RateProbe, DeviceWithoutChannelsIsSkipped) {
    setDevices({unit(0, 0)});
    EXPECT_TRUE(bridge->SetDeviceSampleRate("VEXO", 48000.0));
    EXPECT_EQ(
        log.count("SystemBridge::SetDeviceSampleRate: Device has no input or output channels, skipping"), 1);
}

TEST_F(RateProbe, WithoutPortAudioThereAreNoDevices) {
    EXPECT_FALSE(bridge->SetDeviceSampleRate("VEXO", 48000.0));
    EXPECT_EQ(log.count("SystemBridge::SetDeviceSampleRate: No audio devices found"), 1);
}
