#include "platform/windows/system/WideText.h"

#include <windows.h>

std::string utf8Of(std::wstring_view text) {
    const auto convert = [&](char* bytes, int byteCount) {
        return WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes, byteCount,
                                   nullptr, nullptr);
    };
    std::string bytes(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
    convert(bytes.data(), static_cast<int>(bytes.size()));
    return bytes;
}

std::wstring wideOf(std::string_view text) {
    const auto convert = [&](wchar_t* characters, int count) {
        return MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), characters, count);
    };
    std::wstring wide(static_cast<std::size_t>(convert(nullptr, 0)), L'\0');
    convert(wide.data(), static_cast<int>(wide.size()));
    return wide;
}
