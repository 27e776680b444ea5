// Several threads that append to the log's queue while one takes. Run it under the thread sanitizer.

#include "mixer/LineQueue.h"
#include "tests/support/mixer/MixerFixture.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

TEST(LineQueueThreads, LinesStayWholeAndInTheOrderOfTheirThreadAndEachIsTakenOrLost) {
    constexpr std::uint32_t kThreads = 4;
    const std::uint32_t lineCount = longRun() ? 1'000'000 : 20'000;
    LineQueue<64, 32> queue;
    std::atomic<std::uint32_t> running{kThreads};
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (std::uint32_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            std::array<char, 64> line{};
            for (std::uint32_t number = 0; number < lineCount; ++number) {
                const int length =
                    std::snprintf(line.data(), line.size(), "%u %u %u", thread, number, thread ^ number);
                queue.append({line.data(), static_cast<std::size_t>(length)});
            }
            --running;
        });
    }
    std::uint64_t taken = 0;
    std::uint64_t lost = 0;
    std::uint64_t broken = 0;
    std::array<std::uint32_t, kThreads> next{};
    const auto takeAll = [&] {
        while (queue.take([&](std::string_view text, std::uint64_t lostBefore) {
            const std::string line(text);
            unsigned thread = kThreads;
            unsigned number = 0;
            unsigned check = 0;
            const bool whole = std::sscanf(line.c_str(), "%u %u %u", &thread, &number, &check) == 3 &&
                               thread < kThreads && check == (thread ^ number) && number >= next[thread];
            broken += whole ? 0 : 1;
            if (whole) {
                next[thread] = number + 1;
            }
            ++taken;
            lost += lostBefore;
        })) {
        }
    };
    while (running > 0) {
        takeAll();
        std::this_thread::yield();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    takeAll();
    lost += queue.takeLost();
    EXPECT_EQ(broken, 0u);
    EXPECT_EQ(taken + lost, std::uint64_t{kThreads} * lineCount);
    EXPECT_GT(taken, 0u);
}
