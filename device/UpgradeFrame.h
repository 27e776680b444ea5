#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <optional>

/// The frames of a microphone's firmware transfer, the payload of one private message in both directions. All
/// numbers are little-endian. Plain functions, any thread.
///
///   0  2  magic AA 55
///   2  2  CRC-16/CCITT-FALSE of the bytes from 4 to the end
///   4  1  command
///   5  2  dataLength
///   7  n  data

/// The private message that carries them.
inline constexpr std::uint16_t kUpgradeMessageId = 0x8006;

/// To the device: may the transfer start? From it: its status.
inline constexpr std::uint8_t kUpgradeAsk = 0x80;
/// From the device: the wish for a block. To it: the block.
inline constexpr std::uint8_t kUpgradeBlock = 0x81;
/// From the device: its verdict on the image.
inline constexpr std::uint8_t kUpgradeVerdict = 0x82;

inline constexpr qsizetype kUpgradeHeaderBytes = 7;

/// One received frame.
struct UpgradeMessage {
    std::uint8_t command = 0;
    /// What the frame says, whatever it holds.
    std::uint16_t dataLength = 0;
    /// At most `dataLength` bytes, fewer where the frame ends before. Valid as long as the frame.
    QByteArrayView data;
};

/// CRC-16 with polynomial 0x1021 and initial value 0xFFFF, not reflected.
[[nodiscard]] std::uint16_t upgradeCrc(QByteArrayView bytes);

/// `data` has at most 65535 bytes.
[[nodiscard]] QByteArray upgradeFrame(std::uint8_t command, QByteArrayView data);

/// Nothing for fewer than 7 bytes. Kept: neither the magic nor the CRC is checked.
[[nodiscard]] std::optional<UpgradeMessage> readUpgradeFrame(QByteArrayView frame);
