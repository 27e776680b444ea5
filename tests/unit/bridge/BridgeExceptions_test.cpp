#include "tests/unit/bridge/SystemBridgeFixture.h"
#include "tests/unit/bridge/ThrowingBodies.h"

#include <stdexcept>

namespace {

class BridgeExceptions : public SystemBridgeTest {
protected:
    void SetUp() override {
        letBodiesThrow(false);
        bridge->initializeMonitorDevice();
        log.clear();
        letBodiesThrow(true);
    }
    void TearDown() override { letBodiesThrow(false); }

    /// A bridge without a service.
    void takeNewBridge() {
        letBodiesThrow(false);
        bridge = nullptr;
        bridge = std::make_unique<TestBridge>();
        letBodiesThrow(true);
    }

    /// That the operation threw below, and that nothing came of it but one line at critical level.
    void expectLine(const QString& operation) {
        EXPECT_EQ(thrownCount(), thrownBefore + 1) << operation.toStdString();
        EXPECT_EQ(log.texts(QtCriticalMsg), QStringList(QStringLiteral("SystemBridge::%1: Exception: %2")
                                                            .arg(operation, QLatin1String(kThrownText))));
        log.clear();
        thrownBefore = thrownCount();
    }

    int thrownBefore = thrownCount();
};

} // namespace

TEST_F(BridgeExceptions, WithoutOneTheOperationsOfTheServiceSucceed) {
    letBodiesThrow(false);
    EXPECT_TRUE(bridge->Start());
    EXPECT_TRUE(bridge->Restart());
    EXPECT_TRUE(bridge->IsRunning());
    EXPECT_TRUE(bridge->SetSampleRate(44100.0));
    EXPECT_EQ(bridge->GetSampleRate(), 48000.0);
    EXPECT_TRUE(bridge->AddInputDevice("mic", 0));
    EXPECT_TRUE(bridge->RemoveInputDevice("mic"));
    EXPECT_EQ(bridge->GetInputDevices().size(), 1);
    EXPECT_TRUE(bridge->SetDeviceSampleRate("mic", 48000.0));
    EXPECT_EQ(bridge->getRunningApplications().size(), 1);
    EXPECT_EQ(bridge->getRunningApplicationsByQt().size(), 1);
    EXPECT_TRUE(log.texts(QtCriticalMsg).isEmpty());
}

TEST_F(BridgeExceptions, OfTheServiceIsLoggedUnderTheOperationAndGivesFalseZeroOrNothing) {
    EXPECT_FALSE(bridge->Start());
    expectLine("Start");
    bridge->Stop();
    expectLine("Stop");
    EXPECT_FALSE(bridge->Restart());
    expectLine("Restart");
    EXPECT_FALSE(bridge->IsRunning());
    expectLine("IsRunning");
    EXPECT_FALSE(bridge->SetSampleRate(44100.0));
    expectLine("SetSampleRate");
    EXPECT_EQ(bridge->GetSampleRate(), 0.0);
    expectLine("GetSampleRate");
    EXPECT_FALSE(bridge->AddInputDevice("mic", 0));
    expectLine("AddInputDevice");
    EXPECT_FALSE(bridge->RemoveInputDevice("mic"));
    expectLine("RemoveInputDevice");
    EXPECT_TRUE(bridge->GetInputDevices().isEmpty());
    expectLine("GetInputDevices");
    EXPECT_TRUE(bridge->GetDeviceList().isEmpty());
    expectLine("GetDeviceList");
    EXPECT_FALSE(bridge->SetDeviceSampleRate("mic", 48000.0));
    expectLine("SetDeviceSampleRate");
}

TEST_F(BridgeExceptions, OfTheInventoriesIsLoggedAndGivesAnEmptyList) {
    EXPECT_TRUE(bridge->getRunningApplicationsByQt().isEmpty());
    expectLine("getRunningApplicationsByQt");
    takeNewBridge(); // with a service the device list would throw as well
    EXPECT_TRUE(bridge->getRunningApplications().isEmpty());
    expectLine("getRunningApplications");
}

TEST_F(BridgeExceptions, OfTheRouterIsLoggedAndTheRouterGoesOn) {
    const QVariantList records{QVariantMap{{"processID", 4711}, {"solo", true}}};
    bridge->setAudioConfig(records);
    expectLine("setAudioConfig");
    letBodiesThrow(false);
    bridge->setAudioConfig(records);
    EXPECT_TRUE(routerLines.contains("[ERROR] Failed to start capture for PID: 4711 (HRESULT: 0x8007000e)"));
}

TEST_F(BridgeExceptions, OfTheStoredSettingsIsLogged) {
    bridge->setSettingsReader([](const QString&) -> QVariant { throw std::runtime_error("unreadable"); });
    bridge->updateMonitorDevice();
    EXPECT_EQ(log.texts(QtCriticalMsg),
              QStringList("SystemBridge::updateMonitorDevice: Exception: unreadable"));
}

TEST_F(BridgeExceptions, OfTheNewServiceIsLoggedAndALaterStartMakesIt) {
    takeNewBridge();
    bridge->initializeMonitorDevice();
    expectLine("initializeMonitorDevice");
    letBodiesThrow(false);
    EXPECT_TRUE(bridge->Start());
    EXPECT_TRUE(bridge->IsRunning());
}

TEST_F(BridgeExceptions, AtTheEndDoesNotKeepTheProgramFromQuitting) {
    QCoreApplication* const application = QCoreApplication::instance();
    QMetaObject::invokeMethod(application, [this] { bridge->quitApplication(); }, Qt::QueuedConnection);
    EXPECT_EQ(QCoreApplication::exec(), 0);
    expectLine("quitApplication");
}
