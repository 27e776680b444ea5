// The router's log on a pipe that nobody reads.

#include "mixer/RouterLog.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

// A pipe that takes no byte more, as the wide standard output.
class FullPipe : public std::wstreambuf {
public:
    FullPipe() {
        EXPECT_EQ(pipe(ends.data()), 0);
        EXPECT_EQ(fcntl(ends[1], F_SETFL, O_NONBLOCK), 0);
        const std::array<char, 4096> filling{};
        for (const std::size_t block : {filling.size(), std::size_t{1}}) {
            while (::write(ends[1], filling.data(), block) > 0) {
                filled += block;
            }
        }
        EXPECT_EQ(errno, EAGAIN);
        EXPECT_EQ(fcntl(ends[1], F_SETFL, 0), 0);
        previous = std::wcout.rdbuf(this);
    }
    ~FullPipe() override {
        flushRouterLog(); // the log's thread may still be on its way out of sync()
        std::wcout.rdbuf(previous);
        close(ends[0]);
        close(ends[1]);
    }
    FullPipe(const FullPipe&) = delete;
    FullPipe& operator=(const FullPipe&) = delete;

    // As whoever prints a line without a queue.
    void write(const std::string& text) const {
        EXPECT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    // Reads until a line is this one; returns all text behind what filled the pipe.
    std::string readTo(const std::string& lastLine) {
        std::string text;
        std::array<char, 4096> block;
        while (!text.ends_with(lastLine + "\n")) {
            const ssize_t count = ::read(ends[0], block.data(), block.size());
            if (count <= 0) {
                break;
            }
            const auto skipped = std::min(filled, static_cast<std::size_t>(count));
            filled -= skipped;
            text.append(block.data() + skipped, static_cast<std::size_t>(count) - skipped);
        }
        return text;
    }

protected:
    int_type overflow(int_type character) override {
        line += static_cast<char>(character);
        return character;
    }
    int sync() override {
        const bool written = ::write(ends[1], line.data(), line.size()) == static_cast<ssize_t>(line.size());
        line.clear();
        return written ? 0 : -1;
    }

private:
    std::array<int, 2> ends{};
    std::size_t filled = 0;
    std::string line;
    std::wstreambuf* previous = nullptr;
};

} // namespace

TEST(RouterLogPipe, WhoLogsDoesNotWaitForAPipeThatNobodyReads) {
    constexpr int kLines = 2 * static_cast<int>(kRouterLogLines);
    flushRouterLog();
    FullPipe output;
    Clock::duration worst{};
    Clock::duration sum{};
    Clock::duration direct{};
    std::atomic<bool> directIsOut{false};
    std::thread withoutQueue([&] {
        const Clock::time_point before = Clock::now();
        output.write("direct\n");
        direct = Clock::now() - before;
        directIsOut = true;
    });
    for (int line = 0; line < kLines; ++line) {
        const Clock::time_point before = Clock::now();
        routerLog("line {}", line);
        const Clock::duration took = Clock::now() - before;
        worst = std::max(worst, took);
        sum += took;
    }
    EXPECT_FALSE(directIsOut);
    std::string text;
    std::thread reader([&] { text = output.readTo("the end"); });
    withoutQueue.join();
    flushRouterLog();
    routerLog("the end");
    reader.join();
    EXPECT_NE(text.find("line 0\n"), std::string::npos) << text.substr(0, 200);
    // But for "direct", the count of the lost ones and "the end".
    const auto printed = std::ranges::count(text, '\n') - 3;
    EXPECT_NE(text.find("[WARNING] " + std::to_string(kLines - printed) + " lines of the router were lost"),
              std::string::npos)
        << printed << " lines printed";
    const auto micros = [](Clock::duration time) {
        return std::chrono::duration<double, std::micro>(time).count();
    };
    std::cout << kLines << " lines into a full pipe: " << micros(sum) / kLines << " us each, "
              << micros(worst) << " us at worst; a line that was written directly waited for the reader, "
              << micros(direct) << " us\n";
}
