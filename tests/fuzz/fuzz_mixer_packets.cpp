// Fuzzes the packets of sources on their way through the mixer: any format, size and rate, any volume. It
// fails when a sanitizer reports, when a packet is converted to anything but what the mixer's definition
// says, when an output leaves -1.0 ... 1.0, when a meter is above 1.0, when a position leaves its ring, and
// when there is sound in an output that has played all.

#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/Resampler.h"
#include "mixer/RouterLog.h"
#include "mixer/SampleConversion.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/support/mixer/ScalarReference.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace {

using fuzz::Input;
using fuzz::require;

constexpr std::uint32_t kPlayedFrames = 64;
// A packet of more is not resampled by the reference.
constexpr std::uint64_t kComparedFrames = 480;
// What becomes of a packet's frames at 48000 Hz; more cost time and no other line.
constexpr std::uint64_t kMostFrames = std::uint64_t{2} * InputBuffer::kFrameCount;

// One mixer for all inputs: its rings are large, and what was read of them is never heard again.
struct Mixer {
    AppAudioConfigStore store;
    PerAppInputBuffers buffers{store};
};

Mixer& mixer() {
    static auto* const one = new Mixer;
    return *one;
}

bool isSameSample(float actual, float expected) {
    return std::bit_cast<std::uint32_t>(actual) == std::bit_cast<std::uint32_t>(expected) ||
           (std::isnan(actual) && std::isnan(expected));
}

WaveFormat formatOf(Input& input) {
    constexpr std::array<std::uint32_t, 8> kRates{48000, 44100, 96000, 16000, 8000, 192000, 0, 1};
    WaveFormat format;
    const std::uint8_t kind = input.byte();
    format.formatTag = (kind & 1U) != 0 ? kWaveFormatIeeeFloat : kWaveFormatPcm;
    if ((kind & 3U) == 3) {
        format.formatTag = input.word();
    }
    format.bitsPerSample = (kind & 4U) != 0 ? 16 : 32;
    format.channels = (kind & 8U) != 0 ? input.byte() : std::uint8_t{2};
    format.blockAlign = static_cast<std::uint16_t>(format.channels * format.bitsPerSample / 8);
    if ((kind & 16U) != 0) {
        format.blockAlign = input.byte();
        format.bitsPerSample = input.byte();
    }
    const std::uint8_t rate = input.byte();
    format.samplesPerSecond = rate < 250 ? kRates[rate % kRates.size()] : input.number();
    return format;
}

AppAudioConfig recordOf(Input& input, std::uint32_t processID) {
    constexpr std::array<float, 8> kVolumes{1.0f, 0.0f, 0.5f, -1.0f, 4.0f, 1e30f, 1e-30f, 1e-42f};
    const std::uint8_t switches = input.byte();
    const std::uint8_t volumes = input.byte();
    return {.processID = processID,
            .active = (switches & 7U) != 7,
            .input1Enabled = (switches & 8U) == 0,
            .input1Volume = kVolumes[volumes & 7U],
            .input1Muted = (switches & 16U) != 0,
            .input2Enabled = (switches & 32U) == 0,
            .input2Volume = kVolumes[volumes >> 3U & 7U],
            .input2Muted = (switches & 64U) != 0,
            .solo = (switches & 128U) != 0};
}

// Beside the definition, for the packets that the reference converts in as much time.
void checkConversion(const std::vector<std::uint8_t>& packet, const WaveFormat& format) {
    std::vector<float> scratch;
    const std::span<const float> actual =
        convertToStereoFloat(packet.data(), static_cast<std::uint32_t>(packet.size()), format, scratch);
    const std::vector<float> expected =
        reference::convertToStereoFloat(packet.data(), static_cast<std::uint32_t>(packet.size()), format);
    require(std::ranges::equal(actual, expected, isSameSample), "a packet is converted as it is defined");
    const std::uint64_t frames = resampledFrameCount(actual.size() / 2, format.samplesPerSecond);
    if (frames == 0 || frames > kComparedFrames) {
        return;
    }
    std::vector<float> resampled(2 * static_cast<std::size_t>(frames));
    resampleTo48k(actual, format.samplesPerSecond, 0, resampled);
    require(std::ranges::equal(resampled, reference::resampleTo48k(expected, format.samplesPerSecond),
                               isSameSample),
            "a packet is resampled as it is defined");
}

void addPacket(Input& input, std::uint32_t processID) {
    mixer().store.putConfig(processID, recordOf(input, processID));
    const WaveFormat format = formatOf(input);
    const std::vector<std::uint8_t> packet = input.bytes(std::min<std::size_t>(input.byte(), input.left()));
    const std::uint64_t frames = format.blockAlign == 0 ? 0 : packet.size() / format.blockAlign;
    if (format.samplesPerSecond != 0 && resampledFrameCount(frames, format.samplesPerSecond) > kMostFrames) {
        return;
    }
    checkConversion(packet, format);
    mixer().buffers.addInputData(processID, packet.data(), static_cast<std::uint32_t>(packet.size()), format);
    mixer().buffers.updateBusLevels();
    const StereoLevel level = mixer().buffers.getProcessLevels(processID);
    require(!(level.left > 1.0f) && !(level.right > 1.0f), "a meter ends at 1.0");
}

// Plays one period of an output; whether there was any sound.
bool play(std::uint32_t output) {
    std::array<float, std::size_t{2} * kPlayedFrames> period{};
    if (output == 0) {
        mixer().buffers.mixSolo(period.data(), kPlayedFrames);
    } else {
        mixer().buffers.mixBus(period.data(), kPlayedFrames, output);
    }
    require(std::ranges::all_of(period, [](float sample) { return sample >= -1.0f && sample <= 1.0f; }),
            "an output keeps its limits");
    return std::ranges::any_of(period, [](float sample) { return sample != 0.0f; });
}

void checkRings(std::uint32_t processID) {
    for (const std::uint32_t bus : {1U, 2U}) {
        const auto ring = mixer().buffers.getInputBuffer(processID, bus);
        for (const auto* const position : {&ring->writePos, &ring->busReadPos, &ring->soloReadPos}) {
            const std::uint32_t at = position->load();
            require(at < InputBuffer::kFloatCount && at % 2 == 0,
                    "a position is that of a frame in the ring");
        }
        // The next input begins where a new ring does.
        ring->writePos = 0;
        ring->busReadPos = 0;
        ring->soloReadPos = 0;
    }
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's own name
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setRouterLogSink([](std::string_view) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    constexpr std::array<std::uint32_t, 2> kSources{3, 4711};
    Input input(bytes, size);
    for (const std::uint32_t master : {kBus1MasterProcessId, kBus2MasterProcessId}) {
        mixer().store.putConfig(master, recordOf(input, master));
    }
    for (int packet = 0; !input.isOver() && packet < 4; ++packet) {
        addPacket(input, kSources[input.byte() % kSources.size()]);
        (void)play(input.byte() % 3);
    }
    // All that is left to hear is a ring's length; Solo plays its own ring.
    for (const std::uint32_t master : {kBus1MasterProcessId, kBus2MasterProcessId}) {
        mixer().store.putConfig(master, {.processID = master});
    }
    for (const std::uint32_t output : {0U, 1U, 2U}) {
        for (std::uint32_t played = 0; play(output); played += kPlayedFrames) {
            require(played <= InputBuffer::kFrameCount, "an output that has played all is silent");
        }
    }
    for (const std::uint32_t source : kSources) {
        checkRings(source);
    }
    return 0;
}
