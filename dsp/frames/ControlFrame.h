#pragma once

#include "dsp/frames/Bytes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

/// The reports of the signal processor's own HID path: what is written, and what a reply carries. Pure
/// functions on any thread.
namespace vexo::dsp {

/// 0xAA and "SNDC": the beginning of each command to the signal processor and of each of its records.
inline constexpr std::array<std::uint8_t, 5> kMagic{0xAA, 0x53, 0x4E, 0x44, 0x43};
inline constexpr std::uint8_t kReportId = 0x01;
/// The most data that a loader command or packet carries.
inline constexpr std::size_t kMaxFrameData = 60;
/// The longest payload whose length, with the magic and the checksum, fits the length byte.
inline constexpr std::size_t kMaxMagicPayload = 249;

/// CRC-16 with polynomial 0x1021, not reflected, no final XOR.
[[nodiscard]] std::uint16_t crc16(Bytes bytes, std::uint16_t initial = 0);

/// Makes the covered bytes and itself add up to 0 modulo 256. Over seven bytes or fewer it is not computed
/// and 0.
struct Checksum {
    std::uint8_t value = 0;
    bool computed = false;
};
[[nodiscard]] Checksum checksumOf(Bytes covered);

struct Frame {
    Report report;
    bool checksumComputed = false;
};
/// A command to the signal processor; nothing for a payload over `kMaxMagicPayload`.
[[nodiscard]] std::optional<Frame> magicFrame(Bytes payload);
/// A command to the loader, of at most `kMaxFrameData` bytes.
[[nodiscard]] Frame commandFrame(Bytes data);
/// A data packet to the loader. The checksum leaves out the block's first byte.
[[nodiscard]] Frame packetFrame(Bytes block);

/// What follows the report id and the length byte, as much as the report holds; empty for under three bytes.
[[nodiscard]] Bytes payloadOf(Bytes report);
/// Whether a loader's reply payload has the text from its second byte on.
[[nodiscard]] bool echoes(Bytes payload, std::string_view text);

} // namespace vexo::dsp
