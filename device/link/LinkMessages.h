#pragma once

// The messages of the application, on top of the stack's frames.

#include "device/link/Link.h"

#include <cstdint>
#include <span>

namespace vexo::link {

// Registers the handlers of messages 1, 13, 14, 16 and 23.
void registerIdentityMessages();

// Registers the handlers of messages 30 to 34.
void registerAttributeMessages();

// Sends message 14 with the host's address, tracked.
void sendLoginNotice(const LinkAddress& peer);

void sendRequest(const LinkAddress& destination, std::uint16_t messageId,
                 std::span<const std::uint8_t> payload);

// Answers `request`, from inside its dispatch.
void sendResponse(const LinkFrame& request, std::span<const std::uint8_t> payload);

// The status of an answer is its first byte. An answer without one counts as failed.
[[nodiscard]] std::uint8_t statusOf(const LinkFrame& response);

inline constexpr std::uint8_t kStatusSuccess = 0;
inline constexpr std::uint8_t kStatusFailed = 1; // also what a time-out is reported as

} // namespace vexo::link
