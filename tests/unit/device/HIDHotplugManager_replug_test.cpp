// One device after another: each connection has one life, whatever was there before it.

#include "device/HIDDevice.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/device/HIDHotplugManagerFixture.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

const LinkAddress kOther{2, 3, 0x4321};
const std::vector<std::uint16_t> kQueries{1, 23, 16, 34};

/// A frame from any device to the host.
Bytes frameFrom(const LinkAddress& source, std::uint8_t kind, std::uint16_t messageId, Bytes payload) {
    return wireFrame::encode({kind, 77, source, wireFrame::kHost, messageId, std::move(payload)});
}

class HIDConnectionTest : public HIDHotplugManagerTest {
protected:
    /// How often each query has gone out to an address.
    std::vector<std::ptrdiff_t> queriesTo(const LinkAddress& address) const {
        const std::vector<WireFrame> frames = sentFrames();
        std::vector<std::ptrdiff_t> counts;
        counts.reserve(kQueries.size());
        for (const std::uint16_t messageId : kQueries) {
            counts.push_back(std::ranges::count_if(frames, [&](const WireFrame& frame) {
                return frame.messageId == messageId && frame.destination == address;
            }));
        }
        return counts;
    }

    /// Lets ticks pass while a device says hello each second.
    void tickAlive(const LinkAddress& device, int count) {
        for (int done = 0; done < count; done += 1000) {
            login(device);
            tick(1000);
        }
    }
};

} // namespace

TEST_F(HIDConnectionTest, ReplugWithinThePeersTimeOutAsksForEverythingAnew) {
    connectFullyAndUnplug();
    connectDevice(kR2);
    ASSERT_EQ(connections.size(), 1);
    EXPECT_TRUE(connections[0].isConnected);
    EXPECT_EQ(connections[0].info, QVariantMap({{"dpid", 0x9829u}}));
    login();
    tick(20);
    EXPECT_EQ(queriesTo(kDevice), (std::vector<std::ptrdiff_t>{2, 2, 2, 2}));
    EXPECT_EQ(manager->getDeviceInfo(), QVariantMap({{"dpid", 0x9829u}, {"pid", 0x1234u}, {"vid", 3u}}));
    answer(1, {0, 3, 'N', 'e', 'w'});
    EXPECT_EQ(manager->getDeviceInfo().value("name"), QVariant("New"));
}

TEST_F(HIDConnectionTest, AnotherModelHasNothingOfTheOneBeforeIt) {
    connectFullyAndUnplug();
    connectDevice(kM40);
    ASSERT_EQ(connections.size(), 1);
    EXPECT_EQ(connections[0].info, QVariantMap({{"dpid", 0x1396u}}));
    login(kOther);
    EXPECT_EQ(manager->getDeviceInfo(), QVariantMap({{"dpid", 0x1396u}, {"pid", 0x4321u}, {"vid", 3u}}));
}

TEST_F(HIDConnectionTest, OldPeersTimeOutDoesNotTakeTheAddressOfTheNewOne) {
    connectFullyAndUnplug();
    connectDevice(kM40);
    tickAlive(kOther, 5000);
    manager->messageSend(5, QByteArray("\x07"));
    tick(10);
    ASSERT_EQ(sentWith(30).size(), 1u);
    EXPECT_EQ(sentWith(30)[0].destination, kOther);
    EXPECT_EQ(queriesTo(kDevice), (std::vector<std::ptrdiff_t>(4, 0)));
    EXPECT_EQ(manager->getDeviceInfo().value("pid"), QVariant(0x4321u));
}

TEST_F(HIDConnectionTest, FrameThatTheUnplugCutDoesNotDelayTheLogin) {
    connectFully();
    const Bytes frame = fromDevice(2, 34, Bytes(500, 7));
    receiveReport(wireFrame::deviceReports(reportForm, frame)[0]);
    unplug();
    connectDevice(kR2);
    login();
    EXPECT_EQ(manager->getDeviceInfo().value("vid"), QVariant(3u));
}

TEST_F(HIDConnectionTest, WhatTheLastConnectionHasQueuedComesBeforeTheNewOne) {
    connectFully();
    const QVariantMap old = manager->getDeviceInfo();
    connections.clear();
    const auto* const device = manager->findChild<HIDDevice*>();
    scriptedHidapi::deliver(
        path, wireFrame::deviceReports(reportForm, frameFrom(kDevice, 1, 1, {0, 3, 'O', 'l', 'd'}))[0]);
    // No event is processed before the scan finds the next device.
    ASSERT_TRUE(awaitThread([] { return scriptedHidapi::reportsWaiting() == 0; }));
    scriptedHidapi::unplug(path);
    ASSERT_TRUE(awaitThread([device] { return !device->isOpen(); }));
    connectDevice(kM40);
    ASSERT_EQ(connections.size(), 2);
    EXPECT_FALSE(connections[0].isConnected);
    EXPECT_EQ(connections[0].info, old);
    EXPECT_TRUE(connections[1].isConnected);
    EXPECT_EQ(connections[1].info, QVariantMap({{"dpid", 0x1396u}}));
    tick(20);
    QCoreApplication::processEvents();
    EXPECT_EQ(connections.size(), 2);
    EXPECT_FALSE(manager->getDeviceInfo().contains("name"));
}

TEST_F(HIDConnectionTest, DeviceThatCannotBeOpenedHasNothingOfTheOneBeforeIt) {
    connectFullyAndUnplug();
    scriptedHidapi::plug(kT40);
    scriptedHidapi::failOpen(kT40.path, true);
    manager->onScanTimer();
    tick(4000);
    EXPECT_EQ(manager->getDeviceInfo(), QVariantMap({{"dpid", 0x1397u}}));
}

TEST_F(HIDConnectionTest, WhatIsSentBeforeTheLoginIsLost) {
    connectFullyAndUnplug();
    connectDevice(kR2);
    const LogCapture log;
    manager->messageSend(5, QByteArray("\x07"));
    manager->messageGet(1);
    manager->messageGetAll();
    manager->sendPriMessage(0x8004, QByteArray("\x01"));
    EXPECT_EQ(log.texts(QtDebugMsg),
              QStringList({R"(属性发送  attID: 5 数据: "07")", "属性获取  attID: 1", "获取所有属性"}));
    EXPECT_EQ(logLines("hid_attribute.log").size(), 2);
    tick(20);
    login();
    tick(2100);
    for (const int messageId : {30, 31, 33, 0x8004}) {
        EXPECT_TRUE(sentWith(static_cast<std::uint16_t>(messageId)).empty())
            << messageId << " went out, to everybody or after the login";
    }
}

TEST_F(HIDConnectionTest, LostDeviceIsAskedOnceMoreAndItsAddressStays) {
    connectFully();
    ASSERT_EQ(queriesTo(kDevice), (std::vector<std::ptrdiff_t>(4, 1)));
    const LogCapture log;
    tick(3300);
    EXPECT_EQ(log.count(R"(用户登录回调 from: 0 type: 1 "VID:0x0003 PID:0x1234 CHID:0x0002")"), 1);
    EXPECT_EQ(queriesTo(kDevice), (std::vector<std::ptrdiff_t>(4, 2)));
    // A write now waits for its next hello.
    manager->messageSend(5, QByteArray("\x07"));
    login();
    tick(1100);
    EXPECT_EQ(payloadsSentWith(30), (std::vector<Bytes>{{5, 1, 7}}));
}

TEST_F(HIDConnectionTest, ForeignAddressTakesNothingFromTheLiveDevice) {
    connectFully();
    login(kOther);
    receive(frameFrom(kOther, 1, 1, {0, 3, 'B', 'a', 'd'}));
    receive(frameFrom(kOther, 1, 23, {0, 'B', 'a', 'd'}));
    receive(frameFrom(kOther, 1, 16, {0, 0, 0, 0, 0, 0, 0, 0, 0, 9, 9}));
    receive(frameFrom(kOther, 2, 34, {5, 1, 22}));
    tick(20);
    manager->messageSend(5, QByteArray("\x07"));
    tick(10);
    ASSERT_EQ(sentWith(30).size(), 1u);
    EXPECT_EQ(sentWith(30)[0].destination, kDevice);
    EXPECT_EQ(queriesTo(kOther), (std::vector<std::ptrdiff_t>(4, 0)));
    EXPECT_TRUE(attributes.empty());
    const QVariantMap info = manager->getDeviceInfo();
    EXPECT_EQ(info.value("name"), QVariant("Mix"));
    EXPECT_EQ(info.value("sn"), QVariant("SN7"));
    EXPECT_EQ(info.value("version"), QVariant("V2.05"));
    EXPECT_EQ(info.value("pid"), QVariant(0x1234u));
}

TEST_F(HIDConnectionTest, ForeignAddressThatGoesLeavesTheLiveDevice) {
    connectFully();
    login(kOther);
    tickAlive(kDevice, 5000);
    manager->messageSend(5, QByteArray("\x07"));
    tick(10);
    ASSERT_EQ(sentWith(30).size(), 1u);
    EXPECT_EQ(sentWith(30)[0].destination, kDevice);
    EXPECT_EQ(queriesTo(kOther), (std::vector<std::ptrdiff_t>(4, 0)));
    EXPECT_EQ(queriesTo(kDevice), (std::vector<std::ptrdiff_t>(4, 1))) << "the live device has told all";
    EXPECT_EQ(manager->getDeviceInfo().value("name"), QVariant("Mix"));
}

TEST_F(HIDConnectionTest, PrivateMessagesOfAForeignAddressOrBeforeTheLoginAreNotTaken) {
    connectDevice(kR2);
    receive(frameFrom(kDevice, 2, 0x8003, {1}));
    login();
    login(kOther);
    receive(frameFrom(kOther, 2, 0x8003, {1}));
    receive(frameFrom(kOther, 2, 0x8002, {9}));
    EXPECT_TRUE(privates.empty());
    receive(frameFrom(kDevice, 2, 0x8002, {17}));
    EXPECT_EQ(privates, (std::vector<std::pair<std::uint32_t, std::uint8_t>>{{0x8002, 17}}));
}

TEST_F(HIDConnectionTest, DeviceThatSaysHelloAgainIsNotReadyUntilItHasToldItsVersion) {
    connectFully();
    tick(3300); // it times out
    connections.clear();
    login();
    ASSERT_EQ(connections.size(), 1);
    EXPECT_TRUE(connections[0].isConnected);
    // What the screens call it by stays: it is the same device.
    const QVariantMap early{{"dpid", 0x9829u}, {"pid", 0x1234u}, {"vid", 3u}, {"name", "Mix"}, {"sn", "SN7"}};
    EXPECT_EQ(connections[0].info, early);
    EXPECT_EQ(manager->getDeviceInfo(), early);
    tick(20);
    answer(1, {0, 3, 'N', 'e', 'w'});
    answer(16, {0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 6});
    EXPECT_EQ(connections.last().info.value("name"), QVariant("New"));
    EXPECT_EQ(connections.last().info.value("version"), QVariant("V2.06"));
}

TEST_F(HIDConnectionTest, AddressThatTakesOverHasNothingOfTheOneBeforeIt) {
    connectFully();
    login(kOther);
    for (int second = 0; second < 3; ++second) {
        login(kOther);
        tick(1000);
    }
    connections.clear();
    tick(500);
    ASSERT_EQ(connections.size(), 1) << "at the loss of the first";
    EXPECT_EQ(connections[0].info, QVariantMap({{"dpid", 0x9829u}, {"pid", 0x4321u}, {"vid", 3u}}));
    EXPECT_TRUE(connections[0].isConnected);
    receive(frameFrom(kOther, 1, 1, {0, 3, 'N', 'e', 'w'}));
    EXPECT_EQ(manager->getDeviceInfo().value("name"), QVariant("New"));
    EXPECT_FALSE(manager->getDeviceInfo().contains("sn"));
}

TEST_F(HIDConnectionTest, AddressThatComesAfterTheLossHasNothingOfTheOneBeforeIt) {
    connectFully();
    tick(3300);
    connections.clear();
    login(kOther);
    ASSERT_EQ(connections.size(), 1);
    EXPECT_EQ(connections[0].info, QVariantMap({{"dpid", 0x9829u}, {"pid", 0x4321u}, {"vid", 3u}}));
}

TEST_F(HIDConnectionTest, DeviceThatGoesOnWithAnotherAddressIsFollowed) {
    connectFully();
    tickAlive(kOther, 5000);
    for (const std::ptrdiff_t count : queriesTo(kOther)) {
        EXPECT_GE(count, 1);
    }
    EXPECT_EQ(manager->getDeviceInfo().value("pid"), QVariant(0x4321u));
    manager->messageSend(5, QByteArray("\x07"));
    tick(10);
    ASSERT_EQ(sentWith(30).size(), 1u);
    EXPECT_EQ(sentWith(30)[0].destination, kOther);
}

TEST_F(HIDConnectionTest, InterfaceThatIsGivenUpIsOpenedAnewWithinTheConnection) {
    make({.scanMs = 2000, .readTimeoutMs = 5, .writeLimitMs = 100});
    scriptedHidapi::plug({"/r2b", 0x3327, 0x9829, 0x0C});
    connectFully();
    scriptedHidapi::holdWrites(true);
    auto* const device = manager->findChild<HIDDevice*>();
    ASSERT_TRUE(device->writeTo("/r2b", "x"));
    ASSERT_TRUE(await([device] { return device->devicePaths().size() == 1; }));
    scriptedHidapi::holdWrites(false);
    ASSERT_TRUE(await([&] {
        manager->onScanTimer();
        return device->devicePaths().size() == 2;
    }));
    EXPECT_TRUE(connections.last().isConnected);
    EXPECT_EQ(connections.last().info.value("name"), QVariant("Mix"));
}

TEST_F(HIDConnectionTest, LastConnectionLastsUntilItsWritesEnd) {
    make({.scanMs = 2000, .readTimeoutMs = 5, .writeLimitMs = 100});
    connectFully();
    const QVariantMap old = manager->getDeviceInfo();
    scriptedHidapi::holdWrites(true);
    auto* const device = manager->findChild<HIDDevice*>();
    ASSERT_TRUE(device->writeAll("x"));
    ASSERT_TRUE(await([device] { return !device->isOpen(); }));
    const LogCapture log;
    for (int scan = 0; scan < 3; ++scan) {
        manager->onScanTimer();
    }
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_EQ(manager->getDeviceInfo(), old);
    scriptedHidapi::holdWrites(false);
    ASSERT_TRUE(awaitWritten());
    manager->onScanTimer();
    EXPECT_TRUE(device->isOpen());
    EXPECT_EQ(manager->getDeviceInfo(), QVariantMap({{"dpid", 0x9829u}}));
}

TEST_F(HIDConnectionTest, AddressWithoutAnIdGivesWay) {
    connectDevice(kR2);
    login({0, 3, 0x1234});
    EXPECT_FALSE(manager->getDeviceInfo().contains("pid"));
    login();
    tick(20);
    EXPECT_EQ(queriesTo(kDevice), (std::vector<std::ptrdiff_t>(4, 1)));
    manager->messageSend(5, QByteArray("\x07"));
    tick(10);
    ASSERT_EQ(sentWith(30).size(), 1u);
    EXPECT_EQ(sentWith(30)[0].destination, kDevice);
}

TEST_F(HIDConnectionTest, DeviceThatLogsOutAndInIsAskedAgain) {
    connectFully();
    receive(fromDevice(0, 13, {2, 3, 0x34, 0x12}));
    login();
    tick(20);
    EXPECT_EQ(queriesTo(kDevice), (std::vector<std::ptrdiff_t>(4, 3)))
        << "at the login, the logout and the login";
}
