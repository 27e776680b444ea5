#pragma once

// Read-only view of the stack for tests and measurements.

#include "device/link/Link.h"

#include <cstdint>

struct LinkInspection {
    LinkAddress hostAddress;
    std::uint32_t tickCount = 0;
    std::uint32_t peerCount = 0;
    std::uint32_t receiveQueueLength = 0;
    std::uint32_t sendQueueLength = 0;
    std::uint32_t poolBytesInUse = 0;
    std::uint32_t poolBlocksInUse = 0;
    // Tracked requests: waiting now, and counted since linkInit. Each started one ends in exactly one way.
    std::uint32_t pendingCount = 0;
    std::uint64_t pendingStarted = 0;
    std::uint64_t pendingAnswered = 0;
    std::uint64_t pendingTimedOut = 0;
    std::uint64_t pendingCancelled = 0;
};

[[nodiscard]] LinkInspection linkInspect();
