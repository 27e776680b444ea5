// Readers that keep their delay: what is heard of a source whose clock is not the output's.

#include "tests/support/mixer/DriftRun.h"
#include "tests/support/mixer/MixerFixture.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <numeric>
#include <ostream>
#include <set>
#include <utility>
#include <vector>

namespace {

constexpr double kMinusEightyDb = 1e-4;
constexpr double kHighestSpeed = 300.5;
constexpr std::uint32_t kSixtyMs = 2'880;
constexpr std::uint32_t kFramesOfAMs = 48;

struct Steps {
    std::uint32_t packetFrames;
    std::uint32_t periodFrames;
};

void PrintTo(const Steps& steps, std::ostream* to) {
    *to << "packets of " << steps.packetFrames << ", periods of " << steps.periodFrames;
}

// A first read that leaves enough for a late packet.
double firstReadOf(const Steps& steps) {
    return (2.0 * steps.periodFrames + steps.packetFrames + 100.0) / 48'000.0;
}

DriftSetting settingOf(const Steps& steps, double millionths) {
    DriftSetting setting;
    setting.sourceHz = 48'000.0 * (1.0 + millionths * 1e-6);
    setting.packetFrames = steps.packetFrames;
    setting.periodFrames = steps.periodFrames;
    setting.firstReadSeconds = firstReadOf(steps);
    return setting;
}

void expectSmooth(const DriftHeard& heard) {
    EXPECT_EQ(heard.silentFrames, 0u);
    EXPECT_LT(heard.largestStep, kMinusEightyDb);
    EXPECT_LT(heard.highestSpeed, kHighestSpeed);
    EXPECT_GT(heard.lowestSpeed, -kHighestSpeed);
}

class DriftCorrectionSteps : public testing::TestWithParam<Steps> {};

} // namespace

TEST_P(DriftCorrectionSteps, WithoutDriftTheFramesAreThoseOfTheRingBitForBit) {
    std::array<std::vector<float>, 2> played;
    for (const bool correct : {false, true}) {
        DriftSetting setting = settingOf(GetParam(), 0.0);
        setting.correct = correct;
        DriftRun run(setting);
        run.heardBlock = [&](const std::vector<float>& block) {
            played[correct ? 1 : 0].insert(played[correct ? 1 : 0].end(), block.begin(), block.end());
        };
        run.play(20.0);
    }
    ASSERT_GE(played[0].size(), 2u * 20 * 48'000);
    EXPECT_EQ(firstDifference(played[1], played[0]), "");
}

TEST_P(DriftCorrectionSteps, ADriftingSourceIsHeardSmoothlyWithItsDelay) {
    const auto [packetFrames, periodFrames] = GetParam();
    for (const double millionths : {50.0, -50.0, 250.0, -250.0}) {
        DriftRun run(settingOf(GetParam(), millionths));
        run.play(120.0);
        const DriftHeard heard = run.take();
        expectSmooth(heard);
        EXPECT_LT(heard.longestDelayFrames, std::max(kSixtyMs, 3 * periodFrames + 2 * packetFrames))
            << millionths;
        EXPECT_GE(heard.shortestDelayFrames, periodFrames) << millionths;
    }
}

INSTANTIATE_TEST_SUITE_P(AllSteps, DriftCorrectionSteps,
                         testing::Values(Steps{480, 480}, Steps{480, 240}, Steps{240, 480}, Steps{256, 480},
                                         Steps{240, 1024}, Steps{1024, 240}, Steps{960, 1024},
                                         Steps{2880, 240}, Steps{441, 64}));

TEST(DriftCorrection, APeriodOfOneFrameIsCorrectedToo) {
    DriftRun run(settingOf({480, 1}, 250.0));
    run.play(20.0);
    expectSmooth(run.take());
    run.setSourceHz(48'000.0 * (1.0 - 250e-6));
    run.play(20.0);
    expectSmooth(run.take());
}

TEST(DriftCorrection, LatePacketsDoNotChangeThePitchBeyondTheLimitOrTheDelayForGood) {
    for (const double millionths : {50.0, -50.0}) {
        DriftSetting setting = settingOf({480, 240}, millionths);
        setting.firstReadSeconds = 0.03;
        setting.mostLateSeconds = 0.008;
        DriftRun run(setting);
        run.play(200.0);
        const DriftHeard heard = run.take();
        expectSmooth(heard);
        EXPECT_LT(heard.longestDelayFrames, kSixtyMs);
    }
}

TEST(DriftCorrection, HighTonesAreHeardSmoothlyToo) {
    for (const double hz : {100.0, 5'000.0, 12'000.0, 18'000.0}) {
        DriftSetting setting = settingOf({480, 480}, 200.0);
        setting.toneHz = hz;
        DriftRun run(setting);
        run.play(60.0);
        const DriftHeard heard = run.take();
        EXPECT_EQ(heard.silentFrames, 0u) << hz << " Hz";
        EXPECT_LT(heard.largestStep, kMinusEightyDb) << hz << " Hz";
        EXPECT_GT(heard.highestSpeed, 290.0) << hz << " Hz"; // it was corrected
    }
}

TEST(DriftCorrection, WhenTheDriftEndsTheFramesAreThoseOfTheSourceAgain) {
    DriftRun run(settingOf({480, 480}, 250.0));
    std::set<std::pair<float, float>> sourceFrames; // all that the tone has
    std::uint64_t others = 0;
    const auto countOthers = [&](const std::vector<float>& block) {
        for (std::size_t at = 0; at < block.size(); at += 2) {
            others += sourceFrames.contains({block[at], block[at + 1]}) ? 0u : 1u;
        }
    };
    run.heardBlock = [&](const std::vector<float>& block) {
        for (std::size_t at = 0; at < block.size(); at += 2) {
            sourceFrames.emplace(block[at], block[at + 1]);
        }
    };
    run.play(1.0);
    run.heardBlock = countOthers;
    run.play(120.0);
    EXPECT_GT(others, 10u * 48'000);
    run.setSourceHz(48'000.0);
    run.play(60.0);
    others = 0;
    run.play(60.0);
    EXPECT_EQ(others, 0u);
    expectSmooth(run.take());
}

TEST(DriftCorrection, ASourceThatStopsAndResumesBeginsWithItsFirstFrame) {
    DriftRun run(settingOf({480, 480}, 250.0));
    run.play(90.0);
    expectSmooth(run.take());
    for (const double seconds : {0.05, 0.5, 5.0}) {
        run.pause(seconds);
        run.play(0.1);
        static_cast<void>(run.take()); // the edges
        run.play(90.0);
        const DriftHeard heard = run.take();
        EXPECT_LT(heard.largestStep, kMinusEightyDb) << seconds;
        EXPECT_LT(heard.longestDelayFrames, kSixtyMs) << seconds;
    }
}

TEST(DriftCorrection, PacketsThatComeLateAndTogetherDoNotLeaveADelay) {
    DriftRun run(settingOf({480, 480}, -50.0));
    run.play(60.0);
    const DriftHeard before = run.take();
    for (int round = 0; round < 2; ++round) {
        run.holdBack(0.06);
        run.play(0.5);
        const DriftHeard late = run.take();
        EXPECT_GT(late.silentFrames, 10u * kFramesOfAMs);
        EXPECT_GT(late.longestDelayFrames, before.longestDelayFrames + late.silentFrames / 2);
        run.play(150.0);
        expectSmooth(run.take());
        run.play(20.0);
        EXPECT_LT(run.take().longestDelayFrames, before.longestDelayFrames + 10 * kFramesOfAMs);
    }
}

namespace {

// Reads of blocks of 480 frames from a source that gives frames with numbers.
class CorrectedReads : public MixerFixture {
protected:
    CorrectedReads() {
        put(onBothBuses(20));
        buffers.correctDrift(true);
    }

    void give(std::uint32_t frames) {
        std::vector<float> packet;
        for (std::uint32_t frame = 0; frame < frames; ++frame) {
            ++given;
            packet.insert(packet.end(), 2, static_cast<float>(given) / 4096.0f);
        }
        feed(20, packet);
    }

    // The numbers of the frames that one block plays, 0 for silence.
    std::vector<std::uint32_t> numbers() {
        const std::vector<float> block = bus(1, 480);
        std::vector<std::uint32_t> heard;
        for (std::size_t at = 0; at < block.size(); at += 2) {
            heard.push_back(static_cast<std::uint32_t>(block[at] * 4096.0f));
        }
        return heard;
    }

    // Silence, then frames from one on, then silence.
    static std::vector<std::uint32_t> block(std::size_t silent, std::uint32_t first, std::size_t count) {
        std::vector<std::uint32_t> numbers(480);
        std::iota(numbers.begin() + static_cast<std::ptrdiff_t>(silent),
                  numbers.begin() + static_cast<std::ptrdiff_t>(silent + count), first);
        return numbers;
    }

    std::uint32_t given = 0;
};

} // namespace

TEST_F(CorrectedReads, ASourceThatComesWithEnoughBeginsAtOnce) {
    give(504);
    EXPECT_EQ(numbers(), block(0, 1, 480));
    give(480);
    EXPECT_EQ(numbers(), block(0, 481, 480));
}

TEST_F(CorrectedReads, ASourceThatBeginsWithLessKeepsHalfAMillisecondInHand) {
    give(480);
    EXPECT_EQ(numbers(), block(24, 1, 456));
    give(480);
    EXPECT_EQ(numbers(), block(0, 457, 480));
    EXPECT_EQ(numbers(), block(0, 937, 24)); // it stops: all is heard
    EXPECT_EQ(numbers(), block(0, 0, 0));
    give(300);
    EXPECT_EQ(numbers(), block(204, 961, 276));
}

TEST_F(CorrectedReads, AFewFramesWaitForOneBlock) {
    give(24);
    EXPECT_EQ(numbers(), block(0, 0, 0));
    EXPECT_EQ(numbers(), block(0, 1, 24));
    give(10);
    EXPECT_EQ(numbers(), block(0, 0, 0));
    give(490);
    EXPECT_EQ(numbers(), block(4, 25, 476));
}

TEST(DriftCorrection, AResetInTheMidstOfItLeavesNothing) {
    DriftRun run(settingOf({480, 480}, 280.0));
    run.play(120.0);
    EXPECT_GT(run.take().highestSpeed, 200.0);
    run.buffers.resetProcessBuffers(DriftRun::kSource);
    const auto ring = run.buffers.getInputBuffer(DriftRun::kSource, 1);
    EXPECT_EQ(ring->writePos + ring->busReadPos, 0u);
    std::vector<float> packet;
    for (int frame = 0; frame < 600; ++frame) {
        packet.insert(packet.end(), {static_cast<float>(frame) / 700.0f, -0.25f});
    }
    run.buffers.addInputData(DriftRun::kSource, packet.data(), 600 * 8, floatWaveFormat(2, 48'000));
    std::vector<float> output(960);
    run.buffers.mixBus(output.data(), 480, 1);
    packet.resize(960);
    EXPECT_EQ(firstDifference(output, packet), "");
}

TEST(DriftCorrection, SoloKeepsItsDelayOnAWholeBusAndOnTheSourcesThatCarryIt) {
    for (const std::uint32_t plays : {1u, 2u, 3u}) {
        DriftRun run(settingOf({480, 480}, 250.0));
        run.store.putConfig(kBus1MasterProcessId, {.processID = kBus1MasterProcessId, .solo = plays == 1});
        run.store.putConfig(kBus2MasterProcessId, {.processID = kBus2MasterProcessId, .solo = plays == 2});
        run.store.putConfig(DriftRun::kSource, {.processID = DriftRun::kSource,
                                                .input1Enabled = true,
                                                .input2Enabled = true,
                                                .solo = plays == 3});
        run.mix = [&](float* output, std::uint32_t frames) {
            run.buffers.mixSolo(output, frames);
        };
        run.delay = [&]() -> std::uint32_t {
            const auto ring = run.buffers.getInputBuffer(DriftRun::kSource, plays == 2 ? 2 : 1);
            return (ring->writePos + InputBuffer::kFloatCount - ring->soloReadPos) %
                   InputBuffer::kFloatCount / 2;
        };
        run.play(250.0);
        const DriftHeard heard = run.take();
        expectSmooth(heard);
        EXPECT_GT(heard.highestSpeed, 290.0) << plays;
        if (plays != 3) {
            EXPECT_LT(heard.longestDelayFrames, kSixtyMs) << plays;
        }
    }
}

TEST(DriftCorrection, EachBusKeepsADelayOfItsOwn) {
    DriftRun run(settingOf({480, 480}, -100.0));
    std::vector<float> other(960);
    std::uint64_t blocks = 0;
    run.mix = [&](float* output, std::uint32_t frames) {
        run.buffers.mixBus(output, frames, 1);
        if (++blocks > 6) { // Bus 2 begins later
            run.buffers.mixBus(other.data(), frames, 2);
        }
    };
    run.play(200.0);
    expectSmooth(run.take());
    const auto ring = run.buffers.getInputBuffer(DriftRun::kSource, 2);
    const std::uint32_t delay =
        (ring->writePos + InputBuffer::kFloatCount - ring->busReadPos) % InputBuffer::kFloatCount / 2;
    EXPECT_LT(delay, kSixtyMs);
    EXPECT_GT(delay, 480u);
}

TEST(DriftCorrection, SoloThatComesBackToABusKeepsTheDelayThatThisGives) {
    DriftRun run(settingOf({480, 480}, 0.0));
    const auto ring = run.buffers.getInputBuffer(DriftRun::kSource, 1);
    const auto playBus = [&](bool bus) {
        run.store.putConfig(kBus1MasterProcessId, {.processID = kBus1MasterProcessId, .solo = bus});
    };
    run.mix = [&](float* output, std::uint32_t frames) {
        run.buffers.mixSolo(output, frames);
    };
    run.delay = [&] {
        return (ring->writePos + InputBuffer::kFloatCount - ring->soloReadPos) % InputBuffer::kFloatCount / 2;
    };
    playBus(true);
    run.play(30.0);
    const std::uint32_t before = run.take().longestDelayFrames;
    playBus(false);
    run.play(0.3);
    playBus(true);
    run.play(0.1);
    static_cast<void>(run.take());
    run.play(120.0);
    const DriftHeard heard = run.take();
    EXPECT_NEAR(heard.longestDelayFrames, before + 300.0 * kFramesOfAMs, 480.0);
    EXPECT_EQ(heard.longestDelayFrames, heard.shortestDelayFrames);
    EXPECT_EQ(heard.silentFrames, 0u);
}

TEST(DriftCorrection, BeyondTheLimitTheWriterLapsTheReaderLater) {
    DriftRun run(settingOf({480, 480}, 2'000.0));
    run.play(320.0); // 1700 millionths more than the limit fill the ring in 340 s
    const DriftHeard before = run.take();
    expectSmooth(before);
    EXPECT_GT(before.longestDelayFrames, 500 * kFramesOfAMs);
    run.play(50.0);
    const DriftHeard lap = run.take();
    EXPECT_LE(lap.silentFrames, 2u * 480);
    EXPECT_GT(lap.largestStep, 0.01);
    EXPECT_LT(lap.highestSpeed, kHighestSpeed);
    run.play(50.0);
    const DriftHeard after = run.take();
    EXPECT_EQ(after.silentFrames, 0u);
    EXPECT_LT(after.longestDelayFrames, 200 * kFramesOfAMs);
}

TEST(DriftCorrection, AnOutputOfAnotherRateIsNotPulledAlongBeyondTheLimit) {
    DriftSetting setting = settingOf({480, 480}, 0.0);
    setting.outputHz = 44'100.0;
    DriftRun slow(setting);
    slow.play(120.0);
    const DriftHeard late = slow.take();
    EXPECT_LT(late.highestSpeed, kHighestSpeed);
    EXPECT_GT(late.longestDelayFrames, 580 * kFramesOfAMs);
    setting.outputHz = 96'000.0;
    DriftRun fast(setting);
    fast.play(120.0);
    const DriftHeard dry = fast.take();
    EXPECT_NEAR(static_cast<double>(dry.silentFrames), 120.0 * 48'000, 48'000.0);
}

TEST(DriftCorrection, MetersAreThoseOfAnExactReader) {
    std::array<StereoLevel, 3> levels[2];
    for (const bool correct : {false, true}) {
        DriftSetting setting = settingOf({480, 480}, 250.0);
        setting.correct = correct;
        DriftRun run(setting);
        run.play(60.0);
        run.buffers.updateBusLevels();
        levels[correct ? 1 : 0] = {run.buffers.getProcessLevels(DriftRun::kSource),
                                   run.buffers.getBus1Levels(), run.buffers.getBus2Levels()};
    }
    EXPECT_EQ(levels[0], levels[1]);
    EXPECT_GT(levels[1][0].left, 0.5f);
}

TEST(DriftCorrection, ASourceThatIsCorrectedIsAddedToOnesThatAreNot) {
    DriftRun run(settingOf({480, 480}, 250.0));
    const std::vector<float> quarter(960, 0.25f);
    for (const std::uint32_t source : {10u, 15u, 30u, 40u, 50u}) {
        run.store.putConfig(source, {.processID = source, .input1Enabled = true, .input1Volume = 0.25f});
        for (int packet = 0; packet < 4; ++packet) {
            run.buffers.addInputData(source, quarter.data(), 480 * 8, floatWaveFormat(2, 48'000));
        }
    }
    run.mix = [&](float* output, std::uint32_t frames) {
        for (const std::uint32_t source : {10u, 15u, 30u, 40u, 50u}) {
            run.buffers.addInputData(source, quarter.data(), frames * 8, floatWaveFormat(2, 48'000));
        }
        run.buffers.mixBus(output, frames, 1);
        for (std::size_t at = 0; at < 2 * std::size_t{frames}; ++at) {
            output[at] -= 5 * 0.0625f;
        }
    };
    run.play(120.0);
    const DriftHeard heard = run.take();
    expectSmooth(heard);
    EXPECT_GT(heard.highestSpeed, 290.0);
}

TEST(DriftCorrection, NotANumberDoesNotOutliveTheFramesAroundIt) {
    DriftRun run(settingOf({480, 480}, 280.0));
    run.play(120.0);
    EXPECT_GT(run.take().highestSpeed, 200.0);
    std::vector<float> broken(960, 0.25f);
    broken[480] = std::numeric_limits<float>::quiet_NaN();
    broken[483] = std::numeric_limits<float>::infinity();
    run.buffers.addInputData(DriftRun::kSource, broken.data(), 480 * 8, floatWaveFormat(2, 48'000));
    std::vector<float> output(960);
    for (int block = 0; block < 10; ++block) {
        run.buffers.mixBus(output.data(), 480, 1);
        for (const float sample : output) {
            ASSERT_TRUE(sample >= -1.0f && sample <= 1.0f);
        }
    }
    run.play(1.0);
    static_cast<void>(run.take());
    run.play(60.0);
    expectSmooth(run.take());
}

TEST(DriftCorrection, SwitchedOffInTheMidstOfItTheRingIsReadExactly) {
    DriftRun run(settingOf({480, 480}, 280.0));
    run.play(120.0);
    run.buffers.correctDrift(false);
    static_cast<void>(run.take());
    run.play(1.0);
    static_cast<void>(run.take()); // the step to a whole frame
    run.play(60.0);
    const DriftHeard heard = run.take();
    EXPECT_NEAR(heard.highestSpeed, 0.0, 0.01);
    EXPECT_NEAR(heard.lowestSpeed, 0.0, 0.01);
}
