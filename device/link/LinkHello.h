#pragma once

#include "device/link/Link.h"

#include <cstdint>

namespace vexo::link {

inline constexpr std::uint16_t kMessageHello = 0;

// The payload of message 0.
struct HelloRecord {
    std::uint8_t nodeKind = 0;
    std::uint16_t maxPayload = 0;
    std::uint8_t hops = 0;
    std::uint8_t protocolA = 0;
    std::uint8_t protocolB = 0;
    std::uint32_t upTime = 0;    // the sender's millisecond counter
    std::uint16_t frameRate = 0; // frames per second, 0 for no limit
    std::uint8_t intervalCode = 0;
};

// The interval of an interval code in milliseconds: the low nibble shifted left by four times the high
// nibble. At most 0x7FFFFFFF / 3, so that three intervals fit in a peer's time.
[[nodiscard]] std::uint32_t helloIntervalMs(std::uint8_t intervalCode);

// What a hello causes beyond the common handling of frames: answer, address conflict, registration.
void receiveHello(std::uint32_t channel, const LinkFrame& frame);

// Sends a hello of kind 2 to one address on one channel.
void sendDirectedHello(std::uint32_t channel, const LinkAddress& destination);

// The ticks from now to the next broadcast; 0 when it is due.
[[nodiscard]] std::uint32_t ticksToHello();

// Broadcasts a hello when more than 1024 ticks have passed since the last.
void broadcastHelloWhenDue();

} // namespace vexo::link
