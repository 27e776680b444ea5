#include "audio/equalizer/EqualizerBands.h"
#include "audio/equalizer/FBiquadChain.h"
#include "tests/support/Noise.h"
#include "tests/support/RandomSeed.h"
#include "tests/support/equalizer/ScalarEqualizer.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

::testing::AssertionResult sameBits(const std::vector<float>& actual, const std::vector<float>& expected) {
    for (std::size_t at = 0; at < expected.size(); ++at) {
        if (std::bit_cast<std::uint32_t>(actual.at(at)) != std::bit_cast<std::uint32_t>(expected[at])) {
            return ::testing::AssertionFailure()
                   << "float " << at << ": " << actual[at] << ", expected " << expected[at];
        }
    }
    return ::testing::AssertionSuccess();
}

std::array<float, 5> coefficients(const FBiquadFilter& filter, std::size_t channel = 0) {
    const FBiquad& section = filter.channelSections().at(channel);
    return {section.b0, section.b1, section.b2, section.a1, section.a2};
}

std::array<float, 4> history(const FBiquadFilter& filter, std::size_t channel) {
    const FBiquad& section = filter.channelSections().at(channel);
    return {section.x1, section.x2, section.y1, section.y2};
}

FBiquadChain twelveBands(std::int32_t channels) {
    FBiquadChain chain;
    chain.init(48000.0f, 12, channels);
    for (std::int32_t band = 0; band < 12; ++band) {
        chain.setParameters(band, FBiquadType::Peaking, 100.0f * static_cast<float>(band + 1), 1.0f,
                            static_cast<float>(band) - 5.5f);
    }
    return chain;
}

} // namespace

TEST(FBiquadChain, NewBandsAreFlatPeaksAt500Hz) {
    FBiquadChain chain;
    chain.init(48000.0f, 12, 2);
    EXPECT_EQ(chain.bandCount(), 12);
    EXPECT_EQ(chain.channelCount(), 2);
    EXPECT_EQ(chain.sampleRateHz(), 48000.0f);
    for (std::int32_t band = 0; band < 12; ++band) {
        const FBiquadFilter& filter = chain.filter(band);
        EXPECT_TRUE(filter.isEnabled());
        EXPECT_EQ(filter.filterType(), FBiquadType::Peaking);
        EXPECT_EQ(filter.frequencyHz(), 500.0f);
        EXPECT_EQ(filter.bandwidthOctaves(), 1.0f);
        EXPECT_EQ(filter.gainDb(), 0.0f);
        EXPECT_EQ(filter.channelSections().size(), 2u);
    }
}

TEST(FBiquadChain, SettersIgnoreBandsThatDoNotExistAndAChainThatIsNotInitialised) {
    FBiquadChain chain;
    const auto setAll = [&chain](std::int32_t band) {
        chain.setParameters(band, FBiquadType::Notch, 100.0f, 1.0f, 1.0f);
        chain.setType(band, FBiquadType::Notch);
        chain.setFrequency(band, 100.0f);
        chain.setBandwidth(band, 2.0f);
        chain.setGain(band, 3.0f);
        chain.setEnabled(band, false);
        chain.reset(band);
    };
    setAll(0);
    float frame[2] = {0.5f, -0.5f};
    chain.process(frame, frame);
    chain.processBlock(frame, 1);
    EXPECT_EQ(frame[0], 0.5f);
    chain.init(48000.0f, 12, 2);
    for (const std::int32_t band :
         {-1, 12, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()}) {
        setAll(band);
    }
    for (std::int32_t band = 0; band < 12; ++band) {
        EXPECT_TRUE(chain.filter(band).isEnabled());
        EXPECT_EQ(chain.filter(band).filterType(), FBiquadType::Peaking);
    }
}

TEST(FBiquadChain, SettersReachTheirBandAlone) {
    FBiquadChain chain;
    chain.init(48000.0f, 3, 1);
    chain.setType(1, FBiquadType::HighPass);
    chain.setFrequency(1, 80.0f);
    chain.setBandwidth(1, 2.0f);
    chain.setGain(1, 4.0f);
    chain.setEnabled(1, false);
    EXPECT_EQ(chain.filter(1).filterType(), FBiquadType::HighPass);
    EXPECT_EQ(chain.filter(1).frequencyHz(), 80.0f);
    EXPECT_EQ(chain.filter(1).bandwidthOctaves(), 2.0f);
    EXPECT_EQ(chain.filter(1).gainDb(), 4.0f);
    EXPECT_FALSE(chain.filter(1).isEnabled());
    EXPECT_EQ(chain.filter(0).frequencyHz(), 500.0f);
    EXPECT_EQ(chain.filter(2).frequencyHz(), 500.0f);
}

TEST(FBiquadChain, BandsAreInSeries) {
    FBiquadChain chain;
    chain.init(48000.0f, 2, 1);
    chain.setParameters(0, FBiquadType::LowPass, 1000.0f, 1.0f, 0.0f);
    chain.setParameters(1, FBiquadType::HighPass, 300.0f, 1.0f, 0.0f);
    FBiquadFilter low;
    low.init(48000.0f, 1, FBiquadType::LowPass, 1000.0f, 1.0f, 0.0f);
    FBiquadFilter high;
    high.init(48000.0f, 1, FBiquadType::HighPass, 300.0f, 1.0f, 0.0f);
    for (int frame = 0; frame < 100; ++frame) {
        const float x = frame == 0 ? 1.0f : 0.0f;
        float chained = 0.0f;
        chain.process(&x, &chained);
        float apart = 0.0f;
        low.process(&x, &apart);
        high.process(&apart, &apart);
        ASSERT_EQ(chained, apart) << frame;
    }
}

TEST(FBiquadChain, BlockWithThreeChannelsIsFilteredOnAllThree) {
    const std::vector<float> mono = noise(1, 500);
    FBiquadChain single = twelveBands(1);
    std::vector<float> expected(mono);
    single.processBlock(expected.data(), expected.size());
    FBiquadChain triple = twelveBands(3);
    std::vector<float> block;
    for (const float sample : mono) {
        block.insert(block.end(), 3, sample);
    }
    triple.processBlock(block.data(), mono.size());
    for (std::size_t at = 0; at < block.size(); ++at) {
        ASSERT_EQ(block[at], expected[at / 3]) << at;
    }
    EXPECT_NE(expected, mono);
}

TEST(FBiquadChain, NineChannelsPassUnfilteredInsteadOfExceedingTheFrame) {
    FBiquadChain chain = twelveBands(9);
    const std::vector<float> input = noise(2, 180);
    std::vector<float> block(input);
    chain.processBlock(block.data(), 20);
    EXPECT_EQ(block, input);
    std::vector<float> frame(9);
    chain.process(input.data(), frame.data());
    EXPECT_EQ(frame, std::vector<float>(input.begin(), input.begin() + 9));
}

// A stream that moves to another rate sends blocks of that rate through the same chain, with no other call.
TEST(FBiquadChain, ChainGoesOnDesigningForTheRateOfItsInitWhenTheStreamMovesToAnother) {
    FBiquadChain chain;
    chain.init(48000.0f, 12, 2);
    for (int turn = 0; turn < 6; ++turn) {
        // 10 ms at 48000 Hz, then at 44100 Hz; gains of the same bands in another size each time.
        std::vector<float> block = noise(4, turn == 0 ? 960 : 882);
        chain.processBlock(block.data(), block.size() / 2);
        std::array<float, kEqualizerBandCount> gainsDb{};
        for (std::size_t band = 0; band < gainsDb.size(); ++band) {
            gainsDb[band] = (band % 2 == 0 ? 1.0f : -1.0f) * static_cast<float>(turn + 1);
        }
        applyEqualizerGains(chain, gainsDb);
        for (std::size_t band = 0; band < gainsDb.size(); ++band) {
            const auto designedFor = [&](float rate) {
                FBiquadFilter filter;
                filter.init(rate, 1, kEqualizerBands[band].type, kEqualizerBands[band].frequencyHz,
                            kEqualizerBandwidthOctaves, gainsDb[band]);
                return coefficients(filter);
            };
            const auto actual = coefficients(chain.filter(static_cast<std::int32_t>(band)));
            EXPECT_EQ(actual, designedFor(48000.0f)) << "turn " << turn << ", band " << band;
            EXPECT_NE(actual, designedFor(44100.0f)) << "turn " << turn << ", band " << band;
        }
    }
    EXPECT_EQ(chain.sampleRateHz(), 48000.0f);
}

TEST(FBiquadChain, ResetClearsTheHistoryOfItsBandAlone) {
    FBiquadChain chain = twelveBands(2);
    FBiquadChain other = twelveBands(2);
    const std::vector<float> sound = noise(5, 200);
    for (FBiquadChain* each : {&chain, &other}) {
        std::vector<float> block(sound);
        each->processBlock(block.data(), 100);
    }
    chain.reset(3);
    for (std::int32_t band = 0; band < 12; ++band) {
        for (std::size_t channel = 0; channel < 2; ++channel) {
            const std::array<float, 4> kept = history(other.filter(band), channel);
            EXPECT_NE(kept, (std::array<float, 4>{})) << band;
            const std::array<float, 4> wanted = band == 3 ? std::array<float, 4>{} : kept;
            EXPECT_EQ(history(chain.filter(band), channel), wanted) << band;
            EXPECT_EQ(coefficients(chain.filter(band), channel), coefficients(other.filter(band), channel));
        }
    }
}

TEST(FBiquadChain, SecondInitDiscardsTheOldBands) {
    FBiquadChain chain = twelveBands(2);
    chain.init(44100.0f, 2, 1);
    EXPECT_EQ(chain.bandCount(), 2);
    EXPECT_EQ(chain.filter(1).channelSections().size(), 1u);
    chain.init(44100.0f, -5, -1);
    EXPECT_EQ(chain.bandCount(), 0);
    EXPECT_EQ(chain.channelCount(), 0);
}

TEST(FBiquadChain, NotANumberIsForgottenWithTheNextBlock) {
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::max()}) {
        FBiquadChain chain = twelveBands(2);
        std::vector<float> spoilt(512, 0.25f);
        spoilt[100] = bad;
        chain.processBlock(spoilt.data(), 256);
        std::vector<float> next(20480, 0.25f);
        chain.processBlock(next.data(), 10240);
        for (const float sample : next) {
            ASSERT_TRUE(std::isfinite(sample));
        }
        EXPECT_NEAR(next.back(), 0.25f, 0.01f) << bad;
    }
}

TEST(FBiquadChain, FramePathForgetsANotANumberWhenItIsClearedAndOnlyThen) {
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::max()}) {
        FBiquadChain chain = twelveBands(2);
        // The right channel stays sound.
        const std::array<float, 2> spoilt{bad, 0.25f};
        std::array<float, 2> frame{};
        chain.process(spoilt.data(), frame.data());
        const auto play = [&](int frames) {
            for (int count = 0; count < frames; ++count) {
                frame = {0.25f, 0.25f};
                chain.process(frame.data(), frame.data());
            }
        };
        play(10'000);
        EXPECT_FALSE(std::isfinite(frame[0])) << bad;
        EXPECT_TRUE(std::isfinite(frame[1])) << bad;
        const std::array<float, 4> right = history(chain.filter(5), 1);
        chain.clearNonFinite();
        EXPECT_EQ(history(chain.filter(5), 0), (std::array<float, 4>{})) << bad;
        EXPECT_EQ(history(chain.filter(5), 1), right) << bad;
        play(10'000);
        EXPECT_NEAR(frame[0], 0.25f, 0.01f) << bad;
        EXPECT_NEAR(frame[1], 0.25f, 0.01f) << bad;
    }
}

// Any number of bands and channels, any block length, bands switched and set between the blocks.
TEST(FBiquadChain, BlockEqualsTheScalarReferenceAndFrameByFrameBitForBit) {
    const std::uint32_t seed = newSeed();
    std::mt19937 random(seed);
    SCOPED_TRACE("seed " + std::to_string(seed));
    const int rounds = std::getenv("VEXO_LONG") != nullptr ? 10'000 : 300;
    for (int round = 0; round < rounds; ++round) {
        const auto bands = static_cast<std::int32_t>(random() % 20);
        const auto channels = static_cast<std::int32_t>(1 + random() % 8);
        const auto channelCount = static_cast<std::size_t>(channels);
        FBiquadChain byBlock;
        FBiquadChain byFrame;
        byBlock.init(48000.0f, bands, channels);
        byFrame.init(48000.0f, bands, channels);
        std::vector<reference::Band> scalar(static_cast<std::size_t>(bands));
        for (reference::Band& band : scalar) {
            band.sections.resize(channelCount);
            reference::design(band, 4, 500.0f, 1.0f, 0.0f, 48000.0f);
        }
        for (int blockNumber = 0; blockNumber < 12; ++blockNumber) {
            for (std::int32_t band = 0; band < bands; ++band) {
                reference::Band& target = scalar[static_cast<std::size_t>(band)];
                if (random() % 4 == 0) {
                    target.enabled = random() % 3 != 0;
                    byBlock.setEnabled(band, target.enabled);
                    byFrame.setEnabled(band, target.enabled);
                }
                if (random() % 4 == 0) {
                    const auto type = static_cast<int>(random() % 6);
                    const auto frequency = static_cast<float>(30 + random() % 15000);
                    // A gain that is never the last one, so that the setter does not take it for no change.
                    const float gain = static_cast<float>(random() % 100'000) / 5000.0f - 10.0f;
                    byBlock.setParameters(band, static_cast<FBiquadType>(type), frequency, 1.0f, gain);
                    byFrame.setParameters(band, static_cast<FBiquadType>(type), frequency, 1.0f, gain);
                    reference::design(target, type, byBlock.filter(band).frequencyHz(), 1.0f, gain, 48000.0f);
                }
            }
            const std::size_t frames = random() % 4 == 0 ? random() % 14 : random() % 300;
            std::vector<float> block = noise(random(), frames * channelCount);
            std::vector<float> frameWise(block);
            std::vector<float> expected(block);
            byBlock.processBlock(block.data(), frames);
            for (std::size_t frame = 0; frame < frames; ++frame) {
                byFrame.process(frameWise.data() + frame * channelCount,
                                frameWise.data() + frame * channelCount);
            }
            reference::process(scalar, expected.data(), frames, channelCount);
            ASSERT_TRUE(sameBits(block, expected)) << "round " << round << ", " << bands << " bands, "
                                                   << channels << " channels, " << frames << " frames";
            ASSERT_TRUE(sameBits(frameWise, expected)) << "round " << round;
        }
    }
}

// Below the smallest normal float the chain drops products that the definition keeps. What its narrow bands
// gather of them stays some hundred times that number, 700 dB below full level.
TEST(FBiquadChain, FadingSoundEqualsTheScalarReferenceButForWhatDroppedProductsComeTo) {
    const std::uint32_t seed = newSeed();
    std::mt19937 random(seed);
    SCOPED_TRACE("seed " + std::to_string(seed));
    constexpr std::size_t kFrames = 256;
    constexpr std::array<float, kEqualizerBandCount> kGains{3, -2, 1, 4, -3, 2, -1, 5, -4, 2, 3, -6};
    FBiquadChain chain;
    chain.init(48000.0f, 12, 2);
    applyEqualizerGains(chain, kGains);
    std::vector<reference::Band> scalar(12);
    for (std::size_t band = 0; band < scalar.size(); ++band) {
        scalar[band].sections.resize(2);
        reference::design(scalar[band], static_cast<int>(kEqualizerBands[band].type),
                          kEqualizerBands[band].frequencyHz, 1.0f, kGains[band], 48000.0f);
    }
    constexpr float kGathered = 2000.0f * std::numeric_limits<float>::min();
    // To the smallest numbers that there are, and below them.
    for (float level = 1e-30f; level > 1e-44f; level *= 0.9f) {
        std::vector<float> block = noise(random(), 2 * kFrames, level);
        std::vector<float> expected(block);
        chain.processBlock(block.data(), kFrames);
        reference::process(scalar, expected.data(), kFrames, 2);
        for (std::size_t at = 0; at < block.size(); ++at) {
            ASSERT_NEAR(block[at], expected[at], kGathered) << "at a level of " << level;
        }
    }
}
