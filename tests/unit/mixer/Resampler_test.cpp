#include "mixer/Resampler.h"
#include "tests/support/Noise.h"
#include "tests/support/mixer/MixerFixture.h"
#include "tests/support/mixer/ScalarReference.h"

#include <cmath>
#include <limits>

namespace {

std::vector<float> resampledTo48k(const std::vector<float>& input, std::uint32_t rate) {
    std::vector<float> output(resampledFrameCount(input.size() / 2, rate) * 2, 99.0f);
    if (!output.empty()) {
        resampleTo48k(input, rate, 0, output);
    }
    return output;
}

} // namespace

TEST(Resampler, FourHundredFortyOneFramesAt44100HzGive480) {
    EXPECT_EQ(resampledFrameCount(441, 44100), 480u);
}

TEST(Resampler, OneFrameAt44100HzGivesOneFrameACopy) {
    EXPECT_EQ(resampledFrameCount(1, 44100), 1u);
    EXPECT_EQ(resampledTo48k({0.25f, -0.5f}, 44100), (std::vector<float>{0.25f, -0.5f}));
}

TEST(Resampler, PacketShorterThanOneOutputFrameStillGivesOne) {
    EXPECT_EQ(resampledFrameCount(1, 768'000), 1u);
    EXPECT_EQ(resampledTo48k({0.25f, -0.5f}, 768'000), (std::vector<float>{0.25f, -0.5f}));
}

TEST(Resampler, NothingOrNoRateGivesNothing) {
    EXPECT_EQ(resampledFrameCount(0, 44100), 0u);
    EXPECT_EQ(resampledFrameCount(441, 0), 0u);
    EXPECT_EQ(resampledFrameCount(0, 48000), 0u);
}

TEST(Resampler, SameRateIsACopyBitForBit) {
    const std::vector<float> input{-0.0f, std::numeric_limits<float>::infinity(), 1e-40f, 3.0f};
    EXPECT_EQ(firstDifference(resampledTo48k(input, 48000), input), "");
}

TEST(Resampler, FractionOfAFrameIsDropped) {
    EXPECT_EQ(resampledFrameCount(256, 44100), 278u); // 278.64
    EXPECT_EQ(resampledFrameCount(3, 96000), 1u);     // 1.5
}

TEST(Resampler, FirstAndLastIntervalsAreLinearAndTheMiddleIsCubic) {
    // Doubling the rate: odd output frames lie half way.
    const std::vector<float> input{0, 0, 1, 1, 4, 4, 9, 9, 16, 16};
    const std::vector<float> output = resampledTo48k(input, 24000);
    ASSERT_EQ(output.size(), 20u);
    EXPECT_EQ(output[2], 0.5f);   // linear between 0 and 1
    EXPECT_EQ(output[6], 2.25f);  // cubic: exact on a parabola
    EXPECT_EQ(output[10], 6.25f); // cubic
    EXPECT_EQ(output[14], 12.5f); // linear between 9 and 16
    EXPECT_EQ(output[16], 16.0f); // the last frame
    EXPECT_EQ(output[18], 16.0f); // past it: a copy
    EXPECT_EQ(output[19], 16.0f);
}

// Every length up to 70 frames, in a long run to 1000, at each of these rates.
TEST(Resampler, ShortPacketsOfAnyLengthEqualTheScalarReference) {
    const std::uint32_t seed = 7;
    const std::size_t longest = longRun() ? 1000 : 70;
    Random random(seed);
    const std::uint32_t rates[]{1,     7,     100,   8000,  11025, 16000,   22050,   24000,   32000,  44100,
                                47999, 48001, 64000, 88200, 96000, 176'400, 192'000, 384'000, 768'000};
    for (const std::uint32_t rate : rates) {
        for (std::size_t frames = 1; frames <= longest; ++frames) {
            if (rate < 1000 && frames > 6) {
                break;
            }
            const std::vector<float> input = noise(random(), 2 * frames, 1.5f);
            ASSERT_EQ(firstDifference(resampledTo48k(input, rate), reference::resampleTo48k(input, rate)), "")
                << "seed " << seed << ", " << frames << " frames at " << rate << " Hz";
        }
    }
}

TEST(Resampler, LongPacketsEqualTheScalarReference) {
    const std::uint32_t seed = 8;
    Random random(seed);
    std::vector<std::size_t> lengths{441, 4096, 50'000};
    for (int more = 0; more < (longRun() ? 100 : 0); ++more) {
        lengths.push_back(1 + random() % 100'000);
    }
    for (const std::uint32_t rate : {8000u, 44100u, 96000u, 768'000u}) {
        for (const std::size_t frames : lengths) {
            const std::vector<float> input = noise(random(), 2 * frames, 1.5f);
            ASSERT_EQ(firstDifference(resampledTo48k(input, rate), reference::resampleTo48k(input, rate)), "")
                << "seed " << seed << ", " << frames << " frames at " << rate << " Hz";
        }
    }
}

TEST(Resampler, StretchesEqualTheWholeWhereverTheyBegin) {
    const std::uint32_t seed = 9;
    Random random(seed);
    const int rounds = longRun() ? 2000 : 10;
    for (int round = 0; round < rounds; ++round) {
        for (const std::uint32_t rate : {16000u, 44100u, 96000u}) {
            const std::vector<float> input = noise(random(), 1400, 1.5f);
            const std::vector<float> whole = resampledTo48k(input, rate);
            std::vector<float> pieces(whole.size(), 99.0f);
            for (std::size_t done = 0; done < whole.size() / 2;) {
                const std::size_t frames = std::min<std::size_t>(1 + random() % 90, whole.size() / 2 - done);
                resampleTo48k(input, rate, done, std::span(pieces).subspan(2 * done, 2 * frames));
                done += frames;
            }
            ASSERT_EQ(firstDifference(pieces, whole), "")
                << "seed " << seed << ", round " << round << ", " << rate << " Hz";
        }
    }
}

TEST(Resampler, NotANumberSpoilsItsNeighboursOnly) {
    std::vector<float> input(400, 0.5f);
    input[200] = std::numeric_limits<float>::quiet_NaN();
    const std::vector<float> output = resampledTo48k(input, 44100);
    std::size_t spoilt = 0;
    for (const float sample : output) {
        spoilt += static_cast<std::size_t>(std::isnan(sample));
    }
    EXPECT_GT(spoilt, 0u);
    EXPECT_LE(spoilt, 5u);
}
