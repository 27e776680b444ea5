// Random use of the mixer beside its scalar definition.

#include "tests/support/RandomSeed.h"
#include "tests/support/mixer/MixerFixture.h"
#include "tests/support/mixer/ScalarReference.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace {

class Player {
public:
    explicit Player(std::uint32_t seed) : random(seed) {}

    void step() {
        const std::uint32_t what = random() % 100;
        if (what < 45) {
            addPacket();
        } else if (what < 60) {
            mix(1);
        } else if (what < 72) {
            mix(2);
        } else if (what < 87) {
            mix(3);
        } else if (what < 94) {
            changeSource();
        } else if (what < 96) {
            changeMaster();
        } else if (what < 97 && random() % 20 == 0) {
            const std::uint32_t processID = anySource();
            buffers.resetProcessBuffers(processID);
            reference.resetProcessBuffers(processID);
        } else {
            compareLevels();
        }
    }

    /// Of the packets so far, those whose meters did not stand at their upper end.
    [[nodiscard]] double shareOfMetersBelowFull() const {
        return static_cast<double>(metersBelowFull) / static_cast<double>(meters);
    }

private:
    // Packets of more frames have their meters measured with a double sum on the definition's side: its float
    // sum has lost too many digits by then to be compared with, which the mixer's has not.
    static constexpr std::size_t kExactFloatSumFrames = 480;

    std::uint32_t anySource() {
        constexpr std::uint32_t kSources[]{0, 1, 3, 10, 100, 2345, 0x89ABCDEF};
        return kSources[random() % std::size(kSources)];
    }

    float anyVolume() {
        constexpr float kVolumes[]{0.0f, 1.0f, 1.0f, 0.3f, 0.77f, 0.5f, -0.4f, 2.5f};
        return kVolumes[random() % std::size(kVolumes)];
    }

    // Mostly short, sometimes long enough to lap.
    std::uint32_t anyLength() {
        const std::uint32_t kind = random() % 4000;
        return kind == 0 ? random() % 60'000 : (kind < 40 ? random() % 2000 : random() % 48);
    }

    void addPacket() {
        constexpr std::uint32_t kRates[]{48000, 48000, 48000, 44100, 96000, 16000};
        const std::uint32_t processID = anySource();
        WaveFormat format =
            floatWaveFormat(static_cast<std::uint16_t>(1 + random() % 3), kRates[random() % 6]);
        if (random() % 8 == 0) {
            format = {kWaveFormatPcm, 2, format.samplesPerSecond, 4, 16};
        }
        bytes.resize(std::size_t{anyLength()} * format.blockAlign + random() % format.blockAlign);
        // Anything from quiet to clipping, so that most meters are not at their upper end.
        const float amplitude = 0.05f + 1.05f * static_cast<float>(random() % 1024) / 1023.0f;
        const auto anySample = [&] {
            return static_cast<float>(static_cast<std::int32_t>(random())) / 2147483648.0f * amplitude;
        };
        if (format.formatTag == kWaveFormatIeeeFloat) {
            for (std::size_t at = 0; at + 4 <= bytes.size(); at += 4) {
                const float sample = anySample();
                std::memcpy(bytes.data() + at, &sample, 4);
            }
            if (bytes.size() >= 4 && random() % 500 == 0) {
                constexpr float kSpecials[]{std::numeric_limits<float>::quiet_NaN(),
                                            std::numeric_limits<float>::infinity(), 1e-42f};
                std::memcpy(bytes.data(), &kSpecials[random() % 3], 4);
            }
        } else {
            for (std::size_t at = 0; at + 2 <= bytes.size(); at += 2) {
                const auto sample =
                    static_cast<std::int16_t>(std::clamp(anySample() * 32768.0f, -32768.0f, 32767.0f));
                std::memcpy(bytes.data() + at, &sample, 2);
            }
        }
        const auto byteCount = static_cast<std::uint32_t>(bytes.size());
        buffers.addInputData(processID, bytes.data(), byteCount, format);
        reference.addInputData(processID, bytes.data(), byteCount, format);
        measureLongPacketExactly(processID, format);
    }

    void measureLongPacketExactly(std::uint32_t processID, const WaveFormat& format) {
        const AppAudioConfig config = store.getConfig(processID);
        const std::vector<float> stereo = reference::resampleTo48k(
            reference::convertToStereoFloat(bytes.data(), static_cast<std::uint32_t>(bytes.size()), format),
            format.samplesPerSecond);
        if (!config.active || stereo.empty()) {
            return;
        }
        const StereoLevel raw = reference::measureExactly(stereo);
        ++meters;
        metersBelowFull += raw.left < 1.0f && raw.right < 1.0f ? 1 : 0;
        if (stereo.size() / 2 <= kExactFloatSumFrames) {
            return;
        }
        for (const auto& [suffix, volume] :
             {std::pair{":1", config.input1Volume}, {":2", config.input2Volume}}) {
            reference::Ring& ring = *reference.ringMap().at(std::to_string(processID) + suffix);
            ring.levelLeft = std::min(1.0f, raw.left * volume);
            ring.levelRight = std::min(1.0f, raw.right * volume);
        }
    }

    void mix(std::uint32_t output) {
        const std::uint32_t frames = anyLength();
        actual.assign(std::size_t{frames} * 2, 9.0f);
        expected.assign(std::size_t{frames} * 2, 8.0f);
        if (output == 3) {
            buffers.mixSolo(actual.data(), frames);
            reference.mixSolo(expected.data(), frames);
        } else {
            buffers.mixBus(actual.data(), frames, output);
            reference.mixBus(expected.data(), frames, output);
        }
        allowSilence(expected, actual);
        const auto sameBits = [](float a, float b) {
            return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
        };
        if (!std::ranges::equal(actual, expected, sameBits)) {
            FAIL() << "output " << output << ", " << frames
                   << " frames: " << firstDifference(actual, expected);
        }
    }

    AppAudioConfig anyConfig(std::uint32_t processID) {
        return {.processID = processID,
                .active = random() % 20 != 0,
                .input1Enabled = random() % 8 != 0,
                .input1Volume = anyVolume(),
                .input1Muted = random() % 8 == 0,
                .input2Enabled = random() % 8 != 0,
                .input2Volume = anyVolume(),
                .input2Muted = random() % 8 == 0,
                .solo = random() % 4 == 0};
    }

    void changeSource() {
        const std::uint32_t processID = anySource();
        store.putConfig(processID, anyConfig(processID));
    }

    void changeMaster() {
        const std::uint32_t processID = random() % 2 == 0 ? kBus1MasterProcessId : kBus2MasterProcessId;
        store.putConfig(processID, anyConfig(processID));
    }

    static void expectNear(const StereoLevel& level, const StereoLevel& wanted, float tolerance) {
        // A meter of an absurd packet may be infinite on both sides.
        const auto near = [tolerance](float a, float b) {
            return a == b || (std::isnan(a) && std::isnan(b)) ||
                   std::fabs(a - b) <= tolerance * std::max(1.0f, std::fabs(b));
        };
        if (!near(level.left, wanted.left) || !near(level.right, wanted.right)) {
            FAIL() << "levels " << level.left << ", " << level.right << ", expected " << wanted.left << ", "
                   << wanted.right;
        }
    }

    void compareLevels() {
        buffers.updateBusLevels();
        reference.updateBusLevels();
        // Roots of sums over the sources: the deviations of several add up.
        expectNear(buffers.getBus1Levels(), reference.getBus1Levels(), 2e-6f);
        expectNear(buffers.getBus2Levels(), reference.getBus2Levels(), 2e-6f);
        const std::uint32_t processID = anySource();
        expectNear(buffers.getProcessLevels(processID), reference.getProcessLevels(processID), 1e-6f);
    }

    Random random;
    AppAudioConfigStore store;
    PerAppInputBuffers buffers{store};
    reference::Mixer reference{store};
    std::vector<std::uint8_t> bytes;
    std::vector<float> actual;
    std::vector<float> expected;
    std::uint64_t meters = 0;
    std::uint64_t metersBelowFull = 0;
};

} // namespace

TEST(PerAppInputBuffersProperty, AMillionRandomStepsEqualTheScalarDefinitionBitForBit) {
    const std::uint32_t seed = newSeed();
    SCOPED_TRACE("seed " + std::to_string(seed));
    Player player(seed);
    const int steps = longRun() ? 20'000'000 : 1'000'000;
    for (int step = 0; step < steps; ++step) {
        player.step();
        ASSERT_FALSE(testing::Test::HasFailure()) << "step " << step;
    }
    EXPECT_GT(player.shareOfMetersBelowFull(), 0.5) << "the meters were hardly tested";
}
