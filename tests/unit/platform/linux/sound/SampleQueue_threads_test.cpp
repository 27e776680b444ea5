#include "platform/linux/sound/SampleQueue.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <gtest/gtest.h>
#include <numeric>
#include <span>
#include <thread>
#include <vector>

namespace {

std::vector<float> drained(SampleQueue& queue) {
    std::vector<float> samples;
    queue.drain([&samples](std::span<const float> piece) {
        samples.insert(samples.end(), piece.begin(), piece.end());
    });
    return samples;
}

} // namespace

TEST(SampleQueue, HandsOverWhatWasWrittenInItsOrderAlsoAcrossItsEnd) {
    SampleQueue queue;
    std::vector<float> packet(SampleQueue::kCapacity / 3 * 2);
    std::iota(packet.begin(), packet.end(), 1.0f);
    for (int round = 0; round < 4; ++round) {
        queue.push(packet);
        EXPECT_EQ(drained(queue), packet) << "in round " << round;
    }
    EXPECT_TRUE(drained(queue).empty());
}

TEST(SampleQueue, PacketThatFindsNoRoomIsLostAsAWhole) {
    SampleQueue queue;
    const std::vector<float> filling(SampleQueue::kCapacity - 1, 0.5f);
    queue.push(filling);
    queue.push(std::array{0.25f, 0.25f});
    EXPECT_EQ(drained(queue), filling);
    queue.push(std::array{0.25f, 0.25f});
    EXPECT_EQ(drained(queue), (std::vector{0.25f, 0.25f}));
}

TEST(SampleQueue, TwoThreadsLoseNothingAndSeeNothingTwice) {
    constexpr std::size_t kCount = 200000;
    SampleQueue queue;
    std::size_t read = 0;
    std::atomic<std::size_t> seen = 0;
    std::jthread writer([&queue, &seen] {
        for (std::size_t at = 0; at < kCount; at += 2) {
            while (at - seen.load() > SampleQueue::kCapacity / 2) {
                std::this_thread::yield();
            }
            queue.push(std::array{static_cast<float>(at), static_cast<float>(at + 1)});
        }
    });
    std::size_t wrong = 0;
    while (read < kCount) {
        queue.drain([&](std::span<const float> piece) {
            for (const float sample : piece) {
                wrong += sample != static_cast<float>(read) ? 1 : 0;
                ++read;
            }
        });
        seen = read;
    }
    EXPECT_EQ(wrong, 0u);
}
