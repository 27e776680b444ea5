// The bus: scan, plugging, opening, the timers.

#include "device/HIDDevice.h"
#include "device/link/LinkInspection.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/device/HIDHotplugManagerFixture.h"

#include <QElapsedTimer>

#include <functional>

TEST_F(HIDHotplugManagerTest, ConstructionStartsBothTimersAndLogsZeroIds) {
    const LogCapture log;
    const HIDHotplugManager other;
    const QList<QTimer*> found = other.findChildren<QTimer*>(Qt::FindDirectChildrenOnly);
    ASSERT_EQ(found.size(), 2);
    EXPECT_EQ(found[0]->interval(), 2000);
    EXPECT_EQ(found[1]->interval(), 1);
    EXPECT_TRUE(found[0]->isActive() && found[1]->isActive());
    EXPECT_FALSE(found[0]->isSingleShot() || found[1]->isSingleShot());
    EXPECT_EQ(found[0]->timerType(), Qt::PreciseTimer);
    EXPECT_EQ(found[1]->timerType(), Qt::PreciseTimer);
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList({"HIDHotplugManager 单例创建完成，开始监测设备",
                                                  R"(监测设备 VID: "0x0000" PID: "0x0000")"}));
}

TEST_F(HIDHotplugManagerTest, DestructionLogs) {
    const LogCapture log;
    manager.reset();
    EXPECT_EQ(log.count("HIDHotplugManager 单例销毁完成，停止监测设备"), 1);
    make();
}

TEST_F(HIDHotplugManagerTest, PresentDeviceConnectsWithDpidOnlyWithinTheFirstScan) {
    scriptedHidapi::plug(kKeyboard);
    const LogCapture log;
    connectDevice(kR2);
    ASSERT_EQ(connections.size(), 1);
    EXPECT_TRUE(connections[0].isConnected);
    EXPECT_EQ(connections[0].info, QVariantMap({{"dpid", 0x9829u}}));
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList({"设备已在线", "设备在线，尝试连接 FIXED_USAGE: 12",
                                                  " hid_open_path ", "HIDDevice 连接成功: \"/r2\""}));
    EXPECT_EQ(scriptedHidapi::listsOutstanding(), 0);
}

TEST_F(HIDHotplugManagerTest, MicrophonesAreOpenedOnTheirUsagePage) {
    const LogCapture log;
    scriptedHidapi::plug({"/m40-media", 0x2F05, 0x1396, 0x0C});
    connectDevice(kM40);
    EXPECT_EQ(log.count("FIXED_USAGE: 140"), 1);
    EXPECT_EQ(log.count("/m40-media"), 0);
    EXPECT_EQ(connections.last().info.value("dpid"), QVariant(0x1396u));
}

TEST_F(HIDHotplugManagerTest, OnlyTheFirstKnownDeviceOfTheListIsUsedAsLongAsItIsThere) {
    scriptedHidapi::plug(kKeyboard);
    scriptedHidapi::plug(kT40);
    scriptedHidapi::plug(kR2);
    manager->onScanTimer();
    manager->onScanTimer();
    ASSERT_EQ(connections.size(), 1);
    EXPECT_EQ(connections[0].info.value("dpid"), QVariant(0x1397u));
    EXPECT_EQ(scriptedHidapi::openedEver(), 1);

    const LogCapture log;
    scriptedHidapi::unplug("/t40");
    ASSERT_TRUE(await([&] { return connections.size() == 2; }));
    EXPECT_FALSE(connections[1].isConnected);
    manager->onScanTimer();
    ASSERT_EQ(connections.size(), 3);
    EXPECT_TRUE(connections[2].isConnected);
    EXPECT_EQ(connections[2].info.value("dpid"), QVariant(0x9829u));
    EXPECT_EQ(log.count("FIXED_USAGE: 12"), 1);
    EXPECT_EQ(scriptedHidapi::openedEver(), 2);
}

TEST_F(HIDHotplugManagerTest, OtherProductsOfAKnownVendorAreLeftAlone) {
    scriptedHidapi::plug({"/sibling", 0x3327, 0x9828, 0x0C});
    scriptedHidapi::plug({"/crossed", 0x3327, 0x1396, 0x8C});
    scriptedHidapi::plug({"/cousin", 0x2F05, 0x1398, 0x8C});
    scriptedHidapi::plug({"/mixed", 0x2F05, 0x9829, 0x0C});
    const LogCapture log;
    manager->onScanTimer();
    EXPECT_EQ(scriptedHidapi::openedEver(), 0);
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_TRUE(manager->getDeviceInfo().isEmpty());
}

TEST_F(HIDHotplugManagerTest, OpenDeviceIsNotLookedFor) {
    connectDevice(kR2);
    const int before = scriptedHidapi::enumerations();
    manager->onScanTimer();
    EXPECT_EQ(scriptedHidapi::enumerations(), before);
}

TEST_F(HIDHotplugManagerTest, DeviceWithoutTheUsagePageIsRetriedAtEveryScan) {
    scriptedHidapi::plug({"/r2-other", 0x3327, 0x9829, 0x01});
    const LogCapture log;
    manager->onScanTimer();
    manager->onScanTimer();
    EXPECT_TRUE(connections.isEmpty());
    EXPECT_EQ(log.count("设备已在线"), 1);
    EXPECT_EQ(log.count("设备在线，尝试连接"), 2);
    EXPECT_EQ(manager->getDeviceInfo(), QVariantMap({{"dpid", 0x9829u}}))
        << "dpid follows the device, pid and vid only a login";
}

TEST_F(HIDHotplugManagerTest, UnplugReportsFalseWithTheOldValuesAndOfflineAtTheNextScan) {
    connectDevice(kR2);
    login();
    answer(1, {0, 3, 'M', 'i', 'x'});
    answer(23, {0, 'S', 'N', '7', 0});
    answer(16, {0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 5});
    const QVariantMap full = manager->getDeviceInfo();
    const LogCapture log;
    scriptedHidapi::unplug("/r2");
    ASSERT_TRUE(await([&] { return !connections.last().isConnected; }));
    EXPECT_EQ(connections.last().info, full);
    EXPECT_EQ(connections.last().info.value("name"), QVariant("Mix"));
    EXPECT_EQ(log.count("HIDDevice 断开连接: \"/r2\""), 1);
    EXPECT_EQ(log.count("设备已离线"), 0);
    manager->onScanTimer();
    EXPECT_EQ(log.count("设备已离线"), 1);
    EXPECT_EQ(manager->getDeviceInfo(), full);
}

TEST_F(HIDHotplugManagerTest, FirstCloseOfTwoInterfacesStillCountsAsConnected) {
    scriptedHidapi::plug({"/r2b", 0x3327, 0x9829, 0x0C});
    connectDevice(kR2);
    ASSERT_EQ(connections.size(), 2);
    scriptedHidapi::unplug("/r2b");
    ASSERT_TRUE(await([&] { return connections.size() == 3; }));
    EXPECT_TRUE(connections[2].isConnected);
    scriptedHidapi::unplug("/r2");
    ASSERT_TRUE(await([&] { return connections.size() == 4; }));
    EXPECT_FALSE(connections[3].isConnected);
}

TEST_F(HIDHotplugManagerTest, BootloaderAtStartStopsTheManagerAndSignalsTheUpgrade) {
    scriptedHidapi::plug(kBootloader);
    scriptedHidapi::plug(kR2);
    manager->startAndConnectDevice();
    const LogCapture log;
    manager->onScanTimer();
    EXPECT_EQ(upgradeSignals, 1);
    EXPECT_TRUE(connections.isEmpty());
    EXPECT_FALSE(timers[0]->isActive() || timers[1]->isActive());
    EXPECT_EQ(log.texts(QtDebugMsg),
              QStringList("HIDHotplugManager::stopAndDisconnectDevice 停止监测并断开设备"));
    EXPECT_EQ(manager->getDeviceInfo(), QVariantMap());
    EXPECT_EQ(scriptedHidapi::listsOutstanding(), 1) << "the list of this one scan is kept aside";
}

TEST_F(HIDHotplugManagerTest, StopClosesStopsBothTimersAndStartResumesThem) {
    connectDevice(kR2);
    manager->startAndConnectDevice();
    EXPECT_TRUE(timers[0]->isActive() && timers[1]->isActive());
    manager->stopAndDisconnectDevice();
    EXPECT_FALSE(timers[0]->isActive() || timers[1]->isActive());
    ASSERT_EQ(connections.size(), 2);
    EXPECT_FALSE(connections[1].isConnected);
    const int before = scriptedHidapi::enumerations();
    const LogCapture log;
    manager->startAndConnectDevice();
    EXPECT_EQ(log.texts(QtDebugMsg),
              QStringList("HIDHotplugManager::startAndConnectDevice 启动监测并尝试连接设备"));
    EXPECT_TRUE(timers[0]->isActive() && timers[1]->isActive());
    EXPECT_EQ(timers[0]->interval(), 2000);
    EXPECT_EQ(scriptedHidapi::enumerations(), before) << "the next scan comes 2000 ms later";
}

TEST_F(HIDHotplugManagerTest, StartOnARunningManagerChangesNothing) {
    manager->startAndConnectDevice();
    const int idBefore = timers[0]->timerId();
    const int tickBefore = timers[1]->timerId();
    manager->startAndConnectDevice();
    EXPECT_EQ(timers[0]->timerId(), idBefore);
    EXPECT_EQ(timers[1]->timerId(), tickBefore);
}

TEST_F(HIDHotplugManagerTest, TheTickPausesWhileTheLinkIsIdleAndWakesForWork) {
    connectDevice(kR2);
    login();
    for (const std::uint16_t message : std::initializer_list<std::uint16_t>{1, 14, 16, 23, 34}) {
        tick(3);
        answer(message, {0});
    }
    manager->startAndConnectDevice();
    ASSERT_TRUE(await([&] { return timers[1]->interval() > 1; }));
    const std::uint32_t before = linkInspect().tickCount;
    QElapsedTimer clock;
    clock.start();
    EXPECT_TRUE(await([&] { return linkInspect().tickCount >= before + 150; }))
        << "the ticks of a pause are counted";
    manager->messageGet(10);
    const std::uint32_t passed = linkInspect().tickCount - before;
    EXPECT_EQ(timers[1]->interval(), 1) << "a request wakes the link";
    EXPECT_LE(passed, clock.elapsed() + 60) << "time does not run ahead";
    EXPECT_TRUE(await([&] { return !sentWith(31).empty(); })) << "and it goes out";
}

TEST_F(HIDHotplugManagerTest, PauseCountsTheTimeThatHasPassedAndNoMore) {
    connectFully();
    manager->startAndConnectDevice();
    QElapsedTimer clock;
    std::uint32_t before = 0;
    ASSERT_TRUE(await([&] {
        if (timers[1]->interval() == 1) {
            clock.start();
            before = linkInspect().tickCount;
        }
        return timers[1]->interval() > 20;
    }));
    manager->messageGet(10);
    EXPECT_LE(linkInspect().tickCount - before, clock.elapsed() + 2) << "time ran ahead";
}

TEST_F(HIDHotplugManagerTest, PauseThatOverrunsCountsOnlyItsLength) {
    connectFully();
    ASSERT_NO_FATAL_FAILURE(letLinkPause());
    const std::uint32_t before = linkInspect().tickCount;
    QElapsedTimer clock;
    clock.start();
    // The machine sleeps, or the main thread is busy.
    ASSERT_TRUE(awaitThread([&clock] { return clock.elapsed() > 200; }));
    manager->onTimeout();
    EXPECT_LE(linkInspect().tickCount - before, 52u) << "a peer would age by the time that was slept";
}

TEST_F(HIDHotplugManagerTest, WhateverGivesTheLinkWorkEndsItsPause) {
    connectFully();
    const std::vector<std::pair<const char*, std::function<void()>>> works{
        {"messageSend",
         [this] {
             manager->messageSend(5, QByteArray("\x07"));
         }},
        {"messageGet",
         [this] {
             manager->messageGet(5);
         }},
        {"messageGetAll",
         [this] {
             manager->messageGetAll();
         }},
        {"sendPriMessage",
         [this] {
             manager->sendPriMessage(0x8004, QByteArray("\x01"));
         }},
    };
    for (const auto& [name, work] : works) {
        ASSERT_NO_FATAL_FAILURE(letLinkPause()) << name;
        work();
        EXPECT_EQ(timers[1]->interval(), 1) << name;
    }
    int intervalAfterReport = 0;
    // Connected after the manager's own slot, and so called after it.
    QObject::connect(manager->findChild<HIDDevice*>(), &HIDDevice::dataReceived, manager.get(),
                     [&] { intervalAfterReport = timers[1]->interval(); });
    ASSERT_NO_FATAL_FAILURE(letLinkPause());
    ASSERT_NO_FATAL_FAILURE(
        receiveReport(wireFrame::deviceReports(reportForm, wireFrame::hello(kDevice))[0]));
    EXPECT_EQ(intervalAfterReport, 1);
}

TEST_F(HIDHotplugManagerTest, StopEndsAPauseAndTheLinkStandsStill) {
    connectFully();
    ASSERT_NO_FATAL_FAILURE(letLinkPause(20));
    manager->stopAndDisconnectDevice();
    const std::uint32_t before = linkInspect().tickCount;
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(awaitThread([&clock] { return clock.elapsed() > 60; }));
    manager->onTimeout();
    EXPECT_EQ(linkInspect().tickCount, before + 1);
}

TEST_F(HIDHotplugManagerTest, TickPollsTheLinkBeforeItCounts) {
    connectDevice(kR2);
    tick(1025); // the first hello is due when more than 1024 ticks have been counted
    EXPECT_TRUE(sentFrames().empty());
    tick(1);
    EXPECT_EQ(sentWith(0).size(), 1u);
}

TEST_F(HIDHotplugManagerTest, NothingIsLoggedAsSentWhileNoInterfaceIsOpen) {
    tick(1100); // a hello is due
    EXPECT_TRUE(logLines("hid_data.log").isEmpty());
    connectDevice(kR2);
    tick(1100);
    EXPECT_EQ(logLines("hid_data.log").size(), 1);
}

TEST_F(HIDHotplugManagerTest, RealTimersScanAndTick) {
    make({.scanMs = 50, .readTimeoutMs = 5});
    tick(900); // the first hello is due after 1024
    scriptedHidapi::plug(kR2);
    QElapsedTimer clock;
    clock.start();
    manager->startAndConnectDevice();
    ASSERT_TRUE(await([&] { return !connections.isEmpty(); }));
    EXPECT_TRUE(connections[0].isConnected);
    EXPECT_GE(clock.elapsed(), 50) << "the scan came early";
    ASSERT_TRUE(await([] { return !scriptedHidapi::written("/r2").empty(); })) << "no hello went out";
}

TEST_F(HIDHotplugManagerTest, ByteArrayToVariantListGivesUnsignedNumbers) {
    EXPECT_EQ(manager->byteArrayToVariantList(QByteArray("\x00\x7F\xFB", 3)), QVariantList({0u, 127u, 251u}));
    EXPECT_TRUE(manager->byteArrayToVariantList(QByteArray()).isEmpty());
}
