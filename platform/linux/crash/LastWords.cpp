#include "platform/linux/crash/LastWords.h"

#include <cstddef>
#include <dlfcn.h>

namespace {

// As glibc lays it out for debuggers.
struct AbortMessage {
    unsigned int bytes; // of the whole record
    char text[1];       // up to a zero
};

AbortMessage** place = nullptr;

} // namespace

void prepareLastWords() noexcept {
    place = static_cast<AbortMessage**>(dlvsym(RTLD_DEFAULT, "__abort_msg", "GLIBC_PRIVATE"));
}

std::string_view lastWords() noexcept {
    const AbortMessage* const message = place != nullptr ? *place : nullptr;
    if (message == nullptr || message->bytes <= offsetof(AbortMessage, text)) {
        return {};
    }
    std::string_view words(message->text, message->bytes - offsetof(AbortMessage, text));
    words = words.substr(0, words.find('\0'));
    return words.ends_with('\n') ? words.substr(0, words.size() - 1) : words;
}
