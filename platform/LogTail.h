#pragma once

// The last lines of the process's log, kept in memory for the report of a crash (see CrashReports.h). What is
// logged goes where it goes without this; nobody waits for it.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// The last lines that were appended, each up to `kLineBytes` of its text. Nobody waits, nothing is
/// allocated, and all of it may be called in a signal handler. Any thread, also several at a time. Constant
/// initialised, so that it serves from the first instruction of the process to the last.
template <std::size_t kLineBytes, std::size_t kLineCount>
class LineRing {
public:
    /// A line whose place is just being read, or written by a thread that is a whole ring late, is left out.
    void append(std::string_view text) noexcept {
        Line& line = lines[next.fetch_add(1, std::memory_order_relaxed) % kLineCount];
        if (line.taken.exchange(true, std::memory_order_acquire)) {
            return;
        }
        line.size = text.copy(line.text.data(), kLineBytes);
        line.taken.store(false, std::memory_order_release); // pairs with both exchanges
    }

    /// Calls `use` with each line, the oldest first, but for those that are being written. Empty lines are
    /// left out.
    template <typename Use>
    void read(Use&& use) noexcept {
        const std::uint64_t oldest = next.load(std::memory_order_relaxed);
        for (std::size_t at = 0; at < kLineCount; ++at) {
            Line& line = lines[(oldest + at) % kLineCount];
            if (line.taken.exchange(true, std::memory_order_acquire)) {
                continue;
            }
            if (line.size > 0) {
                use(std::string_view(line.text.data(), line.size));
            }
            line.taken.store(false, std::memory_order_release);
        }
    }

private:
    struct Line {
        std::atomic<bool> taken{false};
        std::size_t size = 0;
        std::array<char, kLineBytes> text{};
    };

    std::atomic<std::uint64_t> next{0};
    std::array<Line, kLineCount> lines{};
};

/// Bytes of a line that are kept, and how many lines.
inline constexpr std::size_t kLogTailLineBytes = 1024;
inline constexpr std::size_t kLogTailLines = 128;

using LogTail = LineRing<kLogTailLineBytes, kLogTailLines>;

/// The lines that are kept. Any thread, and any handler.
[[nodiscard]] LogTail& logTail() noexcept;

/// Copies what has been written of a line that has no end yet; its bytes. Any thread, and any handler: while
/// another thread writes, the text may be of several lines. On Windows lines come whole: 0.
[[nodiscard]] std::size_t unfinishedLogLine(std::array<char, kLogTailLineBytes>& text) noexcept;

/// From now on also keeps what the process writes to the system's place for logs: on Linux what goes through
/// the C library's stderr, as that of the Qt logger does, line by line (not std::cerr, nor what the C library
/// says before it aborts, which writes straight to the descriptor); on Windows the debugger's output, where
/// the Qt logger writes to without a console. Once, at the start of main, before any other thread.
void keepLogTail();
