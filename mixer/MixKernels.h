#pragma once

// The loops of the mixer over contiguous memory. Plain functions for any thread: they allocate nothing, take
// no lock and make no system call. Their results are those of the scalar definition, bit for bit, with two
// exceptions: where the definition lets a NaN through to the output, softLimit() makes silence of it; and
// LevelMeter adds up its squares in another order and partly in double precision, since one float sum loses
// its digits over a long packet.

#include "mixer/AppAudioConfig.h"
#include "mixer/InputBuffer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr float kLimiterKnee = 0.95f;      ///< below, a sample passes unchanged
inline constexpr float kLimiterHeadroom = 0.05f;  ///< what the curve has left above the knee
inline constexpr float kLimiterSteepness = 20.0f; ///< headroom times steepness is 1: no corner at the knee

/// The limiter of all outputs: straight up to the knee, then an exponential that rises towards 1.0, which it
/// reaches in float precision from about 2.0 on. A NaN becomes silence, so that none reaches an endpoint.
[[nodiscard]] float softLimit(float sample);

/// Each sample times `gain`, then softLimit().
void applyGainAndLimit(std::span<float> samples, float gain);

/// Up to kReadersAtOnce readers, added in their order to `mix` (interleaved stereo, long enough for each).
/// All readers start at frame 0 of `mix`; a shorter one simply ends earlier. With `gain` each sample is
/// multiplied before it is added. The readers are taken to their ends; committing is the caller's.
inline constexpr std::size_t kReadersAtOnce = 4;
void addReaders(std::span<RingReader> readers, float* mix);
void addReadersWithGain(std::span<RingReader> readers, float* mix, float gain);

/// The frames of one reader to `mix`, in place of what is there.
void copyReader(RingReader& reader, float* mix);

/// Measures a packet that comes in pieces: root mean square and peak of each channel, before any gain.
class LevelMeter {
public:
    /// Interleaved stereo; pieces in any lengths.
    void add(std::span<const float> stereo);
    /// min(1.0, (0.7 rms + 0.3 peak) 1.5) over all pieces, which were `frameCount` frames, at least one. A
    /// packet with a NaN shows full level.
    [[nodiscard]] StereoLevel level(std::uint64_t frameCount) const;

private:
    std::array<double, 2> squares{}; // left, right
    std::array<float, 2> peaks{};
};
