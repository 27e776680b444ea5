#pragma once

// A bounded queue of lines: any number of threads append, one at a time takes. Nothing in it waits, and
// nothing is allocated after the queue itself was made.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

template <std::size_t kLineBytes, std::size_t kLineCount>
class LineQueue {
public:
    static_assert((kLineCount & (kLineCount - 1)) == 0, "positions wrap at a power of two");

    LineQueue() {
        for (std::size_t place = 0; place < kLineCount; ++place) {
            slots[place].turn.store(place, std::memory_order_relaxed);
        }
    }
    LineQueue(const LineQueue&) = delete;
    LineQueue& operator=(const LineQueue&) = delete;

    /// Appends a copy of at most kLineBytes bytes. A line that finds no room is gone; takeLost() counts it.
    void append(std::string_view line) {
        std::uint64_t position = end.load(std::memory_order_relaxed);
        for (;;) {
            Slot& slot = slots[position % kLineCount];
            const std::uint64_t turn = slot.turn.load(std::memory_order_acquire); // pairs with take()
            if (turn < position) {
                lostLines.fetch_add(1, std::memory_order_relaxed);
                return;
            }
            // A turn beyond the position: another thread has had the slot meanwhile.
            if (turn > position) {
                position = end.load(std::memory_order_relaxed);
            } else if (end.compare_exchange_weak(position, position + 1, std::memory_order_relaxed)) {
                slot.lostBefore = lostLines.exchange(0, std::memory_order_relaxed);
                slot.byteCount = line.copy(slot.text.data(), kLineBytes);
                slot.turn.store(position + 1, std::memory_order_release); // pairs with take()
                return;
            }
        }
    }

    /// Calls `print(line, lostBefore)` for the oldest line, where `lostBefore` lines were lost since the one
    /// before it; false when there is none. One thread at a time.
    template <typename Print>
    bool take(Print print) {
        Slot& slot = slots[begin % kLineCount];
        if (slot.turn.load(std::memory_order_acquire) != begin + 1) { // pairs with append()
            return false;
        }
        print(std::string_view(slot.text.data(), slot.byteCount), slot.lostBefore);
        slot.turn.store(begin + kLineCount, std::memory_order_release); // pairs with append()
        ++begin;
        return true;
    }

    /// Lines that were lost since the newest one; the count begins anew.
    [[nodiscard]] std::uint64_t takeLost() { return lostLines.exchange(0, std::memory_order_relaxed); }

private:
    struct Slot {
        // The position that may be written here next; one more while a line waits.
        std::atomic<std::uint64_t> turn{0};
        std::uint64_t lostBefore = 0;
        std::size_t byteCount = 0;
        std::array<char, kLineBytes> text;
    };

    std::array<Slot, kLineCount> slots;
    std::atomic<std::uint64_t> end{0}; // next position to append at
    std::uint64_t begin = 0;           // next position to take
    std::atomic<std::uint64_t> lostLines{0};
};
