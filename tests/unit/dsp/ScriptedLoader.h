#pragma once

#include "tests/support/ScriptedHidapi.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// A device with a FlashBoot loader on the scripted bus: it answers each report inside the write. One at a
/// time, after scriptedHidapi::reset().
class ScriptedLoader {
public:
    static constexpr std::uint16_t kVendor = 0x352F;
    static constexpr std::uint16_t kNormal = 0x9829;
    static constexpr std::uint16_t kBoot = 0x0820;
    static constexpr const char* kNormalPath = "/dev/normal";
    static constexpr const char* kBootPath = "/dev/boot";

    explicit ScriptedLoader(bool inBootloader);

    /// Replies instead of the right one, by the command's first seven letters: whole reports.
    std::map<std::string, std::vector<scriptedHidapi::Report>> replies;
    /// Runs before the loader takes the report of an index, counted over both identities, and after.
    std::function<void(std::size_t index)> before;
    std::function<void(std::size_t index)> after;
    /// Whether the restart command leads into the bootloader.
    bool jumps = true;

    /// The reports it got, by their letters and, for packets, by their data.
    std::vector<std::string> commands;
    std::vector<std::uint8_t> flash;

    /// As after a new plug: on the bus in the normal or the boot identity.
    void plugIn(bool inBootloader);
    void pullOut();

private:
    void take(const char* path, const scriptedHidapi::Report& report);
    std::size_t taken = 0;
};
