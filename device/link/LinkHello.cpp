#include "device/link/LinkHello.h"

#include "device/link/LinkFrameWriter.h"
#include "device/link/LinkPeers.h"
#include "device/link/LinkRates.h"
#include "device/link/LinkState.h"

#include <algorithm>
#include <cstdlib>

namespace vexo::link {

namespace {

constexpr std::uint32_t kHelloIntervalMs = 1024;
constexpr std::uint16_t kHelloLength = 13;
constexpr std::uint32_t kLongestIntervalMs = 0x7FFFFFFF / 3;
constexpr std::uint32_t kOnwardUpTimeIntervals = 10;

using HelloBytes = std::array<std::uint8_t, kHelloLength>;

HelloRecord readHello(const std::uint8_t* bytes) {
    HelloRecord hello;
    hello.nodeKind = bytes[0];             //  0 nodeKind
    hello.maxPayload = readU16(bytes + 1); //  1 maxPayload
    hello.hops = bytes[3];                 //  3 hops
    hello.protocolA = bytes[4];            //  4 protocolA
    hello.protocolB = bytes[5];            //  5 protocolB
    hello.upTime = readU32(bytes + 6);     //  6 upTime
    hello.frameRate = readU16(bytes + 10); // 10 frameRate
    hello.intervalCode = bytes[12];        // 12 intervalCode
    return hello;
}

HelloBytes writeHello(const HelloRecord& hello) {
    HelloBytes bytes{};
    bytes[0] = hello.nodeKind;
    writeU16(hello.maxPayload, &bytes[1]);
    bytes[3] = hello.hops;
    bytes[4] = hello.protocolA;
    bytes[5] = hello.protocolB;
    writeU32(hello.upTime, &bytes[6]);
    writeU16(hello.frameRate, &bytes[10]);
    bytes[12] = hello.intervalCode;
    return bytes;
}

HelloBytes hostHello() {
    HelloRecord hello;
    hello.nodeKind = 0;
    hello.maxPayload = kLinkMaxPayload;
    hello.hops = 0;
    hello.protocolA = 1;
    hello.protocolB = 10;
    hello.upTime = stack().now;
    hello.frameRate = kHostFrameRate;
    hello.intervalCode = 0x24; // 4 << 8: 1024 ms
    return writeHello(hello);
}

LinkFrame helloFrame(const HelloBytes& payload) {
    LinkFrame frame;
    frame.kind = kLinkNotification;
    frame.length = kHelloLength;
    frame.source = hostAddress();
    frame.messageId = kMessageHello;
    frame.payload = payload.data();
    return frame;
}

std::uint16_t nextHelloSequence() {
    stack().helloSequence = sequenceAfter(stack().helloSequence);
    return stack().helloSequence;
}

void broadcastHello() {
    const HelloBytes payload = hostHello();
    LinkFrame frame = helloFrame(payload);
    frame.sequence = nextHelloSequence();
    frame.destination = {};
    stack().lastHelloAt = stack().now;
    sendOnAllChannels(frame);
}

void answerHello(std::uint32_t channel, const LinkFrame& request) {
    const HelloBytes payload = hostHello();
    LinkFrame frame = helloFrame(payload);
    frame.kind = kLinkResponse;
    frame.sequence = request.sequence;
    frame.destination = request.source;
    sendOnChannel(channel, frame);
}

// CHID 0 means a node without an id and is never picked.
std::uint8_t pickChid() {
    LinkAddress candidate = hostAddress();
    do {
        candidate.chid = static_cast<std::uint8_t>(std::rand() % 255 + 1);
    } while (candidate == hostAddress() || findPeer(candidate) != nullptr);
    return candidate.chid;
}

void sendHelloOnward(std::uint32_t channel, const LinkFrame& frame, HelloRecord hello) {
    hello.maxPayload = std::min(hello.maxPayload, kLinkMaxPayload);
    hello.frameRate = lowerRate(kHostFrameRate, hello.frameRate);
    hello.hops = static_cast<std::uint8_t>(hello.hops + 1);
    hello.upTime += kOnwardUpTimeIntervals * helloIntervalMs(hello.intervalCode);
    const HelloBytes payload = writeHello(hello);
    LinkFrame onward = frame;
    onward.length = kHelloLength;
    onward.payload = payload.data();
    sendOnChannel(channel, onward);
}

} // namespace

std::uint32_t helloIntervalMs(std::uint8_t intervalCode) {
    const std::uint64_t mantissa = intervalCode & 0x0F;
    const std::uint32_t shift = 4 * (intervalCode >> 4); // 0 to 60
    if (mantissa != 0 && shift >= 32) {
        return kLongestIntervalMs;
    }
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(mantissa << shift, kLongestIntervalMs));
}

void receiveHello(std::uint32_t channel, const LinkFrame& frame) {
    if (frame.destination == hostAddress() && frame.kind == kLinkRequest) {
        answerHello(channel, frame);
    }
    if (frame.length < kHelloLength) {
        return;
    }
    const HelloRecord hello = readHello(frame.payload);
    if (frame.source == hostAddress() && hello.upTime > stack().now) {
        // Two nodes have one address: the younger one gives way.
        stack().hostChid = pickChid();
        broadcastHello();
    } else if (registerPeer(channel, frame.source, hello) == Registration::Moved) {
        sendHelloOnward(channel, frame, hello);
    }
}

void sendDirectedHello(std::uint32_t channel, const LinkAddress& destination) {
    const HelloBytes payload = hostHello();
    LinkFrame frame = helloFrame(payload);
    frame.sequence = nextHelloSequence();
    frame.destination = destination;
    sendOnChannel(channel, frame);
}

std::uint32_t ticksToHello() {
    return ticksUntilOver(stack().lastHelloAt, kHelloIntervalMs);
}

void broadcastHelloWhenDue() {
    if (ticksToHello() == 0) {
        broadcastHello();
    }
}

} // namespace vexo::link
