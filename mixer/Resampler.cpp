#include "mixer/Resampler.h"

#include "mixer/WaveFormat.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <ranges>

namespace {

constexpr float kMixSampleRateFloat = 48000.0f;
// Frames computed together, so that positions and weights vectorise.
constexpr std::size_t kBlockFrames = 16;

struct Position {
    std::uint64_t index; // input frame before the output frame
    float fraction;      // way from there to the next, 0 ... 1
};

Position positionOf(std::uint64_t outputFrame, float ratio) {
    const float position = static_cast<float>(outputFrame) * ratio;
    const auto index = static_cast<std::uint64_t>(position);
    return {index, position - static_cast<float>(index)};
}

struct Weights {
    float w0;
    float w1;
    float w2;
    float w3;
};

// The Catmull-Rom basis.
inline Weights weightsAt(float t) {
    const float t2 = t * t;
    const float t3 = t2 * t;
    return {-0.5f * t3 + t2 - 0.5f * t, 1.5f * t3 - 2.5f * t2 + 1.0f, -1.5f * t3 + 2.0f * t2 + 0.5f * t,
            0.5f * t3 - 0.5f * t2};
}

inline void interpolate(const float* input, const Weights& weights, float* output) {
    for (std::size_t channel = 0; channel < 2; ++channel) {
        output[channel] = weights.w0 * input[channel] + weights.w1 * input[channel + 2] +
                          weights.w2 * input[channel + 4] + weights.w3 * input[channel + 6];
    }
}

// One output frame anywhere in the packet.
void resampleFrame(const float* input, std::uint64_t inputFrames, std::uint64_t outputFrame, float ratio,
                   float* output) {
    auto [index, t] = positionOf(outputFrame, ratio);
    if (index >= inputFrames) {
        index = inputFrames - 1;
        t = 0.0f;
    }
    const float* const at = input + 2 * index;
    if (index + 1 >= inputFrames) {
        output[0] = at[0];
        output[1] = at[1];
    } else if (index == 0 || index + 2 >= inputFrames) {
        output[0] = at[0] * (1.0f - t) + at[2] * t;
        output[1] = at[1] * (1.0f - t) + at[3] * t;
    } else {
        interpolate(at - 2, weightsAt(t), output);
    }
}

// kBlockFrames output frames that all lie in the packet's cubic part.
void resampleBlock(const float* input, std::int32_t firstFrame, float ratio, float* output) {
    std::int32_t index[kBlockFrames];
    float w0[kBlockFrames];
    float w1[kBlockFrames];
    float w2[kBlockFrames];
    float w3[kBlockFrames];
    for (std::size_t frame = 0; frame < kBlockFrames; ++frame) {
        const float position = static_cast<float>(firstFrame + static_cast<std::int32_t>(frame)) * ratio;
        index[frame] = static_cast<std::int32_t>(position);
        const Weights weights = weightsAt(position - static_cast<float>(index[frame]));
        w0[frame] = weights.w0;
        w1[frame] = weights.w1;
        w2[frame] = weights.w2;
        w3[frame] = weights.w3;
    }
    for (std::size_t frame = 0; frame < kBlockFrames; ++frame) {
        interpolate(input + 2 * (static_cast<std::ptrdiff_t>(index[frame]) - 1),
                    {w0[frame], w1[frame], w2[frame], w3[frame]}, output + 2 * frame);
    }
}

} // namespace

std::uint64_t resampledFrameCount(std::uint64_t frameCount, std::uint32_t sampleRate) {
    if (frameCount == 0 || sampleRate == 0) {
        return 0;
    }
    if (sampleRate == kMixSampleRate) {
        return frameCount;
    }
    const float exact = static_cast<float>(frameCount) * kMixSampleRateFloat / static_cast<float>(sampleRate);
    return std::max<std::uint64_t>(1, static_cast<std::uint64_t>(exact));
}

void resampleTo48k(std::span<const float> input, std::uint32_t sampleRate, std::uint64_t firstFrame,
                   std::span<float> output) {
    if (sampleRate == kMixSampleRate) {
        std::ranges::copy(input.subspan(2 * firstFrame, output.size()), output.begin());
        return;
    }
    const std::uint64_t inputFrames = input.size() / 2;
    const std::uint64_t endFrame = firstFrame + output.size() / 2;
    const float ratio = static_cast<float>(sampleRate) / kMixSampleRateFloat;

    // The cubic part is one stretch, since positions never fall from one frame to the next.
    std::uint64_t cubicFrom = endFrame;
    std::uint64_t cubicTo = endFrame;
    constexpr std::uint64_t kIndexLimit = std::numeric_limits<std::int32_t>::max();
    if (inputFrames >= 4 && inputFrames < kIndexLimit && endFrame < kIndexLimit) {
        const auto frames = std::views::iota(firstFrame, endFrame);
        const auto before = [ratio](std::uint64_t limit) {
            return [ratio, limit](std::uint64_t frame) {
                return positionOf(frame, ratio).index < limit;
            };
        };
        cubicFrom = firstFrame + static_cast<std::uint64_t>(std::ranges::partition_point(frames, before(1)) -
                                                            frames.begin());
        cubicTo =
            firstFrame + static_cast<std::uint64_t>(
                             std::ranges::partition_point(frames, before(inputFrames - 2)) - frames.begin());
    }

    float* at = output.data();
    std::uint64_t frame = firstFrame;
    for (; frame < cubicFrom; ++frame, at += 2) {
        resampleFrame(input.data(), inputFrames, frame, ratio, at);
    }
    for (; frame + kBlockFrames <= cubicTo; frame += kBlockFrames, at += 2 * kBlockFrames) {
        resampleBlock(input.data(), static_cast<std::int32_t>(frame), ratio, at);
    }
    for (; frame < endFrame; ++frame, at += 2) {
        resampleFrame(input.data(), inputFrames, frame, ratio, at);
    }
}
