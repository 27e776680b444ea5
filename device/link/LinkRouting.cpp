#include "device/link/LinkRouting.h"

#include "device/link/LinkFrameWriter.h"
#include "device/link/LinkPeers.h"
#include "device/link/LinkRates.h"
#include "device/link/LinkState.h"

#include <algorithm>

namespace vexo::link {

namespace {

// Frames per second to milliseconds between two frames.
constexpr std::uint32_t intervalMsOf(std::uint16_t frameRate) {
    return frameRate == 0 ? 0 : 1000U / frameRate;
}

void queueFrame(std::uint32_t channel, std::uint32_t pacingIntervalMs, const LinkFrame& frame) {
    if (stack().sendQueue.isFull()) {
        return;
    }
    StoredFrame copy;
    if (storeFrame(frame, copy) && !stack().sendQueue.put({channel, pacingIntervalMs, copy})) {
        releaseFrame(copy);
    }
}

} // namespace

void routeFrame(const LinkFrame& frame) {
    if (frame.length > 0 && frame.payload == nullptr) {
        return;
    }
    if (isBroadcast(frame.destination)) {
        sendOnAllChannels(frame);
        return;
    }
    const Peer* peer = findPeer(frame.destination);
    if (peer == nullptr || peer->maxPayload == 0) {
        return;
    }
    const std::uint16_t pieceLength = std::min(kLinkMaxPayload, peer->maxPayload);
    const std::uint32_t channel = peer->channel;
    const std::uint32_t pacingIntervalMs = intervalMsOf(lowerRate(kHostFrameRate, peer->frameRate));

    // The fragments count up from the frame's sequence. The last piece carries the frame's sequence plus the
    // sum of theirs, so that the receiver can check that it has them all.
    LinkFrame piece = frame;
    piece.kind = kLinkFragment;
    piece.length = pieceLength;
    std::uint16_t remaining = frame.length;
    std::uint16_t sequenceSum = frame.sequence;
    while (remaining > pieceLength) {
        piece.sequence = sequenceAfter(piece.sequence);
        sequenceSum = static_cast<std::uint16_t>(sequenceSum + piece.sequence);
        queueFrame(channel, pacingIntervalMs, piece);
        piece.payload += pieceLength;
        remaining = static_cast<std::uint16_t>(remaining - pieceLength);
    }
    piece.kind = frame.kind;
    piece.length = remaining;
    piece.sequence = sequenceSum;
    queueFrame(channel, pacingIntervalMs, piece);
}

void forgetQueuedFrames() {
    FrameToSend queued;
    while (stack().sendQueue.take(queued)) {
        releaseFrame(queued.stored);
    }
    stack().pacingIntervalMs = 0;
}

void sendQueuedFrameWhenDue() {
    if (stack().now - stack().lastSendAt < stack().pacingIntervalMs) {
        return;
    }
    FrameToSend next;
    if (!stack().sendQueue.take(next) || !isIntact(next.stored)) {
        return;
    }
    stack().lastSendAt = stack().now;
    stack().pacingIntervalMs = next.pacingIntervalMs;
    sendOnChannel(next.channel, next.stored.frame);
    releaseFrame(next.stored);
}

} // namespace vexo::link
