#include "audio/equalizer/MonitorEqualizer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <vector>

namespace {

using Gains = std::array<float, kEqualizerBandCount>;

constexpr double kStreamRate = 48000.0;
constexpr std::int32_t kFrames = 256;

Gains peakAt1000Hz(float gainDb) {
    Gains gains{};
    gains[5] = gainDb;
    return gains;
}

std::vector<float> sine(double frequency, int blockNumber, std::int32_t channels = 2,
                        double rate = kStreamRate) {
    std::vector<float> block(static_cast<std::size_t>(kFrames * channels));
    for (std::int32_t frame = 0; frame < kFrames; ++frame) {
        const double time = (blockNumber * kFrames + frame) / rate;
        const auto value = static_cast<float>(0.25 * std::sin(2.0 * std::numbers::pi * frequency * time));
        std::fill_n(block.begin() + static_cast<std::ptrdiff_t>(frame) * channels, channels, value);
    }
    return block;
}

double rms(const std::vector<float>& block) {
    double sum = 0.0;
    for (const float sample : block) {
        sum += static_cast<double>(sample) * static_cast<double>(sample);
    }
    return std::sqrt(sum / static_cast<double>(block.size()));
}

/// An equaliser that has been prepared for a stereo stream of 48000 Hz.
class MonitorEqualizerTest : public testing::Test {
protected:
    void SetUp() override { equalizer.prepare(kStreamRate, 2); }

    void switchOnWith(const Gains& gainsDb) {
        equalizer.switchOn();
        equalizer.setGains(gainsDb);
    }
    std::vector<float> process(std::vector<float> block, std::int32_t channels = 2) {
        equalizer.processBlock(block.data(), channels, kFrames);
        return block;
    }
    std::vector<float> processSine(int blockNumber) { return process(sine(1000.0, blockNumber)); }

    /// The last of as many blocks as it takes to settle.
    std::vector<float> settled(double frequency, std::int32_t channels = 2, double rate = kStreamRate) {
        std::vector<float> block;
        for (int blockNumber = 0; blockNumber <= kLastBlock; ++blockNumber) {
            block = process(sine(frequency, blockNumber, channels, rate), channels);
        }
        return block;
    }
    double gainDb(double frequency, std::int32_t channels = 2, double rate = kStreamRate) {
        return 20.0 * std::log10(rms(settled(frequency, channels, rate)) /
                                 rms(sine(frequency, kLastBlock, channels, rate)));
    }

    static constexpr int kLastBlock = 199;

    MonitorEqualizer equalizer;
};

/// The expected blocks: from a chain beside the equaliser's.
class Reference {
public:
    explicit Reference(double rate = kStreamRate) {
        chain.init(static_cast<float>(rate), static_cast<std::int32_t>(kEqualizerBandCount), 2);
    }
    void design(const Gains& gainsDb) { applyEqualizerGains(chain, gainsDb); }
    std::vector<float> processSine(int blockNumber) {
        std::vector<float> block = sine(1000.0, blockNumber);
        chain.processBlock(block.data(), kFrames);
        return block;
    }

private:
    FBiquadChain chain;
};

} // namespace

// ---- the switch and a pending design

TEST_F(MonitorEqualizerTest, SwitchedOffBlocksPassWhateverIsDesigned) {
    EXPECT_EQ(processSine(0), sine(1000.0, 0)) << "before any design";
    switchOnWith(peakAt1000Hz(6.0f));
    EXPECT_NE(processSine(1), sine(1000.0, 1));
    equalizer.switchOff();
    EXPECT_EQ(processSine(2), sine(1000.0, 2)) << "beside a designed chain";
    switchOnWith(peakAt1000Hz(-6.0f));
    equalizer.switchOff();
    EXPECT_EQ(processSine(3), sine(1000.0, 3)) << "beside a pending design";
}

TEST_F(MonitorEqualizerTest, FirstBlockIsFilteredAlready) {
    Reference reference;
    switchOnWith(peakAt1000Hz(6.0f));
    reference.design(peakAt1000Hz(6.0f));
    EXPECT_EQ(processSine(0), reference.processSine(0));
}

TEST_F(MonitorEqualizerTest, SwitchedOnWithoutGainsAllBandsAreOff) {
    equalizer.switchOn();
    EXPECT_EQ(processSine(0), sine(1000.0, 0));
}

TEST_F(MonitorEqualizerTest, GainsThatWereSetBeforeTheSwitchHold) {
    Reference reference;
    equalizer.setGains(peakAt1000Hz(6.0f));
    equalizer.switchOn();
    reference.design(peakAt1000Hz(6.0f));
    EXPECT_EQ(processSine(0), reference.processSine(0));
}

TEST_F(MonitorEqualizerTest, ChangedGainsAreDesignedWithTheNextBlockAndTheHistoryGoesOn) {
    Reference reference;
    switchOnWith(peakAt1000Hz(6.0f));
    reference.design(peakAt1000Hz(6.0f));
    EXPECT_EQ(processSine(0), reference.processSine(0));
    equalizer.setGains(peakAt1000Hz(-9.0f));
    reference.design(peakAt1000Hz(-9.0f));
    EXPECT_EQ(processSine(1), reference.processSine(1));
}

TEST_F(MonitorEqualizerTest, WithoutAChangeBlockAfterBlockIsFilteredByTheSameDesign) {
    Reference reference;
    switchOnWith(peakAt1000Hz(6.0f));
    reference.design(peakAt1000Hz(6.0f));
    for (int blockNumber = 0; blockNumber < 5; ++blockNumber) {
        EXPECT_EQ(processSine(blockNumber), reference.processSine(blockNumber)) << blockNumber;
    }
}

TEST_F(MonitorEqualizerTest, SwitchingOffLeavesTheDesignAndTheHistoryAsTheyWere) {
    Reference reference;
    switchOnWith(peakAt1000Hz(6.0f));
    reference.design(peakAt1000Hz(6.0f));
    EXPECT_EQ(processSine(0), reference.processSine(0));
    equalizer.switchOff();
    static_cast<void>(processSine(1));
    // Without new gains nothing is designed, though the stored gains are zero by now.
    equalizer.switchOn();
    EXPECT_EQ(processSine(2), reference.processSine(2));
}

TEST_F(MonitorEqualizerTest, SwitchingOffKeepsAPendingDesignWhichThenMeetsZeroGains) {
    switchOnWith(peakAt1000Hz(6.0f));
    static_cast<void>(processSine(0));
    equalizer.setGains(peakAt1000Hz(9.0f)); // pending
    equalizer.switchOff();                  // the gains are gone, the pending design is not
    equalizer.switchOn();
    EXPECT_EQ(processSine(1), sine(1000.0, 1));
}

// ---- sound

TEST_F(MonitorEqualizerTest, AllGainsZeroLeaveEverySampleAsItIs) {
    switchOnWith({});
    EXPECT_EQ(settled(1000.0), sine(1000.0, kLastBlock));
}

TEST_F(MonitorEqualizerTest, PeakOf6DbAt1000HzLifts1000HzBy6Db) {
    switchOnWith(peakAt1000Hz(6.0f));
    EXPECT_NEAR(gainDb(1000.0), 6.0, 0.1);
    EXPECT_NEAR(gainDb(100.0), 0.0, 0.3);
}

TEST_F(MonitorEqualizerTest, LowCutIsTheSameForEitherSign) {
    switchOnWith({-3.0f});
    const std::vector<float> down = settled(30.0);
    EXPECT_LT(rms(down), rms(sine(30.0, kLastBlock)) * 0.5);
    MonitorEqualizer other;
    other.prepare(kStreamRate, 2);
    other.switchOn();
    other.setGains(Gains{3.0f});
    std::vector<float> block;
    for (int blockNumber = 0; blockNumber <= kLastBlock; ++blockNumber) {
        block = sine(30.0, blockNumber);
        other.processBlock(block.data(), 2, kFrames);
    }
    EXPECT_EQ(block, down);
}

// ---- streams

TEST(MonitorEqualizer, BeforeAStreamHasOpenedBlocksPass) {
    MonitorEqualizer equalizer;
    equalizer.switchOn();
    equalizer.setGains(peakAt1000Hz(6.0f));
    std::vector<float> block = sine(1000.0, 0);
    equalizer.processBlock(block.data(), 2, kFrames);
    EXPECT_EQ(block, sine(1000.0, 0));
}

TEST_F(MonitorEqualizerTest, ChainKeepsTheRateOfTheFirstStreamThatWasFiltered) {
    switchOnWith(peakAt1000Hz(6.0f));
    static_cast<void>(processSine(0));
    equalizer.prepare(44100.0, 2);
    // Designed for 48000 Hz, the peak is lower in a stream of 44100 Hz.
    EXPECT_NEAR(gainDb(1000.0 * 44100.0 / kStreamRate, 2, 44100.0), 6.0, 0.1);
}

TEST_F(MonitorEqualizerTest, StreamThatPassedUntouchedDoesNotSetTheRate) {
    static_cast<void>(processSine(0)); // off
    equalizer.prepare(44100.0, 2);
    switchOnWith(peakAt1000Hz(6.0f));
    Reference reference(44100.0);
    reference.design(peakAt1000Hz(6.0f));
    EXPECT_EQ(processSine(1), reference.processSine(1));
}

TEST_F(MonitorEqualizerTest, BlockWithThreeChannelsIsFilteredOnAllThree) {
    equalizer.prepare(kStreamRate, 3);
    switchOnWith(peakAt1000Hz(6.0f));
    const std::vector<float> block = settled(1000.0, 3);
    EXPECT_NEAR(rms(block) / rms(sine(1000.0, kLastBlock, 3)), std::pow(10.0, 6.0 / 20.0), 0.03);
    for (std::size_t at = 0; at < block.size(); at += 3) {
        EXPECT_EQ(block[at], block[at + 1]);
        EXPECT_EQ(block[at], block[at + 2]);
    }
}

TEST_F(MonitorEqualizerTest, BlocksOfOtherChannelCountsThanTheChainsAreSafe) {
    switchOnWith(peakAt1000Hz(6.0f));
    EXPECT_NEAR(rms(settled(1000.0, 1)) / rms(sine(1000.0, kLastBlock, 1)), std::pow(10.0, 6.0 / 20.0), 0.03);
    const std::vector<float> nine = settled(1000.0, 9);
    EXPECT_EQ(nine[8], sine(1000.0, kLastBlock, 9)[8]) << "a channel that the chain does not have passes";
}

TEST_F(MonitorEqualizerTest, StreamOfNineChannelsPassesUntouched) {
    equalizer.prepare(kStreamRate, 9);
    switchOnWith(peakAt1000Hz(6.0f));
    EXPECT_EQ(settled(1000.0, 9), sine(1000.0, kLastBlock, 9));
    EXPECT_EQ(settled(1000.0, 2), sine(1000.0, kLastBlock, 2));
}

TEST_F(MonitorEqualizerTest, NotANumberIsForgottenWithTheNextBlockWhateverItsChannels) {
    switchOnWith(peakAt1000Hz(6.0f));
    for (const std::int32_t channels : {1, 2, 3}) {
        const std::vector<float> spoilt(static_cast<std::size_t>(kFrames * channels),
                                        std::numeric_limits<float>::quiet_NaN());
        static_cast<void>(process(spoilt, channels));
        for (const float sample : settled(1000.0, channels)) {
            ASSERT_TRUE(std::isfinite(sample)) << channels << " channels";
        }
    }
}
