#pragma once

#include "device/link/LinkState.h"

#include <cstdint>

namespace vexo::link {

// The receive hook: keeps a finished frame for processReceivedFrame. Takes over the payload; with a full
// queue it is released and error 8 reported.
void queueReceivedFrame(std::uint32_t channel, StoredFrame& stored);

// Takes at most one frame from the receive queue and does all that the protocol wants done with it.
void processReceivedFrame();

} // namespace vexo::link
