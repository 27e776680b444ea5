#include "device/link/LinkRequests.h"

#include "device/link/LinkFrameWriter.h"
#include "device/link/LinkRouting.h"
#include "device/link/LinkState.h"

#include <algorithm>
#include <utility>

namespace vexo::link {

namespace {

constexpr std::uint32_t kRetryPauseTicks = 1000;
constexpr std::int32_t kRetryCount = 3;
constexpr int kSentUntracked = 1;

const Handler* findHandler(std::uint16_t messageId) {
    const auto& handlers = stack().handlers;
    const auto* const handler = std::find_if(handlers.begin(), handlers.end(), [&](const Handler& candidate) {
        return candidate.used && candidate.messageId == messageId;
    });
    return handler == handlers.end() ? nullptr : handler;
}

// Calls `visit(entry)` for each pending request, with those that a visit puts behind it.
template <typename Visitor>
void visitPending(Visitor&& visit) {
    for (std::uint32_t index = 0; index < stack().pendingEnd; ++index) {
        if (stack().pending[index].used) {
            visit(stack().pending[index]);
        }
    }
}

// Frees the entry. Its request still holds its memory.
StoredFrame takeOut(PendingRequest& entry) {
    const StoredFrame request = std::exchange(entry, {}).request;
    while (stack().pendingEnd > 0 && !stack().pending[stack().pendingEnd - 1].used) {
        --stack().pendingEnd;
    }
    return request;
}

void forget(PendingRequest& entry) {
    StoredFrame request = takeOut(entry);
    releaseFrame(request);
}

void endWithTimeout(PendingRequest& entry) {
    // Frees the entry first: the handler may send a request.
    StoredFrame request = takeOut(entry);
    if (request.frame.payload == nullptr || !isIntact(request)) {
        request.frame.length = 0;
        request.frame.payload = nullptr;
    }
    const Handler* handler = findHandler(request.frame.messageId);
    if (handler != nullptr && handler->onTimeout != nullptr) {
        handler->onTimeout(request.frame, handler->context);
    }
    releaseFrame(request);
}

void endAnsweredRequests(const LinkFrame& response) {
    visitPending([&response](PendingRequest& entry) {
        const LinkFrame& request = entry.request.frame;
        if (request.messageId == response.messageId && request.sequence == response.sequence &&
            request.destination == response.source) {
            ++stack().requestCounters.answered;
            forget(entry);
        }
    });
}

void cancelRequest(const LinkFrame& frame) {
    for (PendingRequest& entry : stack().pending) {
        const LinkFrame& request = entry.request.frame;
        if (entry.used && request.messageId == frame.messageId && request.destination == frame.destination) {
            ++stack().requestCounters.cancelled;
            endWithTimeout(entry);
            return;
        }
    }
}

} // namespace

void dispatchFrame(const LinkFrame& frame) {
    const bool wasDispatching = std::exchange(stack().isDispatching, true);
    const std::uint16_t outerSequence = std::exchange(stack().dispatchedSequence, frame.sequence);
    if (frame.kind == kLinkResponse) {
        endAnsweredRequests(frame);
    }
    const Handler* handler = findHandler(frame.messageId);
    if (handler != nullptr && handler->onMessage != nullptr) {
        handler->onMessage(frame, handler->context);
    }
    // Restored and not cleared: this dispatch may run in a nested event loop of another handler.
    stack().isDispatching = wasDispatching;
    stack().dispatchedSequence = outerSequence;
}

void forgetPendingRequests() {
    visitPending([](PendingRequest& entry) {
        ++stack().requestCounters.cancelled;
        forget(entry);
    });
}

std::uint32_t ticksToRetry() {
    std::uint32_t ticks = kRetryPauseTicks + 1;
    visitPending([&ticks](const PendingRequest& entry) {
        ticks = std::min(ticks, ticksUntilOver(entry.sentAt, kRetryPauseTicks));
    });
    return ticks;
}

void retryPendingRequests() {
    visitPending([](PendingRequest& entry) {
        if (stack().now - entry.sentAt <= kRetryPauseTicks) {
            return;
        }
        entry.sentAt = stack().now;
        if (entry.retriesLeft == 0 || !isIntact(entry.request)) {
            ++stack().requestCounters.timedOut;
            endWithTimeout(entry);
        } else {
            --entry.retriesLeft;
            routeFrame(entry.request.frame);
        }
    });
}

} // namespace vexo::link

int linkRegisterMessage(std::uint16_t messageId, LinkFrameHandler onMessage, LinkFrameHandler onTimeout,
                        void* context) {
    auto& handlers = vexo::link::stack().handlers;
    auto* const entry = std::find_if(handlers.begin(), handlers.end(),
                                     [](const vexo::link::Handler& candidate) { return !candidate.used; });
    if (entry == handlers.end()) {
        return 1;
    }
    *entry = {true, messageId, onMessage, onTimeout, context};
    return 0;
}

int linkSend(std::uint32_t flags, const LinkFrame& frame) {
    using namespace vexo::link;
    LinkFrame outgoing = frame;
    outgoing.source = hostAddress();
    if (outgoing.kind != kLinkResponse) {
        stack().sequence = sequenceAfter(stack().sequence);
        outgoing.sequence = stack().sequence;
    } else if ((flags & kLinkKeepSequence) == 0 && stack().isDispatching) {
        outgoing.sequence = stack().dispatchedSequence;
    }
    if ((flags & kLinkTracked) == 0 || outgoing.kind != kLinkRequest) {
        routeFrame(outgoing);
        return 0;
    }
    if ((flags & kLinkCancel) != 0) {
        cancelRequest(outgoing);
        return 0;
    }
    auto& pending = stack().pending;
    auto* const entry = std::find_if(pending.begin(), pending.end(),
                                     [](const PendingRequest& candidate) { return !candidate.used; });
    if (entry == pending.end()) {
        routeFrame(outgoing);
        return kSentUntracked;
    }
    StoredFrame request;
    if (!storeFrame(outgoing, request)) {
        return kSendOutOfMemory;
    }
    *entry = {true, stack().now, kRetryCount, request};
    stack().pendingEnd =
        std::max(stack().pendingEnd, static_cast<std::uint32_t>(entry - pending.begin()) + 1);
    ++stack().requestCounters.started;
    routeFrame(outgoing);
    return 0;
}
