#pragma once

#include "device/link/Link.h"

namespace vexo::link {

// Ends the pending requests that the frame answers and calls the handler of its message id.
void dispatchFrame(const LinkFrame& frame);

// How many ticks stand between now and the next retry or time-out: 0 when one is due.
[[nodiscard]] std::uint32_t ticksToRetry();

// Sends again or gives up each pending request whose last send lies more than 1000 ticks back.
void retryPendingRequests();

} // namespace vexo::link
