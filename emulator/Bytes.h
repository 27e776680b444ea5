// Byte strings, their hexadecimal text, and the little-endian numbers of the wire.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::emulator {

using Bytes = std::vector<std::uint8_t>;
using BytesView = std::span<const std::uint8_t>;

// Upper-case digits without blanks: {5, 255} becomes "05FF".
std::string toHex(BytesView bytes);

// The reverse, digits of either case. Nothing when the text has an odd length or another character.
std::optional<Bytes> fromHex(std::string_view text);

void appendU16(Bytes& bytes, std::uint16_t value);
void appendU32(Bytes& bytes, std::uint32_t value);

// The caller makes sure that the number lies inside the bytes.
std::uint16_t readU16(BytesView bytes, std::size_t offset);
std::uint32_t readU32(BytesView bytes, std::size_t offset);

} // namespace vexo::emulator
