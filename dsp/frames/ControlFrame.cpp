#include "dsp/frames/ControlFrame.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace vexo::dsp {

namespace {

constexpr std::size_t kMinCovered = 8;

constexpr std::array<std::uint16_t, 256> makeCrcTable() {
    std::array<std::uint16_t, 256> table{};
    for (unsigned byte = 0; byte < table.size(); ++byte) {
        unsigned rest = byte << 8U;
        for (int bit = 0; bit < 8; ++bit) {
            rest = (rest << 1U) ^ ((rest & 0x8000U) != 0 ? 0x1021U : 0U);
        }
        table[byte] = static_cast<std::uint16_t>(rest);
    }
    return table;
}

constexpr std::array<std::uint16_t, 256> kCrcTable = makeCrcTable();

/// Appends the checksum over everything from offset 2 on.
Frame withChecksum(Report report) {
    const Checksum checksum = checksumOf(Bytes(report).subspan(2));
    report.push_back(checksum.value);
    return {std::move(report), checksum.computed};
}

} // namespace

std::uint16_t crc16(Bytes bytes, std::uint16_t initial) {
    return std::accumulate(bytes.begin(), bytes.end(), initial, [](std::uint16_t crc, std::uint8_t byte) {
        return static_cast<std::uint16_t>((crc << 8U) ^ kCrcTable[(crc >> 8U) ^ byte]);
    });
}

Checksum checksumOf(Bytes covered) {
    if (covered.size() < kMinCovered) {
        return {};
    }
    const unsigned sum = std::accumulate(covered.begin(), covered.end(), 0U);
    return {static_cast<std::uint8_t>(256U - (sum & 0xFFU)), true};
}

std::optional<Frame> magicFrame(Bytes payload) {
    if (payload.size() > kMaxMagicPayload) {
        return std::nullopt;
    }
    Report report{kReportId, static_cast<std::uint8_t>(payload.size() + kMagic.size() + 1)};
    report.insert(report.end(), kMagic.begin(), kMagic.end());
    report.insert(report.end(), payload.begin(), payload.end());
    return withChecksum(std::move(report));
}

Frame commandFrame(Bytes data) {
    Report report{kReportId, static_cast<std::uint8_t>(data.size() + 2), 0};
    report.insert(report.end(), data.begin(), data.end());
    return withChecksum(std::move(report));
}

Frame packetFrame(Bytes block) {
    Report report{kReportId};
    report.insert(report.end(), block.begin(), block.end());
    return withChecksum(std::move(report));
}

Bytes payloadOf(Bytes report) {
    if (report.size() < 3) {
        return {};
    }
    return report.subspan(2, std::min<std::size_t>(report[1], report.size() - 2));
}

bool echoes(Bytes payload, std::string_view text) {
    return payload.size() > text.size() &&
           std::equal(text.begin(), text.end(), payload.begin() + 1,
                      [](char wanted, std::uint8_t got) { return static_cast<std::uint8_t>(wanted) == got; });
}

} // namespace vexo::dsp
