// The answers' JSON: objects for devices and records. docs/emulator.md describes them.
#pragma once

#include "emulator/VirtualBus.h"

#include <nlohmann/json.hpp>

namespace vexo::emulator {

// Keeps the order in which members are added.
using Json = nlohmann::ordered_json;

// One line without its end. Text that is no UTF-8 gets replacement characters.
std::string toLine(const Json& json);

Json describeDevices(const VirtualBus& bus);
Json describeState(const VirtualBus& bus, std::size_t device);
Json describeIdentity(const VirtualBus& bus, std::size_t device);
Json describeFirmware(const VirtualDevice& device);
Json describeAnswers(const VirtualDevice& device);
Json describeFaults(const FaultPlan& faults);
Json describe(const VirtualBus& bus, const FrameRecord& record);
Json describe(const VirtualBus& bus, const WriteRecord& record);
Json describe(const VirtualBus& bus, const ReportRecord& record);

std::string_view directionWord(Direction direction);

} // namespace vexo::emulator
