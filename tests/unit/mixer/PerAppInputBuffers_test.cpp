#include "mixer/PerAppInputBuffers.h"
#include "tests/support/mixer/MixerFixture.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/support/mixer/ScalarReference.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <numeric>
#include <string>
#include <utility>

namespace {

constexpr float kSampleNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kSampleInfinity = std::numeric_limits<float>::infinity();

enum class SoloMode { Sources, Bus1, Bus2 };

class PerAppInputBuffersTest : public MixerFixture {
protected:
    // What Solo plays, and how loud both masters are.
    void choose(SoloMode mode, float masterVolume = 1.0f) {
        put({.processID = kBus1MasterProcessId,
             .input1Volume = masterVolume,
             .solo = mode == SoloMode::Bus1});
        put({.processID = kBus2MasterProcessId,
             .input2Volume = masterVolume,
             .solo = mode == SoloMode::Bus2});
    }

    // Lets Solo catch up with all that was written.
    void drainSolo() { static_cast<void>(solo(InputBuffer::kFrameCount)); }
};

float peakOf(const std::vector<float>& samples) {
    return std::accumulate(samples.begin(), samples.end(), 0.0f,
                           [](float peak, float sample) { return std::max(peak, std::fabs(sample)); });
}

} // namespace

TEST_F(PerAppInputBuffersTest, PacketOfASourceWithoutARecordIsDropped) {
    feed(20, constant(480, 0.5f, 0.5f));
    EXPECT_TRUE(buffers.collectProcessIds().empty());
    EXPECT_EQ(peakOf(bus(1, 480)), 0.0f);
}

TEST_F(PerAppInputBuffersTest, PacketOfAnInactiveSourceIsDropped) {
    AppAudioConfig config = onBothBuses(20);
    config.active = false;
    put(config);
    feed(20, constant(480, 0.5f, 0.5f));
    EXPECT_TRUE(buffers.collectProcessIds().empty());
}

TEST_F(PerAppInputBuffersTest, SourceIsHeardOnBothBusesAtItsVolumes) {
    AppAudioConfig config = onBothBuses(20);
    config.input1Volume = 0.5f;
    config.input2Volume = 0.25f;
    put(config);
    feed(20, constant(4, 0.5f, -0.5f));
    EXPECT_EQ(bus(1, 5),
              (std::vector<float>{0.25f, -0.25f, 0.25f, -0.25f, 0.25f, -0.25f, 0.25f, -0.25f, 0, 0}));
    EXPECT_EQ(bus(2, 4), constant(4, 0.125f, -0.125f));
}

TEST_F(PerAppInputBuffersTest, BothRingsExistFromTheFirstPacketOnWhateverTheRecordSays) {
    put({.processID = 7});
    feed(7, constant(10, 0.5f, 0.5f));
    EXPECT_EQ(buffers.collectProcessIds(), std::set<std::uint32_t>{7});
    EXPECT_GT(buffers.getInputBuffer(7, 1)->levelLeft.load(), 0.0f);
    EXPECT_GT(buffers.getInputBuffer(7, 2)->levelLeft.load(), 0.0f);
    EXPECT_EQ(buffers.getInputBuffer(7, 1)->writePos.load(), 0u);
    EXPECT_EQ(buffers.getInputBuffer(7, 2)->writePos.load(), 0u);
}

TEST_F(PerAppInputBuffersTest, SourceAtVolumeZeroStillWritesSilenceAndItsMeterShowsZeroOnThatBus) {
    AppAudioConfig config = onBothBuses(20);
    config.input1Volume = 0.0f;
    put(config);
    feed(20, constant(480, 0.5f, 0.5f));
    EXPECT_EQ(buffers.getInputBuffer(20, 1)->writePos.load(), 960u);
    EXPECT_EQ(buffers.getInputBuffer(20, 1)->levelLeft.load(), 0.0f);
    EXPECT_GT(buffers.getInputBuffer(20, 2)->levelLeft.load(), 0.7f);
    EXPECT_EQ(peakOf(bus(1, 480)), 0.0f);
}

TEST_F(PerAppInputBuffersTest, MutedSourceLeavesItsRingUnwrittenAndItsMeterGoesOnMoving) {
    AppAudioConfig config = onBothBuses(20);
    config.input1Muted = true;
    put(config);
    feed(20, constant(480, 0.25f, 0.25f));
    EXPECT_EQ(buffers.getInputBuffer(20, 1)->writePos.load(), 0u);
    EXPECT_NEAR(buffers.getInputBuffer(20, 1)->levelLeft.load(), 0.375f, 1e-6f);
    feed(20, constant(480, 0.5f, 0.5f));
    EXPECT_EQ(buffers.getInputBuffer(20, 1)->writePos.load(), 0u);
    EXPECT_NEAR(buffers.getInputBuffer(20, 1)->levelLeft.load(), 0.75f, 1e-6f);
    EXPECT_EQ(buffers.getInputBuffer(20, 2)->writePos.load(), 1920u);

    config = onBothBuses(21);
    config.input2Muted = true;
    put(config);
    feed(21, constant(480, 0.5f, 0.5f));
    EXPECT_EQ(buffers.getInputBuffer(21, 1)->writePos.load(), 960u);
    EXPECT_EQ(buffers.getInputBuffer(21, 2)->writePos.load(), 0u);
    EXPECT_NEAR(buffers.getInputBuffer(21, 2)->levelLeft.load(), 0.75f, 1e-6f);
}

TEST_F(PerAppInputBuffersTest, SourceLevelIsAtMostOneWhateverItsVolume) {
    AppAudioConfig config = onBothBuses(20);
    config.input1Volume = 3.0f;
    config.input2Volume = 100.0f;
    put(config);
    feed(20, constant(480, 0.5f, 0.6f));
    EXPECT_EQ(buffers.getProcessLevels(20), (StereoLevel{1.0f, 1.0f}));
}

TEST_F(PerAppInputBuffersTest, BusWithNoEntriesYieldsSilenceNeverNoise) {
    EXPECT_EQ(bus(1, 480), std::vector<float>(960, 0.0f));
    EXPECT_EQ(bus(2, 480), std::vector<float>(960, 0.0f));
    EXPECT_EQ(bus(3, 480), std::vector<float>(960, 0.0f));
    EXPECT_EQ(solo(480), std::vector<float>(960, 0.0f));
    buffers.mixBus(nullptr, 0, 1);
    buffers.mixSolo(nullptr, 0);
}

TEST_F(PerAppInputBuffersTest, LoudMixGoesThroughTheLimiter) {
    for (const std::uint32_t processID : {20u, 21u}) {
        put(onBothBuses(processID));
        feed(processID, constant(1, 0.5f, -0.75f));
    }
    const std::vector<float> mix = bus(1, 1);
    EXPECT_NEAR(mix[0], 0.9816f, 5e-5f);
    EXPECT_NEAR(mix[1], -0.999999f, 5e-7f);
}

TEST_F(PerAppInputBuffersTest, SourceThatRunsShortIsMissingFromTheRest) {
    put(onBothBuses(20));
    put(onBothBuses(21));
    feed(20, constant(2, 0.25f, 0.25f));
    feed(21, constant(4, 0.5f, 0.5f));
    EXPECT_EQ(bus(1, 4), (std::vector<float>{0.75f, 0.75f, 0.75f, 0.75f, 0.5f, 0.5f, 0.5f, 0.5f}));
}

TEST_F(PerAppInputBuffersTest, MonoPacketOf441FramesAt44100HzGives480FramesWithLeftAndRightEqual) {
    put(onBothBuses(20));
    std::vector<float> mono(441);
    for (std::size_t frame = 0; frame < mono.size(); ++frame) {
        mono[frame] = 0.5f * std::sin(0.05f * static_cast<float>(frame));
    }
    buffers.addInputData(20, mono.data(), 441 * 4, floatWaveFormat(1, 44100));
    EXPECT_EQ(buffers.getInputBuffer(20, 1)->writePos.load(), 960u);
    const std::vector<float> mix = bus(1, 480);
    EXPECT_GT(peakOf(mix), 0.4f);
    for (std::size_t frame = 0; frame < 480; ++frame) {
        ASSERT_EQ(mix[2 * frame], mix[2 * frame + 1]) << frame;
    }
}

TEST_F(PerAppInputBuffersTest, PacketOfOneFrameAt44100HzGivesOneFrameACopy) {
    put(onBothBuses(20));
    feed(20, {0.25f, -0.5f}, 44100);
    EXPECT_EQ(bus(1, 2), (std::vector<float>{0.25f, -0.5f, 0.0f, 0.0f}));
}

TEST_F(PerAppInputBuffersTest, TwentyFourBitPacketWritesSilenceOfItsLength) {
    put(onBothBuses(20));
    const std::vector<std::uint8_t> bytes(600, 0x55);
    buffers.addInputData(20, bytes.data(), 600, {1, 2, 48000, 6, 24});
    EXPECT_EQ(buffers.getInputBuffer(20, 1)->writePos.load(), 200u);
    EXPECT_EQ(buffers.getProcessLevels(20), (StereoLevel{0.0f, 0.0f}));
    EXPECT_EQ(peakOf(bus(1, 100)), 0.0f);
}

TEST_F(PerAppInputBuffersTest, PacketWithoutARateIsLoggedAndSkipped) {
    put(onBothBuses(20));
    RouterLogCapture log;
    feed(20, constant(10, 0.5f, 0.5f), 0);
    EXPECT_EQ(log.take(),
              Lines{"[WARNING] Resampling from 0 Hz to 48000 Hz returned empty result, skipping packet"});
    EXPECT_TRUE(buffers.collectProcessIds().empty());
}

TEST_F(PerAppInputBuffersTest, PacketWithoutFramesIsSilentlyNothing) {
    put(onBothBuses(20));
    RouterLogCapture log;
    const float sample = 0.5f;
    buffers.addInputData(20, &sample, 0, floatWaveFormat(2, 48000));
    buffers.addInputData(20, &sample, 4, floatWaveFormat(2, 0));
    buffers.addInputData(20, &sample, 4, {3, 0, 48000, 4, 32});
    buffers.addInputData(20, &sample, 4, {3, 1, 48000, 0, 32});
    buffers.addInputData(20, nullptr, 4, floatWaveFormat(1, 48000));
    EXPECT_EQ(log.take(), Lines{});
    EXPECT_TRUE(buffers.collectProcessIds().empty());
}

TEST_F(PerAppInputBuffersTest, MasterVolumeAndMuteApplyToTheirBusAlone) {
    put(onBothBuses(20));
    put({.processID = kBus1MasterProcessId, .input1Volume = 0.5f, .input2Volume = 0.0f, .input2Muted = true});
    feed(20, constant(4, 0.5f, 0.5f));
    EXPECT_EQ(bus(1, 2), constant(2, 0.25f, 0.25f));
    EXPECT_EQ(bus(2, 2), constant(2, 0.5f, 0.5f));
    put({.processID = kBus1MasterProcessId, .input1Muted = true});
    put({.processID = kBus2MasterProcessId, .input2Volume = 0.25f});
    EXPECT_EQ(bus(1, 2), constant(2, 0.0f, 0.0f));
    EXPECT_EQ(bus(2, 2), constant(2, 0.125f, 0.125f));
}

TEST_F(PerAppInputBuffersTest, SoloSourceIsHeardAtBus1VolumeEvenWithBothMutes) {
    AppAudioConfig config = onBothBuses(20);
    config.input1Enabled = false;
    config.input1Muted = true;
    config.input2Muted = true;
    config.input1Volume = 0.5f;
    config.input2Volume = 0.125f;
    config.solo = true;
    put(config);
    feed(20, constant(3, 0.5f, -0.5f));
    EXPECT_EQ(solo(3), constant(3, 0.25f, -0.25f));
    EXPECT_EQ(peakOf(bus(1, 3)), 0.0f);
    EXPECT_EQ(peakOf(bus(2, 3)), 0.0f);
}

TEST_F(PerAppInputBuffersTest, SoloPlaysAllOfBus1BeforeAllOfBus2BeforeTheSoloSources) {
    AppAudioConfig config = onBothBuses(20);
    config.input2Volume = 0.5f;
    config.solo = true;
    put(config);
    feed(20, constant(30, 0.5f, 0.5f));
    EXPECT_EQ(solo(2), constant(2, 0.5f, 0.5f));
    put({.processID = kBus2MasterProcessId, .input2Volume = 0.25f, .solo = true});
    EXPECT_EQ(solo(2), constant(2, 0.0625f, 0.0625f));
    put({.processID = kBus1MasterProcessId, .input1Volume = 0.75f, .solo = true});
    EXPECT_EQ(solo(2), constant(2, 0.375f, 0.375f));
    put({.processID = kBus1MasterProcessId, .input1Muted = true, .solo = true});
    EXPECT_EQ(solo(2), constant(2, 0.0f, 0.0f));
}

TEST_F(PerAppInputBuffersTest, ChangeFromSoloSourcesToBus1StartsFromTheOldPositionAndKeepsThatDelay) {
    AppAudioConfig config = onBothBuses(20);
    config.solo = true;
    put(config);
    constexpr std::size_t kBefore = 50;
    constexpr std::size_t kAfter = 9;
    // A ramp from above 0 to below the knee, a step a sample, so that each sample is told from any other.
    std::vector<std::vector<float>> packets(kBefore + kAfter, std::vector<float>(960));
    float next = 1.0f / 65536.0f;
    for (std::vector<float>& packet : packets) {
        for (float& sample : packet) {
            sample = next;
            next += 1.0f / 65536.0f;
        }
    }
    ASSERT_LT(next, 0.95f);
    // 500 ms are played from the solo ring, while the whole-bus position of Bus 1 stands still.
    for (std::size_t block = 0; block < kBefore; ++block) {
        feed(20, packets[block]);
        ASSERT_EQ(firstDifference(solo(480), packets[block]), "") << block;
        ASSERT_EQ(firstDifference(bus(1, 480), packets[block]), "") << block; // has a position of its own
    }
    put({.processID = kBus1MasterProcessId, .solo = true});
    const auto ring = buffers.getInputBuffer(20, 1);
    for (std::size_t block = 0; block < kAfter; ++block) {
        feed(20, packets[kBefore + block]);
        EXPECT_EQ(firstDifference(solo(480), packets[block]), "") << block;
        EXPECT_EQ(ring->writePos.load() - ring->soloReadPos.load(), kBefore * 960) << block;
    }
}

TEST_F(PerAppInputBuffersTest, ReaderThatLagsByExactlyOneWholeRingHearsNothing) {
    put(onBothBuses(20));
    feed(20, constant(28800, 0.5f, 0.5f));
    EXPECT_EQ(peakOf(bus(1, 480)), 0.0f);
    feed(20, {0.25f, -0.125f});
    EXPECT_EQ(bus(1, 2), (std::vector<float>{0.25f, -0.125f, 0.0f, 0.0f}));
}

TEST_F(PerAppInputBuffersTest, BusLevelExceedsOneWhenSeveralLoudSourcesMeet) {
    for (const std::uint32_t processID : {20u, 21u, 22u, 23u}) {
        put(onBothBuses(processID));
        feed(processID, constant(480, 0.9f, 0.9f));
    }
    buffers.updateBusLevels();
    EXPECT_NEAR(buffers.getBus1Levels().left, 2.0f, 1e-6f);
    EXPECT_NEAR(buffers.getBus2Levels().right, 2.0f, 1e-6f);
}

TEST_F(PerAppInputBuffersTest, TwoEqualSourcesReadRootTwoTimesOne) {
    put(onBothBuses(20));
    feed(20, constant(480, 0.25f, 0.125f));
    buffers.updateBusLevels();
    const StereoLevel one = buffers.getBus1Levels();
    put(onBothBuses(21));
    feed(21, constant(480, 0.25f, 0.125f));
    buffers.updateBusLevels();
    EXPECT_NEAR(buffers.getBus1Levels().left, one.left * std::sqrt(2.0f), 1e-6f);
    EXPECT_NEAR(buffers.getBus1Levels().right, one.right * std::sqrt(2.0f), 1e-6f);
}

TEST_F(PerAppInputBuffersTest, BusLevelFollowsTheMastersVolumeAndMute) {
    put(onBothBuses(20));
    feed(20, constant(480, 0.5f, 0.5f));
    put({.processID = kBus1MasterProcessId, .input1Volume = 0.5f});
    put({.processID = kBus2MasterProcessId, .input2Muted = true});
    EXPECT_EQ(buffers.getBus1Levels(), (StereoLevel{0.0f, 0.0f}));
    buffers.updateBusLevels();
    EXPECT_NEAR(buffers.getBus1Levels().left, 0.375f, 1e-6f);
    EXPECT_EQ(buffers.getBus2Levels(), (StereoLevel{0.0f, 0.0f}));
}

TEST_F(PerAppInputBuffersTest, SourceLevelIsTheLargerOfItsTwoMeters) {
    AppAudioConfig config = onBothBuses(20);
    config.input1Volume = 0.25f;
    config.input2Volume = 0.5f;
    put(config);
    feed(20, constant(480, 0.5f, 0.25f));
    EXPECT_NEAR(buffers.getProcessLevels(20).left, 0.375f, 1e-6f);
    EXPECT_NEAR(buffers.getProcessLevels(20).right, 0.1875f, 1e-6f);
    EXPECT_EQ(buffers.getProcessLevels(21), (StereoLevel{0.0f, 0.0f}));
}

TEST_F(PerAppInputBuffersTest, SourceWhoseVolumesAreBothNegativeHasTheLargerNegativeLevel) {
    AppAudioConfig config = onBothBuses(20);
    config.input1Volume = -1.0f;
    config.input2Volume = -0.5f;
    put(config);
    feed(20, constant(480, 0.5f, 0.25f));
    EXPECT_NEAR(buffers.getProcessLevels(20).left, -0.375f, 1e-6f);
    EXPECT_NEAR(buffers.getProcessLevels(20).right, -0.1875f, 1e-6f);
    // With one ring alone the missing one counts 0.0.
    const auto ring = buffers.getInputBuffer(21, 2);
    ring->levelLeft = -0.5f;
    ring->levelRight = 0.5f;
    EXPECT_EQ(buffers.getProcessLevels(21), (StereoLevel{0.0f, 0.5f}));
}

TEST_F(PerAppInputBuffersTest, MeterOfA44100HzPacketIsMeasuredAfterResampling) {
    put(onBothBuses(20));
    // The highest tone that a packet can hold: interpolation takes most of it away between the samples.
    std::vector<float> tone(882);
    for (std::size_t at = 0; at < tone.size(); ++at) {
        tone[at] = at / 2 % 2 == 0 ? 0.4f : -0.4f;
    }
    feed(20, tone, 44100);
    const StereoLevel before = reference::measure(tone);
    const StereoLevel after = reference::measure(reference::resampleTo48k(tone, 44100));
    ASSERT_GT(before.left - after.left, 0.1f);
    EXPECT_NEAR(buffers.getProcessLevels(20).left, after.left, 1e-6f);
    EXPECT_NEAR(buffers.getProcessLevels(20).right, after.right, 1e-6f);
}

TEST_F(PerAppInputBuffersTest, MetersKeepTheirLastValueUntilTheSourceIsReset) {
    put(onBothBuses(20));
    feed(20, constant(480, 0.5f, 0.5f));
    static_cast<void>(bus(1, 4800));
    EXPECT_GT(buffers.getProcessLevels(20).left, 0.7f);
    buffers.resetProcessBuffers(20);
    EXPECT_EQ(buffers.getProcessLevels(20), (StereoLevel{0.0f, 0.0f}));
}

TEST_F(PerAppInputBuffersTest, ResetSourceIsSilentAndItsRingsStay) {
    put(onBothBuses(20));
    put(onBothBuses(21));
    feed(20, constant(480, 0.5f, 0.5f));
    feed(21, constant(480, 0.25f, 0.25f));
    const auto ring = buffers.getInputBuffer(20, 1);
    buffers.resetProcessBuffers(20);
    buffers.resetProcessBuffers(999);
    EXPECT_EQ(buffers.getInputBuffer(20, 1), ring);
    EXPECT_EQ(buffers.collectProcessIds(), (std::set<std::uint32_t>{20, 21}));
    EXPECT_EQ(bus(1, 480), constant(480, 0.25f, 0.25f));
}

TEST_F(PerAppInputBuffersTest, ASourceThatIsWrittenAfterAResetIsResetAgain) {
    put(onBothBuses(20));
    for (int round = 0; round < 3; ++round) {
        feed(20, constant(480, 0.5f, 0.5f));
        static_cast<void>(bus(1, 200));
        buffers.resetProcessBuffers(20);
        buffers.resetProcessBuffers(20); // nothing came in between
        for (const std::uint32_t number : {1u, 2u}) {
            const auto ring = buffers.getInputBuffer(20, number);
            EXPECT_EQ(ring->writePos + ring->busReadPos + ring->soloReadPos, 0u) << "round " << round;
            for (const InputBuffer::Frame& frame : ring->samples) {
                ASSERT_TRUE(frame.load().left == 0.0f && frame.load().right == 0.0f) << "round " << round;
            }
        }
        EXPECT_EQ(buffers.getProcessLevels(20), StereoLevel{}) << "round " << round;
    }
}

TEST_F(PerAppInputBuffersTest, MetersOfASourceThatWritesNoRingAreResetEachTime) {
    AppAudioConfig config = onBothBuses(20);
    config.input1Muted = true;
    config.input2Enabled = false;
    put(config);
    for (int round = 0; round < 3; ++round) {
        feed(20, constant(480, 0.5f, 0.5f));
        EXPECT_GT(buffers.getProcessLevels(20).left, 0.0f) << "round " << round;
        buffers.resetProcessBuffers(20);
        EXPECT_EQ(buffers.getProcessLevels(20), StereoLevel{}) << "round " << round;
    }
}

TEST_F(PerAppInputBuffersTest, ClearForgetsTheRingsAndAHolderOfOneMayGoOnWithIt) {
    put(onBothBuses(20));
    feed(20, constant(480, 0.5f, 0.5f));
    const auto ring = buffers.getInputBuffer(20, 1);
    buffers.clear();
    EXPECT_TRUE(buffers.collectProcessIds().empty());
    EXPECT_EQ(peakOf(bus(1, 480)), 0.0f);
    EXPECT_EQ(ring->writePos.load(), 960u);
    EXPECT_NE(buffers.getInputBuffer(20, 1), ring);
}

TEST_F(PerAppInputBuffersTest, SourcesAreAddedUpInTheOrderOfTheirIdsAsTextWithAColon) {
    // 100: before 10: before 1: and the small one is the last, so that it is not lost beside the large ones.
    for (const auto& [processID, sample] : {std::pair{1u, 0.5f}, {10u, -1e8f}, {100u, 1e8f}}) {
        put(onBothBuses(processID));
        feed(processID, constant(2, sample, sample));
    }
    EXPECT_EQ(bus(1, 2), constant(2, 0.5f, 0.5f));
    EXPECT_EQ(bus(2, 2), constant(2, 0.5f, 0.5f));
}

TEST_F(PerAppInputBuffersTest, AllKindsOfSourceIdsAreCollected) {
    const std::set<std::uint32_t> ids{0, 1, 9, 10, 4711, 0xFFFFFFFD};
    for (const std::uint32_t processID : ids) {
        put(onBothBuses(processID));
        feed(processID, constant(1, 0.1f, 0.1f));
    }
    EXPECT_EQ(buffers.collectProcessIds(), ids);
}

TEST_F(PerAppInputBuffersTest, NotANumberOrInfinityDoesNotOutliveItsFrames) {
    for (const std::uint32_t processID : {20u, 21u}) {
        AppAudioConfig config = onBothBuses(processID);
        config.solo = processID == 20;
        put(config);
    }
    for (const SoloMode mode : {SoloMode::Sources, SoloMode::Bus1, SoloMode::Bus2}) {
        choose(mode);
        for (const std::uint32_t rate : {48000u, 44100u}) {
            const std::size_t frames = rate / 100; // 480 after resampling
            const std::vector<float> good = constant(frames, 0.25f, -0.125f);
            const std::vector<float> one = reference::resampleTo48k(good, rate);
            std::vector<float> both(one);
            std::ranges::transform(both, both.begin(), [](float sample) { return sample + sample; });
            for (const float bad : {kSampleNan, kSampleInfinity, -kSampleInfinity}) {
                const std::string what = std::to_string(rate) + " Hz, " + std::to_string(bad) + ", mode " +
                                         std::to_string(static_cast<int>(mode));
                drainSolo();
                feed(20, constant(frames, bad, bad), rate);
                feed(21, constant(frames, -bad, 0.5f), rate);
                buffers.updateBusLevels();
                for (const std::vector<float>& spoilt : {bus(1, 480), bus(2, 480), solo(480)}) {
                    for (const float sample : spoilt) {
                        ASSERT_LE(std::fabs(sample), 1.0f) << what;
                    }
                }
                feed(20, good, rate);
                feed(21, good, rate);
                buffers.updateBusLevels();
                EXPECT_EQ(firstDifference(bus(1, 480), both), "") << what;
                EXPECT_EQ(firstDifference(bus(2, 480), both), "") << what;
                EXPECT_EQ(firstDifference(solo(480), mode == SoloMode::Sources ? one : both), "") << what;
                EXPECT_NEAR(buffers.getBus1Levels().left, 0.375f * std::sqrt(2.0f), 1e-6f) << what;
                EXPECT_NEAR(buffers.getBus2Levels().left, 0.375f * std::sqrt(2.0f), 1e-6f) << what;
                EXPECT_NEAR(buffers.getProcessLevels(20).left, 0.375f, 1e-6f) << what;
            }
        }
    }
}

TEST_F(PerAppInputBuffersTest, AbsurdVolumesStayInRangeAndLeaveWithTheRecord) {
    const float volumes[]{-1.0f,      -1e30f,          1e30f,           std::numeric_limits<float>::max(),
                          kSampleNan, kSampleInfinity, -kSampleInfinity};
    const std::vector<float> sound = constant(100, 0.5f, -0.5f);
    for (const SoloMode mode : {SoloMode::Sources, SoloMode::Bus1, SoloMode::Bus2}) {
        for (const float sourceVolume : volumes) {
            for (const float masterVolume : volumes) {
                AppAudioConfig config = onBothBuses(20);
                config.input1Volume = sourceVolume;
                config.input2Volume = sourceVolume;
                config.solo = true;
                put(config);
                choose(mode, masterVolume);
                feed(20, sound);
                buffers.updateBusLevels();
                for (const std::vector<float>& mix : {bus(1, 100), bus(2, 100), solo(100)}) {
                    for (const float sample : mix) {
                        ASSERT_LE(std::fabs(sample), 1.0f) << sourceVolume << ", " << masterVolume;
                    }
                }
            }
        }
    }
    AppAudioConfig config = onBothBuses(20);
    config.solo = true;
    put(config);
    for (const SoloMode mode : {SoloMode::Sources, SoloMode::Bus1, SoloMode::Bus2}) {
        choose(mode);
        drainSolo();
        feed(20, sound);
        buffers.updateBusLevels();
        EXPECT_EQ(bus(1, 100), sound);
        EXPECT_EQ(bus(2, 100), sound);
        EXPECT_EQ(solo(100), sound);
        EXPECT_NEAR(buffers.getBus1Levels().left, 0.75f, 1e-6f);
        EXPECT_NEAR(buffers.getBus2Levels().left, 0.75f, 1e-6f);
    }
}

TEST_F(PerAppInputBuffersTest, NumbersBelowTheSmallestNormalFloatAreSilenceAndTheThreadsModeIsItsOwn) {
    constexpr float kSmallest = std::numeric_limits<float>::min();
    AppAudioConfig config = onBothBuses(20);
    config.input2Volume = 0.5f;
    config.solo = true;
    put(config);
    feed(20, {kSmallest, kSmallest / 2, 0.25f, -kSmallest});
    EXPECT_EQ(bus(1, 2), (std::vector<float>{kSmallest, 0.0f, 0.25f, -kSmallest}));
    EXPECT_EQ(bus(2, 2), (std::vector<float>{0.0f, 0.0f, 0.125f, 0.0f}));
    EXPECT_EQ(solo(2), (std::vector<float>{kSmallest, 0.0f, 0.25f, -kSmallest}));
    buffers.updateBusLevels();
    volatile float half = kSmallest;
    half = half / 2;
    EXPECT_GT(half, 0.0f); // the calling thread's own numbers are as before
}

TEST_F(PerAppInputBuffersTest, NegativeVolumeTurnsTheSignalOver) {
    AppAudioConfig config = onBothBuses(20);
    config.input1Volume = -0.5f;
    put(config);
    feed(20, constant(10, 0.5f, -0.25f));
    EXPECT_EQ(bus(1, 10), constant(10, -0.25f, 0.125f));
}

TEST_F(PerAppInputBuffersTest, PacketLargerThanTheRingLeavesItsEnd) {
    put(onBothBuses(20));
    std::vector<float> stereo = constant(28800 + 100, 0.25f, 0.25f);
    std::fill(stereo.end() - 200, stereo.end(), 0.5f);
    feed(20, stereo);
    // One lap ahead: only what lies beyond it is readable.
    std::vector<float> expected = constant(200, 0.0f, 0.0f);
    std::fill_n(expected.begin(), 200, 0.5f);
    EXPECT_EQ(bus(1, 200), expected);
}

TEST_F(PerAppInputBuffersTest, PacketOfMoreFramesThanARingLeavesTheSameRingsAsIfAllWereWritten) {
    reference::Mixer defined(store);
    AppAudioConfig config = onBothBuses(20);
    config.input1Volume = 0.5f;
    config.input2Volume = 0.25f;
    config.solo = true;
    put(config);
    Random random(17);
    // 144,000 and 48,000,000 / 7 frames, 28,801, and a few, so that the positions are no round ones.
    for (const auto& [frames, rate] : {std::pair{3u, 1u}, {1000u, 7u}, {28'801u, 48000u}, {100u, 44100u}}) {
        std::vector<float> packet(2 * std::size_t{frames});
        for (float& sample : packet) {
            sample = static_cast<float>(random() % 2048) / 2048.0f - 0.5f;
        }
        feed(20, packet, rate);
        defined.addInputData(20, reinterpret_cast<const std::uint8_t*>(packet.data()), frames * 8,
                             floatWaveFormat(2, rate));
        for (const std::uint32_t number : {1u, 2u}) {
            const auto ring = buffers.getInputBuffer(20, number);
            const reference::Ring& wanted = *defined.ringMap().at(number == 1 ? "20:1" : "20:2");
            EXPECT_EQ(ring->writePos.load(), wanted.writePos) << rate << " Hz";
            std::vector<float> samples;
            for (const InputBuffer::Frame& frame : ring->samples) {
                samples.insert(samples.end(), {frame.load().left, frame.load().right});
            }
            EXPECT_EQ(firstDifference(samples, wanted.samples), "") << rate << " Hz, bus " << number;
        }
        // Over all frames, not only those that were written; the definition's float sum is not good for so
        // many.
        const StereoLevel raw = reference::measureExactly(reference::resampleTo48k(packet, rate));
        EXPECT_NEAR(buffers.getProcessLevels(20).left, 0.5f * raw.left, 2e-6f) << rate << " Hz";
        EXPECT_NEAR(buffers.getProcessLevels(20).right, 0.5f * raw.right, 2e-6f) << rate << " Hz";
        std::vector<float> expected(200);
        defined.mixSolo(expected.data(), 100);
        EXPECT_EQ(firstDifference(solo(100), expected), "") << rate << " Hz";
    }
}

TEST_F(PerAppInputBuffersTest, NoFormatWhateverItSaysSpoilsWhatComesAfterIt) {
    testing::internal::CaptureStdout(); // a rate of 0 says so each time
    Random random(3);
    std::vector<std::uint32_t> bytes(16);
    for (std::uint32_t& word : bytes) {
        word = random(); // any bits: huge values, NaN and infinity among them
    }
    const auto any = [&](std::initializer_list<std::uint16_t> values) {
        return values.begin()[random() % values.size()];
    };
    put(onBothBuses(20));
    for (const std::uint32_t rate : {0u, 1u, 2u, 3999u, 44100u, 47999u, 48001u, 768'000u, 0xFFFFFFFFu}) {
        for (int round = 0; round < 150; ++round) {
            const WaveFormat format{any({1, 3, 0xFFFE}), any({0, 1, 2, 64, 65535}), rate,
                                    any({0, 1, 3, 8, 256, 65535}), any({0, 16, 24, 32})};
            buffers.addInputData(20, bytes.data(), random() % 64, format);
            buffers.updateBusLevels();
        }
        for (const std::vector<float>& mix : {bus(1, 28800), solo(480)}) {
            for (const float sample : mix) {
                ASSERT_TRUE(sample >= -1.0f && sample <= 1.0f) << "rate " << rate;
            }
        }
        buffers.resetProcessBuffers(20);
        feed(20, constant(8, 0.25f, -0.25f));
        EXPECT_EQ(bus(1, 8), constant(8, 0.25f, -0.25f)) << "rate " << rate;
    }
    EXPECT_NE(testing::internal::GetCapturedStdout().find("returned empty result"), std::string::npos);
}

TEST_F(PerAppInputBuffersTest, TwoSourcesOnTheSoloRingLeaveItDefined) {
    for (const std::uint32_t processID : {20u, 21u}) {
        AppAudioConfig config = onBothBuses(processID);
        config.solo = true;
        put(config);
        feed(processID, constant(100, 0.5f, 0.5f));
    }
    EXPECT_EQ(solo(200), constant(200, 0.5f, 0.5f));
}

TEST_F(PerAppInputBuffersTest, HundredsOfSourcesAmongTenThousandRecordsAreMixed) {
    constexpr std::uint32_t kSources = 500; // rings of 230 KB each, twice
    for (std::uint32_t processID = 10; processID < 10'010; ++processID) {
        put(onBothBuses(processID));
    }
    for (std::uint32_t processID = 10; processID < 10 + kSources; ++processID) {
        feed(processID, constant(10, 1.0f / 1024.0f, -1.0f / 1024.0f));
    }
    EXPECT_EQ(bus(1, 10), constant(10, 500.0f / 1024.0f, -500.0f / 1024.0f));
    EXPECT_EQ(buffers.collectProcessIds().size(), kSources);
}

TEST_F(PerAppInputBuffersTest, ProcessWideBuffersReadTheProcessWideStore) {
    PerAppInputBuffers& shared = PerAppInputBuffers::instance();
    EXPECT_EQ(&shared, &PerAppInputBuffers::instance());
    AppAudioConfigStore::instance().putConfig(20, onBothBuses(20));
    const std::vector<float> stereo = constant(10, 0.5f, 0.5f);
    shared.addInputData(20, stereo.data(), 80, floatWaveFormat(2, 48000));
    std::vector<float> mix(20);
    shared.mixBus(mix.data(), 10, 1);
    EXPECT_EQ(mix, stereo);
    shared.clear();
    AppAudioConfigStore::instance().clear();
}
