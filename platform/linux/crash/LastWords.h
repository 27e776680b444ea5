#pragma once

#include <string_view>

/// Looks for the place where the C library keeps what it says before it aborts the process: of a damaged
/// heap, a damaged guard value on the stack, a failed assert(). It writes that past the log, straight to the
/// terminal. To be called once, before lastWords().
void prepareLastWords() noexcept;

/// What it has said, without the end of the line; empty where it has said nothing, or keeps it elsewhere. May
/// be called in a signal handler.
[[nodiscard]] std::string_view lastWords() noexcept;
