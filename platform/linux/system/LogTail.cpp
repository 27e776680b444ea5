#include "platform/LogTail.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <sys/types.h>
#include <unistd.h>

namespace {

// The line that is being written to stderr, whose lock protects it.
std::array<char, kLogTailLineBytes> unfinished;
std::size_t unfinishedSize = 0;

void keep(std::string_view text) {
    for (const char character : text) {
        if (character == '\n') {
            logTail().append({unfinished.data(), unfinishedSize});
            unfinishedSize = 0;
        } else if (unfinishedSize < unfinished.size()) {
            unfinished[unfinishedSize++] = character;
        }
    }
}

// The part of a stream of the C library that writes.
ssize_t writeError(void*, const char* text, std::size_t size) {
    keep({text, size});
    std::size_t written = 0;
    while (written < size) {
        const ssize_t count = write(STDERR_FILENO, text + written, size - written);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break; // nobody reads it; what comes later is tried again
        }
        written += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(size);
}

} // namespace

LogTail& logTail() noexcept {
    static constinit LogTail lines;
    return lines;
}

void keepLogTail() {
    cookie_io_functions_t functions{};
    functions.write = writeError;
    std::FILE* const stream = fopencookie(nullptr, "w", functions);
    if (stream == nullptr) {
        return;
    }
    // As the C library's own: each print reaches the descriptor before it returns.
    setvbuf(stream, nullptr, _IONBF, 0);
    stderr = stream;
}
