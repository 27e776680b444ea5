// Which faults happen on the wire, at random from a seed.
//
// Every decision draws from one generator, in the order of the reports, frames and answers. So the same seed
// and the same traffic produce the same faults.
#pragma once

#include "emulator/Random.h"

#include <array>
#include <optional>
#include <span>
#include <string_view>

namespace vexo::emulator {

enum class FaultKind {
    // of one report
    Drop,
    Duplicate,
    Delay,
    Reorder,
    Truncate,
    Corrupt,
    // of one frame to the host
    Split,
    Join,
    // of one answer to the host
    Late,
    Never,
    WrongSource,
};
inline constexpr std::size_t kFaultKinds = 11;

enum class Direction { ToHost, ToDevice };

struct FaultKindInfo {
    FaultKind kind;
    std::string_view word;
    // Milliseconds when none are given; 0 for a kind that takes no amount.
    std::uint32_t amountMs;
    // Whether it can happen to what the host sends.
    bool toDevice;
};

std::span<const FaultKindInfo> allFaultKinds();

struct FaultSetting {
    double probability = 0;
    std::uint32_t amountMs = 0;
    bool toHost = false;
    bool toDevice = false;
};

class FaultPlan {
public:
    explicit FaultPlan(std::uint64_t firstSeed) : seed(firstSeed), random(firstSeed) {}

    void reseed(std::uint64_t newSeed);
    std::uint64_t currentSeed() const { return seed; }
    void set(FaultKind kind, FaultSetting setting) { settings[index(kind)] = setting; }
    const FaultSetting& get(FaultKind kind) const { return settings[index(kind)]; }
    // No faults; the counts start again.
    void off();

    // Whether the fault happens now. Draws from the generator only when the fault is set.
    bool strikes(FaultKind kind, Direction direction);
    // For a fault that happens: where or how much, 0 to bound - 1.
    std::uint64_t below(std::uint64_t bound) { return random.below(bound); }
    // How often it happened.
    std::uint64_t happened(FaultKind kind) const { return counts[index(kind)]; }

private:
    static std::size_t index(FaultKind kind) { return static_cast<std::size_t>(kind); }

    std::uint64_t seed;
    Random random;
    std::array<FaultSetting, kFaultKinds> settings{};
    std::array<std::uint64_t, kFaultKinds> counts{};
};

} // namespace vexo::emulator
