#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// `count` samples between -`peak` and `peak`: 24 bits each of a linear congruence from the lower 32 bits of
/// `seed`. The script that writes the mixer's golden buffers has the same generator.
[[nodiscard]] inline std::vector<float> noise(std::uint64_t seed, std::size_t count, float peak = 1.0f) {
    auto state = static_cast<std::uint32_t>(seed);
    std::vector<float> samples(count);
    for (float& sample : samples) {
        state = state * 1664525u + 1013904223u;
        sample = (static_cast<float>(state >> 8) / 8388608.0f - 1.0f) * peak;
    }
    return samples;
}
