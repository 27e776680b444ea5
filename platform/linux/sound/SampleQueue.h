#pragma once

// Samples on their way from one thread to another, without a lock and, after the constructor, without an
// allocation.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <span>

class SampleQueue {
public:
    /// A power of two: 340 ms of stereo at 48000 Hz. The largest packet of a server fits twice.
    static constexpr std::size_t kCapacity = 32768;

    /// Samples that find no room are lost as a whole. The one thread that writes.
    void push(std::span<const float> samples) {
        const std::size_t at = written.load(std::memory_order_relaxed);
        // Pairs with the release in drain(): the room is read before it is written again.
        if (samples.size() > kCapacity - (at - read.load(std::memory_order_acquire))) {
            return;
        }
        const std::size_t first = at % kCapacity;
        const std::size_t tail = std::min(samples.size(), kCapacity - first);
        std::copy_n(samples.begin(), tail, buffer->begin() + static_cast<std::ptrdiff_t>(first));
        std::copy(samples.begin() + static_cast<std::ptrdiff_t>(tail), samples.end(), buffer->begin());
        written.store(at + samples.size(), std::memory_order_release);
    }

    /// Samples that wait. Exact on either of the two threads while the other one does nothing.
    [[nodiscard]] std::size_t size() const {
        const std::size_t taken = read.load(std::memory_order_relaxed);
        return written.load(std::memory_order_relaxed) - taken;
    }

    /// Passes all that was written so far, in one or two pieces. The one thread that reads.
    template <typename Use>
    void drain(Use use) {
        const std::size_t at = read.load(std::memory_order_relaxed);
        // Pairs with the release in push(): the samples are there before their count.
        const std::size_t end = written.load(std::memory_order_acquire);
        const std::size_t first = at % kCapacity;
        const std::size_t tail = std::min(end - at, kCapacity - first);
        if (tail > 0) {
            use(std::span<const float>(*buffer).subspan(first, tail));
        }
        if (end - at > tail) {
            use(std::span<const float>(*buffer).first(end - at - tail));
        }
        read.store(end, std::memory_order_release);
    }

private:
    std::unique_ptr<std::array<float, kCapacity>> buffer = std::make_unique<std::array<float, kCapacity>>();
    std::atomic<std::size_t> written = 0;
    std::atomic<std::size_t> read = 0;
};
