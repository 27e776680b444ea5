// The firmware upgrade of the device manager, and what it remembers of mixers in their bootloader.

#include "device/HIDDevice.h"
#include "device/HIDHotplugManager.h"
#include "device/MicrophoneUpgrade.h"
#include "device/UpgradeFrame.h"
#include "device/UsbIdentity.h"
#include "dsp/HidUpgradeApi.h"

#include <QDebug>

#include <algorithm>
#include <hidapi.h>
#include <iterator>
#include <utility>

namespace {

/// Of a transfer one block in ten percent is a line in the log.
constexpr int kBlockLineStep = 10;
/// Packets take a mixer from 70 to 80 percent: each percent is a tenth of them.
constexpr int kPacketLineStep = 1;

} // namespace

bool HIDHotplugManager::isMicrophone() const {
    return productId == kVoxmicM40.productId || productId == kVoxmicT40.productId;
}

void HIDHotplugManager::upgradeFirmware(const QString& filePath) {
    if (isUpgradingMixer) {
        qWarning() << "固件升级 正在进行，忽略:" << filePath;
        return;
    }
    qDebug() << "固件升级开始 型号:" << QStringLiteral("0x%1").arg(productId, 4, 16, QLatin1Char('0'))
             << "文件:" << filePath;
    upgradeClock.start();
    toldProgress = -1;
    if (isMicrophone()) {
        upgradeMicrophone(filePath);
    } else {
        upgradeMixer(filePath);
    }
}

void HIDHotplugManager::upgradeMicrophone(const QString& filePath) {
    std::optional<QByteArray> image = readFirmwareImage(filePath);
    if (!image) {
        qDebug() << "读取文件失败";
        return;
    }
    firmwareImage = *std::move(image);
    qDebug() << "固件升级 询问设备 文件大小:" << firmwareImage.size()
             << "CRC:" << QStringLiteral("0x%1").arg(upgradeCrc(firmwareImage), 4, 16, QLatin1Char('0'));
    sendPriMessage(kUpgradeMessageId, upgradeQuestion());
}

void HIDHotplugManager::onUpgradeMessage(const QByteArray& bytes) {
    const std::optional<UpgradeMessage> message = readUpgradeFrame(bytes);
    if (!message) {
        qWarning() << "固件升级 消息过短:" << bytes.toHex();
        return;
    }
    qDebug() << "升级进度 0x8006 : " << bytes.toHex() << "  :::  " << message->dataLength
             << " :: " << message->data.toByteArray().toHex();
    const UpgradeAnswer answer = answerUpgradeMessage(*message, firmwareImage);
    if (!answer.frame.isEmpty()) {
        sendPriMessage(kUpgradeMessageId, answer.frame);
    }
    for (const UpgradeReport& report : answer.reports) {
        reportUpgrade(report.progress, report.message, answer.frame.isEmpty() ? 0 : kBlockLineStep);
    }
    if (answer.isEnd) {
        logUpgradeEnd(answer.reports.constLast().message);
    }
}

void HIDHotplugManager::upgradeMixer(const QString& filePath) {
    // The loader's answers go to each open handle of the device, and a scan would open another one.
    if (hidDevice->isOpen() || timers[0]->isActive()) {
        stopAndDisconnectDevice();
    }
    hidDevice->waitForReaders();
    isUpgradingMixer = true;
    const bool isUpgraded = runMixerUpgrade(filePath);
    isUpgradingMixer = false;
    if (isUpgraded) {
        forgetBootloaders();
    } else {
        reportUpgrade(0, QStringLiteral("升级失败"), 0);
    }
    logUpgradeEnd(isUpgraded ? QStringLiteral("升级成功") : QStringLiteral("升级失败"));
    if (std::exchange(startsAfterUpgrade, false)) {
        startAndConnectDevice();
    }
}

bool HIDHotplugManager::runMixerUpgrade(const QString& filePath) {
    HidUpgradeApi api;
    api.setProgressCallback([this](int progress, const QString& text) {
        reportUpgrade(progress, text, text.startsWith(QStringLiteral("发送数据包")) ? kPacketLineStep : 0);
    });
    if (!api.deviceExists(vendorId)) {
        qDebug().noquote() << QStringLiteral("未检测到 VID=0x") + QString::number(vendorId, 16) +
                                  QStringLiteral(" 的 HID 设备");
        return false;
    }
    if (api.upgrade(filePath, vendorId, kMixdeskR2Bootloader.productId) != HidUpgradeApi::Succeeded) {
        qDebug().noquote() << QStringLiteral("升级失败: ") + api.lastErrorText();
        return false;
    }
    qDebug() << "升级成功完成";
    return true;
}

void HIDHotplugManager::forgetBootloaders() {
    if (isBootloaderPresent()) {
        bootloaders.clear();
        emit bootloaderPresentChanged();
    }
}

void HIDHotplugManager::reportUpgrade(int progress, const QString& message, int stepOfLines) {
    const bool isTold =
        stepOfLines > 0 && toldProgress >= 0 && progress / stepOfLines == toldProgress / stepOfLines;
    if (!isTold) {
        qDebug() << "固件升级 进度:" << progress << message;
        toldProgress = stepOfLines > 0 ? progress : -1;
    }
    emit upgradeFirmwareProgress(progress, message);
}

void HIDHotplugManager::logUpgradeEnd(const QString& result) const {
    qDebug() << "固件升级结束 结果:" << result
             << "耗时:" << (upgradeClock.isValid() ? upgradeClock.elapsed() : 0) << "ms";
}

bool HIDHotplugManager::isBootloaderPresent() const {
    return !bootloaders.empty();
}

void HIDHotplugManager::leaveBootloader() {
    hid_device_info* const list = hid_enumerate(0, 0);
    noteBootloaders(list);
    hid_free_enumeration(list);
    leftBootloaders = bootloaders;
}

void HIDHotplugManager::askForBootloader() {
    leftBootloaders.clear();
}

void HIDHotplugManager::noteBootloaders(const hid_device_info* list) {
    const bool wasPresent = isBootloaderPresent();
    bootloaders.clear();
    for (const hid_device_info* info = list; info != nullptr; info = info->next) {
        if (UsbIdentity{info->vendor_id, info->product_id} == kMixdeskR2Bootloader) {
            bootloaders.emplace(info->path);
        }
    }
    std::erase_if(leftBootloaders, [this](const std::string& path) { return !bootloaders.contains(path); });
    if (isBootloaderPresent() != wasPresent) {
        emit bootloaderPresentChanged();
    }
}

const hid_device_info* HIDHotplugManager::firstKnownDevice(const hid_device_info* list) const {
    for (const hid_device_info* info = list; info != nullptr; info = info->next) {
        const UsbIdentity identity{info->vendor_id, info->product_id};
        const bool isLeft = identity == kMixdeskR2Bootloader && leftBootloaders.contains(info->path);
        if (!isLeft && std::ranges::find(kKnownDevices, identity) != kKnownDevices.end()) {
            return info;
        }
    }
    return nullptr;
}
