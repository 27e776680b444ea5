#pragma once

#include <cstdint>

/// How the bytes of a packet are to be read, in the terms of WAVE files.
struct WaveFormat {
    std::uint16_t formatTag = 0;
    std::uint16_t channels = 0;
    std::uint32_t samplesPerSecond = 0;
    std::uint16_t blockAlign = 0; ///< bytes from one frame to the next
    std::uint16_t bitsPerSample = 0;

    bool operator==(const WaveFormat&) const = default;
};

inline constexpr std::uint16_t kWaveFormatPcm = 1;       ///< whole numbers
inline constexpr std::uint16_t kWaveFormatIeeeFloat = 3; ///< 32-bit float

/// 32-bit float, interleaved: what the mixer works in and most sources deliver.
[[nodiscard]] constexpr WaveFormat floatWaveFormat(std::uint16_t channels, std::uint32_t samplesPerSecond) {
    return {kWaveFormatIeeeFloat, channels, samplesPerSecond,
            static_cast<std::uint16_t>(channels * sizeof(float)), 32};
}

inline constexpr std::uint32_t kMixSampleRate = 48000; ///< Hz, of everything inside the mixer

/// In place of a format that could not be read: 48000 Hz, 32-bit float, stereo.
inline constexpr WaveFormat kDefaultFormat = floatWaveFormat(2, kMixSampleRate);
