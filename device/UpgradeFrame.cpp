#include "device/UpgradeFrame.h"

#include <QtEndian>

#include <algorithm>

namespace {

constexpr qsizetype kCrcOffset = 2;
constexpr qsizetype kCommandOffset = 4;
constexpr qsizetype kDataLengthOffset = 5;

constexpr unsigned kCrcPolynomial = 0x1021;
constexpr unsigned kCrcInitial = 0xFFFF;
constexpr unsigned kCrcTopBit = 0x8000;

} // namespace

std::uint16_t upgradeCrc(QByteArrayView bytes) {
    unsigned crc = kCrcInitial;
    for (const char byte : bytes) {
        crc ^= unsigned{static_cast<std::uint8_t>(byte)} << 8;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & kCrcTopBit) != 0 ? crc << 1 ^ kCrcPolynomial : crc << 1;
        }
    }
    return static_cast<std::uint16_t>(crc);
}

QByteArray upgradeFrame(std::uint8_t command, QByteArrayView data) {
    QByteArray frame(kUpgradeHeaderBytes, '\0');
    frame.reserve(kUpgradeHeaderBytes + data.size());
    frame[0] = '\xAA';
    frame[1] = '\x55';
    frame[kCommandOffset] = static_cast<char>(command);
    qToLittleEndian(static_cast<std::uint16_t>(data.size()), frame.data() + kDataLengthOffset);
    frame.append(data);
    qToLittleEndian(upgradeCrc(QByteArrayView(frame).sliced(kCommandOffset)), frame.data() + kCrcOffset);
    return frame;
}

std::optional<UpgradeMessage> readUpgradeFrame(QByteArrayView frame) {
    if (frame.size() < kUpgradeHeaderBytes) {
        return std::nullopt;
    }
    const auto dataLength = qFromLittleEndian<std::uint16_t>(frame.data() + kDataLengthOffset);
    const QByteArrayView data = frame.sliced(kUpgradeHeaderBytes);
    return UpgradeMessage{static_cast<std::uint8_t>(frame[kCommandOffset]), dataLength,
                          data.first(std::min<qsizetype>(dataLength, data.size()))};
}
