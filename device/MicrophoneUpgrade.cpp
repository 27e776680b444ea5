#include "device/MicrophoneUpgrade.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <QtEndian>

namespace {

constexpr qint64 kMaximumFileBytes = qint64{64} * 1024 * 1024;

/// The file's header: address 0 of the device is the byte behind it.
constexpr qsizetype kImageHeaderBytes = 32;

/// Offsets in the data of a wish for a block, and its size.
constexpr qsizetype kLengthOffset = 4;
constexpr qsizetype kProgressOffset = 6;
constexpr qsizetype kRequestBytes = 7;
/// Address and length in front of a block's bytes.
constexpr qsizetype kBlockHeaderBytes = 6;
/// The most that an upgrade frame in one message of the link can carry: its length has 16 bits.
constexpr qsizetype kMaximumBlockBytes = 0xFFFF - kUpgradeHeaderBytes - kBlockHeaderBytes;

constexpr int kProgressEnd = 100;

/// The first data byte of a message that says to have exactly one.
std::optional<std::uint8_t> onlyByte(const UpgradeMessage& message) {
    if (message.dataLength != 1 || message.data.isEmpty()) {
        return std::nullopt;
    }
    return static_cast<std::uint8_t>(message.data[0]);
}

UpgradeAnswer answerStatus(const UpgradeMessage& message) {
    static const QStringList texts{QStringLiteral("可以升级"), QStringLiteral("不可以升级电量低"),
                                   QStringLiteral("不可以升级设备忙"), QStringLiteral("对码中不可以升级")};
    const std::optional<std::uint8_t> status = onlyByte(message);
    if (!status || *status >= texts.size()) {
        return {};
    }
    return {.frame = {}, .reports = {{0, texts[*status]}}, .isEnd = *status != 0};
}

UpgradeAnswer answerBlockRequest(const UpgradeMessage& message, const QByteArray& image) {
    if (message.data.size() < kRequestBytes) {
        qDebug() << "数据长度不足，无法解析";
        return {};
    }
    const auto address = qFromLittleEndian<std::uint32_t>(message.data.data());
    const auto length = qFromLittleEndian<std::uint16_t>(message.data.data() + kLengthOffset);
    const int progress = static_cast<std::uint8_t>(message.data[kProgressOffset]);
    qDebug() << "data_address 0x81 : " << address << " 升级进度 len : " << progress;

    // Kept: the header is not counted. So the last 32 bytes of the addresses come short, and a file of less
    // than 32 bytes gives empty blocks.
    const qint64 end = qint64{address} + length;
    if (image.isEmpty() || address >= image.size() || end > image.size() || length > kMaximumBlockBytes) {
        qWarning() << "固件升级 拒绝数据请求 地址:" << address << "长度:" << length
                   << "文件大小:" << image.size();
        return {.frame = {}, .reports = {{kProgressEnd, QStringLiteral("升级失败")}}, .isEnd = true};
    }
    const QByteArray block =
        message.data.first(kBlockHeaderBytes).toByteArray() + image.mid(address + kImageHeaderBytes, length);
    return {.frame = upgradeFrame(kUpgradeBlock, block),
            .reports = {{progress, QStringLiteral("升级进度:%1").arg(progress)}},
            .isEnd = false};
}

UpgradeAnswer answerVerdict(const UpgradeMessage& message) {
    if (message.data.isEmpty()) {
        return {};
    }
    qDebug() << "升级进度 0x82 结果:" << int{static_cast<signed char>(message.data[0])};
    const std::optional<std::uint8_t> result = onlyByte(message);
    if (result == 0) {
        return {.frame = {}, .reports = {{kProgressEnd, QStringLiteral("升级成功")}}, .isEnd = true};
    }
    if (result == 1) {
        // Kept: the device does not say which of the two it means.
        return {.frame = {},
                .reports = {{kProgressEnd, QStringLiteral("升级失败,版本低")},
                            {kProgressEnd, QStringLiteral("升级失败,校验失败")}},
                .isEnd = true};
    }
    return {};
}

} // namespace

std::optional<QByteArray> readFirmwareImage(const QString& filePath) {
    // A pipe or a device could keep the program waiting for ever.
    if (!QFileInfo(filePath).isFile()) {
        return std::nullopt;
    }
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly) || file.size() > kMaximumFileBytes) {
        return std::nullopt;
    }
    const qint64 size = file.size();
    QByteArray image = file.read(size);
    if (image.size() != size) {
        return std::nullopt;
    }
    return image;
}

QByteArray upgradeQuestion() {
    return upgradeFrame(kUpgradeAsk, QByteArrayView("\0", 1));
}

UpgradeAnswer answerUpgradeMessage(const UpgradeMessage& message, const QByteArray& image) {
    switch (message.command) {
    case kUpgradeAsk:
        return answerStatus(message);
    case kUpgradeBlock:
        return answerBlockRequest(message, image);
    case kUpgradeVerdict:
        return answerVerdict(message);
    default:
        return {};
    }
}
