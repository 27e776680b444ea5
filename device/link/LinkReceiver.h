#pragma once

#include "device/link/LinkState.h"

#include <cstdint>

namespace vexo::link {

// The receive hook: queues a complete frame for processReceivedFrame. Takes ownership of the payload; if the
// queue is full, releases it and reports error 8.
void queueReceivedFrame(std::uint32_t channel, StoredFrame& stored);

// Empties the receive queue.
void forgetReceivedFrames();

// Takes at most one frame from the receive queue and processes it.
void processReceivedFrame();

} // namespace vexo::link
