#include "emulator/LinkFrame.h"

#include <numeric>

namespace vexo::emulator {
namespace {

std::uint8_t sumOf(BytesView bytes) {
    return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0U) & 0xFFU);
}

} // namespace

std::string_view messageName(std::uint16_t messageId) {
    switch (messageId) {
    case kHello:
        return "hello";
    case kNameQuery:
        return "name query";
    case kLogout:
        return "logout";
    case kLoginNotice:
        return "login notice";
    case kVersionQuery:
        return "version query";
    case kSerialQuery:
        return "serial query";
    case kAttributeWrite:
        return "attribute write";
    case kAttributeRead:
        return "attribute read";
    case kMultiAttributeWrite:
        return "multi-attribute write";
    case kMultiAttributeRead:
        return "multi-attribute read";
    case kAttributeSubscription:
        return "attribute subscription";
    case kGainLevel:
        return "gain level";
    case kButtonPressed:
        return "button pressed";
    case kFactoryReset:
        return "factory reset";
    case kUpgradeFrame:
        return "upgrade frame";
    default:
        return "";
    }
}

Bytes toBytes(const LinkAddress& address) {
    Bytes bytes{address.channelId, address.vendor};
    appendU16(bytes, address.product);
    return bytes;
}

LinkAddress readAddress(BytesView bytes, std::size_t offset) {
    return {bytes[offset], bytes[offset + 1], readU16(bytes, offset + 2)};
}

Bytes encodeFrame(const LinkFrame& frame) {
    Bytes bytes{kFrameStart, static_cast<std::uint8_t>(0x10U | (frame.kind & 0x0FU))};
    appendU16(bytes, static_cast<std::uint16_t>(frame.payload.size()));
    appendU16(bytes, frame.sequence);
    for (const LinkAddress& address : {frame.source, frame.destination}) {
        const Bytes four = toBytes(address);
        bytes.insert(bytes.end(), four.begin(), four.end());
    }
    appendU16(bytes, frame.messageId);
    bytes.insert(bytes.end(), frame.payload.begin(), frame.payload.end());
    bytes.push_back(sumOf(bytes));
    return bytes;
}

void FrameReader::feed(BytesView report, const std::function<void(LinkFrame&&)>& onFrame) {
    for (const std::uint8_t byte : report) {
        if (partial.empty() && byte != kFrameStart) {
            counters.strayBytes += byte != 0 ? 1 : 0;
            continue;
        }
        partial.push_back(byte);
        if (partial.size() == 2 && (byte >> 4U) != 1) {
            ++counters.badControls;
            partial.clear();
            return;
        }
        if (partial.size() < kFrameHeaderSize) {
            continue;
        }
        const std::size_t length = readU16(partial, 2);
        if (length > kMaxFramePayload) {
            ++counters.badLengths;
            partial.clear();
            continue;
        }
        if (partial.size() < kFrameHeaderSize + length + 1) {
            continue;
        }
        const BytesView summed = BytesView(partial).first(kFrameHeaderSize + length);
        if (sumOf(summed) != byte) {
            ++counters.badChecksums;
            partial.clear();
            continue;
        }
        LinkFrame frame;
        frame.kind = partial[1] & 0x0FU;
        frame.sequence = readU16(partial, 4);
        frame.source = readAddress(partial, 6);
        frame.destination = readAddress(partial, 10);
        frame.messageId = readU16(partial, 14);
        frame.payload.assign(summed.begin() + kFrameHeaderSize, summed.end());
        partial.clear();
        ++counters.frames;
        onFrame(std::move(frame));
    }
}

} // namespace vexo::emulator
