#include "mixer/SampleConversion.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

float toFloat(float sample) {
    return sample;
}
// Neither quotient can leave -1.0 ... 1.0, so that no clamp is needed.
float toFloat(std::int16_t sample) {
    return static_cast<float>(sample) / 32768.0f;
}
float toFloat(std::int32_t sample) {
    return static_cast<float>(sample) / 2147483648.0f;
}

template <typename Sample>
float readSample(const std::byte* at) {
    Sample sample;
    std::memcpy(&sample, at, sizeof(sample));
    return toFloat(sample);
}

// Frames whose sample at `offset` lies wholly inside the packet.
std::size_t readableFrames(std::size_t byteCount, std::size_t blockAlign, std::size_t offset,
                           std::size_t sampleSize, std::size_t frameCount) {
    const std::size_t needed = offset + sampleSize;
    return byteCount < needed ? 0 : std::min(frameCount, (byteCount - needed) / blockAlign + 1);
}

// Whether a packet needs no conversion.
bool isStereoFloat(const void* data, const WaveFormat& format) {
    return format.formatTag == kWaveFormatIeeeFloat && format.channels == 2 &&
           format.blockAlign == 2 * sizeof(float) &&
           reinterpret_cast<std::uintptr_t>(data) % alignof(float) == 0;
}

// The common packings: frames without a gap, so that the compiler knows the stride.
template <typename Sample, std::size_t kChannels>
void convertPacked(const std::byte* data, std::span<float> result) {
    const std::size_t frameCount = result.size() / 2;
    float* const output = result.data();
    for (std::size_t frame = 0; frame < frameCount; ++frame) {
        const std::byte* const at = data + frame * kChannels * sizeof(Sample);
        output[2 * frame] = readSample<Sample>(at);
        output[2 * frame + 1] = readSample<Sample>(at + (kChannels - 1) * sizeof(Sample));
    }
}

template <typename Sample>
void convert(const std::byte* data, std::size_t byteCount, const WaveFormat& format,
             std::span<float> result) {
    if (format.channels == 2 && format.blockAlign == 2 * sizeof(Sample)) {
        convertPacked<Sample, 2>(data, result);
        return;
    }
    if (format.channels == 1 && format.blockAlign == sizeof(Sample)) {
        convertPacked<Sample, 1>(data, result);
        return;
    }
    const std::size_t frameCount = result.size() / 2;
    for (std::size_t side = 0; side < 2; ++side) {
        const std::size_t offset = side == 1 && format.channels >= 2 ? sizeof(Sample) : 0;
        const std::size_t readable =
            readableFrames(byteCount, format.blockAlign, offset, sizeof(Sample), frameCount);
        for (std::size_t frame = 0; frame < readable; ++frame) {
            result[2 * frame + side] = readSample<Sample>(data + frame * format.blockAlign + offset);
        }
        for (std::size_t frame = readable; frame < frameCount; ++frame) {
            result[2 * frame + side] = 0.0f;
        }
    }
}

} // namespace

std::span<const float> convertToStereoFloat(const void* data, std::uint32_t byteCount,
                                            const WaveFormat& format, std::vector<float>& scratch) {
    if (data == nullptr || format.channels == 0 || format.blockAlign == 0) {
        return {};
    }
    const std::size_t floatCount = std::size_t{byteCount} / format.blockAlign * 2;
    if (isStereoFloat(data, format)) {
        return {static_cast<const float*>(data), floatCount};
    }
    if (scratch.size() < floatCount) {
        scratch.resize(floatCount);
    }
    const std::span<float> result = std::span(scratch).first(floatCount);
    const auto* const bytes = static_cast<const std::byte*>(data);
    if (format.formatTag == kWaveFormatIeeeFloat) {
        convert<float>(bytes, byteCount, format, result);
    } else if (format.formatTag == kWaveFormatPcm && format.bitsPerSample == 16) {
        convert<std::int16_t>(bytes, byteCount, format, result);
    } else if (format.formatTag == kWaveFormatPcm && format.bitsPerSample == 32) {
        convert<std::int32_t>(bytes, byteCount, format, result);
    } else {
        std::ranges::fill(result, 0.0f);
    }
    return result;
}
