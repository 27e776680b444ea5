#pragma once

// UTF-8, the form of all text in the mixer. Any thread; nothing is kept.

#include <cstddef>
#include <string>
#include <string_view>

/// One character at the beginning of a text.
struct Utf8Character {
    /// In place of a byte that begins no character.
    static constexpr char32_t kInvalid = 0xFFFFFFFF;

    char32_t value = kInvalid;
    std::size_t byteCount = 1;
};

/// The first character of `text`, which is not empty. A byte that begins no whole character is one by itself.
[[nodiscard]] Utf8Character firstCharacter(std::string_view text);

/// Appends a character that is valid.
void appendCharacter(std::string& text, char32_t character);

/// Characters of a text, each byte that begins none counted as one.
[[nodiscard]] std::size_t characterCount(std::string_view text);

/// The first part of `text` of at most `byteCount` bytes that cuts no character.
[[nodiscard]] std::string_view firstBytes(std::string_view text, std::size_t byteCount);

/// Each character by itself in lower case, as the C library's towlower() has it; bytes of no character stay.
[[nodiscard]] std::string lowerCased(std::string_view text);
