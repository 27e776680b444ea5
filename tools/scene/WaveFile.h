#pragma once

// Sound files of the kind RIFF/WAVE.

#include "mixer/WaveFormat.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <vector>

struct WaveFile {
    WaveFormat format;
    std::vector<std::byte> data; ///< whole frames as they lie in the file
};

/// A file that cannot be read or written; the text names it and the reason.
class WaveFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Parses the bytes of a file, in any format that has a plain header, known to the mixer or not. `path` is
/// for the error. Throws WaveFileError.
[[nodiscard]] WaveFile parseWaveFile(std::span<const char> bytes, const std::filesystem::path& path);

/// The same for a regular file; anything else cannot be opened. Throws WaveFileError.
[[nodiscard]] WaveFile readWaveFile(const std::filesystem::path& path);

/// The bytes of a file of interleaved stereo float, of at most 4 GB.
[[nodiscard]] std::vector<char> waveFileOf(std::span<const float> stereo, std::uint32_t sampleRate);

/// Writes interleaved stereo float. Throws WaveFileError.
void writeWaveFile(const std::filesystem::path& path, std::span<const float> stereo,
                   std::uint32_t sampleRate);
