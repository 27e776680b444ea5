#pragma once

#include <audioclient.h>
#include <chrono>
#include <ratio>

/// A duration in the units that audio clients count in: 100 ns.
[[nodiscard]] constexpr REFERENCE_TIME referenceTime(std::chrono::milliseconds duration) {
    using Units = std::chrono::duration<REFERENCE_TIME, std::ratio<1, 10'000'000>>;
    return std::chrono::duration_cast<Units>(duration).count();
}
