#include "platform/WideOutput.h"

#include "platform/windows/system/WideText.h"

#include <cstdio>
#include <iostream>
#include <streambuf>
#include <string>
#include <utility>

namespace {

// Bytes for the narrow standard output. A wide mode of that output itself would end the process at the first
// narrow text, be it a driver's.
class Utf8Output : public std::wstreambuf {
protected:
    int_type overflow(int_type character) override {
        if (!traits_type::eq_int_type(character, traits_type::eof())) {
            text += traits_type::to_char_type(character);
        }
        return traits_type::not_eof(character);
    }
    std::streamsize xsputn(const wchar_t* characters, std::streamsize count) override {
        text.append(characters, static_cast<std::size_t>(count));
        return count;
    }
    int sync() override {
        const std::string bytes = utf8Of(std::exchange(text, {}));
        const bool written = std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
        return written && std::fflush(stdout) == 0 ? 0 : -1;
    }

private:
    std::wstring text;
};

} // namespace

void makeWideOutputUtf8() {
    // Alive to the process's end: the stream is flushed once more then.
    static auto* const output = new Utf8Output;
    std::wcout.rdbuf(output);
}

// In UTF-16: what does not fit one wide character is a surrogate pair.
void writeWide(char32_t character) {
    if (character > 0xFFFF) {
        std::wcout.put(static_cast<wchar_t>(0xD800 + ((character - 0x10000) >> 10)));
        character = 0xDC00 + ((character - 0x10000) & 0x3FF);
    }
    std::wcout.put(static_cast<wchar_t>(character));
}
