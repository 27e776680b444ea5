// The lines that are kept for a report.

#include "platform/LogLine.h"
#include "platform/LogTail.h"

#include <atomic>
#include <cstdio>
#include <gtest/gtest.h>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

template <typename Ring>
std::vector<std::string> linesOf(Ring& ring) {
    std::vector<std::string> lines;
    ring.read([&lines](std::string_view line) { lines.emplace_back(line); });
    return lines;
}

} // namespace

TEST(LineRing, KeepsTheLastLinesInTheirOrderAndCutsLongOnes) {
    LineRing<4, 3> ring;
    EXPECT_EQ(linesOf(ring), std::vector<std::string>());
    for (const char* const line : {"1", "2", "", "3", "longer"}) {
        ring.append(line);
    }
    EXPECT_EQ(linesOf(ring), (std::vector<std::string>{"3", "long"}));
    EXPECT_EQ(linesOf(ring).size(), 2) << "reading takes nothing away";
}

TEST(LineRing, LinesOfManyThreadsStayWhole) {
    LineRing<64, 8> ring;
    std::atomic<bool> isOver{false};
    std::vector<std::thread> writers;
    for (char letter = 'a'; letter < 'e'; ++letter) {
        writers.emplace_back([&ring, &isOver, letter] {
            while (!isOver) {
                ring.append(std::string(64, letter));
            }
        });
    }
    std::size_t read = 0;
    while (read < 10000) {
        for (const std::string& line : linesOf(ring)) {
            ++read;
            EXPECT_EQ(line, std::string(64, line.front()));
        }
    }
    isOver = true;
    for (std::thread& writer : writers) {
        writer.join();
    }
}

TEST(LogLine, SecretsOfAddressesAreLeftOut) {
    for (const auto& [line, wanted] : std::initializer_list<std::pair<std::string_view, std::string_view>>{
             {"", ""},
             {"no address: a@b?c#d", "no address: a@b?c#d"},
             {"http://vexo.example/a/b", "http://vexo.example/a/b"},
             {"http://u:s@vexo.example", "http://***@vexo.example"},
             {"http://u@s@vexo.example/@", "http://***@vexo.example/@"},
             {"http://u:s", "http://u:***"},
             {"http://vexo.example:8081/a?", "http://vexo.example:***/a?***"},
             {"x://a?s y://b#s, z", "x://a?*** y://b#*** z"},
             {"'x://a?s'\"x://a?y://s\"<x://a?s>", "'x://a?***'\"x://a?***\"<x://a?***>"},
             {"file:///home/u/x.qml:12: a?", "file:///home/u/x.qml:12: a?"},
             {"x://", "x://"},
             {"://@://?", "://***@://?***"}}) {
        std::string kept;
        readWithoutSecrets(line, [&kept](std::string_view part) { kept += part; });
        EXPECT_EQ(kept, wanted) << line;
    }
}

TEST(LogTail, ErrorOutputIsKeptLineByLineAndStillPrinted) {
    int pipeEnds[2] = {-1, -1};
    ASSERT_EQ(pipe(pipeEnds), 0);
    const int former = dup(STDERR_FILENO);
    std::FILE* const formerStream = stderr;
    keepLogTail();
    dup2(pipeEnds[1], STDERR_FILENO);
    std::fprintf(stderr, "one %d\ntwo ", 1);
    std::fprintf(stderr, "and more\nunfinished");
    dup2(former, STDERR_FILENO);
    close(former);
    close(pipeEnds[1]);
    std::fclose(stderr);
    stderr = formerStream;
    std::string printed(100, '\0');
    printed.resize(static_cast<std::size_t>(read(pipeEnds[0], printed.data(), printed.size())));
    close(pipeEnds[0]);
    EXPECT_EQ(printed, "one 1\ntwo and more\nunfinished");
    const std::vector<std::string> lines = linesOf(logTail());
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(std::vector(lines.end() - 2, lines.end()), (std::vector<std::string>{"one 1", "two and more"}));
}
