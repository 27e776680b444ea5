#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

/// idOf(key) of every key of a map, in its order. `mutex` guards the map and is held for the walk alone:
/// render threads wait for it, so the memory is taken before.
template <typename Map, typename IdOf>
[[nodiscard]] std::vector<std::uint32_t> idsUnderLock(std::mutex& mutex, const Map& map, IdOf idOf) {
    std::vector<std::uint32_t> ids;
    std::size_t needed = 0;
    do {
        ids.reserve(needed);
        const std::lock_guard lock(mutex);
        needed = map.size();
        if (needed <= ids.capacity()) {
            for (const auto& [key, value] : map) {
                ids.push_back(idOf(key));
            }
        }
    } while (ids.size() < needed);
    return ids;
}
