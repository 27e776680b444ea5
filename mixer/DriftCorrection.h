#pragma once

// Keeps the delay of one reader of a ring. Where the source's clock and the output's differ, the reader goes
// through the ring a little faster or slower than one frame a frame: at most 300 millionths, half a hundredth
// of a semitone, which is reached and left over a second. Otherwise it is not in the way: the frames are read
// as they are.
//
// A value between frames needs some frames behind it. So a source that begins, or had run dry, begins up to
// kFramesInHand later than it could, unless it comes with that much more.
//
// Belongs to the reader's thread, under the lock of the map of sources, as its ring's read position does. No
// allocation, no other lock, no system call.

#include "mixer/DelayControl.h"
#include "mixer/InputBuffer.h"

#include <atomic>
#include <cstdint>

class Interpolator;

class DriftCorrection {
public:
    /// What lies in the ring beyond the first frames that are read: 0.5 ms.
    static constexpr std::uint32_t kFramesInHand = 24;

    /// Once before each read of `frameCount` frames, where `readable` are there. True if addTo() has to read
    /// them; false if they are the ring's own, to be read as ever.
    [[nodiscard]] bool isDue(std::uint32_t readable, std::uint32_t frameCount);

    /// Adds `frameCount` frames, times `gain`, to `mix` (interleaved stereo), or fewer when the ring runs
    /// short, and takes them from the ring: `readable` frames lie behind `readPosition`, the reader's own.
    void addTo(float* mix, std::uint32_t frameCount, float gain, const InputBuffer& ring,
               std::atomic<std::uint32_t>& readPosition, std::uint32_t readable,
               const Interpolator& interpolator);

    /// The ring was emptied: what was known of its source does not hold any more.
    void forget();
    /// The reader begins anew where it once stopped, and keeps the delay that this gives.
    void beginAnew();

private:
    // Positions count in parts of a frame, 2^32 of them.
    static constexpr std::int64_t kFrame = std::int64_t{1} << 32;

    struct Stretch {
        std::int64_t base; // whole frames from the read position on
        std::int64_t fraction;
        std::int64_t rate;
        std::uint32_t frameCount;
        bool landing; // ends on a whole frame, and so does the correction
    };
    [[nodiscard]] std::uint32_t silenceBefore(std::uint32_t readable, std::uint32_t frameCount) const;
    void changeRate(bool onFrame);
    [[nodiscard]] Stretch nextStretch(std::int64_t position, std::uint32_t mostFrames) const;

    DelayControl control;
    std::int64_t offset = 0;   // way from the read position's frame to the next, 0 ... kFrame - 1
    std::int64_t rate = 0;     // beyond one frame a frame
    std::uint32_t silence = 0; // frames of the next read before its sound
    bool dry = true;           // before the next read
    bool waited = false;       // the last read was left out for more to come
};
