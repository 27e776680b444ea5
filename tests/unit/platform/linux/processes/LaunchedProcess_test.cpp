// What a started process takes over, and what not.

#include "platform/LaunchedProcess.h"
#include "tests/support/Await.h"

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// What a process that is started tells of itself.
QByteArray toldBy(const QString& command) {
    QProcess process;
    prepareLaunch(process);
    process.start("sh", {"-c", command});
    EXPECT_TRUE(process.waitForFinished());
    return process.readAllStandardOutput().trimmed();
}

} // namespace

TEST(LaunchedProcess, OwnVariableIsForThisProcessAlone) {
    setOwnVariable("VEXO_TEST_NEW", "own");
    setenv("VEXO_TEST_FORMER", "of the user", 1);
    setOwnVariable("VEXO_TEST_FORMER", "own");
    setOwnVariable("VEXO_TEST_FORMER", "own, again");
    setenv("VEXO_TEST_OTHER", "kept, größer", 1);
    EXPECT_STREQ(std::getenv("VEXO_TEST_NEW"), "own");
    EXPECT_STREQ(std::getenv("VEXO_TEST_FORMER"), "own, again");
    EXPECT_EQ(toldBy("echo ${VEXO_TEST_NEW-none}, $VEXO_TEST_FORMER, $VEXO_TEST_OTHER"),
              "none, of the user, kept, größer");
}

TEST(LaunchedProcess, SignalsAreThoseOfTheSystem) {
    const auto former = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(toldBy("grep SigIgn /proc/self/status"), "SigIgn:\t0000000000000000");
    std::signal(SIGPIPE, former);
}

TEST(LaunchedProcess, OpenFilesStayWithThisProcess) {
    const int file = open("/dev/null", O_RDONLY);
    ASSERT_GE(file, 0);
    EXPECT_EQ(toldBy("test -e /proc/$$/fd/" + QString::number(file) + " && echo there"), "");
    close(file);
}

TEST(LaunchedProcess, ProgramThatIsMissingIsReported) {
    QProcess process;
    process.setProgram("/nowhere/program");
    prepareLaunch(process);
    EXPECT_FALSE(process.startDetached());
    prepareLaunch(process);
    process.start();
    EXPECT_FALSE(process.waitForStarted());
    EXPECT_EQ(process.error(), QProcess::FailedToStart);
}

TEST(LaunchedProcess, DetachedProcessIsNoDifferent) {
    setOwnVariable("VEXO_TEST_NEW", "own");
    const auto former = std::signal(SIGPIPE, SIG_IGN);
    const QTemporaryDir folder;
    const QString result = folder.filePath("result");
    QProcess process;
    process.setProgram("sh");
    constexpr int kLikeNoOther = 77;
    const int ours = fcntl(STDERR_FILENO, F_DUPFD, kLikeNoOther); // passed on to processes
    ASSERT_GE(ours, 0);
    process.setArguments({"-c",
                          "{ echo ${VEXO_TEST_NEW-none}; grep SigIgn /proc/self/status; "
                          "test -e /proc/$$/fd/$1 && echo there; } > \"$0.new\"; mv \"$0.new\" \"$0\"",
                          result, QString::number(ours)});
    prepareLaunch(process);
    ASSERT_TRUE(process.startDetached());
    std::signal(SIGPIPE, former);
    close(ours);
    ASSERT_TRUE(await([&] { return QFile::exists(result); }));
    QFile file(result);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "none\nSigIgn:\t0000000000000000\n");
}
