#include "mixer/RouterLog.h"

#include "mixer/Utf8.h"

#include <iostream>
#include <mutex>
#include <utility>

namespace {

struct Output {
    std::mutex mutex;
    RouterLogSink sink;
};

// Alive to the process's end: captures may still log then.
Output& output() {
    static auto* const instance = new Output;
    return *instance;
}

void putWide(char32_t character) {
    if constexpr (sizeof(wchar_t) == 2) {
        if (character > 0xFFFF) {
            std::wcout.put(static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10)));
            character = 0xDC00 + ((character - 0x10000) & 0x3FF);
        }
    }
    std::wcout.put(static_cast<wchar_t>(character));
}

void putWide(std::string_view text) {
    while (!text.empty()) {
        const Utf8Character character = firstCharacter(text);
        putWide(character.value == Utf8Character::kInvalid ? U'?' : character.value);
        text.remove_prefix(character.byteCount);
    }
}

} // namespace

void printRouterLine(std::string_view line) {
    const std::string_view text = firstBytes(line, kRouterLineBytes);
    const std::lock_guard lock(output().mutex);
    if (output().sink) {
        output().sink(text);
        return;
    }
    putWide(text);
    std::wcout << L'\n' << std::flush;
    if (!std::wcout) {
        // A name that the output's encoding cannot express cuts its line off there, and must neither swallow
        // the line break nor silence the lines after it.
        std::wcout.clear();
        std::wcout << L"\n" << std::flush;
        std::wcout.clear();
    }
}

void setRouterLogSink(RouterLogSink sink) {
    const std::lock_guard lock(output().mutex);
    output().sink = std::move(sink);
}
