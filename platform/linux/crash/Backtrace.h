#pragma once

#include "platform/linux/crash/ReportText.h"

/// Loads what the backtrace needs, so that a signal handler allocates nothing. Once, at the start.
void prepareBacktrace() noexcept;

/// For a signal handler: writes the frames of the calling thread from the one that the signal interrupted, a
/// line each and each as soon as it is known, since a damaged stack may end the process on the way. A line
/// has the module's path, the address in it, which lies within the instruction that ran or called, and the
/// build id. Of a stack too deep the middle is left out.
void writeBacktrace(ReportText& report) noexcept;
