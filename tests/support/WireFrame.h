#pragma once

// The link's frames and reports as tests and measurements write and read them: the one codec beside the
// program's and the emulator's own, so that a mistake of either does not hide itself. Needs no library.

#include "device/link/Link.h" // for LinkAddress, a plain record

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <vector>

namespace wireFrame {

using Bytes = std::vector<std::uint8_t>;

inline constexpr LinkAddress kHost{1, 1, 28};
inline constexpr LinkAddress kBroadcast{};

inline constexpr std::size_t kHeaderBytes = 16;
inline constexpr std::size_t kChecksumBytes = 1;
/// Of a frame without its payload.
inline constexpr std::size_t kFrameBytes = kHeaderBytes + kChecksumBytes;

struct WireFrame {
    std::uint8_t kind = 0;
    std::uint16_t sequence = 0;
    LinkAddress source;
    LinkAddress destination;
    std::uint16_t messageId = 0;
    Bytes payload;

    bool operator==(const WireFrame&) const = default;
};

inline std::uint16_t readU16(std::span<const std::uint8_t> bytes, std::size_t offset) {
    return static_cast<std::uint16_t>(bytes[offset] + bytes[offset + 1] * 256);
}

inline void writeU16(std::span<std::uint8_t> bytes, std::size_t offset, std::size_t value) {
    bytes[offset] = static_cast<std::uint8_t>(value % 256);
    bytes[offset + 1] = static_cast<std::uint8_t>(value / 256 % 256);
}

inline LinkAddress readAddress(std::span<const std::uint8_t> bytes, std::size_t offset) {
    return {bytes[offset], bytes[offset + 1], readU16(bytes, offset + 2)};
}

inline void writeAddress(std::span<std::uint8_t> bytes, std::size_t offset, const LinkAddress& address) {
    bytes[offset] = address.chid;
    bytes[offset + 1] = address.vid;
    writeU16(bytes, offset + 2, address.pid);
}

/// The sum of the bytes, modulo 256.
inline std::uint8_t checksum(std::span<const std::uint8_t> bytes) {
    return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U) % 256);
}

/// Writes a frame around the payload that stands in `bytes` from kHeaderBytes on; `bytes` is the whole frame.
/// Allocates nothing.
inline void encodeInPlace(std::span<std::uint8_t> bytes, std::uint8_t kind, std::uint16_t sequence,
                          const LinkAddress& source, const LinkAddress& destination,
                          std::uint16_t messageId) {
    bytes[0] = 0x55;                                        // 0: magic
    bytes[1] = static_cast<std::uint8_t>(0x10 | kind);      // 1: control
    writeU16(bytes, 2, bytes.size() - kFrameBytes);         // 2: length
    writeU16(bytes, 4, sequence);                           // 4: sequence
    writeAddress(bytes, 6, source);                         // 6: source
    writeAddress(bytes, 10, destination);                   // 10: destination
    writeU16(bytes, 14, messageId);                         // 14: message id
    bytes.back() = checksum(bytes.first(bytes.size() - 1)); // the last byte
}

inline Bytes encode(const WireFrame& frame) {
    Bytes bytes;
    bytes.reserve(kFrameBytes + frame.payload.size());
    bytes.resize(kHeaderBytes);
    bytes.insert(bytes.end(), frame.payload.begin(), frame.payload.end());
    bytes.resize(kFrameBytes + frame.payload.size());
    encodeInPlace(bytes, frame.kind, frame.sequence, frame.source, frame.destination, frame.messageId);
    return bytes;
}

/// Whether `bytes` are exactly one valid frame.
inline bool isFrame(std::span<const std::uint8_t> bytes) {
    return bytes.size() >= kFrameBytes && bytes[0] == 0x55 && bytes[1] / 16 == 1 &&
           bytes.size() == kFrameBytes + readU16(bytes, 2) &&
           bytes.back() == checksum(bytes.first(bytes.size() - 1));
}

/// Nothing unless `bytes` are exactly one valid frame.
inline std::optional<WireFrame> decode(const Bytes& bytes) {
    if (!isFrame(bytes)) {
        return std::nullopt;
    }
    return WireFrame{.kind = static_cast<std::uint8_t>(bytes[1] % 16),
                     .sequence = readU16(bytes, 4),
                     .source = readAddress(bytes, 6),
                     .destination = readAddress(bytes, 10),
                     .messageId = readU16(bytes, 14),
                     .payload = Bytes(bytes.begin() + kHeaderBytes, bytes.end() - kChecksumBytes)};
}

/// The payload of a hello.
struct HelloFields {
    std::uint8_t nodeKind = 5;
    std::uint16_t maxPayload = 500;
    std::uint8_t hops = 0;
    std::uint8_t protocolA = 1;
    std::uint8_t protocolB = 10;
    std::uint32_t upTime = 1;       // ms
    std::uint16_t frameRate = 0;    // no limit
    std::uint8_t intervalCode = 36; // 1024 ms
};

inline Bytes helloPayload(const HelloFields& fields = {}) {
    Bytes bytes(13);
    bytes[0] = fields.nodeKind;                 // 0: node kind
    writeU16(bytes, 1, fields.maxPayload);      // 1: largest payload
    bytes[3] = fields.hops;                     // 3: hops
    bytes[4] = fields.protocolA;                // 4: protocol
    bytes[5] = fields.protocolB;                // 5
    writeU16(bytes, 6, fields.upTime & 0xFFFF); // 6: up time
    writeU16(bytes, 8, fields.upTime >> 16);    // 8
    writeU16(bytes, 10, fields.frameRate);      // 10: frame rate
    bytes[12] = fields.intervalCode;            // 12: interval code
    return bytes;
}

/// A hello of this node to everybody.
inline Bytes hello(const LinkAddress& source, const HelloFields& fields = {}) {
    return encode({2, 77, source, kBroadcast, 0, helloPayload(fields)});
}

/// CRC-16/CCITT-FALSE.
inline std::uint16_t upgradeCrc(std::span<const std::uint8_t> bytes) {
    std::uint16_t crc = 0xFFFF;
    for (const std::uint8_t byte : bytes) {
        for (int bit = 7; bit >= 0; --bit) {
            const bool carries = ((crc >> 15) ^ (byte >> bit & 1)) != 0;
            crc = static_cast<std::uint16_t>((crc << 1) ^ (carries ? 0x1021 : 0));
        }
    }
    return crc;
}

/// The payload of a firmware message.
inline Bytes upgradeFrame(std::uint8_t command, std::span<const std::uint8_t> data) {
    Bytes bytes(7);
    bytes[0] = 0xAA;                 // 0: magic
    bytes[1] = 0x55;                 // 1
    bytes[4] = command;              // 4: command
    writeU16(bytes, 5, data.size()); // 5: data length
    bytes.insert(bytes.end(), data.begin(), data.end());
    writeU16(bytes, 2, upgradeCrc(std::span(bytes).subspan(4))); // 2: CRC
    return bytes;
}

/// How the reports of a model carry a frame's bytes.
enum class ReportForm { Mixer, Microphone };

/// Cuts bytes into reports of at most `capacity` bytes behind a header, which `headerOf` makes of their
/// number.
template <typename HeaderOf>
std::vector<Bytes> cut(std::span<const std::uint8_t> bytes, std::size_t capacity, HeaderOf headerOf) {
    std::vector<Bytes> reports;
    while (!bytes.empty()) {
        const auto part = bytes.first(std::min(capacity, bytes.size()));
        Bytes report = headerOf(static_cast<std::uint8_t>(part.size()));
        report.insert(report.end(), part.begin(), part.end());
        reports.push_back(std::move(report));
        bytes = bytes.subspan(part.size());
    }
    return reports;
}

/// The reports in which a host writes bytes to a device, report id first.
inline std::vector<Bytes> hostReports(ReportForm form, std::span<const std::uint8_t> bytes) {
    return form == ReportForm::Mixer ? cut(bytes, 58, [](std::uint8_t count) { return Bytes{1, count}; })
                                     : cut(bytes, 64, [](std::uint8_t) { return Bytes{0}; });
}

/// The reports in which a device sends bytes, as the host reads them.
inline std::vector<Bytes> deviceReports(ReportForm form, std::span<const std::uint8_t> bytes) {
    return form == ReportForm::Mixer
               ? cut(bytes, 60, [](std::uint8_t count) { return Bytes{1, count, 0, 0}; })
               : cut(bytes, 64, [](std::uint8_t) { return Bytes(); });
}

/// "0000  55 12 ..." with offsets, 16 bytes a line.
inline std::string hexOf(const Bytes& bytes) {
    std::string text;
    char part[32];
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        if (index % 16 == 0) {
            std::snprintf(part, sizeof part, "%s%04zx ", index == 0 ? "" : "\n", index);
            text += part;
        }
        std::snprintf(part, sizeof part, " %02x", static_cast<unsigned>(bytes[index]));
        text += part;
    }
    return text;
}

inline std::ostream& operator<<(std::ostream& stream, const WireFrame& frame) {
    return stream << '\n' << hexOf(encode(frame));
}

} // namespace wireFrame
