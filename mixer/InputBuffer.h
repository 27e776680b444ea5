#pragma once

// The ring of one source on one bus: 600 ms of interleaved stereo float at 48000 Hz.
//
// One thread writes; two readers follow it, each with a position of its own: the bus, and Solo when it plays
// the whole bus. The ring is never full: the writer goes on regardless of the readers, and when it laps a
// reader it overwrites unread sound without notice. A frame is one atomic word: a lap, a reset or a second
// writer can spoil the sound, but never tear a frame or cause undefined behaviour.
//
// All positions count floats, left and right apart, and stay even and below kFloatCount.

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

struct StereoFrame {
    float left = 0.0f;
    float right = 0.0f;
};

struct InputBuffer {
    static constexpr std::uint32_t kFloatCount = 57600;
    static constexpr std::uint32_t kFrameCount = kFloatCount / 2;

    using Frame = std::atomic<StereoFrame>;
    static_assert(Frame::is_always_lock_free && sizeof(Frame) == sizeof(StereoFrame));

    std::array<Frame, kFrameCount> samples{};
    std::atomic<std::uint32_t> writePos{0};    ///< next float to write
    std::atomic<std::uint32_t> busReadPos{0};  ///< next float of the bus's mix; in the solo ring, of Solo's
    std::atomic<std::uint32_t> soloReadPos{0}; ///< next float of Solo when it plays the whole bus
    std::atomic<float> levelLeft{0.0f};        ///< meter, after the source's volume
    std::atomic<float> levelRight{0.0f};

    /// Silence, all positions at the start, meters at rest. Any thread; no reader is in the ring meanwhile.
    void reset();
};

/// Two neighbouring frames, for loops that take them together. In the vector notation that GCC, clang and
/// MinGW share; the tree has no other compiler.
using FramePair = float __attribute__((vector_size(16)));

[[nodiscard]] inline FramePair loadPair(const InputBuffer::Frame* at) {
    // As doubles, which move between memory and vector without a detour.
    using Words = double __attribute__((vector_size(16)));
    return std::bit_cast<FramePair>(Words{std::bit_cast<double>(at[0].load(std::memory_order_relaxed)),
                                          std::bit_cast<double>(at[1].load(std::memory_order_relaxed))});
}

inline void storePair(InputBuffer::Frame* at, FramePair frames) {
    using Words = double __attribute__((vector_size(16)));
    const auto words = std::bit_cast<Words>(frames);
    at[0].store(std::bit_cast<StereoFrame>(words[0]), std::memory_order_relaxed);
    at[1].store(std::bit_cast<StereoFrame>(words[1]), std::memory_order_relaxed);
}

/// The writer's end of a ring for one packet: frames go in, and are seen by readers at once with publish().
class RingWriter {
public:
    /// No ring (null) swallows what is written.
    RingWriter(InputBuffer* target, float gainLinear);

    /// Appends interleaved stereo samples, each times the gain. More than a ring's length overwrites itself.
    void write(std::span<const float> stereo);
    /// Goes on by `frameCount` without a write: for frames that a ring's length of others will follow.
    void skip(std::uint64_t frameCount);
    void publish();

private:
    InputBuffer* ring;
    float gain;
    std::uint32_t position = 0; // in floats
};

/// A reader's next frames of one ring, as at most two contiguous pieces.
class RingReader {
public:
    /// `readPosition` is the member of `ring` that this reader owns; at most `frameLimit` frames are taken.
    RingReader(const InputBuffer& ring, std::atomic<std::uint32_t>& readPosition, std::uint32_t frameLimit);
    RingReader() = default;

    /// Leaves at most `frameLimit` frames to take.
    void limitTo(std::uint32_t frameLimit) { left = std::min(left, frameLimit); }

    /// Frames still to take.
    [[nodiscard]] std::uint32_t remaining() const { return left; }
    /// Frames that lie together from here on.
    [[nodiscard]] std::uint32_t contiguous() const {
        return std::min(left, InputBuffer::kFrameCount - index);
    }
    [[nodiscard]] const InputBuffer::Frame* data() const { return frames + index; }
    /// Goes on by `frameCount`, at most contiguous().
    void advance(std::uint32_t frameCount) {
        index = (index + frameCount) % InputBuffer::kFrameCount;
        left -= frameCount;
    }
    /// Makes what was taken free for the ring.
    void commit();

private:
    const InputBuffer::Frame* frames = nullptr;
    std::atomic<std::uint32_t>* position = nullptr;
    std::uint32_t index = 0; // in frames
    std::uint32_t left = 0;
};
