// The frames of the link, as they stand on the wire. All numbers are little-endian.
//
//   offset          size    field
//   0               1       0x55
//   1               1       high nibble 0x1, low nibble the kind
//   2               2       payload length, 0 to 500
//   4               2       sequence
//   6               4       source address
//   10              4       destination address
//   14              2       message id
//   16              length  payload
//   16 + length     1       sum of all bytes before it, modulo 256
#pragma once

#include "emulator/Bytes.h"

#include <functional>

namespace vexo::emulator {

constexpr std::uint8_t kFrameStart = 0x55;
constexpr std::size_t kFrameHeaderSize = 16;
constexpr std::size_t kMaxFramePayload = 500;

// Kinds of a frame.
constexpr std::uint8_t kRequest = 0;
constexpr std::uint8_t kResponse = 1;
constexpr std::uint8_t kNotification = 2;
constexpr std::uint8_t kFragment = 3;

// Sequences count in 16 bits: 0 comes after 65535.
[[nodiscard]] constexpr std::uint16_t sequenceAfter(std::uint16_t sequence) {
    return static_cast<std::uint16_t>(sequence + 1);
}

// Message ids that the devices know.
constexpr std::uint16_t kHello = 0;
constexpr std::uint16_t kNameQuery = 1;
constexpr std::uint16_t kLogout = 13;
constexpr std::uint16_t kLoginNotice = 14;
constexpr std::uint16_t kVersionQuery = 16;
constexpr std::uint16_t kSerialQuery = 23;
constexpr std::uint16_t kAttributeWrite = 30;
constexpr std::uint16_t kAttributeRead = 31;
constexpr std::uint16_t kMultiAttributeWrite = 32;
constexpr std::uint16_t kMultiAttributeRead = 33;
constexpr std::uint16_t kAttributeSubscription = 34;
constexpr std::uint16_t kGainLevel = 0x8002;
constexpr std::uint16_t kButtonPressed = 0x8003;
constexpr std::uint16_t kFactoryReset = 0x8004;
constexpr std::uint16_t kUpgradeFrame = 0x8006;

// English words for a message id; empty for one that has none.
std::string_view messageName(std::uint16_t messageId);

// Four bytes on the wire: CHID, VID, PID low, PID high.
struct LinkAddress {
    std::uint8_t channelId = 0;
    std::uint8_t vendor = 0;
    std::uint16_t product = 0;

    bool operator==(const LinkAddress&) const = default;
    bool isBroadcast() const { return vendor == 0 && product == 0; }
};

constexpr LinkAddress kBroadcast{};

Bytes toBytes(const LinkAddress& address);
// The caller makes sure that four bytes are there.
LinkAddress readAddress(BytesView bytes, std::size_t offset);

struct LinkFrame {
    std::uint8_t kind = kRequest;
    std::uint16_t sequence = 0;
    LinkAddress source;
    LinkAddress destination;
    std::uint16_t messageId = 0;
    Bytes payload;

    bool operator==(const LinkFrame&) const = default;
};

// The frame's bytes. A payload above 500 bytes is written too: a faulty device may do so.
Bytes encodeFrame(const LinkFrame& frame);

// Finds frames in the bytes of successive reports. After a 0x55 that is followed by a byte whose high nibble
// is not 1 the rest of the report is dropped, as the devices do.
class FrameReader {
public:
    struct Counters {
        std::uint64_t frames = 0;
        std::uint64_t badChecksums = 0;
        std::uint64_t badLengths = 0;
        std::uint64_t badControls = 0;
        // Bytes outside frames other than the zeros of padding.
        std::uint64_t strayBytes = 0;
    };

    // Reads one report's bytes and calls back with each frame that ends in them.
    void feed(BytesView report, const std::function<void(LinkFrame&&)>& onFrame);
    // Forgets a frame that was begun; counters stay.
    void restart() { partial.clear(); }

    Counters counters;

private:
    // The bytes of the frame under construction, from its 0x55 on.
    Bytes partial;
};

} // namespace vexo::emulator
