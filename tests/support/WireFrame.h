#pragma once

#include <array>
#include <cstdint>
#include <numeric>
#include <vector>

/// Frames as a device writes them, for tests of what receives them.
namespace wireFrame {

using Bytes = std::vector<std::uint8_t>;

/// Link address on the wire: CHID, VID, PID low, PID high.
using Address = std::array<std::uint8_t, 4>;

inline constexpr Address kHost{1, 1, 28, 0};
inline constexpr Address kDevice{2, 3, 0x34, 0x12};
inline constexpr Address kBroadcast{0, 0, 0, 0};

/// One frame, its header field by field.
inline Bytes frame(std::uint8_t kind, std::uint16_t sequence, const Address& source,
                   const Address& destination, std::uint16_t messageId, const Bytes& payload) {
    Bytes bytes{0x55, static_cast<std::uint8_t>(0x10 | kind)};
    const auto put16 = [&bytes](std::size_t value) {
        bytes.push_back(static_cast<std::uint8_t>(value));
        bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    };
    put16(payload.size());                                             // 2: length
    put16(sequence);                                                   // 4: sequence
    bytes.insert(bytes.end(), source.begin(), source.end());           // 6: source
    bytes.insert(bytes.end(), destination.begin(), destination.end()); // 10: destination
    put16(messageId);                                                  // 14: message id
    bytes.insert(bytes.end(), payload.begin(), payload.end());         // 16: payload
    bytes.push_back(static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0u)));
    return bytes;
}

/// The hello of a device that repeats it every 1024 ms.
inline Bytes hello(const Address& source = kDevice) {
    return frame(2, 1, source, kBroadcast, 0,
                 {
                     1,          // 0: node kind
                     0xF4, 0x01, // 1: largest payload, 500
                     0,          // 3: hops
                     1, 10,      // 4: protocol
                     0, 0, 0, 0, // 6: up time
                     0, 0,       // 10: frame rate, no limit
                     36,         // 12: interval code, 1024 ms
                 });
}

} // namespace wireFrame
