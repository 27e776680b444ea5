#pragma once

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>

// The seed of a random test: VEXO_SEED when it is set, so that a failing run can be repeated, else
// `fallback`.
inline std::uint64_t seedFromEnvironment(std::uint64_t fallback) {
    const char* text = std::getenv("VEXO_SEED");
    return text == nullptr ? fallback : std::stoull(text);
}

// The same for a test that takes another way at each run, and prints its seed when it fails.
inline std::uint32_t newSeed() {
    return static_cast<std::uint32_t>(seedFromEnvironment(std::random_device{}()));
}
