#pragma once

#include "device/link/Link.h"

namespace vexo::link {

// Brings a complete frame on its way: a broadcast at once on all used channels, any other through the send
// queue to the peer with its destination, cut into fragments where the peer takes no more at once. Without
// such a peer the frame is dropped.
void routeFrame(const LinkFrame& frame);

// Sends the next frame of the send queue if the pacing interval in force has passed.
void sendQueuedFrameWhenDue();

} // namespace vexo::link
