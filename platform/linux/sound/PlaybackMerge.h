#pragma once

// Adds up what several streams of one process play, so that the mixer gets one source. The packets of the
// streams come in any order and length; frames that were played together are added. The merge waits a little
// for a stream that falls behind, then leaves it out until it delivers again, so that it cannot hold the
// others up.
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

    /// `mergedOutput` gets the sum, piece by piece.
    explicit PlaybackMerge(Output mergedOutput);

    void add(std::uint32_t stream);
    /// What the stream still had is lost; the others' frames that waited for it go out.
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
