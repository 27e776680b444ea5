#pragma once

// Values between the frames of a sound: a windowed sinc of 32 taps, for a position that moves slowly from one
// frame to the next. Beside an ideal resampler the error of a tone stays below -90 dB up to 19 kHz; towards
// 24 kHz a tone loses up to half of its height midway between two frames. On a frame the value is that frame.
//
// The table is made where the object is. Apart from that: any thread, no allocation, no lock, no system call.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

class Interpolator {
public:
    static constexpr std::size_t kTaps = 32;
    static constexpr std::size_t kFramesBefore = kTaps / 2 - 1; ///< that a value needs before its position
    static constexpr std::size_t kBlockFrames = 16;             ///< computed together
    static constexpr std::size_t kInputFrames = kBlockFrames + kTaps - 1;

    Interpolator();

    /// The values at `frameCount` positions, 1 to kBlockFrames: kFramesBefore + `fraction` and onward in
    /// steps of one frame and `drift`. Without the whole frames all of them lie in 0 ... 1, and `drift` is at
    /// most a thousandth. `input` and `output` are interleaved stereo; all of `output` is written.
    void interpolate(std::span<const float, 2 * kInputFrames> input, double fraction, double drift,
                     std::size_t frameCount, std::span<float, 2 * kBlockFrames> output) const;

private:
    static constexpr std::size_t kPhases = 256;
    using Weights = std::array<float, kTaps>;

    [[nodiscard]] Weights weightsAt(double fraction) const;

    std::array<Weights, kPhases + 1> table; // at each phase of the way from one frame to the next
};
