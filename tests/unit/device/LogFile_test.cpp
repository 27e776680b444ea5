// The length of the two logs, and what is in the way when they change to a new file.

#include "device/DeviceLogs.h"
#include "device/LogFile.h"
#include "tests/support/FullDisk.h"
#include "tests/support/LogCapture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSet>
#include <QStandardPaths>

#include <functional>
#include <gtest/gtest.h>
#include <ostream>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kOldLineBytes = 100;

struct Log {
    const char* name;
    void (*append)(int number);

    friend std::ostream& operator<<(std::ostream& stream, const Log& log) { return stream << log.name; }
};

void appendToDataLog(int number) {
    appendDataLog("RX", QByteArray::number(number));
}

void appendToAttributeLog(int number) {
    appendAttributeLog("接收", 5, QByteArray::number(number));
}

class LogFile : public testing::TestWithParam<Log> {
protected:
    void SetUp() override {
        folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
        QDir(folder).removeRecursively();
        ASSERT_TRUE(QDir().mkpath(folder));
        path = QDir(folder).filePath(GetParam().name);
        old = path + ".1";
    }

    void TearDown() override { QDir(folder).removeRecursively(); }

    static void append(int number) { GetParam().append(number); }

    /// A log with as many old lines as fit into `byteCount`, the number of each at its end.
    static void fill(const QString& file, qint64 byteCount) {
        QFile log(file);
        ASSERT_TRUE(log.open(QIODevice::WriteOnly));
        for (qint64 number = 0; (number + 1) * kOldLineBytes <= byteCount; ++number)
            log.write(QByteArray::number(number).rightJustified(kOldLineBytes - 1, '.') + '\n');
    }

    /// The lines of a file, each whole.
    static QByteArrayList linesOf(const QString& file) {
        QFile log(file);
        if (!log.open(QIODevice::ReadOnly))
            return {};
        QByteArrayList lines = log.readAll().split('\n');
        EXPECT_EQ(lines.takeLast(), "") << "the last line of " << file.toStdString() << " is torn";
        for (const QByteArray& line : lines) {
            const bool isOld = line.size() == kOldLineBytes - 1 && line.startsWith('.');
            EXPECT_TRUE(isOld || line.startsWith('[')) << line.toStdString();
        }
        return lines;
    }

    /// What appended lines carry, in order: the hexadecimal digits at their ends.
    static QByteArrayList numbersOf(const QByteArrayList& lines) {
        QByteArrayList numbers;
        for (const QByteArray& line : lines) {
            if (line.startsWith('['))
                numbers.append(QByteArray::fromHex(
                    line.sliced(line.lastIndexOf(line.contains("attID") ? ':' : ' ') + 1)));
        }
        return numbers;
    }

    /// A log that is nearly as long as it may be takes what fits, and then begins anew.
    void checkThatTheLimitHolds() {
        fill(path, kLogLimitBytes - kOldLineBytes);
        int number = 0;
        while (!QFile::exists(old) && number < 10) {
            append(++number);
            ASSERT_LE(QFileInfo(path).size(), kLogLimitBytes);
        }
        ASSERT_TRUE(QFile::exists(old));
        EXPECT_GT(number, 1) << "the holder of the lock has not had its turn";
        EXPECT_LE(QFileInfo(old).size(), kLogLimitBytes);
        EXPECT_EQ(numbersOf(linesOf(old)).size(), number - 1);
        EXPECT_EQ(numbersOf(linesOf(path)), QByteArrayList{QByteArray::number(number)});
    }

    [[nodiscard]] QStringList filesOfFolder() const {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                      QDir::Name);
    }

    QString folder;
    QString path;
    QString old;
};

TEST_P(LogFile, FullLogBecomesTheOneOldFile) {
    fill(path, kLogLimitBytes);
    const qint64 length = QFileInfo(path).size();
    fill(old, 1000);
    append(7);
    EXPECT_EQ(linesOf(path).size(), 1);
    EXPECT_EQ(numbersOf(linesOf(path)), QByteArrayList{"7"});
    EXPECT_EQ(QFileInfo(old).size(), length) << "it took the place of the one before";
    EXPECT_EQ(filesOfFolder(), QStringList({path, old}).replaceInStrings(folder + '/', ""));
}

TEST_P(LogFile, LogGrowsUpToTheFullLength) {
    append(1);
    const qint64 length = QFileInfo(path).size();
    fill(path, kLogFullBytes - kOldLineBytes);
    const qint64 rest = kLogFullBytes - length - QFileInfo(path).size();
    {
        QFile log(path);
        ASSERT_TRUE(log.open(QIODevice::Append));
        log.write(QByteArray(rest - 1, '.') + '\n');
    }
    append(1);
    EXPECT_EQ(QFileInfo(path).size(), kLogFullBytes);
    EXPECT_FALSE(QFile::exists(old));
    append(1);
    EXPECT_EQ(QFileInfo(path).size(), length);
    EXPECT_EQ(QFileInfo(old).size(), kLogFullBytes);
}

TEST_P(LogFile, FloodLosesNoLineAndPassesNoLimit) {
    constexpr int kLines = 2000;
    fill(path, kLogFullBytes - 50'000);
    for (int number = 0; number < kLines; ++number) {
        append(number);
        ASSERT_LE(QFileInfo(path).size(), kLogFullBytes);
    }
    EXPECT_LE(QFileInfo(old).size(), kLogFullBytes);
    const QByteArrayList numbers = numbersOf(linesOf(old)) + numbersOf(linesOf(path));
    ASSERT_EQ(numbers.size(), kLines);
    for (int number = 0; number < kLines; ++number)
        ASSERT_EQ(numbers[number].toInt(), number);
}

TEST_P(LogFile, LogThatIsFarTooLongLeavesItsLastLines) {
    fill(path, 3 * kLogLimitBytes);
    append(7);
    EXPECT_EQ(numbersOf(linesOf(path)), QByteArrayList{"7"});
    const QByteArrayList lines = linesOf(old);
    EXPECT_LE(QFileInfo(old).size(), kLogLimitBytes);
    ASSERT_GE(lines.size(), kLogLimitBytes / kOldLineBytes - 1);
    EXPECT_TRUE(lines.last().endsWith("." + QByteArray::number(3 * kLogLimitBytes / kOldLineBytes - 1)));
}

/// Runs it in a process of its own, which ends with 0 where it returns true.
pid_t start(const std::function<bool()>& holds) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(holds() ? 0 : 1);
    }
    return child;
}

int exitCodeOf(pid_t child) {
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_P(LogFile, ProgramsThatWriteAtTheSameTimeLoseNoLine) {
    constexpr int kWriters = 4;
    constexpr int kLines = 300;
    fill(path, kLogFullBytes - 20'000);
    std::vector<pid_t> writers;
    writers.reserve(kWriters);
    for (int writer = 0; writer < kWriters; ++writer) {
        writers.push_back(start([writer] {
            for (int line = 0; line < kLines; ++line) {
                append(writer * kLines + line);
            }
            return true;
        }));
    }
    for (const pid_t writer : writers) {
        EXPECT_EQ(exitCodeOf(writer), 0);
    }
    const QByteArrayList numbers = numbersOf(linesOf(old)) + numbersOf(linesOf(path));
    EXPECT_EQ(numbers.size(), kWriters * kLines);
    EXPECT_EQ(QSet<QByteArray>(numbers.begin(), numbers.end()).size(), kWriters * kLines);
    EXPECT_LE(QFileInfo(old).size(), kLogLimitBytes);
}

TEST_P(LogFile, LinkInThePlaceOfTheOldFileIsReplacedAndNotFollowed) {
    const QString precious = QDir(folder).filePath("precious");
    for (const qint64 length : {kLogLimitBytes, 2 * kLogLimitBytes}) {
        QFile::remove(old);
        fill(precious, 1000);
        fill(path, length);
        ASSERT_TRUE(QFile::link(precious, old));
        append(7);
        EXPECT_FALSE(QFileInfo(old).isSymLink());
        EXPECT_EQ(QFileInfo(precious).size(), 1000);
        EXPECT_EQ(numbersOf(linesOf(path)), QByteArrayList{"7"});
    }
}

TEST_P(LogFile, FolderInThePlaceOfTheOldFileEmptiesTheLogWithAWarning) {
    ASSERT_TRUE(QDir().mkpath(old + "/inside"));
    fill(path, kLogLimitBytes);
    const LogCapture log;
    for (int number = 0; number < 5; ++number)
        append(number);
    EXPECT_EQ(numbersOf(linesOf(path)), QByteArrayList({"0", "1", "2", "3", "4"}));
    EXPECT_TRUE(QFileInfo(old + "/inside").isDir());
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList("无法轮转日志文件，已清空: \"" + path + '"'));
}

TEST_P(LogFile, FolderInThePlaceOfTheLockDoesNotKeepTheLogFromItsLimit) {
    ASSERT_TRUE(QDir().mkpath(path + ".lock/inside"));
    checkThatTheLimitHolds();
    EXPECT_TRUE(QFileInfo(path + ".lock/inside").isDir());
}

TEST_P(LogFile, LockThatAnotherHoldsForEverDoesNotKeepTheLogFromItsLimit) {
    QLockFile foreign(path + ".lock");
    ASSERT_TRUE(foreign.tryLock());
    checkThatTheLimitHolds();
}

TEST_P(LogFile, FolderThatTakesNoFilesEmptiesTheLog) {
    fill(path, kLogLimitBytes);
    const QFile::Permissions readable = QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther;
    const QFile::Permissions closed = readable | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
    ASSERT_TRUE(
        QFile::setPermissions(path, readable | QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther));
    ASSERT_TRUE(QFile::setPermissions(folder, closed));
    // The folders above it, up to that of the test.
    for (QDir above(folder); above.cdUp() && above.path().startsWith(qEnvironmentVariable("HOME"));)
        ASSERT_TRUE(QFile::setPermissions(above.path(), closed | QFile::WriteOwner));
    // For root no folder is closed.
    EXPECT_EQ(exitCodeOf(start([this] {
                  constexpr uid_t kNobody = 65534;
                  const bool isNobody = geteuid() != 0 || seteuid(kNobody) == 0;
                  append(7);
                  const qint64 size = QFileInfo(path).size();
                  return isNobody && size > 0 && size < 1000;
              })),
              0);
    ASSERT_TRUE(QFile::setPermissions(folder, closed | QFile::WriteOwner));
    EXPECT_EQ(numbersOf(linesOf(path)), QByteArrayList{"7"});
    EXPECT_EQ(filesOfFolder(), QStringList(QFileInfo(path).fileName()));
}

TEST_P(LogFile, LineThatDoesNotFitOnTheDiskIsLeftOutAsAWhole) {
    append(1);
    const qint64 length = QFileInfo(path).size();
    const LogCapture log;
    {
        const FullDisk disk(static_cast<rlim_t>(length + length / 2));
        append(2);
        append(3);
    }
    EXPECT_EQ(log.texts(QtWarningMsg).size(), 2);
    EXPECT_EQ(QFileInfo(path).size(), length);
    append(4);
    EXPECT_EQ(numbersOf(linesOf(path)), QByteArrayList({"1", "4"}));
}

INSTANTIATE_TEST_SUITE_P(Both, LogFile,
                         testing::Values(Log{"hid_data.log", appendToDataLog},
                                         Log{"hid_attribute.log", appendToAttributeLog}),
                         [](const auto& log) {
                             return QString(log.param.name).section('.', 0, 0).remove('_').toStdString();
                         });

} // namespace
