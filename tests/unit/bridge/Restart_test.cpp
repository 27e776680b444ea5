#include "tests/support/Await.h"

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

constexpr const char* kRestarting = "SystemBridge::restartApplication 正在重启应用";

class Restart : public testing::Test {
protected:
    // Runs the probe to the end of its first run; what it has said.
    QByteArray runProbe(const QString& calls, const QStringList& arguments = {}) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("VEXO_RESTART_PROBE", notes);
        environment.insert("VEXO_RESTART_CALLS", calls);
        environment.insert("PULSE_SERVER", "unix:/nowhere");
        process.setProcessEnvironment(environment);
        process.start(VEXO_RESTART_PROBE, arguments);
        EXPECT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitCode(), 0);
        return process.readAllStandardError();
    }
    // One line a run.
    [[nodiscard]] QByteArray noted() const {
        QFile file(notes);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    const QTemporaryDir folder;
    const QString notes = folder.filePath("runs");
};

} // namespace

TEST_F(Restart, KeepsTheUsersArgumentsAndEndsTheFirstRunWithZero) {
    const QByteArray said = runProbe("restart", {"--first", "a b", "", "\"quoted\"", "-c"});
    const QByteArray line = "--first|a b||\"quoted\"|-c\n";
    EXPECT_TRUE(await([&] { return noted() == line + line; }));
    EXPECT_EQ(said.count(kRestarting), 1) << said.toStdString();
}

TEST_F(Restart, SecondCallOfOneTurnStartsNoThirdRun) {
    const QByteArray said = runProbe("restart restart");
    EXPECT_EQ(said.count(kRestarting), 1) << said.toStdString();
    EXPECT_TRUE(await([this] { return noted() == "\n\n"; }));
}

TEST_F(Restart, ProgramThatTheUserHasEndedDoesNotStartAnew) {
    const QByteArray said = runProbe("quit restart");
    EXPECT_EQ(said.count(kRestarting), 0) << said.toStdString();
    EXPECT_EQ(noted(), "\n");
}
