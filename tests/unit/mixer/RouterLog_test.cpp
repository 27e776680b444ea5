#include "mixer/RouterLog.h"
#include "tests/support/mixer/PrintedLines.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <streambuf>
#include <string>
#include <thread>
#include <vector>

namespace {

// An output whose encoding is ASCII, and that refuses anything else.
class AsciiOutput : public std::wstreambuf {
public:
    std::wstring text;

protected:
    int_type overflow(int_type character) override {
        if (character > 0x7F) {
            return traits_type::eof();
        }
        text += traits_type::to_char_type(character);
        return character;
    }
};

} // namespace

TEST(RouterLogDeathTest, LinesOfSeveralThreadsStayWhole) {
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    const std::vector<std::string> lines = printedBy([] {
        std::vector<std::thread> threads;
        threads.reserve(kThreads);
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([thread] {
                for (int line = 0; line < kLines; ++line) {
                    routerLog("thread {} line {} {} end", thread, line, std::string(60, '.'));
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    });
    EXPECT_EQ(lines.size(), std::size_t{kThreads} * kLines);
    std::map<int, int> next; // each thread's lines keep their order
    for (const std::string& line : lines) {
        int thread = -1;
        int number = -1;
        ASSERT_EQ(std::sscanf(line.c_str(), "thread %d line %d ", &thread, &number), 2) << line;
        EXPECT_EQ(line, "thread " + std::to_string(thread) + " line " + std::to_string(next[thread]++) + " " +
                            std::string(60, '.') + " end");
    }
}

TEST(RouterLogDeathTest, ChineseNameInTheClassicLocaleDoesNotSilenceTheLinesAfterIt) {
    const std::vector<std::string> lines = printedBy([] {
        routerLog("before");
        routerLog("device 麦克风 found");
        routerLog("after");
    });
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "before");
    EXPECT_EQ(lines[1].substr(0, 7), "device ");
    EXPECT_EQ(lines[2], "after");
}

TEST(RouterLog, CharacterThatTheOutputRefusesEndsItsLineAndTheNextOnesAreWhole) {
    AsciiOutput output;
    std::wstreambuf* const before = std::wcout.rdbuf(&output);
    routerLog("before");
    routerLog("device 麦克风 found");
    routerLog("after");
    std::wcout.rdbuf(before);
    EXPECT_EQ(output.text, L"before\ndevice \nafter\n");
}
