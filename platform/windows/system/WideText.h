#pragma once

#include <string>
#include <string_view>

/// Between Windows' wide text and UTF-8. A half of a surrogate pair that stands alone, and bytes that are no
/// UTF-8, become the replacement character.
[[nodiscard]] std::string utf8Of(std::wstring_view text);
[[nodiscard]] std::wstring wideOf(std::string_view text);
