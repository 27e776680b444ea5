// What the wide standard output of the program writes into a file.

#include "mixer/RouterLog.h"
#include "platform/WideOutput.h"
#include "tests/support/mixer/PrintedLines.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <io.h>
#include <iostream>
#include <string>
#include <vector>

using Texts = std::vector<std::string>;

TEST(WideOutputDeathTest, RouterLinesWithNamesOfAllScriptsArriveWholeAsUtf8) {
    const Texts lines = printedBy([] {
        makeWideOutputUtf8();
        routerLog("[INFO] Bus 1: 扬声器 (高清音频设备) found");
        routerLog("Lautsprecher für alle, Колонки, 🎤");
        routerLog("after");
    });
    EXPECT_EQ(lines, (Texts{"[INFO] Bus 1: 扬声器 (高清音频设备) found", "Lautsprecher für alle, Колонки, 🎤",
                            "after"}));
}

TEST(WideOutputDeathTest, NarrowAndWideTextStandInTheOrderInWhichTheyWereWritten) {
    const Texts lines = printedBy([] {
        makeWideOutputUtf8();
        std::fputs("narrow 窄\n", stdout);
        routerLog("wide 宽");
        flushRouterLog(); // it is printed by a thread of its own
        std::puts("narrow again");
        std::wcout << L'字' << 7 << L'\n'; // at the end of the process
    });
    EXPECT_EQ(lines, (Texts{"narrow 窄", "wide 宽", "narrow again", "字7"}));
}

TEST(WideOutputDeathTest, OutputThatIsNotThereIsNoCrash) {
    const auto play = [] {
        makeWideOutputUtf8();
        _close(_fileno(stdout));
        routerLog("扬声器");
        routerLog("after");
        flushRouterLog();
        std::_Exit(0);
    };
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), "");
}

TEST(WideOutputDeathTest, HalfOfAPairIsReplacedAndItsLineGoesOn) {
    const Texts lines = printedBy([] {
        makeWideOutputUtf8();
        std::wcout << L"a" << L'\xD83C' << L"b\n" << std::flush;
    });
    EXPECT_EQ(lines, Texts{"a\uFFFDb"});
}
