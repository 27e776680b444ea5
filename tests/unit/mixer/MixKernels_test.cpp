#include "mixer/MixKernels.h"
#include "tests/support/Noise.h"
#include "tests/support/mixer/MixerFixture.h"
#include "tests/support/mixer/ScalarReference.h"

#include <cmath>
#include <limits>

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

std::vector<float> limited(std::vector<float> samples, float gain) {
    applyGainAndLimit(samples, gain);
    return samples;
}

StereoLevel levelOf(const std::vector<float>& stereo) {
    LevelMeter meter;
    meter.add(stereo);
    return meter.level(stereo.size() / 2);
}

} // namespace

TEST(SoftLimit, KneePassesUnchanged) {
    EXPECT_EQ(softLimit(0.95f), 0.95f);
    EXPECT_EQ(softLimit(-0.95f), -0.95f);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(kLimiterKnee), 0x3F733333u);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(kLimiterHeadroom), 0x3D4CCCCDu);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(kLimiterSteepness), 0x41A00000u);
}

TEST(SoftLimit, OneGivesAbout0Point9816) {
    EXPECT_NEAR(softLimit(1.0f), 0.9816f, 5e-5f);
    EXPECT_NEAR(softLimit(-1.0f), -0.9816f, 5e-5f);
}

TEST(SoftLimit, OneAndAHalfGivesAbout0Point999999) {
    EXPECT_NEAR(softLimit(1.5f), 0.999999f, 5e-7f);
}

TEST(SoftLimit, FromTwoOnTheResultIsOneInFloatPrecision) {
    for (const float x : {2.0f, 2.5f, 10.0f, 1e10f, std::numeric_limits<float>::max(), kInfinity}) {
        EXPECT_EQ(softLimit(x), 1.0f) << x;
        EXPECT_EQ(softLimit(-x), -1.0f) << -x;
    }
}

TEST(SoftLimit, NotANumberBecomesSilence) {
    EXPECT_EQ(softLimit(kNan), 0.0f);
    EXPECT_EQ(softLimit(-kNan), 0.0f);
    // The definition's comparisons all fail, and it goes through.
    EXPECT_TRUE(std::isnan(reference::softLimit(kNan)));
}

TEST(SoftLimit, CurveNeverFallsAndStaysInRange) {
    float before = -1.0f;
    for (float x = -3.0f; x < 3.0f; x = std::nextafter(x, 4.0f) + 1e-6f) {
        const float y = softLimit(x);
        ASSERT_GE(y, before) << x;
        ASSERT_LE(std::fabs(y), 1.0f) << x;
        before = y;
    }
}

// Every float from below the knee to above 2.0 in a long run; else one in 13, which visits each ending of the
// mantissa.
TEST(SoftLimit, FloatsAroundTheCurveEqualTheScalarReference) {
    const std::uint32_t step = longRun() ? 1 : 13;
    for (std::uint32_t bits = std::bit_cast<std::uint32_t>(0.9f); bits < std::bit_cast<std::uint32_t>(2.2f);
         bits += step) {
        for (const std::uint32_t sign : {0u, 0x80000000u}) {
            const auto x = std::bit_cast<float>(bits | sign);
            ASSERT_EQ(std::bit_cast<std::uint32_t>(softLimit(x)),
                      std::bit_cast<std::uint32_t>(reference::softLimit(x)))
                << std::hexfloat << x;
        }
    }
}

TEST(ApplyGainAndLimit, AnyBlockEqualsTheScalarReference) {
    const std::uint32_t seed = 11;
    Random random(seed);
    const float specials[]{0.0f, -0.0f, kNan, kInfinity, -kInfinity, 1e-40f, -1e38f, 0.95f, -0.95f, 1.0f};
    const float gains[]{0.0f, 1.0f, 0.5f, -1.0f, 3.0f, 1e30f, kNan, kInfinity, 0.3f};
    const int rounds = longRun() ? 1'000'000 : 20'000;
    for (int round = 0; round < rounds; ++round) {
        const std::size_t count = random() % 300;
        const bool quiet = random() % 2 == 0;
        std::vector<float> samples = noise(random(), count, quiet ? 0.65f : 1.3f);
        if (!samples.empty() && random() % 3 == 0) {
            samples[random() % samples.size()] = specials[random() % std::size(specials)];
        }
        const float gain = gains[random() % std::size(gains)];
        std::vector<float> expected(samples);
        for (float& sample : expected) {
            // The definition lets a NaN through.
            sample = std::isnan(sample * gain) ? 0.0f : reference::softLimit(sample * gain);
        }
        ASSERT_EQ(firstDifference(limited(samples, gain), expected), "")
            << "seed " << seed << ", round " << round << ", gain " << gain;
    }
}

TEST(LevelMeter, ConstantSignalReadsOneAndAHalfTimesItsValue) {
    const StereoLevel level = levelOf(std::vector<float>(960, 0.5f));
    EXPECT_NEAR(level.left, 0.75f, 1e-6f);
    EXPECT_NEAR(level.right, 0.75f, 1e-6f);
}

TEST(LevelMeter, ChannelsAreMeasuredApart) {
    std::vector<float> stereo(74, 0.0f);
    stereo[2 * 36 + 1] = -0.5f;
    const StereoLevel level = levelOf(stereo);
    EXPECT_EQ(level.left, 0.0f);
    EXPECT_NEAR(level.right, (0.7f * 0.5f / std::sqrt(37.0f) + 0.3f * 0.5f) * 1.5f, 1e-6f);
}

TEST(LevelMeter, LoudSignalReadsOne) {
    EXPECT_EQ(levelOf(std::vector<float>(96, 0.9f)), (StereoLevel{1.0f, 1.0f}));
    EXPECT_EQ(levelOf(std::vector<float>(96, kInfinity)), (StereoLevel{1.0f, 1.0f}));
    EXPECT_EQ(levelOf(std::vector<float>(96, kNan)), (StereoLevel{1.0f, 1.0f}));
}

TEST(LevelMeter, AnyPacketIsWithinAMillionthOfTheScalarReference) {
    const std::uint32_t seed = 12;
    Random random(seed);
    const int rounds = longRun() ? 100'000 : 3'000;
    for (int round = 0; round < rounds; ++round) {
        const std::size_t frames = 1 + random() % 1000;
        const std::vector<float> stereo = noise(random(), 2 * frames, 0.8f);
        LevelMeter meter;
        for (std::size_t done = 0; done < stereo.size();) {
            const std::size_t piece =
                std::min<std::size_t>(2 * std::size_t{1 + random() % 400}, stereo.size() - done);
            meter.add(std::span(stereo).subspan(done, piece));
            done += piece;
        }
        const StereoLevel level = meter.level(stereo.size() / 2);
        const StereoLevel expected = reference::measure(stereo);
        ASSERT_NEAR(level.left, expected.left, 1e-6) << "seed " << seed << ", round " << round;
        ASSERT_NEAR(level.right, expected.right, 1e-6) << "seed " << seed << ", round " << round;
    }
}

TEST(LevelMeter, PacketOfAMinuteKeepsItsPrecision) {
    const std::vector<float> stereo = noise(13, std::size_t{2} * 48000 * 60, 0.6f);
    const StereoLevel level = levelOf(stereo);
    // Not the definition's float sum, which grows until it loses a good part of each square.
    const StereoLevel expected = reference::measureExactly(stereo);
    EXPECT_NEAR(level.left, expected.left, 1e-6);
    EXPECT_NEAR(level.right, expected.right, 1e-6);
}
