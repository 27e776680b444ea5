#include "mixer/Interpolator.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdio>
#include <gtest/gtest.h>
#include <numbers>

namespace {

constexpr std::size_t kFrames = Interpolator::kBlockFrames;
using Input = std::array<float, 2 * Interpolator::kInputFrames>;
using Output = std::array<float, 2 * kFrames>;

Output interpolated(const Input& input, double fraction, double drift, std::size_t frameCount = kFrames) {
    static const Interpolator interpolator;
    Output output{};
    interpolator.interpolate(input, fraction, drift, frameCount, output);
    return output;
}

// A tone: its cosine left, its sine right.
std::complex<double> toneAt(double hz, double position) {
    return std::polar(0.5, 2.0 * std::numbers::pi * hz / 48'000.0 * position);
}

Input inputOf(double hz) {
    Input input;
    for (std::size_t frame = 0; frame < Interpolator::kInputFrames; ++frame) {
        const std::complex<double> value = toneAt(hz, static_cast<double>(frame));
        input[2 * frame] = static_cast<float>(value.real());
        input[2 * frame + 1] = static_cast<float>(value.imag());
    }
    return input;
}

// The largest error of a tone in dB below it, over the whole way from one frame to the next, in both
// directions and in stretches as they occur.
double errorDb(double hz) {
    const Input input = inputOf(hz);
    double largest = 0.0;
    for (const double drift : {300e-6, -300e-6, 50e-6}) {
        for (int step = 0; step <= 1500; ++step) {
            const double fraction = step / 1500.0;
            const double end = fraction + static_cast<double>(kFrames - 1) * drift;
            if (end < 0.0 || end > 1.0) {
                continue;
            }
            const Output output = interpolated(input, fraction, drift);
            for (std::size_t frame = 0; frame < kFrames; ++frame) {
                const auto at = static_cast<double>(frame);
                const std::complex<double> ideal =
                    toneAt(hz, static_cast<double>(Interpolator::kFramesBefore) + at + fraction + at * drift);
                const std::complex<double> heard(output[2 * frame], output[2 * frame + 1]);
                largest = std::max(largest, std::abs(heard - ideal) / 0.5);
            }
        }
    }
    return 20.0 * std::log10(largest);
}

} // namespace

TEST(Interpolator, TonesUpTo19KilohertzDifferFromTheIdealByLessThan90Decibels) {
    for (const double hz :
         {20.0, 100.0, 997.0, 3'000.0, 6'000.0, 10'000.0, 14'000.0, 17'000.0, 18'000.0, 19'000.0}) {
        const double db = errorDb(hz);
        std::printf("  %5.0f Hz: %.1f dB\n", hz, db);
        EXPECT_LT(db, -90.0) << hz << " Hz";
    }
}

TEST(Interpolator, OnAFrameTheValueIsThatFrameBitForBit) {
    Input input;
    for (std::size_t at = 0; at < input.size(); ++at) {
        input[at] = static_cast<float>(std::sin(static_cast<double>(at * at)));
    }
    const Output here = interpolated(input, 0.0, 0.0);
    const Output next = interpolated(input, 1.0, 0.0);
    for (std::size_t at = 0; at < 2 * kFrames; ++at) {
        EXPECT_EQ(here[at], input[2 * Interpolator::kFramesBefore + at]);
        EXPECT_EQ(next[at], input[2 * Interpolator::kFramesBefore + at + 2]);
    }
}

TEST(Interpolator, AConstantKeepsItsValueEverywhere) {
    Input input;
    input.fill(0.75f);
    for (int step = 0; step <= 990; ++step) {
        for (const float sample : interpolated(input, step / 1000.0, 300e-6)) {
            ASSERT_NEAR(sample, 0.75f, 1e-6f) << "at " << step;
        }
    }
}

TEST(Interpolator, ChannelsAreComputedApartAndAlike) {
    Input input;
    for (std::size_t frame = 0; frame < Interpolator::kInputFrames; ++frame) {
        input[2 * frame] = static_cast<float>(std::cos(static_cast<double>(frame)));
        input[2 * frame + 1] = -input[2 * frame];
    }
    const Output output = interpolated(input, 0.4, 200e-6);
    for (std::size_t frame = 0; frame < kFrames; ++frame) {
        EXPECT_EQ(output[2 * frame + 1], -output[2 * frame]);
    }
}

TEST(Interpolator, AShortStretchHasTheValuesOfALongOne) {
    const Input input = inputOf(1'000.0);
    const Output whole = interpolated(input, 0.2, 300e-6);
    for (std::size_t frameCount = 1; frameCount < kFrames; ++frameCount) {
        const Output part = interpolated(input, 0.2, 300e-6, frameCount);
        for (std::size_t at = 0; at < 2 * frameCount; ++at) {
            EXPECT_NEAR(part[at], whole[at], 1e-6f) << frameCount << " frames, float " << at;
        }
    }
}
