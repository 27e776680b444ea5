#pragma once

#include <array>
#include <cstdint>

namespace vexo::link {

// A first-in first-out queue of a fixed number of entries.
template <typename Entry, std::uint32_t kCapacity>
class LinkQueue {
public:
    [[nodiscard]] bool isFull() const { return count == kCapacity; }
    [[nodiscard]] std::uint32_t size() const { return count; }

    // False, with nothing changed, when the queue is full.
    [[nodiscard]] bool put(const Entry& entry) {
        if (isFull()) {
            return false;
        }
        entries[(first + count) % kCapacity] = entry;
        ++count;
        return true;
    }

    // False when the queue is empty.
    [[nodiscard]] bool take(Entry& entry) {
        if (count == 0) {
            return false;
        }
        entry = entries[first];
        first = (first + 1) % kCapacity;
        --count;
        return true;
    }

private:
    std::array<Entry, kCapacity> entries{};
    std::uint32_t first = 0;
    std::uint32_t count = 0;
};

} // namespace vexo::link
