#include "device/link/LinkPeers.h"

#include "device/link/LinkMessages.h"

#include <algorithm>

namespace vexo::link {

namespace {

// Ageing comes when more ticks than this have passed: every 51.
constexpr std::uint32_t kAgeingPauseTicks = 50;
constexpr std::int32_t kAgeingStepMs = 50;
constexpr std::uint32_t kTimeoutIntervals = 3;
constexpr std::int32_t kTimeoutWithoutProtocolMs = 3000;

constexpr std::uint8_t kFromStack = 0; // the login callback's `from` for what the peer table itself finds
constexpr std::uint8_t kLoggedIn = 0;
constexpr std::uint8_t kTimedOut = 1; // told like a logout

constexpr std::uint16_t kNoSlot = 0;

std::uint16_t lastSlot() {
    std::uint16_t slot = 0;
    while (stack().peers[slot].next != kNoSlot) {
        slot = stack().peers[slot].next;
    }
    return slot;
}

// The first free slot behind `slot`, all 52 taken as a ring.
std::uint16_t freeSlotAfter(std::uint16_t slot) {
    for (std::uint16_t tried = 0; tried < kPeerCount; ++tried) {
        slot = static_cast<std::uint16_t>(slot % kPeerCount + 1);
        if (stack().peers[slot].used == kPeerFree) {
            return slot;
        }
    }
    return kNoSlot;
}

std::int32_t timeoutMs(const HelloRecord& hello) {
    if (hello.protocolA == 0 || hello.protocolB == 0) {
        return kTimeoutWithoutProtocolMs;
    }
    return static_cast<std::int32_t>(kTimeoutIntervals * helloIntervalMs(hello.intervalCode));
}

void refresh(Peer& peer, const HelloRecord& hello) {
    peer.timeLeft = std::max(peer.timeLeft, timeoutMs(hello));
    peer.nodeKind = hello.nodeKind;
    peer.maxPayload = hello.maxPayload;
    peer.frameRate = hello.frameRate;
    peer.upTime = hello.upTime;
    peer.hops = hello.hops;
    peer.otherChannel = 0;
}

void unlink(std::uint16_t slot) {
    std::uint16_t previous = 0;
    while (stack().peers[previous].next != slot) {
        previous = stack().peers[previous].next;
    }
    stack().peers[previous].next = stack().peers[slot].next;
    stack().peers[slot] = {};
}

// Calls back for a peer. False when the callback has forgotten it.
bool tellLogin(Peer& peer, std::uint8_t type) {
    const LinkAddress address = peer.address;
    peer.used = kPeerChanging;
    callLogin(kFromStack, type, address);
    return findPeer(address) == &peer && peer.used == kPeerChanging;
}

void lose(std::uint16_t slot) {
    if (tellLogin(stack().peers[slot], kTimedOut)) {
        unlink(slot);
    }
}

void agePeers() {
    std::uint16_t slot = stack().peers[0].next;
    while (slot != kNoSlot) {
        Peer& peer = stack().peers[slot];
        if (peer.used != kPeerUsed) {
            return;
        }
        const std::uint16_t next = peer.next;
        peer.timeLeft = std::max(0, peer.timeLeft - kAgeingStepMs);
        if (peer.timeLeft == 0) {
            if (peer.otherChannel == 0) {
                lose(slot);
            } else {
                peer.channel = peer.otherChannel;
                peer.otherChannel = 0;
            }
        }
        slot = next;
    }
}

} // namespace

Peer* findPeer(const LinkAddress& address) {
    for (std::uint16_t slot = stack().peers[0].next; slot != kNoSlot; slot = stack().peers[slot].next) {
        if (stack().peers[slot].address == address) {
            return &stack().peers[slot];
        }
    }
    return nullptr;
}

Registration registerPeer(std::uint32_t channel, const LinkAddress& source, const HelloRecord& hello) {
    if (source == hostAddress()) {
        return Registration::Dropped;
    }
    if (Peer* known = findPeer(source); known != nullptr) {
        if (known->channel != channel) {
            known->otherChannel = channel;
            return Registration::Moved;
        }
        refresh(*known, hello);
        return Registration::Refreshed;
    }

    const std::uint16_t last = lastSlot();
    const std::uint16_t slot = freeSlotAfter(last);
    if (slot == kNoSlot) {
        reportError(kLinkErrorPeerTableFull, kMessageHello);
        return Registration::Dropped;
    }
    Peer& peer = stack().peers[slot];
    peer.used = kPeerChanging;
    peer.channel = channel;
    peer.address = source;
    peer.protocolA = hello.protocolA;
    peer.protocolB = hello.protocolB;
    refresh(peer, hello);
    stack().peers[last].next = slot;

    sendDirectedHello(channel, source);
    if (!tellLogin(peer, kLoggedIn)) {
        return Registration::Dropped;
    }
    sendLoginNotice(source);
    peer.used = kPeerUsed;
    return Registration::Added;
}

void losePeer(const LinkAddress& address) {
    const Peer* peer = findPeer(address);
    if (peer != nullptr && peer->used == kPeerUsed) {
        lose(static_cast<std::uint16_t>(peer - stack().peers.data()));
    }
}

void forgetPeers() {
    stack().peers.fill({});
}

std::uint32_t ticksToAgeing() {
    return ticksUntilOver(stack().lastAgeingAt, kAgeingPauseTicks);
}

void agePeersWhenDue() {
    if (ticksToAgeing() == 0) {
        stack().lastAgeingAt = stack().now;
        agePeers();
    }
}

std::uint32_t peerCount() {
    std::uint32_t count = 0;
    for (std::uint16_t slot = stack().peers[0].next; slot != kNoSlot; slot = stack().peers[slot].next) {
        ++count;
    }
    return count;
}

void callLogin(std::uint8_t from, std::uint8_t type, const LinkAddress& address) {
    const auto& login = stack().callbacks.login;
    if (login.function != nullptr) {
        login.function(from, type, address, login.context);
    }
}

} // namespace vexo::link
