// Times of the emulator: milliseconds of the caller's clock.
#pragma once

#include <cstdint>
#include <limits>

namespace vexo::emulator {

// The time of an event that is not planned.
inline constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

} // namespace vexo::emulator
