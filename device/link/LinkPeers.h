#pragma once

#include "device/link/LinkHello.h"
#include "device/link/LinkState.h"

#include <cstdint>

namespace vexo::link {

enum class Registration {
    Refreshed, // known on this channel
    Moved,     // known on another channel
    Added,     // a new peer, logged in
    Dropped,   // the host's own address, no room (error 9), or forgotten by its own login callback
};

// Registers the sender of a hello, or updates its entry.
Registration registerPeer(std::uint32_t channel, const LinkAddress& source, const HelloRecord& hello);

// Null for an address that is no peer.
[[nodiscard]] Peer* findPeer(const LinkAddress& address);

// Removes a peer, after the login callback with from 0 and type 1. Does nothing for an unknown address and
// while a callback for this peer is running.
void losePeer(const LinkAddress& address);

// Empties the table without a callback, also while a callback for a peer is running.
void forgetPeers();

// The ticks from now to the next ageing; 0 when it is due.
[[nodiscard]] std::uint32_t ticksToAgeing();

// Every 51 ticks: takes 50 ms from each peer's time and removes those whose time is up.
void agePeersWhenDue();

[[nodiscard]] std::uint32_t peerCount();

void callLogin(std::uint8_t from, std::uint8_t type, const LinkAddress& address);

} // namespace vexo::link
