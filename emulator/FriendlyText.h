// Answers for a person at the prompt instead of JSON.
#pragma once

#include "emulator/Json.h"

namespace vexo::emulator {

// One or more lines, each with its end. The command is the line that was answered.
std::string friendlyText(std::string_view command, const Json& answer);

// What the prompt says first.
std::string friendlyWelcome(const VirtualBus& bus, const std::string& socketPath);

} // namespace vexo::emulator
