#include "tools/scene/SceneSound.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <utility>

namespace {

// A number for a place of a seed's noise: the mixing step of SplitMix64.
std::uint64_t scatter(std::uint64_t value) {
    value += 0x9E3779B97F4A7C15;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
    return value ^ (value >> 31);
}

void store(std::byte* at, double value, const WaveFormat& format) {
    if (format.formatTag == kWaveFormatIeeeFloat) {
        const auto sample = static_cast<float>(value);
        std::memcpy(at, &sample, sizeof(sample));
        return;
    }
    if (std::isnan(value)) {
        value = 0.0; // no integer stands for it
    }
    const double scale = std::ldexp(1.0, format.bitsPerSample - 1);
    const auto number =
        static_cast<std::int64_t>(std::clamp(std::nearbyint(value * scale), -scale, scale - 1.0));
    for (std::size_t index = 0; index < format.bitsPerSample / 8u; ++index) {
        at[index] = static_cast<std::byte>((number >> (8 * index)) & 0xFF);
    }
}

} // namespace

SceneSound::SceneSound(Kind signalKind, double signalParameter, std::vector<double> channelLevels,
                       const WaveFormat& waveFormat)
    : kind(signalKind), parameter(signalParameter), levels(std::move(channelLevels)), wave(waveFormat) {}

SceneSound::SceneSound(std::vector<std::byte> fileData, const WaveFormat& waveFormat)
    : kind(Kind::File), data(std::move(fileData)), wave(waveFormat) {}

double SceneSound::sample(std::uint64_t frame, std::uint16_t channel) const {
    const double level = levels[std::min<std::size_t>(channel, levels.size() - 1)];
    switch (kind) {
    case Kind::Sine:
        return level * std::sin(2.0 * std::numbers::pi * parameter * static_cast<double>(frame) /
                                wave.samplesPerSecond);
    case Kind::Noise: {
        const std::uint64_t place =
            scatter(static_cast<std::uint64_t>(parameter)) + frame * wave.channels + channel;
        return level * (static_cast<double>(scatter(place) >> 11) / static_cast<double>(1ULL << 52) - 1.0);
    }
    case Kind::Constant:
        return level * parameter;
    case Kind::File:
        break;
    }
    return 0.0;
}

std::vector<std::byte> SceneSound::read(std::uint64_t firstFrame, std::uint32_t frameCount) const {
    const std::size_t align = wave.blockAlign;
    if (kind == Kind::File) {
        const std::uint64_t all = data.size() / align;
        const std::uint64_t from = std::min(firstFrame, all);
        const std::uint64_t to = std::min(from + frameCount, all);
        return {data.begin() + static_cast<std::ptrdiff_t>(from * align),
                data.begin() + static_cast<std::ptrdiff_t>(to * align)};
    }
    const std::size_t sampleSize = wave.bitsPerSample / 8u;
    std::vector<std::byte> bytes(frameCount * align);
    for (std::uint32_t frame = 0; frame < frameCount; ++frame) {
        for (std::uint16_t channel = 0; channel < wave.channels; ++channel) {
            store(bytes.data() + frame * align + channel * sampleSize, sample(firstFrame + frame, channel),
                  wave);
        }
    }
    return bytes;
}
