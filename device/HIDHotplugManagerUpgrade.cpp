// The firmware upgrade of the device manager, and what it remembers of mixers in their bootloader.

#include "device/HIDDevice.h"
#include "device/HIDHotplugManager.h"
#include "device/MicrophoneUpgrade.h"
#include "device/UpgradeFrame.h"
#include "device/UsbIdentity.h"

#include <QDebug>

#include <algorithm>
#include <hidapi.h>
#include <iterator>
#include <utility>

namespace {

/// Of a transfer one block in ten percent is a line in the log.
constexpr int kBlockLineStep = 10;

} // namespace

bool HIDHotplugManager::isMicrophone() const {
    return productId == kVoxmicM40.productId || productId == kVoxmicT40.productId;
}

void HIDHotplugManager::upgradeFirmware(const QString& filePath) {
    qDebug() << "固件升级开始 型号:" << QStringLiteral("0x%1").arg(productId, 4, 16, QLatin1Char('0'))
             << "文件:" << filePath;
    upgradeClock.start();
    toldProgress = -1;
    if (isMicrophone()) {
        upgradeMicrophone(filePath);
    } else {
        upgradeMixer();
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

void HIDHotplugManager::upgradeMixer() {
    reportUpgrade(0, QStringLiteral("升级失败"), 0);
    logUpgradeEnd(QStringLiteral("升级失败"));
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
