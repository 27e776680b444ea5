// Fuzzes the version blocks of program files: the list of translations, and the texts that are asked for in
// turn. It fails when a sanitizer reports, when a name is none of the texts, when a name in Chinese is passed
// over, when a value leaves its block, and when the same block has another name the second time.

#include "inventory/VersionNames.h"
#include "tests/fuzz/FuzzInput.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace {

using fuzz::Input;
using fuzz::require;

// The values in the order in which they are asked for first.
class Block {
public:
    explicit Block(Input& rest) : input(rest) {}

    std::optional<std::span<const std::byte>> value(const std::wstring& path) {
        const auto [found, isNew] = values.try_emplace(path);
        if (isNew) {
            const std::uint8_t length = input.byte();
            if (length < 200) {
                found->second = input.bytes(std::min<std::size_t>(length, input.left()));
            }
        }
        const std::optional<std::vector<std::uint8_t>>& bytes = found->second;
        return bytes ? std::optional(std::as_bytes(std::span(*bytes))) : std::nullopt;
    }

    [[nodiscard]] bool holds(const std::wstring& name) const {
        return std::ranges::any_of(
            values, [&name](const auto& entry) { return entry.second && textIn(*entry.second) == name; });
    }

    [[nodiscard]] bool hasChineseName() const {
        return std::ranges::any_of(values, [](const auto& entry) {
            return entry.first.starts_with(L"\\StringFileInfo\\0804") && entry.second &&
                   !textIn(*entry.second).empty();
        });
    }

private:
    static std::wstring textIn(const std::vector<std::uint8_t>& bytes) {
        std::wstring text;
        for (std::size_t at = 0; at + 2 <= bytes.size() && (bytes[at] != 0 || bytes[at + 1] != 0); at += 2) {
            text += static_cast<wchar_t>(bytes[at] + 256 * bytes[at + 1]);
        }
        return text;
    }

    Input& input;
    std::map<std::wstring, std::optional<std::vector<std::uint8_t>>> values;
};

void readName(Input& input) {
    Block block(input);
    const VersionQuery query = [&block](const std::wstring& path) {
        return block.value(path);
    };
    const std::wstring name = displayNameOf(query);
    require(name.empty() || block.holds(name), "a name is one of the texts");
    require(!block.hasChineseName() || !name.empty(), "a name in Chinese counts");
    require(displayNameOf(query) == name, "a block has one name");
}

void readValue(Input& input) {
    const std::size_t count = input.number();
    const std::size_t at = input.byte();
    const bool isText = input.byte() % 2 == 0;
    const std::vector<std::uint8_t> bytes = input.bytes(input.left());
    const std::span<const std::byte> block = std::as_bytes(std::span(bytes));
    const std::span<const std::byte> sized = block.first(std::min(block.size(), bytes.size() / 2));
    const std::wstring path =
        isText ? L"\\StringFileInfo\\040904b0\\ProductName" : L"\\VarFileInfo\\Translation";
    const auto value = versionValueIn(sized, block.data() + std::min(at, block.size()), count, path);
    require(value.has_value() == (std::min(at, block.size()) <= sized.size()), "a value begins in its block");
    if (value) {
        require(value->data() + value->size() <= sized.data() + sized.size(), "a value ends in its block");
        require(value->size() <= count * (isText ? 2 : 1), "a value is no longer than it says");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    if (input.byte() % 4 == 0) {
        readValue(input);
    } else {
        readName(input);
    }
    return 0;
}
