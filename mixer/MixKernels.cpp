#include "mixer/MixKernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace {

constexpr float kRmsShare = 0.7f;
constexpr float kPeakShare = 0.3f;
constexpr float kMeterScale = 1.5f;

// Samples looked at together for one beyond the knee.
constexpr std::size_t kLimiterBlock = 64;
// The curve is 1.0 from here on: what lies further out need not reach the exponential.
constexpr float kLimiterEnd = 2.0f;
// Squares added up in float before they join the double sum: short enough to keep a float's precision.
constexpr std::size_t kMeterBlock = 1024;
constexpr std::size_t kMeterLanes = 16;

struct Unscaled {
    template <typename Samples>
    Samples operator()(Samples samples) const {
        return samples;
    }
};

struct Scaled {
    float gain;
    template <typename Samples>
    Samples operator()(Samples samples) const {
        return samples * gain;
    }
};

// Some rings in one pass over the mix: a sum in the same order, with fewer loads and stores of the mix.
template <typename Gain, typename... Rings>
void addRings(float* mix, std::size_t frameCount, Gain gain, Rings... from) {
    std::size_t frame = 0;
    for (; frame + 2 <= frameCount; frame += 2) {
        FramePair sum;
        std::memcpy(&sum, mix + 2 * frame, sizeof(sum));
        ((sum += gain(loadPair(from + frame))), ...);
        std::memcpy(mix + 2 * frame, &sum, sizeof(sum));
    }
    if (frame < frameCount) {
        const auto addFrame = [&](const StereoFrame& sample) {
            mix[2 * frame] += gain(sample.left);
            mix[2 * frame + 1] += gain(sample.right);
        };
        (addFrame(from[frame].load(std::memory_order_relaxed)), ...);
    }
}

template <typename Gain, std::size_t... kIndices>
void addGroup(std::span<const RingReader> readers, float* mix, std::size_t frameCount, Gain gain,
              std::index_sequence<kIndices...>) {
    addRings(mix, frameCount, gain, readers[kIndices].data()...);
}

template <typename Gain>
void addAll(std::span<RingReader> readers, float* mix, Gain gain) {
    std::size_t done = 0; // frames of the mix that have all readers
    while (readers.size() == kReadersAtOnce) {
        std::uint32_t together = readers[0].contiguous();
        for (const RingReader& reader : readers.subspan(1)) {
            together = std::min(together, reader.contiguous());
        }
        if (together == 0) {
            break;
        }
        addGroup(readers, mix + 2 * done, together, gain, std::make_index_sequence<kReadersAtOnce>());
        for (RingReader& reader : readers) {
            reader.advance(together);
        }
        done += together;
    }
    for (RingReader& reader : readers) {
        float* to = mix + 2 * done;
        while (reader.remaining() > 0) {
            const std::uint32_t piece = reader.contiguous();
            addRings(to, piece, gain, reader.data());
            reader.advance(piece);
            to += 2 * std::size_t{piece};
        }
    }
}

// softLimit() of each sample of a block. Kept out of its caller's loop, which nearly all sound stays in.
[[gnu::noinline]] void limitBlock(float* block) {
    std::int32_t curved = 0;
    for (std::size_t index = 0; index < kLimiterBlock; ++index) {
        const float size = std::fabs(block[index]);
        const std::int32_t outside = size <= kLimiterKnee ? 0 : 1;
        curved |= outside & (size < kLimiterEnd ? 1 : 0);
    }
    if (curved != 0) {
        std::transform(block, block + kLimiterBlock, block, softLimit);
        return;
    }
    // Without the curve no sample needs the exponential.
    for (std::size_t index = 0; index < kLimiterBlock; ++index) {
        const float sample = block[index];
        const float kept = std::fabs(sample) <= kLimiterKnee ? sample : 0.0f;
        block[index] = std::fabs(sample) >= kLimiterEnd ? std::copysign(1.0f, sample) : kept;
    }
}

} // namespace

float softLimit(float sample) {
    if (std::isnan(sample)) {
        return 0.0f;
    }
    if (std::fabs(sample) >= kLimiterEnd) {
        return std::copysign(1.0f, sample);
    }
    if (sample > kLimiterKnee) {
        sample =
            kLimiterKnee + kLimiterHeadroom * (1.0f - std::exp(-kLimiterSteepness * (sample - kLimiterKnee)));
    } else if (sample < -kLimiterKnee) {
        sample =
            -kLimiterKnee - kLimiterHeadroom * (1.0f - std::exp(kLimiterSteepness * (sample + kLimiterKnee)));
    }
    return std::clamp(sample, -1.0f, 1.0f);
}

void applyGainAndLimit(std::span<float> samples, float gain) {
    const std::size_t whole = samples.size() / kLimiterBlock * kLimiterBlock;
    for (std::size_t from = 0; from < whole; from += kLimiterBlock) {
        float* const block = samples.data() + from;
        // Written so that a NaN counts as beyond.
        std::int32_t beyond = 0;
        for (std::size_t index = 0; index < kLimiterBlock; ++index) {
            const float scaled = block[index] * gain;
            block[index] = scaled;
            beyond |= std::fabs(scaled) <= kLimiterKnee ? 0 : 1;
        }
        if (beyond != 0) {
            limitBlock(block);
        }
    }
    for (float& sample : samples.subspan(whole)) {
        sample = softLimit(sample * gain);
    }
}

void addReaders(std::span<RingReader> readers, float* mix) {
    addAll(readers, mix, Unscaled{});
}

void addReadersWithGain(std::span<RingReader> readers, float* mix, float gain) {
    addAll(readers, mix, Scaled{gain});
}

void copyReader(RingReader& reader, float* mix) {
    while (reader.remaining() > 0) {
        const std::uint32_t piece = reader.contiguous();
        for (std::size_t frame = 0; frame < piece; ++frame) {
            const StereoFrame sample = reader.data()[frame].load(std::memory_order_relaxed);
            mix[2 * frame] = sample.left;
            mix[2 * frame + 1] = sample.right;
        }
        reader.advance(piece);
        mix += 2 * std::size_t{piece};
    }
}

void LevelMeter::add(std::span<const float> stereo) {
    while (!stereo.empty()) {
        const std::span<const float> block = stereo.first(std::min(stereo.size(), kMeterBlock));
        // Lanes hold left and right in turns.
        std::array<float, kMeterLanes> sums{};
        std::array<float, kMeterLanes> tops{};
        const float* const sample = block.data();
        const std::size_t whole = block.size() / kMeterLanes * kMeterLanes;
        for (std::size_t index = 0; index < whole; index += kMeterLanes) {
            for (std::size_t lane = 0; lane < kMeterLanes; ++lane) {
                const float value = sample[index + lane];
                const float magnitude = std::fabs(value);
                sums[lane] += value * value;
                tops[lane] = magnitude > tops[lane] ? magnitude : tops[lane];
            }
        }
        for (std::size_t index = whole; index < block.size(); ++index) {
            sums[index - whole] += sample[index] * sample[index];
            tops[index - whole] = std::max(tops[index - whole], std::fabs(sample[index]));
        }
        for (std::size_t lane = 0; lane < kMeterLanes; ++lane) {
            squares[lane % 2] += static_cast<double>(sums[lane]);
            peaks[lane % 2] = std::max(peaks[lane % 2], tops[lane]);
        }
        stereo = stereo.subspan(block.size());
    }
}

StereoLevel LevelMeter::level(std::uint64_t frameCount) const {
    std::array<float, 2> levels{};
    for (std::size_t channel = 0; channel < levels.size(); ++channel) {
        const float rms = std::sqrt(static_cast<float>(squares[channel] / static_cast<double>(frameCount)));
        // In this order the minimum with a NaN is 1.0.
        levels[channel] = std::min(1.0f, (kRmsShare * rms + kPeakShare * peaks[channel]) * kMeterScale);
    }
    return {levels[0], levels[1]};
}
