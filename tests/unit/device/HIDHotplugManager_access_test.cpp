// A device that is on the bus and cannot be opened.

#include "tests/support/LogCapture.h"
#include "tests/unit/device/HIDHotplugManagerFixture.h"

namespace {

const QString kTold = QStringLiteral("无法打开设备，没有访问权限:");

class MissingAccessTest : public HIDHotplugManagerTest {
protected:
    void SetUp() override {
        HIDHotplugManagerTest::SetUp();
        QObject::connect(manager.get(), &HIDHotplugManager::accessMissingChanged, manager.get(),
                         [this] { changes.append(manager->isAccessMissing()); });
        scriptedHidapi::plug(kR2);
        scriptedHidapi::failOpen(kR2.path, true);
    }

    void scan(int count) {
        for (int done = 0; done < count; ++done) {
            manager->onScanTimer();
        }
    }

    QList<bool> changes;
};

} // namespace

TEST_F(MissingAccessTest, IsToldAtTheSecondScanAndOnceInTheLog) {
    const LogCapture log;
    scan(1);
    EXPECT_FALSE(manager->isAccessMissing()) << "the system may give the device away a moment later";
    scan(20);
    EXPECT_TRUE(manager->isAccessMissing());
    EXPECT_EQ(changes, QList<bool>({true}));
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList(kTold + " \"/r2 (Permission denied)\""));
    EXPECT_EQ(log.texts(QtDebugMsg),
              QStringList({"设备已在线", "设备在线，尝试连接 FIXED_USAGE: 12", " hid_open_path "}));
    EXPECT_TRUE(connections.isEmpty());
}

TEST_F(MissingAccessTest, EndsWhenTheDeviceOpens) {
    scan(3);
    scriptedHidapi::failOpen(kR2.path, false);
    scan(1);
    EXPECT_FALSE(manager->isAccessMissing());
    EXPECT_EQ(changes, QList<bool>({true, false}));
    ASSERT_EQ(connections.size(), 1);
    EXPECT_TRUE(connections[0].isConnected);
}

TEST_F(MissingAccessTest, EndsWhenTheDeviceGoesAndIsToldAnewWhenItComesBack) {
    const LogCapture log;
    scan(3);
    scriptedHidapi::unplug(kR2.path);
    scan(1);
    EXPECT_EQ(changes, QList<bool>({true, false}));
    scriptedHidapi::plug(kR2);
    scan(3);
    EXPECT_EQ(changes, QList<bool>({true, false, true}));
    EXPECT_EQ(log.count(kTold), 2);
    EXPECT_EQ(log.count("设备在线，尝试连接"), 2);
}

TEST_F(MissingAccessTest, EndsWhenTheManagerStops) {
    scan(3);
    manager->stopAndDisconnectDevice();
    EXPECT_FALSE(manager->isAccessMissing());
}

TEST_F(MissingAccessTest, IsNotToldWhileOneOfTheInterfacesOpens) {
    scriptedHidapi::plug({"/r2b", 0x3327, 0x9829, 0x0C});
    scan(3);
    EXPECT_TRUE(changes.isEmpty());
    ASSERT_EQ(connections.size(), 1);
    EXPECT_TRUE(connections[0].isConnected);
}

TEST_F(MissingAccessTest, IsNotToldOfADeviceWithoutTheInterface) {
    scriptedHidapi::unplug(kR2.path);
    scriptedHidapi::plug({"/r2-other", 0x3327, 0x9829, 0x01});
    scan(3);
    EXPECT_TRUE(changes.isEmpty());
}

TEST_F(MissingAccessTest, IsNotToldOfARefusalOfAnotherKindWhoseReasonIsLoggedOnce) {
    const LogCapture log;
    scriptedHidapi::failOpen(kR2.path, true, L"Device or resource busy");
    scan(5);
    EXPECT_FALSE(manager->isAccessMissing());
    EXPECT_TRUE(changes.isEmpty());
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList("无法打开设备: \"/r2 (Device or resource busy)\""));
    EXPECT_EQ(log.count(" hid_open_path "), 1);

    scriptedHidapi::failOpen(kR2.path, true);
    scan(5);
    EXPECT_EQ(changes, QList<bool>({true}));
    EXPECT_EQ(log.count(kTold), 1);
    scriptedHidapi::failOpen(kR2.path, true, L"Input/output error");
    scan(1);
    EXPECT_EQ(changes, QList<bool>({true, false}));
    EXPECT_EQ(log.count("无法打开设备: \"/r2 (Input/output error)\""), 1);
}
