#include "device/link/LinkReceiver.h"

#include "device/link/LinkFrameWriter.h"
#include "device/link/LinkHello.h"
#include "device/link/LinkPeers.h"
#include "device/link/LinkRequests.h"

#include <cstring>

namespace vexo::link {

namespace {

using MessageBuffer = std::array<std::uint8_t, kLinkMaxPayload>;

// Dispatches what is buffered as a frame of kind 3 and empties the buffer. Works on a copy: the handler may
// remove the peer.
void dispatchBuffered(Peer& peer, const LinkFrame& frame) {
    const MessageBuffer message = peer.reassembly;
    LinkFrame buffered = frame;
    buffered.kind = kLinkFragment;
    buffered.length = peer.reassembledLength;
    buffered.sequence = peer.firstSequence;
    buffered.messageId = peer.lastMessageId;
    buffered.payload = message.data();
    peer.reassembledLength = 0;
    dispatchFrame(buffered);
}

void append(const LinkFrame& piece, std::uint8_t* buffer, std::uint16_t& length) {
    if (piece.length > 0) {
        std::memcpy(buffer + length, piece.payload, piece.length);
        length = static_cast<std::uint16_t>(length + piece.length);
    }
}

void bufferFragment(const LinkFrame& piece) {
    Peer* peer = findPeer(piece.source);
    if (peer == nullptr) {
        return;
    }
    if (peer->reassembledLength == 0) {
        peer->firstSequence = static_cast<std::uint16_t>(piece.sequence - 1);
        peer->sequenceSum = peer->firstSequence;
    }
    peer->sequenceSum = static_cast<std::uint16_t>(peer->sequenceSum + piece.sequence);
    if (peer->reassembledLength + piece.length > kLinkMaxPayload) {
        dispatchBuffered(*peer, piece);
        peer = findPeer(piece.source); // a handler may have removed it
        if (peer == nullptr || peer->reassembledLength > 0) {
            return;
        }
    }
    append(piece, peer->reassembly.data(), peer->reassembledLength);
    peer->lastMessageId = piece.messageId;
}

// A frame for the host that is no fragment, from a peer with something buffered.
void finishMessage(Peer& peer, const LinkFrame& lastPiece) {
    if (lastPiece.sequence != peer.sequenceSum || lastPiece.messageId != peer.lastMessageId) {
        // Kept: the frame is dropped with the buffer, even if it belongs to another message. Its sender
        // retries what matters.
        peer.reassembledLength = 0;
        return;
    }
    LinkFrame whole = lastPiece;
    whole.sequence = peer.firstSequence;
    if (peer.reassembledLength + lastPiece.length > kLinkMaxPayload) {
        dispatchBuffered(peer, lastPiece);
        dispatchFrame(whole);
        return;
    }
    MessageBuffer message = peer.reassembly;
    whole.length = peer.reassembledLength;
    append(lastPiece, message.data(), whole.length);
    whole.payload = message.data();
    peer.reassembledLength = 0;
    dispatchFrame(whole);
}

void receiveForHost(const LinkFrame& frame) {
    if (frame.kind == kLinkFragment) {
        bufferFragment(frame);
        return;
    }
    Peer* peer = findPeer(frame.source);
    if (peer == nullptr || peer->reassembledLength == 0) {
        dispatchFrame(frame);
    } else {
        finishMessage(*peer, frame);
    }
}

// Between the transports and the stack's own channel, which nobody opens here.
void repeatBroadcast(std::uint32_t channel, const LinkFrame& frame) {
    if (channel == 0) {
        sendOnChannel(1, frame);
        sendOnChannel(2, frame);
    } else {
        sendOnChannel(0, frame);
    }
}

// Kept: a broadcast with an id other than 0 is dispatched a second time, as addressed to the host; handlers
// tolerate it. The frame goes back to the queue with its payload.
void receiveBroadcast(ReceivedFrame& received) {
    const LinkFrame& frame = received.stored.frame;
    if (frame.source != hostAddress()) {
        repeatBroadcast(received.channel, frame);
        dispatchFrame(frame);
    }
    if (frame.messageId != kMessageHello) {
        received.stored.frame.destination = hostAddress();
        queueReceivedFrame(received.channel, received.stored);
    }
}

} // namespace

void queueReceivedFrame(std::uint32_t channel, StoredFrame& stored) {
    if (stack().receiveQueue.put({channel, stored})) {
        stored.frame.payload = nullptr;
    } else {
        releaseFrame(stored);
        reportError(kLinkErrorReceiveQueueFull, stored.frame.messageId);
    }
}

void forgetReceivedFrames() {
    ReceivedFrame received;
    while (stack().receiveQueue.take(received)) {
        releaseFrame(received.stored);
    }
}

void processReceivedFrame() {
    ReceivedFrame received;
    if (!stack().receiveQueue.take(received) || !isIntact(received.stored)) {
        return;
    }
    const LinkFrame& frame = received.stored.frame;
    if (frame.messageId == kMessageHello) {
        receiveHello(received.channel, frame);
    }
    if (frame.destination == hostAddress()) {
        receiveForHost(frame);
    } else if (isBroadcast(frame.destination)) {
        receiveBroadcast(received);
    } else if (const Peer* peer = findPeer(frame.destination); peer != nullptr) {
        sendOnChannel(peer->channel, frame);
    }
    releaseFrame(received.stored);
}

} // namespace vexo::link
