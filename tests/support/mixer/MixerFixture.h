#pragma once

#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iomanip>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <vector>

/// The 32-bit Mersenne twister with results of that very type.
class Random {
public:
    using result_type = std::uint32_t;
    explicit Random(std::uint32_t seed) : engine(seed) {}
    static constexpr result_type min() { return 0; }
    static constexpr result_type max() { return 0xFFFFFFFF; }
    result_type operator()() { return static_cast<result_type>(engine()); }

private:
    std::mt19937 engine;
};

/// True when the tests run at full count and length.
inline bool longRun() {
    return std::getenv("VEXO_LONG") != nullptr;
}

/// The first place where two lists differ in a bit, for a person; empty when they do not.
inline std::string firstDifference(const std::vector<float>& actual, const std::vector<float>& expected) {
    if (actual.size() != expected.size()) {
        return "sizes " + std::to_string(actual.size()) + " and " + std::to_string(expected.size());
    }
    for (std::size_t at = 0; at < actual.size(); ++at) {
        const auto bits = std::bit_cast<std::uint32_t>(actual[at]);
        const auto wanted = std::bit_cast<std::uint32_t>(expected[at]);
        if (bits != wanted) {
            std::ostringstream text;
            text << "float " << at << ": " << std::setprecision(9) << actual[at] << " (0x" << std::hex << bits
                 << "), expected " << expected[at] << " (0x" << wanted << ")";
            return text.str();
        }
    }
    return {};
}

/// Where the mixer departs from its definition on purpose: a NaN is silence at an output, and so may be what
/// lies below the smallest normal float, whose sign a zero need not keep.
inline void allowSilence(std::vector<float>& expected, std::span<const float> actual) {
    for (std::size_t at = 0; at < expected.size(); ++at) {
        if (std::isnan(expected[at])) {
            expected[at] = 0.0f;
        } else if (!std::isnormal(expected[at]) && !std::isinf(expected[at]) && actual[at] == 0.0f) {
            expected[at] = actual[at];
        }
    }
}

/// Buffers over a store of their own.
class MixerFixture : public testing::Test {
protected:
    /// A source on both buses at full volume.
    static AppAudioConfig onBothBuses(std::uint32_t processID) {
        AppAudioConfig config;
        config.processID = processID;
        config.input1Enabled = true;
        config.input2Enabled = true;
        return config;
    }

    void put(const AppAudioConfig& config) { store.putConfig(config.processID, config); }

    void feed(std::uint32_t processID, const std::vector<float>& stereo, std::uint32_t rate = 48000) {
        buffers.addInputData(processID, stereo.data(),
                             static_cast<std::uint32_t>(stereo.size() * sizeof(float)),
                             floatWaveFormat(2, rate));
    }

    std::vector<float> bus(std::uint32_t number, std::uint32_t frames) {
        std::vector<float> output(std::size_t{frames} * 2, 99.0f);
        buffers.mixBus(output.data(), frames, number);
        return output;
    }

    std::vector<float> solo(std::uint32_t frames) {
        std::vector<float> output(std::size_t{frames} * 2, 99.0f);
        buffers.mixSolo(output.data(), frames);
        return output;
    }

    /// `frames` frames of one left and one right value.
    static std::vector<float> constant(std::size_t frames, float left, float right) {
        std::vector<float> stereo(frames * 2);
        for (std::size_t frame = 0; frame < frames; ++frame) {
            stereo[2 * frame] = left;
            stereo[2 * frame + 1] = right;
        }
        return stereo;
    }

    AppAudioConfigStore store;
    PerAppInputBuffers buffers{store};
};
