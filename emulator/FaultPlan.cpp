#include "emulator/FaultPlan.h"

namespace vexo::emulator {
namespace {

constexpr std::array<FaultKindInfo, kFaultKinds> kKinds{{
    {FaultKind::Drop, "drop", 0, true},
    {FaultKind::Duplicate, "duplicate", 0, true},
    {FaultKind::Delay, "delay", 50, true},
    {FaultKind::Reorder, "reorder", 0, true},
    {FaultKind::Truncate, "truncate", 0, true},
    {FaultKind::Corrupt, "corrupt", 0, true},
    {FaultKind::Split, "split", 0, false},
    {FaultKind::Join, "join", 0, false},
    {FaultKind::Late, "late", 1500, false},
    {FaultKind::Never, "never", 0, false},
    {FaultKind::WrongSource, "wrong-source", 0, false},
}};

} // namespace

std::span<const FaultKindInfo> allFaultKinds() {
    return kKinds;
}

void FaultPlan::reseed(std::uint64_t newSeed) {
    seed = newSeed;
    random = Random(newSeed);
}

void FaultPlan::off() {
    settings = {};
    counts = {};
}

bool FaultPlan::strikes(FaultKind kind, Direction direction) {
    const FaultSetting& setting = settings[index(kind)];
    const bool applies = direction == Direction::ToHost ? setting.toHost : setting.toDevice;
    if (!applies || setting.probability <= 0 || !random.chance(setting.probability)) {
        return false;
    }
    ++counts[index(kind)];
    return true;
}

} // namespace vexo::emulator
