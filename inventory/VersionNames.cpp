#include "inventory/VersionNames.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <utility>

namespace {

constexpr std::uint16_t kSimplifiedChinese = 0x0804;
constexpr std::uint16_t kTraditionalChinese = 0x0404;

// One entry of the list of translations, in the layout of the file.
struct Translation {
    std::uint16_t language;
    std::uint16_t codePage;
};

// A text of a block has 16 bits for each letter, whatever a letter is here.
using Letter = std::uint16_t;

std::wstring textOf(const VersionQuery& version, const Translation& translation, const wchar_t* name) {
    std::array<wchar_t, 64> path{};
    std::swprintf(path.data(), path.size(), L"\\StringFileInfo\\%04x%04x\\%ls", translation.language,
                  translation.codePage, name);
    const std::optional<std::span<const std::byte>> value = version(path.data());
    std::wstring text;
    for (std::size_t at = 0; value && at + sizeof(Letter) <= value->size(); at += sizeof(Letter)) {
        Letter letter = 0;
        std::memcpy(&letter, value->data() + at, sizeof(letter));
        if (letter == 0) {
            break;
        }
        text += static_cast<wchar_t>(letter);
    }
    return text;
}

} // namespace

std::wstring displayNameOf(const VersionQuery& version) {
    const std::optional<std::span<const std::byte>> list = version(L"\\VarFileInfo\\Translation");
    if (!list) {
        return {};
    }
    std::wstring kept;
    for (std::size_t at = 0; at + sizeof(Translation) <= list->size(); at += sizeof(Translation)) {
        Translation translation{};
        std::memcpy(&translation, list->data() + at, sizeof(translation));
        const bool chinese =
            translation.language == kSimplifiedChinese || translation.language == kTraditionalChinese;
        for (const wchar_t* const name : {L"ProductName", L"FileDescription"}) {
            const bool description = std::wcscmp(name, L"FileDescription") == 0;
            if (description && !kept.empty() && translation.language != kSimplifiedChinese) {
                continue;
            }
            std::wstring text = textOf(version, translation, name);
            if (text.empty()) {
                continue;
            }
            if (chinese) {
                return text;
            }
            if (kept.empty()) {
                kept = std::move(text);
            }
        }
    }
    return kept;
}

std::optional<std::span<const std::byte>> versionValueIn(std::span<const std::byte> block, const void* value,
                                                         std::size_t count, std::wstring_view path) {
    const auto* const first = static_cast<const std::byte*>(value);
    const auto* const end = block.data() + block.size();
    if (first < block.data() || first > end) {
        return std::nullopt;
    }
    // Texts are counted in characters, everything else in bytes. A damaged block may count beyond its end.
    const std::size_t size = path.starts_with(L"\\StringFileInfo\\") ? sizeof(Letter) : 1;
    return std::span(first, std::min(count, static_cast<std::size_t>(end - first) / size) * size);
}
