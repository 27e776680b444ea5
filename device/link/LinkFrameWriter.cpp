#include "device/link/LinkFrameWriter.h"

#include "device/link/LinkState.h"

#include <cstring>
#include <numeric>

namespace vexo::link {

int sendOnChannel(std::uint32_t channel, const LinkFrame& frame) {
    if (channel >= kChannelCount) {
        return kSendNoSuchChannel;
    }
    if (!stack().channels[channel].used) {
        return kSendUnusedChannel;
    }
    if (frame.length > kLinkMaxPayload) {
        reportError(kLinkErrorOutgoingTooLong, frame.messageId);
        return kSendTooLong;
    }
    if (frame.length > 0 && frame.payload == nullptr) {
        return kSendPayloadMissing;
    }
    const std::uint32_t checksumOffset = kHeaderLength + frame.length;
    const std::uint32_t byteCount = checksumOffset + kChecksumLength;
    std::uint8_t* bytes = takeMemory(byteCount, frame.messageId);
    if (bytes == nullptr) {
        return kSendOutOfMemory;
    }
    const std::uint32_t generation = stack().pool.generation;

    bytes[0] = kFrameMagic;                                                    // 0 magic
    bytes[1] = static_cast<std::uint8_t>(kFrameControl | (frame.kind & 0x0F)); // 1 control
    writeU16(frame.length, bytes + 2);                                         // 2 length
    writeU16(frame.sequence, bytes + 4);                                       // 4 sequence
    writeAddress(frame.source, bytes + 6);                                     // 6 source
    writeAddress(frame.destination, bytes + 10);                               // 10 destination
    writeU16(frame.messageId, bytes + 14);                                     // 14 messageId
    if (frame.length > 0) {
        std::memcpy(bytes + kHeaderLength, frame.payload, frame.length); // 16 payload
    }
    bytes[checksumOffset] = std::accumulate(
        bytes, bytes + checksumOffset, std::uint8_t{0},
        [](std::uint8_t sum, std::uint8_t byte) { return static_cast<std::uint8_t>(sum + byte); });

    const Channel& used = stack().channels[channel];
    used.sendFunction(channel, byteCount, bytes, used.context);
    releaseMemory(bytes, generation, frame.messageId);
    return 0;
}

void sendOnAllChannels(const LinkFrame& frame) {
    for (std::uint32_t channel = 0; channel < kChannelCount; ++channel) {
        if (stack().channels[channel].used) {
            sendOnChannel(channel, frame);
        }
    }
}

} // namespace vexo::link
