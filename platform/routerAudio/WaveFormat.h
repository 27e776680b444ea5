#pragma once

#include <cstdint>

/// How the bytes of a packet are to be read: the members of a WAVEFORMATEX that the mixer looks at.
struct WaveFormat {
    std::uint16_t formatTag = 0;
    std::uint16_t channels = 0;
    std::uint32_t samplesPerSecond = 0;
    std::uint16_t blockAlign = 0; ///< bytes from one frame to the next
    std::uint16_t bitsPerSample = 0;
};

inline constexpr std::uint16_t kWaveFormatPcm = 1;       ///< WAVE_FORMAT_PCM
inline constexpr std::uint16_t kWaveFormatIeeeFloat = 3; ///< WAVE_FORMAT_IEEE_FLOAT

/// 32-bit float, interleaved: what the mixer works in and most sources deliver.
[[nodiscard]] constexpr WaveFormat floatWaveFormat(std::uint16_t channels, std::uint32_t samplesPerSecond) {
    return {kWaveFormatIeeeFloat, channels, samplesPerSecond,
            static_cast<std::uint16_t>(channels * sizeof(float)), 32};
}
