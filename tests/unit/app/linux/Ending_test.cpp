// How a process ends that is asked to, or that a library ends.

#include "app/UnexpectedExit.h"
#include "platform/EndSignals.h"
#include "tests/support/Await.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

namespace {

/// Runs in the process of a death test: the first of these signals is heard, the second ends the process.
void hearOneOfTwo(int first, int second) {
    int heard = 0;
    const std::shared_ptr<void> watch = watchEndSignals([&heard] { ++heard; });
    std::raise(first);
    if (!await([&] { return heard == 1; })) {
        std::_Exit(2);
    }
    std::raise(second);
    std::_Exit(3);
}

} // namespace

TEST(EndSignalsDeathTest, FirstIsHeardAndTheSecondEndsTheProcessAtOnce) {
    EXPECT_EXIT(hearOneOfTwo(SIGTERM, SIGTERM), testing::KilledBySignal(SIGTERM), "");
    EXPECT_EXIT(hearOneOfTwo(SIGINT, SIGTERM), testing::KilledBySignal(SIGTERM), "");
    EXPECT_EXIT(hearOneOfTwo(SIGHUP, SIGHUP), testing::KilledBySignal(SIGHUP), "");
}

TEST(EndSignalsDeathTest, SignalThatWasIgnoredStaysIgnored) {
    const auto process = [] {
        std::signal(SIGHUP, SIG_IGN);
        int heard = 0;
        const std::shared_ptr<void> watch = watchEndSignals([&heard] { ++heard; });
        std::raise(SIGHUP);
        std::raise(SIGTERM);
        const bool termination = await([&] { return heard > 0; });
        std::raise(SIGHUP);
        std::_Exit(termination && heard == 1 ? 7 : 1);
    };
    EXPECT_EXIT(process(), testing::ExitedWithCode(7), "");
}

TEST(UnexpectedExitDeathTest, ExitInTheMidstOfTheRunRescuesAndEndsWithOne) {
    const auto process = [] {
        const UnexpectedExit rescue([] { std::fputs("rescued", stderr); });
        std::exit(0);
    };
    EXPECT_EXIT(process(), testing::ExitedWithCode(1), "^rescued$");
}

TEST(UnexpectedExitDeathTest, ExitAfterTheRunIsLeftAlone) {
    const auto process = [] {
        {
            const UnexpectedExit rescue([] { std::fputs("rescued", stderr); });
        }
        std::exit(4);
    };
    EXPECT_EXIT(process(), testing::ExitedWithCode(4), "^$");
}
