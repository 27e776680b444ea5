#include "mixer/Utf8.h"

#include <cwctype>
#include <limits>

namespace {

constexpr char32_t kLastCharacter = 0x10FFFF;

// Bytes of the character that begins with this one; 0 where none does.
std::size_t lengthOf(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead < 0xE0) {
        return 2;
    }
    if (lead >= 0xE0 && lead < 0xF0) {
        return 3;
    }
    return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// Not too small for its number of bytes, no half of a surrogate pair, and no number beyond the last.
bool isValid(char32_t value, std::size_t byteCount) {
    return (byteCount < 3 || value >= (byteCount == 3 ? 0x800U : 0x10000U)) &&
           (value < 0xD800 || value > 0xDFFF) && value <= kLastCharacter;
}

char32_t lowerCased(char32_t character) {
    // A wide character of 16 bits holds no other, and no case of one either.
    if (character > static_cast<char32_t>(std::numeric_limits<wchar_t>::max())) {
        return character;
    }
    return static_cast<char32_t>(std::towlower(static_cast<std::wint_t>(character)));
}

} // namespace

Utf8Character firstCharacter(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t byteCount = lengthOf(lead);
    if (byteCount == 0 || byteCount > text.size()) {
        return {};
    }
    char32_t value = byteCount == 1 ? lead : lead & (0x7FU >> byteCount);
    for (const char byte : text.substr(1, byteCount - 1)) {
        if (!isContinuation(byte)) {
            return {};
        }
        value = value << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    return isValid(value, byteCount) ? Utf8Character{value, byteCount} : Utf8Character{};
}

void appendCharacter(std::string& text, char32_t character) {
    const auto tail = [&](int shift) {
        text += static_cast<char>(0x80U | (character >> shift & 0x3FU));
    };
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0U | character >> 6);
        tail(0);
    } else if (character < 0x10000) {
        text += static_cast<char>(0xE0U | character >> 12);
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0U | character >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

std::size_t characterCount(std::string_view text) {
    std::size_t count = 0;
    for (; !text.empty(); text.remove_prefix(firstCharacter(text).byteCount)) {
        ++count;
    }
    return count;
}

std::string_view firstBytes(std::string_view text, std::size_t byteCount) {
    if (text.size() <= byteCount) {
        return text;
    }
    // A character has at most three bytes after its first.
    for (std::size_t back = 0; back < 4 && back < byteCount; ++back) {
        if (!isContinuation(text[byteCount - back])) {
            return text.substr(0, byteCount - back);
        }
    }
    return text.substr(0, byteCount);
}

std::string lowerCased(std::string_view text) {
    std::string lower;
    lower.reserve(text.size());
    while (!text.empty()) {
        const Utf8Character character = firstCharacter(text);
        if (character.value == Utf8Character::kInvalid) {
            lower += text.front();
        } else {
            appendCharacter(lower, lowerCased(character.value));
        }
        text.remove_prefix(character.byteCount);
    }
    return lower;
}
