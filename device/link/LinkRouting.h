#pragma once

#include "device/link/Link.h"

namespace vexo::link {

// Routes a complete frame: a broadcast at once to all used channels, any other frame through the send queue
// to the peer of its destination, cut into fragments if it is longer than the peer accepts. Without such a
// peer the frame is dropped.
void routeFrame(const LinkFrame& frame);

// Empties the send queue, and with it the pacing interval in force.
void forgetQueuedFrames();

// Sends the next frame of the send queue if the pacing interval in force has passed.
void sendQueuedFrameWhenDue();

} // namespace vexo::link
