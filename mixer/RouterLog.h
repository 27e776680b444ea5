#pragma once

// The lines of the audio router, in UTF-8. They go to the process's wide standard output, not to the Qt
// logger.
//
// Whoever logs waits for nobody: lines are copied into a queue, and a thread of their own, "Router log",
// prints them in order. Where the output is slower than the lines for so long that the queue is full, lines
// are lost, and a line in their place counts them.

#include <array>
#include <cstddef>
#include <format>
#include <functional>
#include <string_view>
#include <utility>

/// Bytes of the longest line; what a longer one has beyond them is left out.
inline constexpr std::size_t kRouterLineBytes = 1024;

/// Lines that the queue holds.
inline constexpr std::size_t kRouterLogLines = 2048;

/// Logs one line, without a line break at its end. The first line of the process makes the queue and its
/// thread; no later one allocates. A character that the output cannot express ends the line early; the
/// program's output expresses all (platform/WideOutput.h). Any thread but a render callback.
void printRouterLine(std::string_view line);

/// The same for a line made of parts.
template <typename... Parts>
void routerLog(std::format_string<Parts...> text, Parts&&... parts) {
    std::array<char, kRouterLineBytes + 1> line;
    const auto end = std::format_to_n(line.data(), line.size(), text, std::forward<Parts>(parts)...);
    printRouterLine({line.data(), end.out});
}

/// Returns once all lines that the calling thread has logged are printed, but for those behind a line that
/// another thread is appending at that moment. Waits for the output as long as it takes. The end of the
/// process does so by itself, but no longer than a second in which nothing is printed. A standard output that
/// takes nothing at all holds the end up even then: the C library flushes it last.
void flushRouterLog();

/// Takes the lines in place of the standard output; called by one thread at a time. It does not log.
using RouterLogSink = std::function<void(std::string_view line)>;

/// Sends lines to `sink` from now on; an empty one stands for the standard output. What was logged before
/// goes where it went until now. Any thread.
void setRouterLogSink(RouterLogSink sink);
