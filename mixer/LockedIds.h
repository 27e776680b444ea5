#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

/// The keys of a map, in its order. `mutex` guards the map and is held for the walk alone: render threads
/// wait for it, so the memory is taken before.
template <typename Value>
[[nodiscard]] std::vector<std::uint32_t> idsUnderLock(std::mutex& mutex,
                                                      const std::map<std::uint32_t, Value>& map) {
    std::vector<std::uint32_t> ids;
    std::size_t needed = 0;
    do {
        ids.reserve(needed);
        const std::lock_guard lock(mutex);
        needed = map.size();
        if (needed <= ids.capacity()) {
            for (const auto& [id, value] : map) {
                ids.push_back(id);
            }
        }
    } while (ids.size() < needed);
    return ids;
}
