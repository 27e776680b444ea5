#pragma once

#include "dsp/frames/Bytes.h"

#include <cstdint>
#include <optional>
#include <span>

/// The commands that the signal processor knows, and the payloads that carry them. Pure functions on any
/// thread.
namespace vexo::dsp {

struct SndcCommand {
    std::uint8_t group;
    std::uint8_t command;
    /// How many parameter bytes go with it.
    std::uint8_t parameterBytes;
};

/// All of them, by group and command.
[[nodiscard]] std::span<const SndcCommand> sndcCommands();

/// Group, index, command, a zero byte, the parameters' length, the parameters. `index` is a channel or band,
/// 0 where there is none. Nothing for an unknown command or another count of parameters than its own.
[[nodiscard]] std::optional<Report> sndcRecord(std::uint8_t group, std::uint8_t command,
                                               std::uint8_t index = 0, Bytes parameters = {});

} // namespace vexo::dsp
