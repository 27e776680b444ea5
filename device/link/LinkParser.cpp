// The byte parser. The protocol defines it byte by byte; this one handles runs of bytes at once, with the
// same results.

#include "device/link/LinkReceiver.h"
#include "device/link/LinkState.h"

#include <algorithm>
#include <cstring>

namespace vexo::link {

namespace {

constexpr int kFeedNoSuchChannel = 26;
constexpr int kFeedUnusedChannel = 27;
constexpr int kFeedNoFrame = 45;

constexpr std::uint32_t kStateMagic = 0;
constexpr std::uint32_t kStateControl = 1;
constexpr std::uint32_t kStatePayload = 16;
constexpr std::uint32_t kStateChecksum = 17;

std::uint8_t sumOf(const std::uint8_t* bytes, std::uint32_t count) {
    std::uint32_t sum = 0;
    for (std::uint32_t index = 0; index < count; ++index) {
        sum += bytes[index];
    }
    return static_cast<std::uint8_t>(sum);
}

// Reads the complete header and chooses the next state.
void finishHeader(ParserState& parser) {
    const std::uint8_t* header = parser.header.data();
    LinkFrame& frame = parser.frame.frame;
    frame.kind = header[1] & 0x0F;                //  1 control: the kind is its low nibble
    frame.length = readU16(header + 2);           //  2 length
    frame.sequence = readU16(header + 4);         //  4 sequence
    frame.source = readAddress(header + 6);       //  6 source
    frame.destination = readAddress(header + 10); // 10 destination
    frame.messageId = readU16(header + 14);       // 14 messageId
    frame.payload = nullptr;

    if (frame.length > kLinkMaxPayload) {
        parser.state = kStateMagic;
        reportError(kLinkErrorIncomingTooLong, frame.messageId);
    } else if (frame.length == 0) {
        parser.state = kStateChecksum;
    } else {
        parser.state = kStateMagic;
        std::uint8_t* payload = takeMemory(frame.length, frame.messageId);
        if (payload != nullptr) {
            parser.payload = payload;
            parser.payloadIndex = 0;
            parser.frame.poolGeneration = stack().pool.generation;
            frame.payload = payload;
            parser.state = kStatePayload;
        }
    }
}

void finishFrame(std::uint32_t channel, ParserState& parser, std::uint8_t checksum) {
    StoredFrame finished = parser.frame;
    parser.frame.frame.payload = nullptr;
    parser.state = kStateMagic;
    if (checksum != parser.sum) {
        releaseFrame(finished);
        reportError(kLinkErrorChecksum, finished.frame.messageId);
    } else {
        queueReceivedFrame(channel, finished);
    }
}

// The next bytes of the header, of `available` at `bytes`. Returns how many were taken.
std::uint32_t takeHeaderBytes(ParserState& parser, const std::uint8_t* bytes, std::uint32_t available) {
    const std::uint32_t count = std::min(available, kHeaderLength - parser.state);
    std::memcpy(parser.header.data() + parser.state, bytes, count);
    parser.sum = static_cast<std::uint8_t>(parser.sum + sumOf(bytes, count));
    parser.state += count;
    if (parser.state == kHeaderLength) {
        finishHeader(parser);
    }
    return count;
}

// The same for the payload.
std::uint32_t takePayloadBytes(ParserState& parser, const std::uint8_t* bytes, std::uint32_t available) {
    if (!isIntact(parser.frame)) { // the pool was reset under the frame
        parser.frame.frame.payload = nullptr;
        parser.state = kStateMagic;
        return 0;
    }
    const std::uint32_t missing = parser.frame.frame.length - std::uint32_t{parser.payloadIndex};
    const std::uint32_t count = std::min(available, missing);
    std::memcpy(parser.payload + parser.payloadIndex, bytes, count);
    parser.sum = static_cast<std::uint8_t>(parser.sum + sumOf(bytes, count));
    parser.payloadIndex = static_cast<std::uint16_t>(parser.payloadIndex + count);
    if (count == missing) {
        parser.state = kStateChecksum;
    }
    return count;
}

} // namespace

} // namespace vexo::link

int linkFeed(std::uint32_t channel, std::uint32_t length, const std::uint8_t* bytes) {
    using namespace vexo::link;
    if (channel >= kChannelCount) {
        return kFeedNoSuchChannel;
    }
    if (!stack().channels[channel].used) {
        return kFeedUnusedChannel;
    }
    ParserState& parser = stack().channels[channel].parser;
    const std::uint8_t* const end = bytes + length;
    while (bytes != end) {
        const auto available = static_cast<std::uint32_t>(end - bytes);
        switch (parser.state) {
        case kStateMagic: {
            const void* magic = std::memchr(bytes, kFrameMagic, available);
            if (magic == nullptr) {
                return 0;
            }
            bytes = static_cast<const std::uint8_t*>(magic) + 1;
            parser.header[0] = kFrameMagic;
            parser.sum = kFrameMagic;
            parser.state = kStateControl;
            break;
        }
        case kStateControl:
            if ((*bytes & 0xF0) != kFrameControl) {
                parser.state = kStateMagic;
                return kFeedNoFrame;
            }
            [[fallthrough]];
        default: // the rest of the header
            bytes += takeHeaderBytes(parser, bytes, available);
            break;
        case kStatePayload:
            bytes += takePayloadBytes(parser, bytes, available);
            break;
        case kStateChecksum:
            finishFrame(channel, parser, *bytes);
            ++bytes;
            break;
        }
    }
    return 0;
}
