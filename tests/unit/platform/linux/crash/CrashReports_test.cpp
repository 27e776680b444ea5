// Processes that crash, each in its own way, and the report that stays.

#include "platform/CrashReports.h"
#include "platform/LogTail.h"
#include "platform/ThreadName.h"
#include "tests/support/Await.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QStringList>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

QDir reportFolder() {
    return {QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
            "/VEXO/Crash test/crashes"};
}

class CrashReportsDeathTest : public testing::Test {
protected:
    void SetUp() override { reportFolder().removeRecursively(); }

    // The signal that ends a process which reports its crashes and runs `course`; 0 where it does not crash.
    static int endOf(const std::function<void()>& course) {
        const pid_t child = fork();
        if (child == 0) {
            // Not the ways of a sanitizer.
            for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
                std::signal(number, SIG_DFL);
            }
            keepLogTail();
            reportCrashes({"VEXO", "Crash test", "1.2.3"});
            course();
            std::_Exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

    static QString onlyReport() {
        const QStringList names = reportFolder().entryList(QDir::Files);
        EXPECT_EQ(names.size(), 1);
        QFile file(names.isEmpty() ? QString() : reportFolder().filePath(names.first()));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    static void expectInReport(const QString& report, const char* pattern) {
        const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
        EXPECT_TRUE(expression.match(report).hasMatch()) << pattern << "\n" << report.toStdString();
    }
};

[[gnu::noinline]] void writeToNowhere() {
    volatile int* volatile nowhere = reinterpret_cast<int*>(0x10);
    *nowhere = 1;
}

// A sanitizer would look at the function first.
__attribute__((noinline, no_sanitize("undefined"))) void callNothing() {
    void (*volatile nothing)() = nullptr;
    nothing();
}

volatile bool goesOn = true;

// Each call needs the next one's result, so that none is left out.
[[gnu::noinline]] int useStack(int depth) {
    std::array<volatile char, 512> room{};
    room[static_cast<std::size_t>(depth % 512)] = 1;
    return goesOn ? useStack(depth + 1) + room[0] : 0;
}

[[gnu::noinline]] void overflow() {
    std::printf("%d", useStack(0));
}

} // namespace

TEST_F(CrashReportsDeathTest, FaultIsReportedWithItsAddressAndPlace) {
    EXPECT_EQ(endOf(writeToNowhere), SIGSEGV);
    const QString report = onlyReport();
    EXPECT_TRUE(report.startsWith("Crash test 1.2.3 crashed\nsignal: 11 SIGSEGV, code 1, address 0x10\n"))
        << report.toStdString();
    expectInReport(report, "^#0 /.*/platform_linux_crash_test \\+ 0x[0-9a-f]+ \\(build id [0-9a-f]+\\)$");
    EXPECT_TRUE(report.endsWith("end of the report\n"));
}

TEST_F(CrashReportsDeathTest, UncaughtExceptionIsReportedWithItsText) {
    EXPECT_EQ(endOf([] {
                  // Not the test's own way with exceptions.
                  std::thread([] { throw std::runtime_error("nobody catches this"); }).join();
              }),
              SIGABRT);
    const QString report = onlyReport();
    expectInReport(report, "^signal: 6 SIGABRT, code -?\\d+$");
    expectInReport(report, "^  .*nobody catches this$");
}

TEST_F(CrashReportsDeathTest, OverflowOfTheStackIsReportedFromBothEnds) {
    EXPECT_EQ(endOf(overflow), SIGSEGV);
    const QString report = onlyReport();
    expectInReport(report, "^#63 .*\n\\.\\.\\. \\d+ frames left out\n#\\d+ ");
    EXPECT_TRUE(report.endsWith("end of the report\n"));
}

TEST_F(CrashReportsDeathTest, OverflowInAThreadWithANameIsReported) {
    EXPECT_EQ(endOf([] {
                  std::thread([] {
                      nameThisThread("Overflowing");
                      overflow();
                  }).join();
              }),
              SIGSEGV);
    expectInReport(onlyReport(), "^process: \\d+, thread \\d+ \"Overflowing\"$");
}

TEST_F(CrashReportsDeathTest, SeveralThreadsThatCrashAtOnceMakeOneReport) {
    for (int round = 0; round < 10; ++round) {
        reportFolder().removeRecursively();
        EXPECT_EQ(endOf([] {
                      std::atomic<int> ready{0};
                      const auto crash = [&ready] {
                          ++ready;
                          while (ready < 3) {
                          }
                          writeToNowhere();
                      };
                      std::thread first(crash);
                      std::thread second(crash);
                      crash();
                  }),
                  SIGSEGV);
        EXPECT_TRUE(onlyReport().endsWith("end of the report\n"));
    }
}

TEST_F(CrashReportsDeathTest, CallOfNothingIsReported) {
    EXPECT_EQ(endOf(callNothing), SIGSEGV);
    const QString report = onlyReport();
    expectInReport(report, "^#0 0x0 \\(in no module\\)$");
    EXPECT_TRUE(report.endsWith("end of the report\n"));
}

#ifdef __x86_64__
TEST_F(CrashReportsDeathTest, CrashWithinTheReportEndsTheProcessAndKeepsWhatIsWritten) {
    EXPECT_EQ(endOf([] {
                  logTail().append("before the stack was lost");
                  asm volatile("xor %%esp, %%esp\n\txor %%ebp, %%ebp\n\tmovl $1, 0" ::: "memory");
              }),
              SIGSEGV);
    const QString report = onlyReport();
    expectInReport(report, "^  before the stack was lost$");
    expectInReport(report, "^#0 /");
    EXPECT_FALSE(report.endsWith("end of the report\n"));
}
#endif

TEST_F(CrashReportsDeathTest, ChildOfTheProcessReportsNothing) {
    EXPECT_EQ(endOf([] {
                  if (fork() == 0) {
                      writeToNowhere();
                  }
                  int status = 0;
                  wait(&status);
                  std::raise(WIFSIGNALED(status) ? SIGKILL : SIGTERM);
              }),
              SIGKILL);
    EXPECT_FALSE(reportFolder().exists() && !reportFolder().isEmpty());
}

TEST_F(CrashReportsDeathTest, NewReportsAreToldOnceAndTheLatestAreKept) {
    EXPECT_EQ(endOf(writeToNowhere), SIGSEGV);
    const QString name = reportFolder().entryList(QDir::Files).value(0);
    const auto expectTold = [](const QStringList& wanted) {
        const bool isRight = newCrashReports() == wanted;
        std::raise(isRight ? SIGKILL : SIGTERM);
    };
    EXPECT_EQ(endOf([&] { expectTold({reportFolder().filePath(name)}); }), SIGKILL);
    EXPECT_EQ(endOf([&] { expectTold({}); }), SIGKILL);
    for (int number = 10; number < 25; ++number) {
        QFile file(reportFolder().filePath(QStringLiteral("crash-20200101-0000%1-1.txt").arg(number)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    EXPECT_EQ(
        endOf([] { std::raise(newCrashReports().size() == kMostCrashReports - 1 ? SIGKILL : SIGTERM); }),
        SIGKILL);
    EXPECT_EQ(reportFolder().entryList(QDir::Files).size(), kMostCrashReports);
    EXPECT_TRUE(reportFolder().exists(name));
}
