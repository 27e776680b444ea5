// What a firmware image says of itself, and the checksum that guards it.
//
// An image may begin with an information block:
//
//   offset  size  field
//   0       4     "VXFI"
//   4       4     size of the image, this block included
//   8       2     CRC of what follows the block
//   10      2     version, major and minor
//   12      1     letter of the model: 'r', 'm' or 't'
//   13      3     zeros
#pragma once

#include "emulator/Bytes.h"

namespace vexo::emulator {

inline constexpr std::size_t kFirmwareInfoSize = 16;
inline constexpr std::size_t kLargestFirmware = 0x100000;

// CRC-16 with polynomial 0x1021, bit by bit, not reflected, no final XOR.
std::uint16_t crc16(BytesView bytes, std::uint16_t initial);

struct FirmwareInfo {
    std::uint32_t size = 0;
    std::uint16_t crc = 0;
    std::uint8_t versionMajor = 0;
    std::uint8_t versionMinor = 0;
    char model = 0;
};

// The block at the beginning of an image; nothing when there is none.
std::optional<FirmwareInfo> readFirmwareInfo(BytesView image);
// Whether size and CRC are those of the image.
bool describesImage(const FirmwareInfo& info, BytesView image);

} // namespace vexo::emulator
