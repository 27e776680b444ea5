#include "platform/LogTail.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <windows.h>

namespace {

// What is raised for a text on its way to the debugger: its length with the end mark, and the text.
constexpr DWORD kDebugText = 0x40010006;
constexpr DWORD kWideDebugText = 0x4001000A;

void keepLines(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = text.find_first_of("\r\n");
        if (end != 0) {
            logTail().append(text.substr(0, end));
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

LONG CALLBACK keepDebugText(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.NumberParameters < 2 || record.ExceptionInformation[0] == 0) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    const auto length = static_cast<int>(record.ExceptionInformation[0] - 1);
    if (record.ExceptionCode == kWideDebugText) {
        std::array<char, 3 * kLogTailLineBytes> text;
        const auto* const wide = reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]);
        const int wanted = std::min(length, static_cast<int>(kLogTailLineBytes));
        const int size = WideCharToMultiByte(CP_UTF8, 0, wide, wanted, text.data(),
                                             static_cast<int>(text.size()), nullptr, nullptr);
        keepLines({text.data(), static_cast<std::size_t>(size)});
    } else if (record.ExceptionCode == kDebugText) {
        const auto* const text = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
        keepLines({text, static_cast<std::size_t>(length)});
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

LogTail& logTail() noexcept {
    static constinit LogTail lines;
    return lines;
}

std::size_t unfinishedLogLine(std::array<char, kLogTailLineBytes>&) noexcept {
    return 0;
}

void keepLogTail() {
    AddVectoredExceptionHandler(1, keepDebugText);
}
