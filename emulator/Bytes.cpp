#include "emulator/Bytes.h"

namespace vexo::emulator {
namespace {

int digitValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return -1;
}

} // namespace

std::string toHex(BytesView bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        text.push_back(kDigits[byte >> 4U]);
        text.push_back(kDigits[byte & 0x0FU]);
    }
    return text;
}

std::optional<Bytes> fromHex(std::string_view text) {
    if (text.size() % 2 != 0) {
        return std::nullopt;
    }
    Bytes bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int high = digitValue(text[i]);
        const int low = digitValue(text[i + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
    }
    return bytes;
}

void appendU16(Bytes& bytes, std::uint16_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value & 0xFFU));
    bytes.push_back(static_cast<std::uint8_t>(value >> 8U));
}

void appendU32(Bytes& bytes, std::uint32_t value) {
    appendU16(bytes, static_cast<std::uint16_t>(value & 0xFFFFU));
    appendU16(bytes, static_cast<std::uint16_t>(value >> 16U));
}

std::uint16_t readU16(BytesView bytes, std::size_t offset) {
    return static_cast<std::uint16_t>(bytes[offset] | (bytes[offset + 1] << 8U));
}

std::uint32_t readU32(BytesView bytes, std::size_t offset) {
    return readU16(bytes, offset) | (static_cast<std::uint32_t>(readU16(bytes, offset + 2)) << 16U);
}

} // namespace vexo::emulator
