#include "audio/equalizer/EqualizerBands.h"
#include "tests/unit/audio/equalizer/EqualizerGolden.h"

#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

namespace {

constexpr double kRate = 48000.0;

FBiquadChain equalizer(std::array<float, 12> gainsDb, std::int32_t channels = 2) {
    FBiquadChain chain;
    chain.init(static_cast<float>(kRate), 12, channels);
    applyEqualizerGains(chain, gainsDb);
    return chain;
}

int activeBands(const FBiquadChain& chain) {
    int count = 0;
    for (std::int32_t band = 0; band < chain.bandCount(); ++band) {
        count += chain.filter(band).isEnabled() ? 1 : 0;
    }
    return count;
}

// Gain at a whole frequency: a second of its sine, after a second to settle.
double measuredDb(const std::array<float, 12>& gainsDb, double frequency) {
    FBiquadChain chain = equalizer(gainsDb, 1);
    const auto second = static_cast<std::size_t>(kRate);
    std::vector<float> sine(2 * second);
    for (std::size_t frame = 0; frame < sine.size(); ++frame) {
        sine[frame] = static_cast<float>(std::sin(2 * M_PI * frequency * static_cast<double>(frame) / kRate));
    }
    const std::vector<float> input(sine);
    chain.processBlock(sine.data(), sine.size());
    std::complex<double> in;
    std::complex<double> out;
    for (std::size_t frame = second; frame < sine.size(); ++frame) {
        const auto turn = std::polar(1.0, -2 * M_PI * frequency * static_cast<double>(frame) / kRate);
        in += static_cast<double>(input[frame]) * turn;
        out += static_cast<double>(sine[frame]) * turn;
    }
    return 20 * std::log10(std::abs(out) / std::abs(in));
}

// What the coefficients of the enabled bands say at one frequency.
double computedDb(const FBiquadChain& chain, double frequency) {
    const std::complex<double> z = std::polar(1.0, -2 * M_PI * frequency / kRate);
    std::complex<double> total = 1.0;
    for (std::int32_t band = 0; band < chain.bandCount(); ++band) {
        if (chain.filter(band).isEnabled()) {
            const FBiquad& section = chain.filter(band).channelSections()[0];
            const std::complex<double> b0 = section.b0, b1 = section.b1, b2 = section.b2;
            const std::complex<double> a1 = section.a1, a2 = section.a2;
            total *= (b0 + b1 * z + b2 * z * z) / (1.0 + a1 * z + a2 * z * z);
        }
    }
    return 20 * std::log10(std::abs(total));
}

std::vector<float> impulseResponse(std::array<float, 12> gainsDb) {
    FBiquadChain chain = equalizer(gainsDb, 1);
    std::vector<float> response(static_cast<std::size_t>(kRate), 0.0f);
    response[0] = 1.0f;
    chain.processBlock(response.data(), response.size());
    return response;
}

} // namespace

TEST(EqualizerBands, GainOfExactly0Point05LeavesTheBandOffAnd0Point051TurnsItOn) {
    for (const float sign : {1.0f, -1.0f}) {
        EXPECT_EQ(activeBands(equalizer({0, 0, 0, sign * 0.05f})), 0);
        const FBiquadChain chain = equalizer({0, 0, 0, sign * 0.051f});
        EXPECT_EQ(activeBands(chain), 1);
        EXPECT_TRUE(chain.filter(3).isEnabled());
    }
}

TEST(EqualizerBands, WithAllGainsAtZeroTheBlockIsUnchangedAndNoSectionRuns) {
    FBiquadChain chain = equalizer({});
    std::vector<float> block(512);
    for (std::size_t at = 0; at < block.size(); ++at) {
        block[at] = std::sin(static_cast<float>(at));
    }
    const std::vector<float> before(block);
    chain.processBlock(block.data(), 256);
    EXPECT_EQ(block, before);
    for (std::int32_t band = 0; band < 12; ++band) {
        ASSERT_EQ(chain.filter(band).channelSections().size(), 2u);
        for (const FBiquad& section : chain.filter(band).channelSections()) {
            for (const float value : {section.x1, section.x2, section.y1, section.y2}) {
                EXPECT_EQ(std::bit_cast<std::uint32_t>(value), 0u) << "band " << band;
            }
        }
    }
}

TEST(EqualizerBands, LowCutPresetIsAHighPassAt63HzWhateverTheSignAndSizeOfItsGain) {
    const std::vector<float> cut = impulseResponse({-3});
    EXPECT_EQ(impulseResponse({3}), cut);
    EXPECT_EQ(impulseResponse({0.06f}), cut);
    const FBiquadChain chain = equalizer({-3});
    EXPECT_EQ(activeBands(chain), 1);
    EXPECT_EQ(chain.filter(0).filterType(), FBiquadType::HighPass);
    EXPECT_EQ(chain.filter(0).frequencyHz(), 63.0f);
    EXPECT_LT(measuredDb({-3}, 20), -15.0);
    EXPECT_NEAR(measuredDb({-3}, 1000), 0.0, 0.1);
}

TEST(EqualizerBands, LastBandIsALowPassAt16kHz) {
    const FBiquadChain chain = equalizer({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4});
    EXPECT_EQ(chain.filter(11).filterType(), FBiquadType::LowPass);
    EXPECT_EQ(chain.filter(11).frequencyHz(), 16000.0f);
}

TEST(EqualizerBands, BandThatGoesBackToZeroIsDisabled) {
    FBiquadChain chain = equalizer({2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2});
    EXPECT_EQ(activeBands(chain), 12);
    applyEqualizerGains(chain, std::array<float, 12>{0, 2});
    EXPECT_EQ(activeBands(chain), 1);
    EXPECT_TRUE(chain.filter(1).isEnabled());
}

TEST(EqualizerBands, ResponseOfEachPresetIsThatOfItsFloatCoefficientsWithinAHundredthOfADecibel) {
    for (const PresetResponse& preset : kPresetResponses) {
        const FBiquadChain chain = equalizer(preset.gainsDb, 1);
        for (const double frequency : kResponseFrequenciesHz) {
            EXPECT_NEAR(measuredDb(preset.gainsDb, frequency), computedDb(chain, frequency), 0.01)
                << preset.name << " at " << frequency << " Hz";
        }
    }
}

TEST(EqualizerBands, ResponseOfEachPresetIsTheGoldenOneWithinAHundredthOfADecibel) {
    for (const PresetResponse& preset : kPresetResponses) {
        for (std::size_t at = 0; at < kResponseFrequenciesHz.size(); ++at) {
            EXPECT_NEAR(measuredDb(preset.gainsDb, kResponseFrequenciesHz[at]), preset.responseDb[at], 0.01)
                << preset.name << " at " << kResponseFrequenciesHz[at] << " Hz";
        }
    }
}
