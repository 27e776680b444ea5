#include "mixer/RouterLog.h"
#include "tests/support/mixer/PrintedLines.h"
#include "tests/support/mixer/RouterLogCapture.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <iostream>
#include <latch>
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
                    // No more wait than the queue holds.
                    if ((line + 1) % static_cast<int>(kRouterLogLines / kThreads) == 0) {
                        flushRouterLog();
                    }
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

TEST(RouterLogDeathTest, AllLinesAreOutAtTheEndOfTheProcess) {
    const std::vector<std::string> lines = printedBy([] {
        for (std::size_t line = 0; line < kRouterLogLines; ++line) {
            routerLog("line {}", line);
        }
    });
    ASSERT_EQ(lines.size(), kRouterLogLines);
    for (std::size_t line = 0; line < kRouterLogLines; ++line) {
        EXPECT_EQ(lines[line], "line " + std::to_string(line));
    }
}

TEST(RouterLogDeathTest, EndOfTheProcessDoesNotWaitForAnOutputThatTakesNothing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto play = [] {
        static std::latch never(1);
        setRouterLogSink([](std::string_view) { never.wait(); });
        routerLog("first");
        routerLog("second");
        std::exit(0);
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), "");
}

TEST(RouterLog, CharacterThatTheOutputRefusesEndsItsLineAndTheNextOnesAreWhole) {
    flushRouterLog();
    AsciiOutput output;
    std::wstreambuf* const before = std::wcout.rdbuf(&output);
    routerLog("before");
    routerLog("device 麦克风 found");
    routerLog("after");
    flushRouterLog();
    std::wcout.rdbuf(before);
    EXPECT_EQ(output.text, L"before\ndevice \nafter\n");
}

TEST(RouterLog, LineBeyondTheLongestIsCutAtACharacter) {
    RouterLogCapture log;
    const std::string longest(kRouterLineBytes, 'a');
    routerLog("{}", longest);
    routerLog("{}", longest + "b");
    routerLog("{}扬", longest.substr(2));
    routerLog("{}扬", longest.substr(3));
    EXPECT_EQ(log.take(), (Lines{longest, longest, longest.substr(2), longest.substr(3) + "扬"}));
}

TEST(RouterLog, LineGoesToTheSinkThatWasSetWhenItWasLogged) {
    Lines first;
    Lines second;
    setRouterLogSink([&](std::string_view line) { first.emplace_back(line); });
    routerLog("one");
    setRouterLogSink([&](std::string_view line) { second.emplace_back(line); });
    routerLog("two");
    setRouterLogSink({});
    EXPECT_EQ(first, Lines{"one"});
    EXPECT_EQ(second, Lines{"two"});
}

TEST(RouterLog, LinesThatFindNoRoomAreCountedInTheirPlaceAndNobodyWaits) {
    std::latch begun(1);
    std::latch mayGoOn(1);
    Lines printed;
    setRouterLogSink([&](std::string_view line) {
        if (printed.empty()) {
            begun.count_down();
            mayGoOn.wait();
        }
        printed.emplace_back(line);
    });
    routerLog("line 0");
    begun.wait(); // the output hangs, with the first line in its place of the queue
    for (std::size_t line = 1; line < kRouterLogLines + 10; ++line) {
        routerLog("line {}", line);
    }
    mayGoOn.count_down();
    flushRouterLog();
    routerLog("after");
    setRouterLogSink({});
    ASSERT_EQ(printed.size(), kRouterLogLines + 2);
    for (std::size_t line = 0; line < kRouterLogLines; ++line) {
        EXPECT_EQ(printed[line], "line " + std::to_string(line));
    }
    EXPECT_EQ(printed[kRouterLogLines], "[WARNING] 10 lines of the router were lost, the output is too slow");
    EXPECT_EQ(printed[kRouterLogLines + 1], "after");
}

TEST(RouterLog, LinesGoToTheWideStandardOutputUnlessASinkTakesThem) {
    testing::internal::CaptureStdout();
    {
        const RouterLogCapture log;
        routerLog("to the sink");
    }
    routerLog("[INFO] first");
    routerLog("[INFO] second");
    flushRouterLog();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[INFO] first\n[INFO] second\n");
}
