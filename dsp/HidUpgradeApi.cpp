#include "dsp/HidUpgradeApi.h"

#include "dsp/frames/ControlFrame.h"
#include "dsp/frames/LoaderMessages.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <hidapi.h>
#include <string_view>

namespace {

constexpr int kProbeTries = 10;
constexpr std::size_t kVersionBytes = 3;
/// A version byte that flash memory without a loader shows.
constexpr std::uint8_t kMaxVersionByte = 254;
constexpr int kCommandBytes = 60;

vexo::dsp::Bytes bytesOf(const QByteArray& bytes) {
    return {reinterpret_cast<const std::uint8_t*>(bytes.constData()), static_cast<std::size_t>(bytes.size())};
}

QString fourDigits(std::uint16_t value) {
    return QStringLiteral("%1").arg(value, 4, 16, QLatin1Char('0'));
}

QString versionByte(std::uint8_t value) {
    return QStringLiteral("%1").arg(value, 2, 16, QLatin1Char('0')).toUpper();
}

} // namespace

HidUpgradeApi::HidUpgradeApi(const UpgradeWaits& chosen) : waits(chosen) {}

bool HidUpgradeApi::deviceExists(std::uint16_t vendorId) const {
    return probe(vendorId, kProbeTries) != 0;
}

std::uint16_t HidUpgradeApi::probe(std::uint16_t vendorId, int tries) const {
    for (int i = 0; i < tries; ++i) {
        hid_device_info* const list = hid_enumerate(0, 0);
        const hid_device_info* entry = list;
        while (entry != nullptr && entry->vendor_id != vendorId) {
            entry = entry->next;
        }
        const std::uint16_t found = entry == nullptr ? 0 : entry->product_id;
        hid_free_enumeration(list);
        if (found != 0) {
            return found;
        }
        QThread::msleep(static_cast<unsigned long>(waits.probePauseMs));
    }
    return 0;
}

void HidUpgradeApi::closeWithDelay() {
    if (hid.isOpen()) {
        hid.closeDevice();
        QThread::msleep(static_cast<unsigned long>(waits.closeMs));
    }
}

void HidUpgradeApi::progress(int value, const QString& text) {
    if (progressCallback) {
        progressCallback(value, text);
    }
}

bool HidUpgradeApi::fail(const QString& text) {
    lastError = text;
    qWarning() << text;
    return false;
}

int HidUpgradeApi::upgrade(const QString& filePath, std::uint16_t vendorId, std::uint16_t bootProductId) {
    lastError.clear();
    closeWithDelay();
    progress(0, QStringLiteral("开始HID升级..."));
    const std::uint16_t current = probe(vendorId, kProbeTries);
    if (current == 0) {
        fail(QStringLiteral("未找到指定VID的HID设备"));
        return NotFound;
    }
    progress(5, QStringLiteral("发现设备 PID: 0x%1").arg(fourDigits(current)));
    if (!enterFlashBoot(vendorId, current, bootProductId)) {
        return NoFlashBoot;
    }
    if (!loadImage(filePath)) {
        return BadFile;
    }
    progress(40, QStringLiteral("打开FlashBoot HID设备"));
    if (!hid.openDevice(vendorId, bootProductId)) {
        fail(QStringLiteral("打开FlashBoot HID设备失败"));
        return NotFound;
    }
    const bool isFlashed = flash();
    closeWithDelay();
    return isFlashed ? Succeeded : Refused;
}

bool HidUpgradeApi::enterFlashBoot(std::uint16_t vendorId, std::uint16_t current,
                                   std::uint16_t bootProductId) {
    if (current == bootProductId) {
        progress(15, QStringLiteral("设备已在FlashBoot模式"));
        return true;
    }
    progress(12, QStringLiteral("尝试切换至FlashBoot模式"));
    if (!hid.openDevice(vendorId, current)) {
        return fail(QStringLiteral("打开SDK HID设备失败"));
    }
    if (!readLoaderVersion()) {
        fail(QStringLiteral("设备不存在FlashBoot"));
        closeWithDelay();
        return false;
    }
    restartIntoFlashBoot();
    return awaitFlashBoot(vendorId, bootProductId);
}

bool HidUpgradeApi::readLoaderVersion() {
    const char* const text = hid.cmText(hidProtocol::CmVsrc);
    if (!sendBlock(vexo::dsp::commandBlock(text)) || !confirmed(text)) {
        return false;
    }
    // The first payload byte, the echo, then the version; a shorter reply has zeros in its place.
    const vexo::dsp::Bytes version =
        vexo::dsp::Bytes(hidProtocol::replyStore).subspan(1 + std::string_view(text).size(), kVersionBytes);
    if (std::ranges::all_of(version, [](std::uint8_t byte) { return byte > kMaxVersionByte; })) {
        return false;
    }
    progress(14, QStringLiteral("FlashBoot 版本: %1-%2-%3")
                     .arg(versionByte(version[0]), versionByte(version[1]), versionByte(version[2])));
    return true;
}

void HidUpgradeApi::restartIntoFlashBoot() {
    if (!sendBlock(vexo::dsp::commandBlock(hid.cmText(hidProtocol::CmRest)))) {
        qWarning() << "HidUpgradeApi: 跳转命令发送失败";
    }
    progress(18, QStringLiteral("已发送跳转命令，等待设备重启"));
}

bool HidUpgradeApi::awaitFlashBoot(std::uint16_t vendorId, std::uint16_t bootProductId) {
    const bool isProgramEnding = !hid.waitMs(0);
    closeWithDelay();
    QElapsedTimer elapsed;
    elapsed.start();
    while (!isProgramEnding && !elapsed.hasExpired(waits.jumpLimitMs)) {
        if (probe(vendorId, 1) == bootProductId) {
            progress(20, QStringLiteral("设备已进入FlashBoot模式"));
            return true;
        }
        QThread::msleep(static_cast<unsigned long>(waits.jumpPauseMs));
    }
    return fail(QStringLiteral("SDK跳转到FlashBoot失败"));
}

bool HidUpgradeApi::loadImage(const QString& filePath) {
    QFile file(filePath);
    // Opening a pipe would wait for its writer.
    const QFileInfo info(filePath);
    const bool isOther = info.exists() && !info.isFile();
    if (isOther || !file.open(QIODevice::ReadOnly)) {
        return fail(QStringLiteral("无法打开固件文件: %1").arg(filePath));
    }
    const qint64 size = file.size();
    if (size < 1 || size > static_cast<qint64>(vexo::dsp::kMaxImageBytes)) {
        return fail(QStringLiteral("固件文件大小异常: %1 Bytes").arg(size));
    }
    image = file.read(size);
    file.close();
    if (image.size() != size) {
        image.clear();
        return fail(QStringLiteral("读取固件文件失败"));
    }
    imageCrc = vexo::dsp::crc16(bytesOf(image));
    progress(35, QStringLiteral("固件加载完成: 大小=0x%1, CRC=0x%2")
                     .arg(QString::number(size, 16), fourDigits(imageCrc)));
    return true;
}

bool HidUpgradeApi::flash() {
    const auto size = static_cast<std::uint32_t>(image.size());
    const char* const handshake = hid.cmText(hidProtocol::CmVcrc);
    const char* const erase = hid.cmText(hidProtocol::CmCode);
    progress(45, QStringLiteral("设备已打开，准备握手"));
    if (!sendBlock(vexo::dsp::handshakeBlock(handshake, imageCrc)) || !hid.waitMs(waits.handshakeMs) ||
        !confirmed(handshake)) {
        return fail(QStringLiteral("握手失败，错误ID[2-0]"));
    }
    progress(55, QStringLiteral("握手成功，擦除Flash"));
    if (!sendBlock(vexo::dsp::eraseBlock(erase, size)) || !hid.waitMs(waits.eraseMs) || !confirmed(erase)) {
        return fail(QStringLiteral("擦除失败，错误ID[3-2]"));
    }
    progress(70, QStringLiteral("刷写固件数据"));
    if (!sendPackets()) {
        return false;
    }
    progress(85, QStringLiteral("确认数据长度"));
    if (!sendBlock(vexo::dsp::lengthBlock(hid.cmText(hidProtocol::CmUpgd), size)) ||
        !hid.waitMs(waits.lengthMs) || reply().empty()) {
        return fail(QStringLiteral("升级确认失败，错误ID[4-1]"));
    }
    finish();
    return true;
}

bool HidUpgradeApi::sendPackets() {
    const auto count = static_cast<int>(vexo::dsp::packetCount(static_cast<std::size_t>(image.size())));
    for (int i = 0; i < count; ++i) {
        const auto block = vexo::dsp::packetBlock(bytesOf(image), static_cast<std::size_t>(i));
        const bool isSent = hid.sendFrame(block.data(), kCommandBytes, 2) >= 0;
        if (isSent) {
            progress(70 + i * 10 / count, QStringLiteral("发送数据包 %1/%2").arg(i + 1).arg(count));
        }
        if (!isSent || !hid.waitMs(waits.packetMs)) {
            return fail(QStringLiteral("发送固件数据失败 (包%1/%2)").arg(i + 1).arg(count));
        }
    }
    return true;
}

/// The device has confirmed the whole image: what fails from here on is told only.
void HidUpgradeApi::finish() {
    progress(95, QStringLiteral("完成升级"));
    if (!sendBlock(vexo::dsp::commandBlock(hid.cmText(hidProtocol::CmFnsh)))) {
        qWarning() << "HidUpgradeApi: 完成命令发送失败";
    }
    hid.waitMs(waits.finishMs);
    progress(100, QStringLiteral("升级成功"));
}

bool HidUpgradeApi::sendBlock(vexo::dsp::Bytes block) {
    return hid.sendFrame(block.data(), static_cast<int>(block.size()), 1) >= 0;
}

vexo::dsp::Bytes HidUpgradeApi::reply() {
    int length = 0;
    hid.readReply(replyBuffer, length);
    return vexo::dsp::Bytes(replyBuffer).first(static_cast<std::size_t>(length));
}

bool HidUpgradeApi::confirmed(const char* text) {
    const vexo::dsp::Bytes payload = reply();
    if (vexo::dsp::echoes(payload, text)) {
        return true;
    }
    const QByteArray actual(reinterpret_cast<const char*>(payload.data()),
                            static_cast<qsizetype>(payload.size()));
    qWarning() << "命令应答不匹配, 期望:" << text << "实际:" << actual.toHex(' ');
    return false;
}
