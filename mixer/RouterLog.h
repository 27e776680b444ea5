#pragma once

// The lines of the audio router, in UTF-8. They go to the process's wide standard output, not to the Qt
// logger.

#include <array>
#include <cstddef>
#include <format>
#include <functional>
#include <string_view>
#include <utility>

/// Bytes of the longest line; what a longer one has beyond them is left out.
inline constexpr std::size_t kRouterLineBytes = 1024;

/// Prints one line, whole even when several threads log at once. `line` has no line break at its end. A
/// character that the output cannot express ends the line early; the program's output expresses all
/// (platform/WideOutput.h).
void printRouterLine(std::string_view line);

/// The same for a line made of parts. Any thread but a render callback.
template <typename... Parts>
void routerLog(std::format_string<Parts...> text, Parts&&... parts) {
    std::array<char, kRouterLineBytes + 1> line;
    const auto end = std::format_to_n(line.data(), line.size(), text, std::forward<Parts>(parts)...);
    printRouterLine({line.data(), end.out});
}

/// Takes the lines in place of the standard output; called by one thread at a time.
using RouterLogSink = std::function<void(std::string_view line)>;

/// Sends lines to `sink` from now on; an empty one stands for the standard output. Any thread.
void setRouterLogSink(RouterLogSink sink);
