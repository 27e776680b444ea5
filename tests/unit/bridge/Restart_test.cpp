#include "tests/support/Await.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(Restart, KeepsTheUsersArgumentsAndEndsTheFirstRunWithZero) {
    const QTemporaryDir folder;
    const QString notes = folder.filePath("runs");
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("VEXO_RESTART_PROBE", notes);
    environment.insert("PULSE_SERVER", "unix:/nowhere");
    process.setProcessEnvironment(environment);
    process.start(VEXO_RESTART_PROBE, {"--first", "a b", "", "\"quoted\"", "-c"});
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 0);
    const QByteArray line = "--first|a b||\"quoted\"|-c\n";
    EXPECT_TRUE(await([&] {
        QFile file(notes);
        return file.open(QIODevice::ReadOnly) && file.readAll() == line + line;
    }));
    const QByteArray said = process.readAllStandardError();
    EXPECT_EQ(said.count("SystemBridge::restartApplication 正在重启应用"), 1) << said.toStdString();
}
