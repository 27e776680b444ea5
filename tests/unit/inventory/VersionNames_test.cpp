#include "inventory/VersionNames.h"

#include <array>
#include <cstddef>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace {

constexpr std::wstring_view kText = L"\\StringFileInfo\\040904b0\\ProductName";
constexpr std::wstring_view kList = L"\\VarFileInfo\\Translation";

std::optional<std::span<const std::byte>> bytesOf(const std::u16string& text) {
    return std::as_bytes(std::span(text));
}

} // namespace

TEST(VersionNames, LettersOfSixteenBitsBecomeThoseOfTheSystem) {
    const std::map<std::wstring, std::u16string> values{
        {L"\\VarFileInfo\\Translation", u"\x0409\x04b0"},
        {std::wstring(kText), std::u16string(u"Player é\0x", 10)}};
    const VersionQuery query = [&values](const std::wstring& path) {
        const auto found = values.find(path);
        return found != values.end() ? bytesOf(found->second) : std::nullopt;
    };
    EXPECT_EQ(displayNameOf(query), L"Player é");
}

TEST(VersionNames, ValueEndsWithItsBlockWhateverItSays) {
    const std::array<std::byte, 7> block{};
    const auto sizeOf = [&block](std::size_t start, std::size_t count, std::wstring_view path) {
        const auto value = versionValueIn(block, block.data() + start, count, path);
        return value ? value->size() : block.size() + 1;
    };
    EXPECT_EQ(sizeOf(2, 2, kText), 4U);
    EXPECT_EQ(sizeOf(2, 2, kList), 2U);
    EXPECT_EQ(sizeOf(2, 0xFFFFFFFF, kText), 4U);
    EXPECT_EQ(sizeOf(2, 0xFFFFFFFF, kList), 5U);
    EXPECT_EQ(sizeOf(7, 1, kList), 0U);
}

TEST(VersionNames, ValueThatBeginsOutsideItsBlockIsNone) {
    const std::array<std::byte, 8> bytes{};
    const std::span<const std::byte> block = std::span(bytes).subspan(2, 4);
    EXPECT_FALSE(versionValueIn(block, bytes.data() + 1, 1, kList));
    EXPECT_FALSE(versionValueIn(block, bytes.data() + 7, 1, kList));
}
