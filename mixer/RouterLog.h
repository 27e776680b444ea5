#pragma once

// The lines of the audio router. They go to the process's wide standard output, not to the Qt logger.

#include <functional>
#include <string>

/// Prints one line, whole even when several threads log at once. `line` has no line break at its end. The
/// program's output expresses every character (platform/WideOutput.h); elsewhere one that the output cannot
/// express may end the line early.
/// Any thread but a render callback.
void routerLog(const std::wstring& line);

/// Takes the lines in place of the standard output; called under a lock, by one thread at a time.
using RouterLogSink = std::function<void(const std::wstring& line)>;

/// Sends lines to `sink` from now on; an empty one stands for the standard output. Any thread.
void setRouterLogSink(RouterLogSink sink);
