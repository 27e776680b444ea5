// Buffers that another program computed: see makeMixGolden.py.

#include "mixer/MixKernels.h"
#include "mixer/Resampler.h"
#include "tests/support/Noise.h"
#include "tests/support/mixer/MixerFixture.h"
#include "tests/unit/mixer/MixGolden.h"

#include <algorithm>

namespace {

using MixGolden = MixerFixture;

template <std::size_t kCount>
std::vector<float> floats(const std::array<std::uint32_t, kCount>& bits) {
    std::vector<float> values(kCount);
    std::ranges::transform(bits, values.begin(),
                           [](std::uint32_t word) { return std::bit_cast<float>(word); });
    return values;
}

std::vector<float> resampled(const std::vector<float>& input, std::uint32_t rate) {
    std::vector<float> output(resampledFrameCount(input.size() / 2, rate) * 2);
    resampleTo48k(input, rate, 0, output);
    return output;
}

} // namespace

TEST_F(MixGolden, LimiterCurve) {
    std::vector<float> inputs;
    for (int step = -80; step <= 80; ++step) {
        inputs.push_back(static_cast<float>(step) / 32.0f);
    }
    applyGainAndLimit(inputs, 1.0f);
    EXPECT_EQ(firstDifference(inputs, floats(kGoldenLimiter)), "");
}

TEST_F(MixGolden, Resampler) {
    EXPECT_EQ(firstDifference(resampled(noise(1, 96), 44100), floats(kGoldenResampled44100)), "");
    EXPECT_EQ(firstDifference(resampled(noise(2, 96), 96000), floats(kGoldenResampled96000)), "");
}

TEST_F(MixGolden, Mix) {
    const auto source = [this](std::uint32_t processID, float volume, std::uint32_t seed,
                               std::size_t frames) {
        AppAudioConfig config = onBothBuses(processID);
        config.input1Volume = volume;
        put(config);
        feed(processID, noise(seed, 2 * frames));
    };
    source(9, 0.3f, 3, 15);
    source(10, 0.7f, 4, 20);
    source(11, 0.9f, 5, 30);
    put({.processID = kBus1MasterProcessId, .input1Volume = 0.8f});
    EXPECT_EQ(firstDifference(bus(1, 32), floats(kGoldenMix)), "");
}
