#include "device/link/LinkInspection.h"

#include "device/link/LinkPeers.h"
#include "device/link/LinkState.h"

#include <algorithm>

LinkInspection linkInspect() {
    using namespace vexo::link;
    const Stack& tables = stack();
    LinkInspection seen;
    seen.hostAddress = hostAddress();
    seen.tickCount = tables.now;
    seen.peerCount = peerCount();
    seen.receiveQueueLength = tables.receiveQueue.size();
    seen.sendQueueLength = tables.sendQueue.size();
    seen.poolBytesInUse = poolBytesInUse(tables.pool);
    seen.poolBlocksInUse = tables.pool.usedRecords;
    seen.pendingCount = static_cast<std::uint32_t>(
        std::count_if(tables.pending.begin(), tables.pending.begin() + tables.pendingEnd,
                      [](const PendingRequest& entry) { return entry.used; }));
    seen.pendingStarted = tables.requestCounters.started;
    seen.pendingAnswered = tables.requestCounters.answered;
    seen.pendingTimedOut = tables.requestCounters.timedOut;
    seen.pendingCancelled = tables.requestCounters.cancelled;
    return seen;
}
