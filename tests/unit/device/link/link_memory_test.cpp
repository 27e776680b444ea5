#include "HeapCounter.h"
#include "device/link/Link.h"
#include "device/link/LinkInspection.h"

#include <array>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

constexpr LinkAddress kHost{1, 1, 28};
constexpr LinkAddress kDevice{7, 3, 0x1234};

// A device in place: answers each request at once with status 0, through a small fixed buffer.
struct EchoingWire {
    std::uint32_t channel = 0;
    int frameCount = 0;
    std::array<std::uint8_t, 600> reply{};

    static int send(std::uint32_t, std::uint32_t, const std::uint8_t* bytes, void* context) {
        auto* wire = static_cast<EchoingWire*>(context);
        ++wire->frameCount;
        if ((bytes[1] & 0x0F) == 0 && wire->frameCount % 3 != 0) {
            wire->feed(1, bytes[4], bytes[5], bytes[14], bytes[15], 20);
        }
        return 1;
    }

    void feed(std::uint8_t kind, std::uint8_t sequenceLow, std::uint8_t sequenceHigh, std::uint8_t idLow,
              std::uint8_t idHigh, std::uint8_t length) {
        const std::uint8_t header[16] = {0x55,        static_cast<std::uint8_t>(0x10 | kind),
                                         length,      0,
                                         sequenceLow, sequenceHigh,
                                         7,           3,
                                         0x34,        0x12,
                                         1,           1,
                                         28,          0,
                                         idLow,       idHigh};
        std::uint8_t sum = 0;
        for (std::size_t index = 0; index < 16; ++index) {
            reply[index] = header[index];
            sum = static_cast<std::uint8_t>(sum + header[index]);
        }
        if (idLow == 0 && idHigh == 0) { // hello: maxPayload 60, protocols 1, interval code 36
            reply[17] = 60;
            reply[20] = reply[21] = 1;
            reply[28] = 36;
            sum = static_cast<std::uint8_t>(sum + 60 + 2 + 36);
        }
        reply[16U + length] = sum;
        linkFeed(channel, 17U + length, reply.data());
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
            wire.feed(2, 1, 0, 0, 0, 13);
        }
        if (tick % 7 == 0) {
            linkSetAttribute(kDevice, 9, static_cast<std::uint8_t>(tick % 201), value.data());
        }
        if (tick % 50 == 0) {
            linkGetAttributes(kDevice, 10, value.data());
            linkQueryName(kHost);
            wire.feed(2, 1, 0, 34, 0, 20);
            wire.feed(0, 1, 0, 16, 0, 0);
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
