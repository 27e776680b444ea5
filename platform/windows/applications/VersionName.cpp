#include "platform/windows/applications/VersionName.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <cwchar>
#include <vector>
#include <windows.h>

namespace {

constexpr WORD kSimplifiedChinese = 0x0804;
constexpr WORD kTraditionalChinese = 0x0404;

// One entry of the list of translations, in the layout of the file.
struct Translation {
    WORD language;
    WORD codePage;
};

std::wstring textOf(const VersionQuery& version, const Translation& translation, const wchar_t* name) {
    std::array<wchar_t, 64> path{};
    std::swprintf(path.data(), path.size(), L"\\StringFileInfo\\%04x%04x\\%ls", translation.language,
                  translation.codePage, name);
    const std::optional<std::span<const std::byte>> value = version(path.data());
    if (!value) {
        return {};
    }
    std::wstring text(value->size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), value->data(), text.size() * sizeof(wchar_t));
    text.resize(std::min(text.size(), text.find(L'\0')));
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

std::wstring versionDisplayName(const InventorySystemCalls& calls, std::wstring path) {
    if (path.empty()) {
        return {};
    }
    std::ranges::replace(path, L'/', L'\\');
    const DWORD size = calls.getFileVersionInfoSize(path.c_str());
    if (size == 0) {
        return {};
    }
    std::vector<std::byte> block(size);
    if (calls.getFileVersionInfo(path.c_str(), size, block.data()) == 0) {
        return {};
    }
    return displayNameOf(
        [&calls, &block](const std::wstring& name) -> std::optional<std::span<const std::byte>> {
            void* value = nullptr;
            UINT length = 0;
            if (calls.verQueryValue(block.data(), name.c_str(), &value, &length) == 0 || value == nullptr) {
                return std::nullopt;
            }
            // Texts are counted in characters, everything else in bytes. A damaged block may count beyond its
            // end.
            const bool text = name.starts_with(L"\\StringFileInfo\\");
            const auto* const first = static_cast<const std::byte*>(value);
            const auto* const end = block.data() + block.size();
            if (first < block.data() || first > end) {
                return std::nullopt;
            }
            const std::size_t bytes = std::size_t{length} * (text ? sizeof(wchar_t) : 1);
            return std::span(first, std::min(bytes, static_cast<std::size_t>(end - first)));
        });
}
