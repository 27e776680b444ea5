#pragma once

#include <algorithm>
#include <cstdint>

namespace vexo::link {

// Of two frame rates the lower one that is not 0, where 0 means no limit.
[[nodiscard]] constexpr std::uint16_t lowerRate(std::uint16_t first, std::uint16_t second) {
    if (first == 0 || second == 0) {
        return std::max(first, second);
    }
    return std::min(first, second);
}

} // namespace vexo::link
