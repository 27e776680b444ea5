// Repeatable random numbers: the same seed yields the same numbers with every compiler and library.
#pragma once

#include <cstdint>
#include <random>

namespace vexo::emulator {

class Random {
public:
    explicit Random(std::uint64_t seed) : engine(seed) {}

    // 0 to bound - 1; bound is above 0.
    std::uint64_t below(std::uint64_t bound) { return engine() % bound; }
    // True with this probability, 0 to 1.
    bool chance(double probability) {
        constexpr double kUnit = 1.0 / 9007199254740992.0; // 2 to the power of -53
        return static_cast<double>(engine() >> 11U) * kUnit < probability;
    }

private:
    std::mt19937_64 engine;
};

} // namespace vexo::emulator
