// The stack against a device model over a lossy wire, thousands of requests in seconds. VEXO_SEED chooses
// another run.

#include "LinkBench.h"
#include "tests/support/RandomSeed.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <random>

namespace {

constexpr std::uint16_t kMessage = 0x9000;
constexpr std::size_t kReportLength = 64;
constexpr std::uint32_t kRequestCount = 10000;
constexpr std::uint32_t kMostOutstanding = 200;
constexpr int kMostSends = 4;
constexpr std::uint32_t kLifeTicks = 1001 * kMostSends + 1; // of a request that is not answered

struct WireFaults {
    double dropped = 0.05;   // of the reports
    double corrupted = 0.01; // of the reports, one byte each
};

// How the device treats a request that reached it.
struct DeviceManners {
    std::uint32_t longestDelayTicks = 60; // a random delay up to this: answers overtake each other
    double late = 0;                      // after 1100 to 6000 ticks
    double twice = 0;
    double wrongSource = 0;
    double never = 0;
};

// Finds frames in reports, one byte at a time; drops what may be no frame.
class DeviceReader {
public:
    std::function<void(const WireFrame&)> onFrame;

    void read(const Bytes& report) {
        for (const std::uint8_t byte : report) {
            if (held.empty() && byte != 0x55) {
                continue;
            }
            held.push_back(byte);
            if (held.size() == 2 && byte / 16 != 1) {
                held.clear();
                return;
            }
            if (held.size() < 17) {
                continue;
            }
            const std::size_t length = held[2] + held[3] * 256U;
            if (length > 500) {
                held.clear();
            } else if (held.size() == 17 + length) {
                const std::optional<WireFrame> frame = decode(held);
                held.clear();
                if (frame.has_value()) {
                    onFrame(*frame);
                }
            }
        }
    }

private:
    Bytes held;
};

class LinkSimulation : public ::testing::Test {
protected:
    struct Request {
        int sends = 0;
        int answers = 0;
        int answersBeforeItsEnd = 0;
        int timeouts = 0;
        bool metAbsence = false; // timed out, and the device was no peer for a while: such sends are dropped
    };

    void SetUp() override {
        seed = seedFromEnvironment(20250115);
        random.seed(seed);
        device.onFrame = [this](const WireFrame& frame) {
            receiveAtDevice(frame);
        };
        linkInit();
        linkInstallErrorCallback([](int code, std::uint16_t,
                                    void* context) { ++static_cast<LinkSimulation*>(context)->errors[code]; },
                                 this);
        linkInstallLoginCallback([](std::uint8_t, std::uint8_t type, const LinkAddress&,
                                    void* context) { ++static_cast<LinkSimulation*>(context)->logins[type]; },
                                 this);
        channel = linkOpenChannel(
            [](std::uint32_t, std::uint32_t length, const std::uint8_t* bytes, void* context) {
                static_cast<LinkSimulation*>(context)->sendToDevice(Bytes(bytes, bytes + length));
                return 1;
            },
            this);
        linkRegisterMessage(
            kMessage,
            [](const LinkFrame& frame, void* context) {
                static_cast<LinkSimulation*>(context)->answered(frame);
            },
            [](const LinkFrame& frame, void* context) {
                static_cast<LinkSimulation*>(context)->timedOut(frame);
            },
            this);
    }

    bool happens(double probability) {
        return std::uniform_real_distribution<double>(0, 1)(random) < probability;
    }
    std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); }

    // True when the report arrives, perhaps with one byte changed.
    bool carry(Bytes& report) {
        ++reportCount;
        if (happens(faults.dropped)) {
            ++droppedCount;
            return false;
        }
        if (happens(faults.corrupted)) {
            ++corruptedCount;
            report[below(static_cast<std::uint32_t>(report.size()))] ^=
                static_cast<std::uint8_t>(1 + below(255));
        }
        return true;
    }

    void sendToDevice(const Bytes& frame) {
        const std::optional<WireFrame> sent = decode(frame);
        if (sent.has_value() && sent->messageId == kMessage) {
            ++requests[sent->sequence].sends;
        }
        for (std::size_t offset = 0; offset < frame.size(); offset += kReportLength) {
            const auto start = frame.begin() + static_cast<std::ptrdiff_t>(offset);
            const std::size_t count = std::min(kReportLength, frame.size() - offset);
            Bytes report(start, start + static_cast<std::ptrdiff_t>(count));
            if (carry(report)) {
                device.read(report);
            }
        }
    }

    void later(std::uint32_t delayTicks, const WireFrame& frame) { toHost.emplace(now + delayTicks, frame); }

    void receiveAtDevice(const WireFrame& frame) {
        if (frame.kind != kLinkRequest || frame.destination != kDevice) {
            return;
        }
        WireFrame answer{kLinkResponse, frame.sequence, kDevice, kHost, frame.messageId, Bytes{0}};
        answer.payload.resize(1 + below(40));
        std::uint32_t delayTicks = 1 + below(manners.longestDelayTicks);
        if (happens(manners.never)) {
            return;
        }
        if (happens(manners.wrongSource)) {
            answer.source.chid ^= 0x10;
        }
        if (happens(manners.late)) {
            delayTicks = 1100 + below(4900);
        }
        later(delayTicks, answer);
        if (happens(manners.twice)) {
            later(delayTicks + below(30), answer);
        }
    }

    void answered(const LinkFrame& frame) {
        if (frame.source != kDevice) {
            return; // handlers see it, but it ends no request
        }
        Request& request = requests[frame.sequence];
        ++request.answers;
        if (request.timeouts == 0) {
            ++request.answersBeforeItsEnd;
        }
    }

    void timedOut(const LinkFrame& frame) {
        Request& request = requests[frame.sequence];
        ++request.timeouts;
        request.metAbsence = now - lastAbsence <= kLifeTicks;
    }

    // One tick of host, wire and device.
    void tick() {
        if (now % 1024 == 0) {
            later(0, {2, static_cast<std::uint16_t>(now / 1024), kDevice, kEverybody, 0,
                      helloPayload({.upTime = now + 1})});
        }
        while (!toHost.empty() && toHost.begin()->first <= now) {
            Bytes bytes = encode(toHost.begin()->second);
            toHost.erase(toHost.begin());
            bytes.resize((bytes.size() + kReportLength - 1) / kReportLength * kReportLength); // padding
            for (std::size_t offset = 0; offset < bytes.size(); offset += kReportLength) {
                const auto start = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
                Bytes report(start, start + kReportLength);
                if (carry(report)) {
                    linkFeed(channel, kReportLength, report.data());
                }
            }
        }
        linkPoll();
        linkTick(1);
        ++now;
        if (linkInspect().peerCount == 0) {
            lastAbsence = now;
        }
        mostOutstanding = std::max(mostOutstanding, linkInspect().pendingCount);
    }

    // A tracked request that fits in one report, half of them without a payload.
    void request() {
        const Bytes payload(below(2) == 0 ? 0 : 1 + below(47), 0x55);
        const std::uint64_t before = linkInspect().pendingStarted;
        const int result = linkSend(kLinkTracked, {.kind = kLinkRequest,
                                                   .length = static_cast<std::uint16_t>(payload.size()),
                                                   .destination = kDevice,
                                                   .messageId = kMessage,
                                                   .payload = payload.data()});
        ASSERT_EQ(result, 0);
        ASSERT_EQ(linkInspect().pendingStarted, before + 1);
        ++startedCount;
    }

    // All requests, `perTick` new ones a tick on the average, until the last has ended.
    void run(double perTick) {
        while (linkInspect().peerCount == 0) {
            ASSERT_LT(now, 20000U);
            tick();
        }
        while (startedCount < kRequestCount || linkInspect().pendingCount > 0) {
            ASSERT_LT(now, 1000000U);
            if (startedCount < kRequestCount && linkInspect().pendingCount < kMostOutstanding &&
                happens(perTick)) {
                request();
            }
            tick();
        }
    }

    struct Outcome {
        std::uint32_t answered = 0;
        std::uint32_t timedOut = 0;
        std::uint32_t metAbsence = 0;
    };

    // Each request must have ended in exactly one way.
    Outcome settle() {
        Outcome outcome;
        for (const auto& [sequence, one] : requests) {
            const bool isAnswered = one.answersBeforeItsEnd > 0;
            EXPECT_LE(one.timeouts, 1) << "sequence " << sequence;
            EXPECT_NE(isAnswered, one.timeouts == 1) << "sequence " << sequence;
            EXPECT_LE(one.sends, kMostSends) << "sequence " << sequence;
            EXPECT_TRUE(isAnswered || one.sends == kMostSends || one.metAbsence)
                << "sequence " << sequence << " was given up after " << one.sends << " sends";
            outcome.answered += isAnswered ? 1 : 0;
            outcome.timedOut += one.timeouts == 1 ? 1 : 0;
            outcome.metAbsence += one.metAbsence ? 1 : 0;
        }
        const LinkInspection seen = linkInspect();
        EXPECT_EQ(startedCount, kRequestCount);
        EXPECT_EQ(outcome.answered + outcome.timedOut, kRequestCount);
        EXPECT_EQ(seen.pendingCount, 0U);
        EXPECT_EQ(seen.pendingAnswered + seen.pendingTimedOut, seen.pendingStarted);
        EXPECT_EQ(seen.pendingStarted,
                  kRequestCount + logins[0]); // message 14 is tracked too, one for each login
        std::printf("seed %llu: %u requests in %u ticks, at most %u outstanding\n"
                    "  reports %u, dropped %u, corrupted %u\n"
                    "  answered %u (%.3f %%), timed out %u\n"
                    "  logins %u, peers lost %u with %u requests open\n",
                    static_cast<unsigned long long>(seed), startedCount, now, mostOutstanding, reportCount,
                    droppedCount, corruptedCount, outcome.answered, 100.0 * outcome.answered / kRequestCount,
                    outcome.timedOut, logins[0], logins[1], outcome.metAbsence);
        for (const auto& [code, count] : errors) {
            std::printf("  error %d: %u times\n", code, count);
        }
        return outcome;
    }

    std::uint64_t seed = 0;
    std::mt19937_64 random;
    WireFaults faults;
    DeviceManners manners;
    DeviceReader device;
    std::uint32_t channel = 0;
    std::uint32_t now = 0;
    std::uint32_t lastAbsence = 0;                  // of the device from the peers
    std::multimap<std::uint32_t, WireFrame> toHost; // by the tick of arrival
    std::map<std::uint16_t, Request> requests;      // by sequence: fewer than 65536 are sent
    std::map<int, unsigned> errors;
    std::map<std::uint8_t, unsigned> logins; // by type
    std::uint32_t startedCount = 0;
    std::uint32_t mostOutstanding = 0;
    std::uint32_t reportCount = 0;
    std::uint32_t droppedCount = 0;
    std::uint32_t corruptedCount = 0;
};

TEST_F(LinkSimulation, EveryRequestEndsOnceOverALossyWire) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    manners.longestDelayTicks = 200;
    run(0.75);
    const Outcome outcome = settle();
    EXPECT_GE(outcome.answered, kRequestCount * 999 / 1000);
    EXPECT_GT(droppedCount, reportCount / 25);
    EXPECT_GT(corruptedCount, reportCount / 150);
    EXPECT_GT(mostOutstanding, 150U);
}

TEST_F(LinkSimulation, EveryRequestEndsOnceWithADeviceOfBadManners) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    manners = {.longestDelayTicks = 200, .late = 0.1, .twice = 0.1, .wrongSource = 0.1, .never = 0.2};
    run(0.5);
    const Outcome outcome = settle();
    // A send is answered in time with 0.94 * 0.94 * 0.8 * 0.9 * 0.9; late answers help some more.
    EXPECT_GT(outcome.answered, kRequestCount * 90 / 100);
    EXPECT_GT(outcome.timedOut, kRequestCount / 200);
}

TEST_F(LinkSimulation, OnAGoodWireEveryRequestIsAnsweredAtTheFirstSend) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    faults = {.dropped = 0, .corrupted = 0};
    run(0.9);
    const Outcome outcome = settle();
    EXPECT_EQ(outcome.answered, kRequestCount);
    EXPECT_TRUE(
        std::all_of(requests.begin(), requests.end(), [](const auto& one) { return one.second.sends == 1; }));
    EXPECT_TRUE(errors.empty());
}

} // namespace
