// A source whose clock runs fast or slow against the output's, for a day. Where nothing corrects the drift
// the ring takes it up, the delay grows, and when the writer laps the reader a whole ring of sound is
// skipped.

#include "tests/support/mixer/DriftRun.h"
#include "tests/support/mixer/MixerFixture.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr double kOutputHz = 48000.0;
constexpr std::uint32_t kBlockFrames = 480; // a packet, and a period of the output
constexpr std::uint32_t kRingFrames = 28800;
constexpr std::uint32_t kNumbers = 1u << 18; // frames carry their number, exact and below the limiter's knee

struct Gap {
    double atSeconds;
    std::uint64_t skippedFrames;
    double delayBeforeMs;
};

struct Outcome {
    std::vector<Gap> gaps;
    std::uint64_t silentFrames = 0;
    std::uint64_t delayAtEnd = 0; // frames written and not heard
};

class ClockDrift : public MixerFixture {
protected:
    void simulate(double sourceHz, double hours, Outcome& outcome) {
        put({.processID = 20, .input1Enabled = true});
        std::vector<float> numbered(2 * std::size_t{kNumbers + 2 * kBlockFrames});
        for (std::size_t frame = 0; frame < numbered.size() / 2; ++frame) {
            numbered[2 * frame] = static_cast<float>(1 + frame % kNumbers) / (2.0f * kNumbers);
            numbered[2 * frame + 1] = -numbered[2 * frame];
        }
        std::uint64_t written = 0; // frames of the source so far
        std::uint64_t next = 0;    // the frame that the output plays next when there is no gap
        std::vector<float> output(2 * std::size_t{kBlockFrames});
        const auto blocks = static_cast<std::uint64_t>(hours * 3600.0 * kOutputHz / kBlockFrames);
        for (std::uint64_t block = 0; block < blocks; ++block) {
            // The output starts two blocks after the source.
            const double now = static_cast<double>(block + 2) * kBlockFrames / kOutputHz;
            const auto arrived = static_cast<std::uint64_t>(now * sourceHz) / kBlockFrames * kBlockFrames;
            for (; written < arrived; written += kBlockFrames) {
                buffers.addInputData(20, numbered.data() + 2 * (written % kNumbers), kBlockFrames * 8,
                                     floatWaveFormat(2, 48000));
            }
            buffers.mixBus(output.data(), kBlockFrames, 1);

            std::uint32_t heard = kBlockFrames; // frames before the source ran short
            while (heard > 0 && output[2 * std::size_t{heard} - 2] == 0.0f) {
                --heard;
            }
            outcome.silentFrames += kBlockFrames - heard;
            if (heard == 0) {
                continue;
            }
            const auto number = static_cast<std::uint64_t>(output[0] * 2.0f * kNumbers) - 1;
            const std::uint64_t skipped = (number + kNumbers - next % kNumbers) % kNumbers;
            if (skipped != 0) {
                outcome.gaps.push_back({now, skipped, static_cast<double>(written - next) / 48.0});
                next += skipped;
            }
            // Every frame of the block follows the first.
            ASSERT_EQ(
                std::memcmp(output.data(), numbered.data() + 2 * (next % kNumbers), std::size_t{heard} * 8),
                0)
                << "block " << block;
            next += heard;
        }
        outcome.delayAtEnd = written - next;
        std::printf("a source at %.1f Hz for %.1f h at %.0f Hz:\n", sourceHz, hours, kOutputHz);
        for (const Gap& gap : outcome.gaps) {
            std::printf("  after %.2f h, at a delay of %.0f ms: skip of %llu frames (%.0f ms)\n",
                        gap.atSeconds / 3600, gap.delayBeforeMs,
                        static_cast<unsigned long long>(gap.skippedFrames),
                        static_cast<double>(gap.skippedFrames) / 48.0);
        }
        std::printf("  %llu frames of silence in all, delay at the end %.0f ms\n",
                    static_cast<unsigned long long>(outcome.silentFrames),
                    static_cast<double>(outcome.delayAtEnd) / 48.0);
    }

    // The drift fills the ring, less the two blocks it starts with, then again less the one that a lap
    // leaves.
    static void expectSkipsOfWholeRings(const Outcome& outcome, double driftHz, double hours) {
        const double firstAt = (kRingFrames - 2.0 * kBlockFrames) / driftHz;
        const double every = (kRingFrames - 1.0 * kBlockFrames) / driftHz;
        const auto expected = static_cast<std::size_t>(1 + (hours * 3600 - firstAt) / every);
        ASSERT_EQ(outcome.gaps.size(), expected);
        for (std::size_t at = 0; at < expected; ++at) {
            EXPECT_EQ(outcome.gaps[at].skippedFrames, kRingFrames);
            EXPECT_NEAR(outcome.gaps[at].atSeconds, firstAt + static_cast<double>(at) * every,
                        kBlockFrames / driftHz);
        }
        // The ring is empty for one period at each lap, and never else.
        EXPECT_EQ(outcome.silentFrames, expected * kBlockFrames);
        EXPECT_NEAR(static_cast<double>(outcome.delayAtEnd),
                    (hours * 3600 - outcome.gaps.back().atSeconds) * driftHz, 2.0 * kBlockFrames);
    }
};

} // namespace

TEST_F(ClockDrift, ADayOfASourceThatIsHalfAHertzFastSkipsOneRing) {
#ifdef VEXO_SANITIZED
    GTEST_SKIP() << "too long under a sanitizer; the next test has the same drift in a tenth of the time";
#else
    const double hours = longRun() ? 240.0 : 24.0;
    Outcome outcome;
    simulate(48000.5, hours, outcome);
    expectSkipsOfWholeRings(outcome, 0.5, hours);
#endif
}

TEST_F(ClockDrift, ATenthOfADayOfASourceThatIsFiveHertzFastSkipsOneRing) {
    const double hours = longRun() ? 24.0 : 2.4;
    Outcome outcome;
    simulate(48005.0, hours, outcome);
    expectSkipsOfWholeRings(outcome, 5.0, hours);
}

// With the correction the delay stays, and what is heard is the source without a gap or a step.
TEST(ClockDriftCorrected, ADayOfFiftyMillionthsKeepsTheDelay) {
#ifdef VEXO_SANITIZED
    const double hours = 0.2;
#else
    const double hours = longRun() ? 24.0 : 3.0;
#endif
    for (const double millionths : {50.0, -50.0}) {
        DriftRun run({.sourceHz = 48'000.0 * (1.0 + millionths * 1e-6)});
        run.play(hours * 3600.0);
        const DriftHeard heard = run.take();
        std::printf("a source %+.0f millionths off for %.1f h: delay %.1f to %.1f ms, largest step %.1f dB\n",
                    millionths, hours, heard.shortestDelayFrames / 48.0, heard.longestDelayFrames / 48.0,
                    20.0 * std::log10(heard.largestStep));
        EXPECT_GT(heard.frames, static_cast<std::uint64_t>(hours * 3599.0 * kOutputHz));
        EXPECT_LT(heard.longestDelayFrames, 60u * 48);
        EXPECT_EQ(heard.silentFrames, 0u);
        EXPECT_LT(heard.largestStep, 1e-4); // -80 dB
    }
}
