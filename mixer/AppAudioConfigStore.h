#pragma once

// Keeps the routing record of every source. All operations may be called on any thread. Each holds the
// store's mutex for a look-up and a copy, allProcessIds() for a walk over the ids; memory is allocated and
// freed outside of it. Render callbacks take this mutex inside that of PerAppInputBuffers, never the other
// way round.

#include "mixer/AppAudioConfig.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

class AppAudioConfigStore {
public:
    /// The store of the process, made at first use and alive to its end.
    static AppAudioConfigStore& instance();

    AppAudioConfigStore() = default;
    AppAudioConfigStore(const AppAudioConfigStore&) = delete;
    AppAudioConfigStore& operator=(const AppAudioConfigStore&) = delete;

    /// Stores a copy under `processID`, whatever the record itself names.
    void putConfig(std::uint32_t processID, const AppAudioConfig& record);

    /// A copy of the source's record; inactiveAppAudioConfig() for an unknown id.
    [[nodiscard]] AppAudioConfig getConfig(std::uint32_t processID) const;

    /// A copy of the bus's master record: Bus 1 for 1, Bus 2 for any other value. Without a record: active,
    /// on that bus alone enabled, volume 1.0, not muted, no solo.
    [[nodiscard]] AppAudioConfig getBusConfig(std::uint32_t bus) const;

    /// The ids that have a record, ascending. The store forgets none of them before clear().
    [[nodiscard]] std::vector<std::uint32_t> allProcessIds() const;

    /// Forgets everything: the end of routing.
    void clear();

private:
    mutable std::mutex mutex;
    std::map<std::uint32_t, AppAudioConfig> records;
};
