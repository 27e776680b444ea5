#pragma once

#include "dsp/frames/Bytes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// What the FlashBoot loader is told during an upgrade. Numbers go little-endian. Pure functions on any
/// thread.
namespace vexo::dsp {

inline constexpr std::size_t kMaxImageBytes = 0x100000;
inline constexpr std::size_t kPacketDataBytes = 56;
inline constexpr std::uint32_t kImageAddress = 0x10000;

using CommandBlock = std::array<std::uint8_t, 60>;
using PacketBlock = std::array<std::uint8_t, 62>;

/// The text, the parameters behind it, and zeros. What does not fit is left out.
[[nodiscard]] CommandBlock commandBlock(std::string_view text, Bytes parameters = {});
[[nodiscard]] CommandBlock handshakeBlock(std::string_view text, std::uint16_t imageCrc);
[[nodiscard]] CommandBlock eraseBlock(std::string_view text, std::uint32_t imageBytes);
[[nodiscard]] CommandBlock lengthBlock(std::string_view text, std::uint32_t imageBytes);

[[nodiscard]] std::size_t packetCount(std::size_t imageBytes);
/// The packet of an index below packetCount(), which the loader counts from 1.
[[nodiscard]] PacketBlock packetBlock(Bytes image, std::size_t index);

} // namespace vexo::dsp
