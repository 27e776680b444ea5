#include "platform/LogTail.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <windows.h>

namespace {

// What is raised for a text on its way to the debugger: its length with the end mark, and the text. For a
// wide one the same of the narrow text follows, which is raised next where no debugger has taken the wide
// one.
constexpr DWORD kDebugText = 0x40010006;
constexpr DWORD kWideDebugText = 0x4001000A;

// By thread: the narrow text that only repeats a wide one. A handler must not make a place for a variable of
// the thread.
DWORD repeatedText = TLS_OUT_OF_INDEXES;

template <typename Character, typename Use>
void forEachLine(std::basic_string_view<Character> text, const Use& use) {
    constexpr std::array<Character, 2> kEnds{'\r', '\n'};
    while (!text.empty()) {
        const std::size_t end = text.find_first_of(kEnds.data(), 0, kEnds.size());
        if (end != 0) {
            use(text.substr(0, end));
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

// Apart from the handler, which runs at each exception, also of a stack that is used up.
[[gnu::noinline]] void keepWideLine(std::wstring_view line) {
    std::array<char, 3 * kLogTailLineBytes> text;
    const wchar_t* const wide = line.data();
    const auto wanted = static_cast<int>(std::min(line.size(), kLogTailLineBytes));
    const int size = WideCharToMultiByte(CP_UTF8, 0, wide, wanted, text.data(), static_cast<int>(text.size()),
                                         nullptr, nullptr);
    logTail().append({text.data(), static_cast<std::size_t>(size)});
}

LONG CALLBACK keepDebugText(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    const bool isWide = record.ExceptionCode == kWideDebugText;
    if ((!isWide && record.ExceptionCode != kDebugText) || record.NumberParameters < 2 ||
        record.ExceptionInformation[0] == 0) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    const std::size_t length = record.ExceptionInformation[0] - 1;
    const ULONG_PTR place = record.ExceptionInformation[1];
    if (isWide) {
        TlsSetValue(repeatedText, record.NumberParameters < 4
                                      ? nullptr
                                      : reinterpret_cast<void*>(record.ExceptionInformation[3]));
        forEachLine(std::wstring_view(reinterpret_cast<const wchar_t*>(place), length), keepWideLine);
    } else if (const void* const repeated = TlsGetValue(repeatedText);
               repeated == nullptr || repeated != reinterpret_cast<const void*>(place)) {
        forEachLine(std::string_view(reinterpret_cast<const char*>(place), length),
                    [](std::string_view line) { logTail().append(line); });
    } else {
        TlsSetValue(repeatedText, nullptr);
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
    repeatedText = TlsAlloc();
    AddVectoredExceptionHandler(1, keepDebugText);
}
