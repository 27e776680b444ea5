#include "mixer/SampleConversion.h"
#include "tests/support/mixer/MixerFixture.h"
#include "tests/support/mixer/ScalarReference.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

namespace {

template <typename Sample>
std::vector<float> converted(const std::vector<Sample>& samples, const WaveFormat& format) {
    std::vector<float> scratch;
    const auto result = convertToStereoFloat(
        samples.data(), static_cast<std::uint32_t>(samples.size() * sizeof(Sample)), format, scratch);
    return {result.begin(), result.end()};
}

} // namespace

TEST(SampleConversion, FloatIsCopiedUnchangedAndNotClamped) {
    const std::vector<float> samples{-3.0f, 2.5f, 0.25f, -0.0f};
    EXPECT_EQ(firstDifference(converted(samples, floatWaveFormat(2, 48000)), samples), "");
}

TEST(SampleConversion, PackedStereoFloatIsItsOwnResultWhereFloatsMayLie) {
    const std::vector<float> samples{0.5f, -0.5f, 0.25f, -0.25f, 0.125f};
    std::vector<float> scratch;
    // 19 bytes: two frames and a rest.
    const std::span<const float> result =
        convertToStereoFloat(samples.data(), 19, floatWaveFormat(2, 44100), scratch);
    EXPECT_EQ(result.data(), samples.data());
    EXPECT_EQ(result.size(), 4u);
    EXPECT_TRUE(scratch.empty());
    // At an address where no float lies it is copied.
    std::vector<std::byte> bytes(17);
    std::memcpy(bytes.data() + 1, samples.data(), 16);
    const std::span<const float> copied =
        convertToStereoFloat(bytes.data() + 1, 16, floatWaveFormat(2, 44100), scratch);
    EXPECT_EQ(copied.data(), scratch.data());
    EXPECT_EQ(std::vector<float>(copied.begin(), copied.end()),
              std::vector<float>(samples.begin(), samples.begin() + 4));
}

TEST(SampleConversion, FloatIsReadAs32BitWhateverTheFormatSays) {
    WaveFormat format = floatWaveFormat(2, 48000);
    format.bitsPerSample = 17;
    EXPECT_EQ(converted(std::vector<float>{0.5f, 0.25f}, format), (std::vector<float>{0.5f, 0.25f}));
}

TEST(SampleConversion, MonoGoesToBothSides) {
    EXPECT_EQ(converted(std::vector<float>{0.5f, -0.25f}, floatWaveFormat(1, 48000)),
              (std::vector<float>{0.5f, 0.5f, -0.25f, -0.25f}));
    EXPECT_EQ(converted(std::vector<std::int16_t>{16384, -32768}, {1, 1, 48000, 2, 16}),
              (std::vector<float>{0.5f, 0.5f, -1.0f, -1.0f}));
}

TEST(SampleConversion, SixChannelFloatPacketTakesChannels0And1Only) {
    const std::vector<float> samples{0.1f, 0.2f, 9.0f, 9.0f, 9.0f, 9.0f, 0.3f, 0.4f, 9.0f, 9.0f, 9.0f, 9.0f};
    EXPECT_EQ(converted(samples, floatWaveFormat(6, 48000)), (std::vector<float>{0.1f, 0.2f, 0.3f, 0.4f}));
}

TEST(SampleConversion, SixtyFourChannelsTakeTheFirstTwo) {
    std::vector<float> samples(192, 9.0f);
    for (std::size_t frame = 0; frame < 3; ++frame) {
        samples[64 * frame] = static_cast<float>(frame);
        samples[64 * frame + 1] = -static_cast<float>(frame);
    }
    EXPECT_EQ(converted(samples, floatWaveFormat(64, 48000)), (std::vector<float>{0, -0.0f, 1, -1, 2, -2}));
}

TEST(SampleConversion, Pcm16IsDividedBy32768) {
    EXPECT_EQ(converted(std::vector<std::int16_t>{-32768, 32767, 1, 0}, {1, 2, 48000, 4, 16}),
              (std::vector<float>{-1.0f, 32767.0f / 32768.0f, 1.0f / 32768.0f, 0.0f}));
}

TEST(SampleConversion, Pcm32IsDividedBy2To31) {
    // The largest value rounds up to 1.0 on its way to float.
    EXPECT_EQ(converted(std::vector<std::int32_t>{std::numeric_limits<std::int32_t>::min(),
                                                  std::numeric_limits<std::int32_t>::max(), 1 << 30, -256},
                        {1, 2, 48000, 8, 32}),
              (std::vector<float>{-1.0f, 1.0f, 0.5f, -256.0f / 2147483648.0f}));
}

TEST(SampleConversion, TwentyFourBitPacketKeepsItsLengthAndYieldsSilence) {
    const std::vector<std::uint8_t> bytes(30, 0x7F);
    EXPECT_EQ(converted(bytes, {1, 2, 48000, 6, 24}), std::vector<float>(10, 0.0f));
}

TEST(SampleConversion, ExtensibleAndUnknownFormatsKeepTheirLengthAndYieldSilence) {
    const std::vector<float> samples(8, 0.5f);
    for (const std::uint16_t tag : std::initializer_list<std::uint16_t>{0, 2, 6, 7, 0xFFFE, 0xFFFF}) {
        EXPECT_EQ(converted(samples, {tag, 2, 48000, 8, 32}), std::vector<float>(8, 0.0f)) << "tag " << tag;
    }
    EXPECT_EQ(converted(samples, {1, 2, 48000, 8, 8}), std::vector<float>(8, 0.0f));
}

TEST(SampleConversion, SilenceOfAnUnknownFormatHoldsNoOldSamples) {
    std::vector<float> scratch;
    const std::vector<float> loud(8, 0.5f);
    static_cast<void>(convertToStereoFloat(loud.data(), 32, floatWaveFormat(1, 48000), scratch));
    const auto result = convertToStereoFloat(loud.data(), 32, {1, 2, 48000, 8, 24}, scratch);
    EXPECT_EQ(std::vector<float>(result.begin(), result.end()), std::vector<float>(8, 0.0f));
}

TEST(SampleConversion, NoChannelsNoBlockAlignOrNoFramesGiveNothing) {
    const std::vector<float> samples(8, 0.5f);
    EXPECT_TRUE(converted(samples, {3, 0, 48000, 8, 32}).empty());
    EXPECT_TRUE(converted(samples, {3, 2, 48000, 0, 32}).empty());
    EXPECT_TRUE(converted(std::vector<float>{}, floatWaveFormat(2, 48000)).empty());
    EXPECT_TRUE(converted(std::vector<float>{0.5f}, floatWaveFormat(2, 48000)).empty());
    std::vector<float> scratch;
    EXPECT_TRUE(convertToStereoFloat(nullptr, 80, floatWaveFormat(2, 48000), scratch).empty());
}

TEST(SampleConversion, BytesPastTheLastWholeFrameAreNotLookedAt) {
    std::vector<std::uint8_t> bytes(8 * 2 + 7, 0xFF);
    const float samples[4]{0.1f, 0.2f, 0.3f, 0.4f};
    std::memcpy(bytes.data(), samples, sizeof(samples));
    EXPECT_EQ(converted(bytes, floatWaveFormat(2, 48000)), (std::vector<float>{0.1f, 0.2f, 0.3f, 0.4f}));
}

TEST(SampleConversion, NotANumberAndInfinityPassAsTheyAre) {
    const std::vector<float> samples{
        std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
        -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::denorm_min()};
    EXPECT_EQ(firstDifference(converted(samples, floatWaveFormat(2, 48000)), samples), "");
}

TEST(SampleConversion, BlockAlignThatDisagreesReadsNothingPastThePacket) {
    // 2 channels of float in frames of 4 bytes: the last frame's right sample would lie behind the packet.
    EXPECT_EQ(converted(std::vector<float>{0.1f, 0.2f, 0.3f}, {3, 2, 48000, 4, 32}),
              (std::vector<float>{0.1f, 0.2f, 0.2f, 0.3f, 0.3f, 0.0f}));
}

// Formats without sense over packets of exactly their size: the address sanitizer watches the ends.
TEST(SampleConversion, AnyFormatOverAnyPacketEqualsTheScalarReference) {
    const std::uint32_t seed = 20240611;
    Random random(seed);
    std::vector<float> scratch;
    const std::uint16_t tags[]{1, 1, 1, 3, 3, 0, 0xFFFE};
    const std::uint16_t bits[]{0, 8, 16, 16, 24, 32, 32, 64};
    const int rounds = longRun() ? 2'000'000 : 20'000;
    for (int round = 0; round < rounds; ++round) {
        const WaveFormat format{tags[random() % std::size(tags)], static_cast<std::uint16_t>(random() % 66),
                                static_cast<std::uint32_t>(random()),
                                static_cast<std::uint16_t>(random() % 24), bits[random() % std::size(bits)]};
        const std::uint32_t byteCount = random() % 300;
        // An odd start, and an end that nothing lies behind.
        const std::size_t offset = random() % 4;
        const auto bytes = std::make_unique<std::uint8_t[]>(offset + byteCount);
        for (std::size_t at = 0; at < offset + byteCount; ++at) {
            bytes[at] = static_cast<std::uint8_t>(random());
        }
        const auto result = convertToStereoFloat(bytes.get() + offset, byteCount, format, scratch);
        const auto expected = reference::convertToStereoFloat(bytes.get() + offset, byteCount, format);
        ASSERT_EQ(firstDifference({result.begin(), result.end()}, expected), "")
            << "seed " << seed << ", round " << round << ", tag " << format.formatTag << ", channels "
            << format.channels << ", block align " << format.blockAlign << ", bits " << format.bitsPerSample
            << ", bytes " << byteCount;
    }
}
