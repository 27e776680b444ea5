#include "audio/equalizer/FBiquadFilter.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <utility>
#include <vector>

namespace {

constexpr float kFilterRate = 48000.0f;

FBiquadFilter peaking(float frequency = 1000.0f, float gain = 6.0f, std::int32_t channels = 1) {
    FBiquadFilter filter;
    filter.init(kFilterRate, channels, FBiquadType::Peaking, frequency, 1.0f, gain);
    return filter;
}

std::array<float, 5> filterCoefficients(const FBiquadFilter& filter, std::size_t channel = 0) {
    const FBiquad& section = filter.channelSections().at(channel);
    return {section.b0, section.b1, section.b2, section.a1, section.a2};
}

float step(FBiquadFilter& filter, float x) {
    float y = 99.0f;
    filter.process(&x, &y);
    return y;
}

struct Shape {
    double b0, b1, b2, a0, a1, a2;
};

Shape shape(FBiquadType type, double c, double alpha, double amplitude) {
    switch (type) {
    case FBiquadType::LowPass:
        return {(1 - c) / 2, 1 - c, (1 - c) / 2, 1 + alpha, -2 * c, 1 - alpha};
    case FBiquadType::HighPass:
        return {(1 + c) / 2, -(1 + c), (1 + c) / 2, 1 + alpha, -2 * c, 1 - alpha};
    case FBiquadType::BandPass:
        return {alpha, 0, -alpha, 1 + alpha, -2 * c, 1 - alpha};
    case FBiquadType::Notch:
        return {1, -2 * c, 1, 1 + alpha, -2 * c, 1 - alpha};
    case FBiquadType::Peaking:
        return {1 + alpha * amplitude, -2 * c, 1 - alpha * amplitude,
                1 + alpha / amplitude, -2 * c, 1 - alpha / amplitude};
    case FBiquadType::AllPass:
        return {1 - alpha, -2 * c, 1 + alpha, 1 + alpha, -2 * c, 1 - alpha};
    }
    return {};
}

} // namespace

TEST(FBiquad, NewSectionPassesItsInput) {
    FBiquad section;
    for (const float x : {1.0f, -0.5f, 0.25f}) {
        EXPECT_EQ(section.process(x), x);
    }
}

TEST(FBiquad, StepIsTheDifferenceEquation) {
    FBiquad section;
    section.b0 = 0.5f;
    section.b1 = 0.25f;
    section.b2 = 0.125f;
    section.a1 = 0.5f;
    section.a2 = -0.25f;
    EXPECT_EQ(section.process(1.0f), 0.5f);
    EXPECT_EQ(section.process(2.0f), 1.0f + 0.25f - 0.25f);
    EXPECT_EQ(section.process(0.0f), 0.5f + 0.125f - 0.5f + 0.125f);
    EXPECT_EQ(section.x1, 0.0f);
    EXPECT_EQ(section.x2, 2.0f);
    EXPECT_EQ(section.y1, 0.25f);
    EXPECT_EQ(section.y2, 1.0f);
    section.reset();
    EXPECT_EQ(std::fabs(section.x1) + std::fabs(section.x2) + std::fabs(section.y1) + std::fabs(section.y2),
              0.0f);
}

TEST(FBiquad, ResultBelowTheSmallestNormalFloatBecomesZero) {
    constexpr float kSmallest = std::numeric_limits<float>::min();
    FBiquad section;
    EXPECT_EQ(section.process(kSmallest), kSmallest);
    EXPECT_EQ(section.process(std::nextafter(kSmallest, 0.0f)), 0.0f);
    EXPECT_EQ(section.process(-kSmallest), -kSmallest);
    EXPECT_EQ(section.process(std::nextafter(-kSmallest, 0.0f)), 0.0f);
    EXPECT_EQ(section.y1, 0.0f);
}

TEST(FBiquad, SilenceEndsInExactZeros) {
    FBiquadFilter filter = peaking();
    step(filter, 1.0f);
    for (int frame = 0; frame < 100'000; ++frame) {
        step(filter, 0.0f);
    }
    EXPECT_EQ(filter.channelSections()[0].y1, 0.0f);
    EXPECT_EQ(filter.channelSections()[0].y2, 0.0f);
}

TEST(FBiquadFilter, EveryShapeHasItsCoefficients) {
    for (const FBiquadType type : {FBiquadType::LowPass, FBiquadType::HighPass, FBiquadType::BandPass,
                                   FBiquadType::Notch, FBiquadType::Peaking, FBiquadType::AllPass}) {
        for (const auto& [frequency, bandwidth] :
             {std::pair{63.0, 1.0}, {1000.0, 1.0}, {1000.0, 2.5}, {16000.0, 1.0}, {10000.0, 0.3}}) {
            FBiquadFilter filter;
            filter.init(kFilterRate, 2, type, static_cast<float>(frequency), static_cast<float>(bandwidth),
                        -4.0f);
            const double w0 = 2 * M_PI * frequency / 48000.0;
            const double alpha = std::sin(w0) * std::sin(std::log(2.0) / 2 * bandwidth * w0 / std::sin(w0));
            const Shape wanted = shape(type, std::cos(w0), alpha, std::pow(10.0, -4.0 / 40));
            const std::array<double, 5> normalised{wanted.b0 / wanted.a0, wanted.b1 / wanted.a0,
                                                   wanted.b2 / wanted.a0, wanted.a1 / wanted.a0,
                                                   wanted.a2 / wanted.a0};
            for (std::size_t channel = 0; channel < 2; ++channel) {
                const std::array<float, 5> actual = filterCoefficients(filter, channel);
                for (std::size_t at = 0; at < 5; ++at) {
                    EXPECT_NEAR(static_cast<double>(actual[at]), normalised[at], 1e-6)
                        << "type " << static_cast<int>(type) << ", " << frequency << " Hz, coefficient "
                        << at;
                }
            }
        }
    }
}

TEST(FBiquadFilter, PeakingBandOf6DbAt1000HzHasTheB0OfTheSineFormula) {
    const double w0 = 2 * M_PI * 1000 / 48000;
    const double alpha = std::sin(w0) * std::sin(0.3465736 * w0 / std::sin(w0));
    EXPECT_NEAR(filterCoefficients(peaking())[0], (1 + 1.4125 * alpha) / (1 + alpha / 1.4125), 5e-6);
}

TEST(FBiquadFilter, AlphaIsTheSineNotTheHyperbolicSine) {
    // Far enough from 1000 Hz for the two to differ: two octaves at 10 kHz.
    FBiquadFilter filter;
    filter.init(kFilterRate, 1, FBiquadType::BandPass, 10000.0f, 2.0f, 0.0f);
    const double w0 = 2 * M_PI * 10000 / 48000;
    const double argument = 0.3465736 * 2 * w0 / std::sin(w0);
    const double bySine = std::sin(w0) * std::sin(argument);
    const double byHyperbolicSine = std::sin(w0) * std::sinh(argument);
    EXPECT_NEAR(filterCoefficients(filter)[0], bySine / (1 + bySine), 1e-6);
    EXPECT_GT(std::fabs(static_cast<double>(filterCoefficients(filter)[0]) -
                        byHyperbolicSine / (1 + byHyperbolicSine)),
              0.05);
}

TEST(FBiquadFilter, InitRaisesTheFrequencyTo20Hz) {
    EXPECT_EQ(peaking(5.0f).frequencyHz(), 20.0f);
    EXPECT_EQ(filterCoefficients(peaking(5.0f)), filterCoefficients(peaking(20.0f)));
    EXPECT_EQ(peaking(-100.0f).frequencyHz(), 20.0f);
}

TEST(FBiquadFilter, InitClearsTheHistory) {
    FBiquadFilter filter = peaking();
    step(filter, 1.0f);
    filter.init(kFilterRate, 1, FBiquadType::Peaking, 1000.0f, 1.0f, 6.0f);
    EXPECT_EQ(filter.channelSections()[0].x1, 0.0f);
    EXPECT_EQ(filter.channelSections()[0].y1, 0.0f);
}

TEST(FBiquadFilter, ChangeOfFrequencyAloneIsNoChangeForSetParameters) {
    FBiquadFilter filter = peaking(1000.0f);
    const auto before = filterCoefficients(filter);
    filter.setParameters(FBiquadType::Peaking, 2000.0f, 1.0f, 6.0f);
    EXPECT_EQ(filter.frequencyHz(), 1000.0f);
    EXPECT_EQ(filterCoefficients(filter), before);
}

TEST(FBiquadFilter, FrequencyBelow20HzIsAlwaysAChangeAndIsStoredAsItCame) {
    FBiquadFilter filter = peaking(1000.0f);
    filter.setParameters(FBiquadType::Peaking, 10.0f, 1.0f, 6.0f);
    EXPECT_EQ(filter.frequencyHz(), 10.0f);
    EXPECT_NE(filterCoefficients(filter), filterCoefficients(peaking(20.0f)));
    // Designed again though nothing differs: a coefficient that was spoilt comes back.
    const auto designed = filterCoefficients(filter);
    filter.channelSections()[0].b0 = 7.0f;
    filter.setParameters(FBiquadType::Peaking, 10.0f, 1.0f, 6.0f);
    EXPECT_EQ(filterCoefficients(filter), designed);
}

TEST(FBiquadFilter, SetParametersDesignsWhenTypeBandwidthOrGainDiffer) {
    for (const auto& [type, bandwidth, gain] : {std::tuple{FBiquadType::Notch, 1.0f, 6.0f},
                                                {FBiquadType::Peaking, 2.0f, 6.0f},
                                                {FBiquadType::Peaking, 1.0f, 3.0f}}) {
        FBiquadFilter filter = peaking(1000.0f);
        filter.setParameters(type, 2000.0f, bandwidth, gain);
        FBiquadFilter wanted;
        wanted.init(kFilterRate, 1, type, 2000.0f, bandwidth, gain);
        EXPECT_EQ(filter.frequencyHz(), 2000.0f);
        EXPECT_EQ(filterCoefficients(filter), filterCoefficients(wanted));
    }
}

TEST(FBiquadFilter, SetFrequencyClampsToZeroAndDesignsWhenItDiffers) {
    FBiquadFilter filter = peaking(1000.0f);
    filter.setFrequency(2000.0f);
    EXPECT_EQ(filterCoefficients(filter), filterCoefficients(peaking(2000.0f)));
    filter.channelSections()[0].b0 = 7.0f;
    filter.setFrequency(2000.0f);
    EXPECT_EQ(filterCoefficients(filter)[0], 7.0f);
    filter.setFrequency(5.0f);
    EXPECT_EQ(filter.frequencyHz(), 5.0f);
    filter.setFrequency(-5.0f);
    EXPECT_EQ(filter.frequencyHz(), 0.0f);
}

TEST(FBiquadFilter, SetTypeAndSetBandwidthDesignWhenTheyDiffer) {
    FBiquadFilter filter = peaking();
    filter.setType(FBiquadType::LowPass);
    filter.setBandwidth(2.0f);
    FBiquadFilter wanted;
    wanted.init(kFilterRate, 1, FBiquadType::LowPass, 1000.0f, 2.0f, 6.0f);
    EXPECT_EQ(filterCoefficients(filter), filterCoefficients(wanted));
    filter.channelSections()[0].b0 = 7.0f;
    filter.setType(FBiquadType::LowPass);
    filter.setBandwidth(2.0f);
    EXPECT_EQ(filterCoefficients(filter)[0], 7.0f);
}

TEST(FBiquadFilter, SetGainDesignsOnlyAPeakingBand) {
    FBiquadFilter filter = peaking();
    filter.setGain(-3.0f);
    EXPECT_EQ(filterCoefficients(filter), filterCoefficients(peaking(1000.0f, -3.0f)));
    filter.setType(FBiquadType::Notch);
    filter.channelSections()[0].b0 = 7.0f;
    filter.setGain(9.0f);
    EXPECT_EQ(filter.gainDb(), 9.0f);
    EXPECT_EQ(filterCoefficients(filter)[0], 7.0f);
}

TEST(FBiquadFilter, UnknownShapeKeepsTheLastDesign) {
    FBiquadFilter filter = peaking();
    const auto before = filterCoefficients(filter);
    filter.setType(static_cast<FBiquadType>(77));
    EXPECT_EQ(filterCoefficients(filter), before);
}

TEST(FBiquadFilter, DesignInMidStreamLeavesTheHistoryAlone) {
    FBiquadFilter filter = peaking();
    step(filter, 1.0f);
    step(filter, 0.5f);
    const FBiquad before = filter.channelSections()[0];
    filter.setGain(-6.0f);
    const FBiquad& after = filter.channelSections()[0];
    EXPECT_NE(after.b0, before.b0);
    EXPECT_EQ(after.x1, before.x1);
    EXPECT_EQ(after.x2, before.x2);
    EXPECT_EQ(after.y1, before.y1);
    EXPECT_EQ(after.y2, before.y2);
}

TEST(FBiquadFilter, DisabledBandPassesItsInputAndItsHistoryStandsStill) {
    FBiquadFilter filter = peaking();
    EXPECT_TRUE(filter.isEnabled());
    step(filter, 1.0f);
    const float held = filter.channelSections()[0].y1;
    filter.setEnabled(false);
    EXPECT_EQ(step(filter, 0.125f), 0.125f);
    EXPECT_EQ(filter.channelSections()[0].x1, 1.0f);
    EXPECT_EQ(filter.channelSections()[0].y1, held);
}

TEST(FBiquadFilter, ResetClearsTheHistoryOfEverySection) {
    FBiquadFilter filter = peaking(1000.0f, 6.0f, 3);
    const std::array<float, 3> frame{1.0f, 2.0f, 3.0f};
    std::array<float, 3> out{};
    filter.process(frame.data(), out.data());
    filter.reset();
    for (const FBiquad& section : filter.channelSections()) {
        EXPECT_EQ(std::fabs(section.x1) + std::fabs(section.y1), 0.0f);
    }
}

TEST(FBiquadFilter, NoChannelsIsNoSections) {
    FBiquadFilter filter;
    filter.init(kFilterRate, 0, FBiquadType::Peaking, 1000.0f, 1.0f, 6.0f);
    EXPECT_TRUE(filter.channelSections().empty());
    filter.init(kFilterRate, -3, FBiquadType::Peaking, 1000.0f, 1.0f, 6.0f);
    EXPECT_TRUE(filter.channelSections().empty());
    filter.process(nullptr, nullptr);
}
