#include "LinkBench.h"
#include "tests/support/RandomSeed.h"

#include <algorithm>
#include <array>
#include <random>

namespace {

constexpr std::uint16_t kIdleMessage = 0x8100;

class LinkIdle : public LinkBench {
protected:
    // What a run put on the wire and when, and the callbacks that it got.
    struct Record {
        std::vector<std::pair<std::uint32_t, Bytes>> wire;
        std::vector<Login> logins;
        std::size_t timeouts = 0;
        std::uint32_t ticks = 0;
        std::uint32_t polls = 0;
        bool operator==(const Record& other) const {
            return wire == other.wire && logins == other.logins && timeouts == other.timeouts &&
                   ticks == other.ticks;
        }
    };

    // Something for the link to do: a frame to send, a hello, an answer, half a frame.
    void disturb(std::mt19937_64& random) {
        const LinkAddress device{static_cast<std::uint8_t>(2 + random() % 3), 3, 0x1234};
        switch (random() % 4) {
        case 0: {
            LinkFrame frame;
            frame.destination = device;
            frame.messageId = kIdleMessage;
            (void)linkSend(kLinkTracked, frame);
            break;
        }
        case 1:
            (void)feed({1, 1, device, kEverybody, 0, helloPayload({})});
            break;
        case 2: {
            const auto sequence = static_cast<std::uint16_t>(1 + random() % 40);
            (void)feed({kLinkResponse, sequence, device, kHost, kIdleMessage, {0}});
            break;
        }
        default:
            (void)feed(Bytes{0x55, 0x10, 3});
            break;
        }
    }

    // The same run of `milliseconds`, polled each millisecond or only where the stack asks for it.
    Record live(std::uint64_t seed, std::uint32_t milliseconds, bool rests) {
        LinkBench::SetUp();
        forget();
        (void)record(kIdleMessage);
        std::mt19937_64 random(seed);
        Record lived;
        std::uint32_t disturbAt = static_cast<std::uint32_t>(random() % 100);
        std::uint32_t sleepUntil = 0;
        std::uint32_t sleptFrom = 0;
        for (std::uint32_t now = 0; now < milliseconds; ++now) {
            if (now == disturbAt) {
                linkTick(now - sleptFrom);
                sleptFrom = now;
                sleepUntil = now;
                disturb(random);
                // Long pauses among bursts, as in use.
                disturbAt = now + 1 + static_cast<std::uint32_t>(random() % (random() % 4 == 0 ? 3000 : 20));
            }
            if (now < sleepUntil) {
                continue;
            }
            linkTick(now - sleptFrom);
            linkPoll();
            linkTick(1);
            ++lived.polls;
            sleptFrom = now + 1;
            sleepUntil = sleptFrom + (rests ? linkIdleTicks() : 0);
        }
        linkTick(milliseconds - sleptFrom);
        for (const Sent& each : sent) {
            lived.wire.emplace_back(each.tick, each.bytes);
        }
        lived.logins = logins;
        lived.timeouts = timedOut.size();
        lived.ticks = linkInspect().tickCount;
        return lived;
    }
};

TEST_F(LinkIdle, IsOverAtOnceWhileAFrameWaits) {
    connect();
    tick(3);
    ASSERT_GT(linkIdleTicks(), 0u);
    LinkFrame frame;
    frame.destination = kDevice;
    frame.messageId = kIdleMessage;
    (void)linkSend(0, frame);
    EXPECT_EQ(linkIdleTicks(), 0u) << "a frame waits to be sent";
    flush();
    ASSERT_GT(linkIdleTicks(), 0u);
    (void)feed({kLinkNotification, 1, kDevice, kHost, kIdleMessage, {}});
    EXPECT_EQ(linkIdleTicks(), 0u) << "a frame waits to be processed";
}

TEST_F(LinkIdle, LastsNoLongerThanTheAgeingOfPeers) {
    std::uint32_t longestAfterPoll = 0;
    std::uint32_t longestAfterTick = 0;
    for (int round = 0; round < 3000; ++round) {
        linkPoll();
        longestAfterPoll = std::max(longestAfterPoll, linkIdleTicks());
        linkTick(1);
        longestAfterTick = std::max(longestAfterTick, linkIdleTicks());
    }
    EXPECT_EQ(longestAfterPoll, 51u);
    EXPECT_EQ(longestAfterTick, 50u);
}

TEST_F(LinkIdle, SleepingThroughItChangesNothingOnTheWire) {
    const std::uint64_t first = seedFromEnvironment(20261);
    for (std::uint64_t seed = first; seed < first + 40; ++seed) {
        const Record awake = live(seed, 30'000, false);
        const Record resting = live(seed, 30'000, true);
        ASSERT_TRUE(awake == resting)
            << "seed " << seed << ": " << awake.wire.size() << " frames awake, " << resting.wire.size()
            << " resting; time-outs " << awake.timeouts << ", " << resting.timeouts;
        ASSERT_GT(awake.wire.size(), 30u) << "seed " << seed;
        ASSERT_LT(resting.polls, awake.polls / 2) << "seed " << seed;
    }
}

} // namespace
