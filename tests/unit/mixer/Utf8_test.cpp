#include "mixer/Utf8.h"

#include <clocale>
#include <cwctype>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

std::vector<char32_t> charactersOf(std::string_view text) {
    std::vector<char32_t> characters;
    for (; !text.empty(); text.remove_prefix(firstCharacter(text).byteCount)) {
        characters.push_back(firstCharacter(text).value);
    }
    return characters;
}

} // namespace

TEST(Utf8, CharactersOfAllLengthsAreReadAndWrittenAgain) {
    const std::string text = "a\x7F"
                             "\u0080\u07FF\u0800\uFFFD\U00010000\U0010FFFF";
    const std::vector<char32_t> characters = charactersOf(text);
    EXPECT_EQ(characters, (std::vector<char32_t>{U'a', 0x7F, 0x80, 0x7FF, 0x800, 0xFFFD, 0x10000, 0x10FFFF}));
    EXPECT_EQ(characterCount(text), 8u);
    std::string again;
    for (const char32_t character : characters) {
        appendCharacter(again, character);
    }
    EXPECT_EQ(again, text);
}

TEST(Utf8, BytesThatBeginNoCharacterAreOneEach) {
    constexpr char32_t kInvalid = Utf8Character::kInvalid;
    // A continuation alone, a cut character, one too long for its value, half of a pair, one beyond the last.
    EXPECT_EQ(charactersOf("\x80"
                           "a"),
              (std::vector<char32_t>{kInvalid, U'a'}));
    EXPECT_EQ(charactersOf("\xE6\x89"), (std::vector<char32_t>{kInvalid, kInvalid}));
    EXPECT_EQ(charactersOf("\xE6"
                           "ab"),
              (std::vector<char32_t>{kInvalid, U'a', U'b'}));
    EXPECT_EQ(charactersOf("\xC0\xAF"), (std::vector<char32_t>{kInvalid, kInvalid}));
    EXPECT_EQ(charactersOf("\xE0\x80\xAF").size(), 3u);
    EXPECT_EQ(charactersOf("\xED\xA0\xBC").size(), 3u);
    EXPECT_EQ(charactersOf("\xF4\x90\x80\x80").size(), 4u);
}

TEST(Utf8, FirstBytesCutNoCharacter) {
    EXPECT_EQ(firstBytes("abc", 3), "abc");
    EXPECT_EQ(firstBytes("abcd", 3), "abc");
    EXPECT_EQ(firstBytes("ab扬", 5), "ab扬");
    EXPECT_EQ(firstBytes("ab扬c", 4), "ab");
    EXPECT_EQ(firstBytes("ab扬c", 3), "ab");
    EXPECT_EQ(firstBytes("ab扬c", 5), "ab扬");
    EXPECT_EQ(firstBytes("\x80\x80\x80\x80\x80\x80", 5).size(), 5u); // none to keep whole
}

TEST(Utf8, LowerCaseIsThatOfTheCLibraryCharacterByCharacterAndOtherBytesStay) {
    for (const char* const locale : {"C", "C.UTF-8"}) {
        const std::string before = std::setlocale(LC_CTYPE, nullptr);
        if (std::setlocale(LC_CTYPE, locale) == nullptr) {
            continue;
        }
        for (const char32_t character : {U'A', U'z', U'Ä', U'Ω', U'Б', U'扬', U'🎤'}) {
            std::string text;
            appendCharacter(text, character);
            std::string expected;
            appendCharacter(expected,
                            character > 0xFFFF
                                ? character
                                : static_cast<char32_t>(std::towlower(static_cast<std::wint_t>(character))));
            EXPECT_EQ(lowerCased(text), expected) << locale;
        }
        EXPECT_EQ(lowerCased("CABLE \xFF 扬声器"), "cable \xFF 扬声器");
        std::setlocale(LC_CTYPE, before.c_str());
    }
}
