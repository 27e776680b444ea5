#pragma once

// The block kernel of FBiquadChain: many sections in series at once.
//
// Run frame by frame, a section waits for its own last output, and the next section waits for that one. Here
// each lane is one section, and the sections of band b work on the frame b places behind the newest: no lane
// waits for another, and a step is plain arithmetic over arrays. Each section still receives the same samples
// in the same order, so that the results are the same bit for bit.

#include "audio/equalizer/FBiquad.h"

#include <array>
#include <cstddef>
#include <vector>

class FBiquadCascade {
public:
    /// Sections that run at once: bands times channels.
    static constexpr std::size_t kMaxLanes = 32;

    /// `channelCount` is 1 to 8.
    explicit FBiquadCascade(std::size_t channelCount) : channels(channelCount) {}

    /// Appends one band, `sections` one per channel; false when there is no lane left for it.
    [[nodiscard]] bool append(std::vector<FBiquad>& sections);

    /// Runs the block in place through the bands appended so far, writes the history back to the sections and
    /// is empty again.
    void run(float* block, std::size_t frameCount);

private:
    using Lanes = std::array<float, kMaxLanes>;

    void step(const float* in, std::size_t firstLane, std::size_t endLane);
    template <std::size_t kLanes>
    void stepAll(const float* in);
    template <std::size_t kLanes>
    void runAligned(float* block, std::size_t frameCount);

    std::size_t channels;
    std::size_t laneCount = 0;
    std::array<FBiquad*, kMaxLanes> targets{};
    alignas(32) Lanes b0{};
    alignas(32) Lanes b1{};
    alignas(32) Lanes b2{};
    alignas(32) Lanes a1{};
    alignas(32) Lanes a2{};
    alignas(32) Lanes x1{};
    alignas(32) Lanes x2{};
    alignas(32) Lanes y1{};
    alignas(32) Lanes y2{};
};
