// What the scan makes of mixers in their bootloader, and what the user can say to it.

#include "device/HIDDevice.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/device/HIDHotplugManagerFixture.h"

namespace {

const scriptedHidapi::Interface kSecondBootloader{"/boot2", 0x3327, 0x0820, 0xFF00};

} // namespace

TEST_F(HIDHotplugManagerTest, BootloaderPresentFollowsTheBus) {
    int changes = 0;
    QObject::connect(manager.get(), &HIDHotplugManager::bootloaderPresentChanged, manager.get(),
                     [&changes] { ++changes; });
    manager->onScanTimer();
    EXPECT_FALSE(manager->isBootloaderPresent());
    scriptedHidapi::plug(kBootloader);
    bool isPresentAtSignal = false;
    QObject::connect(manager.get(), &HIDHotplugManager::upgradeFirmwareSignal, manager.get(),
                     [&] { isPresentAtSignal = manager->isBootloaderPresent(); });
    manager->onScanTimer();
    EXPECT_TRUE(manager->isBootloaderPresent());
    EXPECT_TRUE(isPresentAtSignal);
    scriptedHidapi::unplug(kBootloader.path);
    manager->onScanTimer();
    EXPECT_FALSE(manager->isBootloaderPresent());
    EXPECT_EQ(changes, 2);
}

TEST_F(HIDHotplugManagerTest, ALeftBootloaderIsPassedOverAndOtherDevicesConnect) {
    scriptedHidapi::plug(kBootloader);
    manager->onScanTimer();
    EXPECT_EQ(upgradeSignals, 1);
    manager->leaveBootloader();
    manager->startAndConnectDevice();
    manager->onScanTimer();
    EXPECT_EQ(upgradeSignals, 1);
    EXPECT_TRUE(timers[0]->isActive()) << "the search goes on";
    EXPECT_TRUE(manager->isBootloaderPresent());
    connectDevice(kM40);
    EXPECT_TRUE(connections.last().isConnected);
    EXPECT_EQ(connections.last().info.value("dpid"), QVariant(0x1396u));
}

TEST_F(HIDHotplugManagerTest, ALeftBootloaderIsTakenUpAgainAfterItWasGone) {
    scriptedHidapi::plug(kBootloader);
    manager->onScanTimer();
    manager->leaveBootloader();
    scriptedHidapi::unplug(kBootloader.path);
    manager->onScanTimer();
    scriptedHidapi::plug(kBootloader);
    manager->onScanTimer();
    EXPECT_EQ(upgradeSignals, 2);
}

TEST_F(HIDHotplugManagerTest, AskingTakesALeftBootloaderUp) {
    scriptedHidapi::plug(kBootloader);
    manager->onScanTimer();
    manager->leaveBootloader();
    manager->onScanTimer();
    EXPECT_EQ(upgradeSignals, 1);
    manager->askForBootloader();
    manager->onScanTimer();
    EXPECT_EQ(upgradeSignals, 2);
}

TEST_F(HIDHotplugManagerTest, ABootloaderThatCameAfterTheLeavingIsTakenUp) {
    scriptedHidapi::plug(kBootloader);
    manager->onScanTimer();
    manager->leaveBootloader();
    scriptedHidapi::plug(kSecondBootloader);
    manager->onScanTimer();
    EXPECT_EQ(upgradeSignals, 2);
}

TEST_F(HIDHotplugManagerTest, LeavingLeavesAllThatAreThere) {
    scriptedHidapi::plug(kBootloader);
    scriptedHidapi::plug(kSecondBootloader);
    manager->onScanTimer();
    manager->leaveBootloader();
    manager->onScanTimer();
    EXPECT_EQ(upgradeSignals, 1);
    EXPECT_EQ(scriptedHidapi::listsOutstanding(), 1) << "that of the scan which found it";
}

TEST_F(HIDHotplugManagerTest, ABootloaderThatAnUpgradeHasLeftBehindCanBeLeftBeforeAnyScan) {
    scriptedHidapi::plug(kBootloader);
    manager->leaveBootloader();
    EXPECT_TRUE(manager->isBootloaderPresent());
    manager->onScanTimer();
    EXPECT_EQ(upgradeSignals, 0);
}

TEST_F(HIDHotplugManagerTest, LeavingWithoutABootloaderChangesNothing) {
    manager->leaveBootloader();
    scriptedHidapi::plug(kBootloader);
    manager->onScanTimer();
    EXPECT_EQ(upgradeSignals, 1);
}

TEST_F(HIDHotplugManagerTest, AMixerThatIsNotThereCannotBeUpgraded) {
    std::vector<std::pair<int, std::string>> told;
    QObject::connect(
        manager.get(), &HIDHotplugManager::upgradeFirmwareProgress, manager.get(),
        [&told](int progress, const QString& text) { told.emplace_back(progress, text.toStdString()); });
    const LogCapture log;
    manager->upgradeFirmware("/nowhere/firmware.bin");
    EXPECT_EQ(told, (std::vector<std::pair<int, std::string>>{{0, "升级失败"}}));
    EXPECT_EQ(log.count(QStringLiteral("未检测到 VID=0x0 的 HID 设备")), 1);
}

TEST_F(HIDHotplugManagerTest, WhatIsAskedForInTheUpgradeOfAMixerWaitsOrIsRefused) {
    scriptedHidapi::plug(kBootloader);
    manager->onScanTimer();
    std::vector<std::pair<int, std::string>> told;
    QObject::connect(manager.get(), &HIDHotplugManager::upgradeFirmwareProgress, manager.get(),
                     [&](int progress, const QString& text) {
                         told.emplace_back(progress, text.toStdString());
                         if (progress == 5) {
                             manager->upgradeFirmware("/nowhere/other.bin");
                             manager->startAndConnectDevice();
                             EXPECT_FALSE(timers[0]->isActive()) << "a scan would open the mixer";
                         }
                     });
    const LogCapture log;
    manager->upgradeFirmware("/nowhere/firmware.bin");
    EXPECT_EQ(told, (std::vector<std::pair<int, std::string>>{{0, "开始HID升级..."},
                                                              {5, "发现设备 PID: 0x0820"},
                                                              {15, "设备已在FlashBoot模式"},
                                                              {0, "升级失败"}}));
    EXPECT_EQ(log.count(QStringLiteral("升级失败: 无法打开固件文件: /nowhere/firmware.bin")), 1);
    EXPECT_EQ(log.count(QStringLiteral("正在进行")), 1);
    EXPECT_TRUE(timers[0]->isActive()) << "the start was remembered";
    EXPECT_TRUE(timers[1]->isActive());
}

TEST_F(HIDHotplugManagerTest, AStopInTheUpgradeOfAMixerTakesTheRememberedStartBack) {
    scriptedHidapi::plug(kBootloader);
    manager->onScanTimer();
    QObject::connect(manager.get(), &HIDHotplugManager::upgradeFirmwareProgress, manager.get(),
                     [this](int progress, const QString&) {
                         if (progress == 5) {
                             manager->startAndConnectDevice();
                             manager->stopAndDisconnectDevice();
                         }
                     });
    manager->upgradeFirmware("/nowhere/firmware.bin");
    EXPECT_FALSE(timers[0]->isActive());
}
