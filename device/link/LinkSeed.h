#pragma once

#include <cstdint>

namespace vexo::link {

// The seed of the random generator: over the twelve bytes of the build date's text and the nine of the build
// time's, each with its final NUL, seed = seed * 131 + byte.
[[nodiscard]] constexpr std::uint32_t seedOf(const char (&date)[12], const char (&time)[9]) {
    std::uint32_t seed = 0;
    for (const char character : date) {
        seed = seed * 131 + static_cast<std::uint8_t>(character);
    }
    for (const char character : time) {
        seed = seed * 131 + static_cast<std::uint8_t>(character);
    }
    return seed;
}

} // namespace vexo::link
