#pragma once

#include "device/link/Link.h"

#include <cstdint>

namespace vexo::link {

// Results of sendOnChannel.
inline constexpr int kSendNoSuchChannel = 230;  // a channel above 2
inline constexpr int kSendUnusedChannel = 231;  // a channel that is not open
inline constexpr int kSendTooLong = 235;        // more than 500 bytes of payload; error 2 is reported
inline constexpr int kSendPayloadMissing = 237; // a length without a payload
inline constexpr int kSendOutOfMemory = 241;    // error 12 is reported

// Writes one frame as bytes and hands it to the channel's send function. Returns 0 or one of the above.
int sendOnChannel(std::uint32_t channel, const LinkFrame& frame);

// sendOnChannel on all used channels.
void sendOnAllChannels(const LinkFrame& frame);

} // namespace vexo::link
