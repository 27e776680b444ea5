#pragma once

#include "device/link/Link.h"

namespace vexo::link {

// Ends the pending requests that the frame answers and calls the handler of its message id.
void dispatchFrame(const LinkFrame& frame);

// Cancels all pending requests, without their onTimeout.
void forgetPendingRequests();

// The ticks from now to the next retry or time-out; 0 when one is due.
[[nodiscard]] std::uint32_t ticksToRetry();

// For each pending request whose last send lies more than 1000 ticks back: sends it again or ends it.
void retryPendingRequests();

} // namespace vexo::link
