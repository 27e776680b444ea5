// The two log files, written by the manager at work.

#include "tests/support/LogCapture.h"
#include "tests/unit/device/HIDHotplugManagerFixture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

using DeviceLogsTest = HIDHotplugManagerTest;

/// The different warnings and errors so far, sorted.
QStringList troubles(const LogCapture& log) {
    QStringList texts = log.texts(QtWarningMsg) + log.texts(QtCriticalMsg) + log.texts(QtFatalMsg);
    texts.removeDuplicates();
    texts.sort();
    return texts;
}

} // namespace

TEST_F(DeviceLogsTest, DataLogHoldsEveryReportInUpperCaseHex) {
    connectDevice(kR2);
    login();
    const QStringList lines = logLines("hid_data.log");
    const QRegularExpression form(
        R"(^\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\] \[(TX|RX)\] ([0-9A-F]{2})+$)");
    ASSERT_FALSE(lines.isEmpty());
    for (const QString& line : lines) {
        EXPECT_TRUE(form.match(line).hasMatch()) << line.toStdString();
    }
    const QString rx = lines.filter("[RX]").first();
    EXPECT_TRUE(rx.contains("] 5512")) << "the four bytes before the frame are gone: " << rx.toStdString();
    tick(5);
    const QStringList tx = logLines("hid_data.log").filter("[TX]");
    ASSERT_FALSE(tx.isEmpty());
    EXPECT_TRUE(tx.first().contains("] 011E5512")) << tx.first().toStdString();
}

TEST_F(DeviceLogsTest, PrivateMessageIsLoggedEvenWhileClosed) {
    manager->sendPriMessage(0x8004, QByteArray("\x01"));
    EXPECT_EQ(logLines("hid_attribute.log").size(), 1);
}

TEST_F(DeviceLogsTest, UnwritableLogFolderWarnsAndChangesNothingElse) {
    QDir(dataFolder()).removeRecursively();
    const QFileInfo folder(dataFolder());
    ASSERT_TRUE(QDir().mkpath(folder.path()));
    QFile blocker(dataFolder());
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly)); // a file in the folder's place
    blocker.close();
    const LogCapture log;
    connectDevice(kR2);
    login();
    tick(20);
    manager->messageSend(1, "\x01");
    QStringList wanted;
    for (const auto& [name, failure] : {std::pair{"hid_attribute.log", "无法打开属性日志文件:"},
                                        std::pair{"hid_data.log", "无法打开日志文件:"}}) {
        QFile file(QDir(dataFolder()).filePath(name));
        ASSERT_FALSE(file.open(QIODevice::WriteOnly | QIODevice::Append));
        wanted += QStringLiteral("%1 \"%2\" 错误: \"%3\"").arg(failure, file.fileName(), file.errorString());
    }
    EXPECT_EQ(troubles(log).join('\n').toStdString(), wanted.join('\n').toStdString());
    EXPECT_EQ(manager->getDeviceInfo().value("vid"), QVariant(3u)) << "the login went through";
    ASSERT_TRUE(QFile::remove(dataFolder()));
}

TEST_F(DeviceLogsTest, FullDiskWarnsAndChangesNothingElse) {
    ASSERT_TRUE(QDir().mkpath(dataFolder()));
    for (const QString& name : {QStringLiteral("hid_data.log"), QStringLiteral("hid_attribute.log")}) {
        ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), QDir(dataFolder()).filePath(name)));
    }
    connectDevice(kR2);
    const LogCapture log;
    login();
    tick(20);
    manager->messageSend(1, "\x01");
    // Qt also warns that the device file which is always full cannot be sought.
    EXPECT_EQ(troubles(log).filter(QStringLiteral("失败")).join('\n').toStdString(),
              "写入属性日志文件失败: \"No space left on device\"\n"
              "写入日志文件失败: \"No space left on device\"");
    EXPECT_EQ(manager->getDeviceInfo().value("vid"), QVariant(3u)) << "the login went through";
}
