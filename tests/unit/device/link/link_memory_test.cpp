#include "HeapCounter.h"
#include "device/link/Link.h"
#include "device/link/LinkInspection.h"
#include "tests/support/WireFrame.h"

#include <array>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

using wireFrame::kFrameBytes;
using wireFrame::kHost;

constexpr LinkAddress kSender{7, 3, 0x1234};

// A device that answers two of three requests at once with status 0, through a fixed buffer.
struct EchoingWire {
    std::uint32_t channel = 0;
    int frameCount = 0;
    std::array<std::uint8_t, 600> reply{};

    static int send(std::uint32_t, std::uint32_t, const std::uint8_t* bytes, void* context) {
        auto* wire = static_cast<EchoingWire*>(context);
        ++wire->frameCount;
        const auto header = std::span(bytes, wireFrame::kHeaderBytes);
        if ((header[1] & 0x0F) == kLinkRequest && wire->frameCount % 3 != 0) {
            wire->feed(kLinkResponse, wireFrame::readU16(header, 4), wireFrame::readU16(header, 14), 20);
        }
        return 1;
    }

    // A frame whose payload is zeros, or a hello.
    void feed(std::uint8_t kind, std::uint16_t sequence, std::uint16_t messageId, std::uint8_t length) {
        const auto frame = std::span(reply).first(kFrameBytes + length);
        if (messageId == 0) { // maxPayload 60, protocols 1, interval code 36
            reply[17] = 60;
            reply[20] = reply[21] = 1;
            reply[28] = 36;
        }
        wireFrame::encodeInPlace(frame, kind, sequence, kSender, kHost, messageId);
        linkFeed(channel, static_cast<std::uint32_t>(frame.size()), frame.data());
        reply.fill(0);
    }
};

TEST(LinkMemory, TheCountersCount) {
    HeapCounter counter;
    auto* volatile number = new std::uint64_t(1);
    void* volatile memory = std::malloc(16); // volatile: the compiler must not leave it out
    void* volatile grown = std::realloc(memory, 32);
    void* volatile zeros = std::calloc(4, 4);
    const int count = counter.allocationCount();
    delete number;
    std::free(grown);
    std::free(zeros);
    EXPECT_EQ(count, 4);
}

TEST(LinkMemory, AStackAtWorkTakesNothingFromTheHeap) {
    HeapCounter counter;
    linkInit();
    EchoingWire wire;
    int callbackCount = 0;
    wire.channel = linkOpenChannel(EchoingWire::send, &wire);
    linkInstallLoginCallback([](std::uint8_t, std::uint8_t, const LinkAddress& address, void*) {
        linkQueryName(address);
        linkQuerySerial(address);
        linkQueryVersion(address);
        linkSubscribe(address);
    });
    linkInstallAttributeCallback(
        [](const LinkInfo&, std::uint16_t, const std::uint8_t*, void* context) {
            ++*static_cast<int*>(context);
            return 0;
        },
        &callbackCount);
    const std::array<std::uint8_t, 200> value{};
    for (std::uint32_t tick = 0; tick < 20000; ++tick) {
        if (tick % 1000 == 0 && tick < 12000) {
            wire.feed(kLinkNotification, 1, 0, 13);
        }
        if (tick % 7 == 0) {
            linkSetAttribute(kSender, 9, static_cast<std::uint8_t>(tick % 201), value.data());
        }
        if (tick % 50 == 0) {
            linkGetAttributes(kSender, 10, value.data());
            linkQueryName(kHost);
            wire.feed(kLinkNotification, 1, kLinkMessageSubscribe, 20);
            wire.feed(kLinkRequest, 1, kLinkMessageVersion, 0);
        }
        linkPoll();
        linkTick(1);
    }
    EXPECT_EQ(counter.allocationCount(), 0);
    EXPECT_GT(callbackCount, 1000);
    EXPECT_GT(wire.frameCount, 1000);
    EXPECT_GT(linkInspect().pendingAnswered, 200U);
    EXPECT_GT(linkInspect().pendingTimedOut, 100U);
}

} // namespace
