#pragma once

// Adds up what several streams of one process play, so that the mixer meets one source. Packets of the
// streams arrive in any order and lengths; frames that were played together are added. A stream that falls
// behind is waited for a little, then left out until it delivers again, so that it cannot hold the others up.
//
// All stereo float, interleaved. Belongs to one thread.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <vector>

class PlaybackMerge {
public:
    /// Frames by which a stream may be behind another before it is left out: 60 ms at 48000 Hz.
    static constexpr std::size_t kLargestSkewFrames = 2880;

    using Output = std::function<void(std::span<const float> stereo)>;

    /// Gets the sum, in pieces.
    explicit PlaybackMerge(Output mergedOutput);

    void add(std::uint32_t stream);
    /// What the stream still had is lost.
    void remove(std::uint32_t stream);
    /// A paused stream delivers nothing and is not waited for.
    void setPaused(std::uint32_t stream, bool paused);
    /// A packet of a stream that was added.
    void push(std::uint32_t stream, std::span<const float> stereo);

private:
    struct Stream {
        std::vector<float> waiting;
        bool awaited = true; // delivered lately, and not paused
    };

    void deliver();

    Output output;
    std::map<std::uint32_t, Stream> streams;
    std::vector<float> sum;
};
