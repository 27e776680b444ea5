#pragma once

#include "tests/support/mixer/MixerFixture.h"

#include <atomic>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

/// Left carries a value and right its negative, whatever is mixed: a torn frame would show.
inline std::vector<float> mirrored(std::size_t frames, Random& random) {
    std::vector<float> stereo(frames * 2);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        stereo[2 * frame] = static_cast<float>(random() % 1024) / 1024.0f;
        stereo[2 * frame + 1] = -stereo[2 * frame];
    }
    return stereo;
}

/// Counts the frames that are not, or that leave -1.0 ... 1.0.
inline void expectMirrored(std::span<const float> stereo, std::atomic<std::uint64_t>& broken) {
    for (std::size_t frame = 0; frame < stereo.size() / 2; ++frame) {
        if (stereo[2 * frame] != -stereo[2 * frame + 1] || !(std::fabs(stereo[2 * frame]) <= 1.0f)) {
            broken.fetch_add(1, std::memory_order_relaxed);
        }
    }
}
