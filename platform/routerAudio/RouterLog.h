#pragma once

// The lines of the audio router. They go to the process's wide standard output, not to the Qt logger.

#include <string>

/// Prints one line, whole even when several threads log at once. `line` has no line break at its end.
/// Any thread but a render callback.
void routerLog(const std::wstring& line);
