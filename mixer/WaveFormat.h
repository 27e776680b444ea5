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

/// The format that an endpoint's buffer or a capture is opened with: the 18 fixed bytes of a WAVEFORMATEX.
struct RenderFormat {
    WaveFormat wave;
    std::uint32_t bytesPerSecond = 0;
    std::uint16_t extraByteCount = 0; ///< cbSize
};

inline constexpr std::uint16_t kWaveFormatPcm = 1;       ///< WAVE_FORMAT_PCM
inline constexpr std::uint16_t kWaveFormatIeeeFloat = 3; ///< WAVE_FORMAT_IEEE_FLOAT

/// 32-bit float, interleaved: what the mixer works in and most sources deliver.
[[nodiscard]] constexpr WaveFormat floatWaveFormat(std::uint16_t channels, std::uint32_t samplesPerSecond) {
    return {kWaveFormatIeeeFloat, channels, samplesPerSecond,
            static_cast<std::uint16_t>(channels * sizeof(float)), 32};
}

/// What stands in for a format that the system did not say: 48000 Hz, 32-bit float, stereo.
inline constexpr RenderFormat kDefaultFormat{floatWaveFormat(2, 48000), 384000, 0};
