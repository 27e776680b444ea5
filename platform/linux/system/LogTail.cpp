#include "platform/LogTail.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <sys/types.h>
#include <unistd.h>

namespace {

// The line that is being written to stderr, whose lock protects it from other writers. It is atomic for those
// who read it in a handler.
std::array<std::atomic<char>, kLogTailLineBytes> unfinished;
std::atomic<std::size_t> unfinishedSize{0};

void keep(std::string_view text) {
    for (const char character : text) {
        const std::size_t size = unfinishedSize.load(std::memory_order_relaxed);
        if (character == '\n') {
            std::array<char, kLogTailLineBytes> line;
            logTail().append({line.data(), unfinishedLogLine(line)});
            unfinishedSize.store(0, std::memory_order_relaxed);
        } else if (size < unfinished.size()) {
            unfinished[size].store(character, std::memory_order_relaxed);
            unfinishedSize.store(size + 1, std::memory_order_release); // pairs with unfinishedLogLine()
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

std::size_t unfinishedLogLine(std::array<char, kLogTailLineBytes>& text) noexcept {
    const std::size_t size = unfinishedSize.load(std::memory_order_acquire); // pairs with keep()
    for (std::size_t at = 0; at < size; ++at) {
        text[at] = unfinished[at].load(std::memory_order_relaxed);
    }
    return size;
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
