#include "tools/scene/WaveFile.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <system_error>

namespace {

// Where things lie in the file, in bytes. All numbers are little-endian.
constexpr std::size_t kRiffHeaderSize = 12;  // "RIFF", size, "WAVE"
constexpr std::size_t kChunkHeaderSize = 8;  // name, size
constexpr std::size_t kFormatChunkSize = 16; // tag, channels, rate, bytes per second, block align, bits

// Of a file that is written, so that its size fits its header.
constexpr std::size_t kLongestDataSize = std::numeric_limits<std::uint32_t>::max() - 64;

[[noreturn]] void fail(const std::filesystem::path& path, const std::string& what) {
    throw WaveFileError(path.string() + ": " + what);
}

std::uint32_t numberAt(std::span<const char> bytes, std::size_t at, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t index = 0; index < size; ++index) {
        value |= std::uint32_t{static_cast<unsigned char>(bytes[at + index])} << (8 * index);
    }
    return value;
}

bool nameAt(std::span<const char> bytes, std::size_t at, const char* name) {
    return std::memcmp(bytes.data() + at, name, 4) == 0;
}

void append(std::string& bytes, std::uint32_t value, std::size_t size) {
    for (std::size_t index = 0; index < size; ++index) {
        bytes += static_cast<char>((value >> (8 * index)) & 0xFF);
    }
}

} // namespace

WaveFile parseWaveFile(std::span<const char> bytes, const std::filesystem::path& path) {
    if (bytes.size() < kRiffHeaderSize || !nameAt(bytes, 0, "RIFF") || !nameAt(bytes, 8, "WAVE")) {
        fail(path, "is no WAV file");
    }
    WaveFile wave;
    bool hasFormat = false;
    for (std::size_t at = kRiffHeaderSize; bytes.size() - at >= kChunkHeaderSize;) {
        const std::size_t size = numberAt(bytes, at + 4, 4);
        const std::size_t content = at + kChunkHeaderSize;
        const std::size_t available = bytes.size() - content;
        if (nameAt(bytes, at, "fmt ")) {
            if (size < kFormatChunkSize || size > available) {
                fail(path, "has a broken format chunk");
            }
            wave.format.formatTag = static_cast<std::uint16_t>(numberAt(bytes, content, 2));
            wave.format.channels = static_cast<std::uint16_t>(numberAt(bytes, content + 2, 2));
            wave.format.samplesPerSecond = numberAt(bytes, content + 4, 4);
            wave.format.blockAlign = static_cast<std::uint16_t>(numberAt(bytes, content + 12, 2));
            wave.format.bitsPerSample = static_cast<std::uint16_t>(numberAt(bytes, content + 14, 2));
            if (wave.format.samplesPerSecond == 0 || wave.format.blockAlign == 0) {
                fail(path, "has no rate or no block align");
            }
            hasFormat = true;
        } else if (nameAt(bytes, at, "data")) {
            if (!hasFormat) {
                fail(path, "has no format before its data");
            }
            // A file that was cut off is read as far as it goes.
            const std::size_t whole = std::min(size, available) / wave.format.blockAlign;
            const auto* const first = reinterpret_cast<const std::byte*>(bytes.data() + content);
            wave.data.assign(first, first + whole * wave.format.blockAlign);
            return wave;
        }
        // Chunks begin at even positions.
        const std::size_t padded = size + size % 2;
        if (padded >= available) {
            break;
        }
        at = content + padded;
    }
    fail(path, "has no data");
}

WaveFile readWaveFile(const std::filesystem::path& path) {
    std::ifstream file;
    // A pipe or a device might have no end.
    if (std::error_code failure; std::filesystem::is_regular_file(path, failure)) {
        file.open(path, std::ios::binary);
    }
    if (!file.is_open()) {
        fail(path, "cannot be opened");
    }
    return parseWaveFile(std::vector<char>{std::istreambuf_iterator<char>(file), {}}, path);
}

std::vector<char> waveFileOf(std::span<const float> stereo, std::uint32_t sampleRate) {
    constexpr std::uint32_t kFrameSize = 2 * sizeof(float);
    constexpr std::uint32_t kFactSize = 4;
    const auto dataSize = static_cast<std::uint32_t>(stereo.size_bytes());
    std::string header = "RIFF";
    append(header, 4 + 8 + kFormatChunkSize + 8 + kFactSize + 8 + dataSize, 4);
    header += "WAVEfmt ";
    append(header, kFormatChunkSize, 4);
    append(header, kWaveFormatIeeeFloat, 2);
    append(header, 2, 2); // channels
    append(header, sampleRate, 4);
    append(header, sampleRate * kFrameSize, 4);
    append(header, kFrameSize, 2);
    append(header, 32, 2); // bits
    header += "fact";
    append(header, kFactSize, 4);
    append(header, dataSize / kFrameSize, 4);
    header += "data";
    append(header, dataSize, 4);
    std::vector<char> bytes(header.begin(), header.end());
    const auto* const samples = reinterpret_cast<const char*>(stereo.data());
    bytes.insert(bytes.end(), samples, samples + dataSize);
    return bytes;
}

void writeWaveFile(const std::filesystem::path& path, std::span<const float> stereo,
                   std::uint32_t sampleRate) {
    if (stereo.size_bytes() > kLongestDataSize) {
        fail(path, "would be too long for a WAV file");
    }
    const std::vector<char> bytes = waveFileOf(stereo, sampleRate);
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        fail(path, "cannot be written");
    }
}
