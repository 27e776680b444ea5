// Fuzzes sound files. The first byte tells whether the others are a file, or samples that are written and
// read again. It fails when a sanitizer reports, when a file is taken that breaks its own header, and when
// samples do not read as they were written.

#include "tests/fuzz/FuzzInput.h"
#include "tools/scene/WaveFile.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace {

using fuzz::Input;
using fuzz::require;

void readFile(std::span<const char> bytes) {
    try {
        const WaveFile wave = parseWaveFile(bytes, "a.wav");
        require(wave.format.blockAlign != 0 && wave.format.samplesPerSecond != 0, "a file has frames");
        require(wave.data.size() % wave.format.blockAlign == 0, "frames are whole");
        require(wave.data.size() < bytes.size(), "no frame is made up");
        const WaveFile again = parseWaveFile(bytes, "b.wav");
        require(again.format == wave.format && again.data == wave.data, "a file reads twice the same");
    } catch (const WaveFileError& error) {
        require(std::strncmp(error.what(), "a.wav: ", 7) == 0, "an error names its file");
    }
}

void writeAndRead(std::uint32_t sampleRate, const std::vector<std::uint8_t>& bytes) {
    std::vector<float> stereo(bytes.size() / 8 * 2);
    if (!stereo.empty()) {
        std::memcpy(stereo.data(), bytes.data(), stereo.size() * sizeof(float));
    }
    const std::vector<char> written = waveFileOf(stereo, sampleRate);
    const WaveFile wave = parseWaveFile(written, "c.wav");
    require(wave.format == floatWaveFormat(2, sampleRate), "a format reads as it was written");
    require(std::ranges::equal(wave.data, std::as_bytes(std::span(stereo))),
            "samples read as they were written");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    if (input.byte() % 4 != 0) {
        readFile({reinterpret_cast<const char*>(bytes) + 1, input.left()});
        return 0;
    }
    const std::uint32_t sampleRate = input.word() + 1U;
    writeAndRead(sampleRate, input.bytes(input.left()));
    return 0;
}
