#include "emulator/FirmwareImage.h"

#include <algorithm>

namespace vexo::emulator {

std::uint16_t crc16(BytesView bytes, std::uint16_t initial) {
    std::uint32_t crc = initial;
    for (const std::uint8_t byte : bytes) {
        crc ^= static_cast<std::uint32_t>(byte) << 8U;
        for (int bit = 0; bit < 8; ++bit) {
            crc <<= 1U;
            if ((crc & 0x10000U) != 0) {
                crc ^= 0x11021U;
            }
        }
    }
    return static_cast<std::uint16_t>(crc);
}

std::optional<FirmwareInfo> readFirmwareInfo(BytesView image) {
    constexpr std::string_view kMark = "VXFI";
    if (image.size() < kFirmwareInfoSize || !std::ranges::equal(image.first(kMark.size()), kMark)) {
        return std::nullopt;
    }
    return FirmwareInfo{.size = readU32(image, 4),
                        .crc = readU16(image, 8),
                        .versionMajor = image[10],
                        .versionMinor = image[11],
                        .model = static_cast<char>(image[12])};
}

bool describesImage(const FirmwareInfo& info, BytesView image) {
    return info.size == image.size() && image.size() >= kFirmwareInfoSize &&
           info.crc == crc16(image.subspan(kFirmwareInfoSize), 0);
}

} // namespace vexo::emulator
