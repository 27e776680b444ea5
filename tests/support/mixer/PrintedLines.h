#pragma once

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

/// Logs in a process of its own, whose standard output is a file and has seen no character yet, and returns
/// the lines of the file. For suites whose name ends in "DeathTest".
template <typename Log>
std::vector<std::string> printedBy(Log log) {
    // A file for each test: they run side by side.
    const std::string path =
        testing::TempDir() + testing::UnitTest::GetInstance()->current_test_info()->name() + ".txt";
    const auto play = [&] {
        const bool opened = std::freopen(path.c_str(), "w", stdout) != nullptr;
        log();
        std::exit(opened ? 0 : 1);
    };
    // The process has the log's thread from its own start: a copy of this one would have none.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(play(), testing::ExitedWithCode(0), "");
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    std::remove(path.c_str());
    return lines;
}
