#pragma once

// Converts a packet of any rate to 48000 Hz by Catmull-Rom interpolation. Each packet is converted by itself:
// no state is carried over, no low-pass runs, and the fraction of a frame that the truncated length drops is
// lost. The first and last intervals of a packet are linear and its last frame is a copy.
// All in 32-bit float, interleaved stereo. Any thread; nothing is kept.

#include <cstdint>
#include <span>

/// Frames that a packet of `frameCount` frames at `sampleRate` Hz becomes: 0 when either is 0, else at
/// least 1.
[[nodiscard]] std::uint64_t resampledFrameCount(std::uint64_t frameCount, std::uint32_t sampleRate);

/// Writes the frames from `firstFrame` on of the packet's resampled form, as many as `output` holds
/// (output.size() / 2). `input` is the whole packet, with at least one frame; `sampleRate` is above 0. A
/// stretch may begin anywhere and has the same frames as the whole.
void resampleTo48k(std::span<const float> input, std::uint32_t sampleRate, std::uint64_t firstFrame,
                   std::span<float> output);
