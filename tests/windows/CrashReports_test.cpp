// Processes that crash, and the report that stays.

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>
#include <utility>

namespace {

struct SampleRun {
    int exitCode = 0;
    QString output;
    QString errorOutput;
};

SampleRun runSample(const char* way) {
    QProcess sample;
    sample.start(QCoreApplication::applicationDirPath() + QStringLiteral("/crashSample.exe"),
                 {QLatin1String(way)});
    EXPECT_TRUE(sample.waitForFinished()) << sample.errorString().toStdString();
    return {sample.exitCode(), QString::fromUtf8(sample.readAllStandardOutput()),
            QString::fromUtf8(sample.readAllStandardError())};
}

QStringList toldReports() {
    return runSample("tell").output.split(QRegularExpression(QStringLiteral("[\r\n]+")), Qt::SkipEmptyParts);
}

QString contentOf(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return QString::fromUtf8(file.readAll());
}

// The report of a sample that crashes in this way.
QString reportOf(const char* way) {
    static_cast<void>(toldReports()); // those of an earlier run
    runSample(way);
    const QStringList told = toldReports();
    EXPECT_EQ(told.size(), 1) << way;
    return told.isEmpty() ? QString() : contentOf(told.first());
}

// The folder of the reports, as long as a file is in its place.
class FolderThatIsNone {
public:
    FolderThatIsNone() : folder(qEnvironmentVariable("APPDATA") + "/VEXO/Crash test/crashes") {
        QDir(folder).removeRecursively();
        QDir().mkpath(QFileInfo(folder).path());
        QFile file(folder);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    }
    ~FolderThatIsNone() { QFile::remove(folder); }
    FolderThatIsNone(const FolderThatIsNone&) = delete;
    FolderThatIsNone& operator=(const FolderThatIsNone&) = delete;

private:
    const QString folder;
};

constexpr int kAccessViolation = static_cast<int>(0xC0000005U);

} // namespace

TEST(CrashReports, CrashLeavesAReportThatIsToldOnce) {
    static_cast<void>(toldReports()); // those of an earlier run
    for (const auto& [way, signal] :
         {std::pair{"fault", "exception 0xc0000005, address 0x10"}, std::pair{"abort", "22 SIGABRT"}}) {
        const SampleRun run = runSample(way);
        const QStringList told = toldReports();
        ASSERT_EQ(told.size(), 1) << way;
        EXPECT_TRUE(toldReports().isEmpty());
        EXPECT_TRUE(run.errorOutput.contains("Crash test 1.2.3 crashed: the report is " + told.first()))
            << run.errorOutput.toStdString();
        const QString report = contentOf(told.first());
        EXPECT_TRUE(
            report.startsWith("Crash test 1.2.3 crashed\nsignal: " + QString::fromLatin1(signal) + "\n"))
            << report.toStdString();
        EXPECT_TRUE(report.contains(
            QRegularExpression("\nprocess: \\d+, thread \\d+\nsystem: Windows \\d+\\.\\d+[^\n]* x86_64\n")))
            << report.toStdString();
        EXPECT_TRUE(report.contains("\n  a line before the crash\n"));
        EXPECT_TRUE(report.contains(
            QRegularExpression("\n#\\d+ [^\n]*crashSample\\.exe \\+ 0x[0-9a-f]+ \\(linked 0x[0-9a-f]+\\)\n")))
            << report.toStdString();
        EXPECT_TRUE(report.endsWith("end of the report\n"));
    }
}

TEST(CrashReports, FileOfAnotherNameIsNeitherToldOfNorRemoved) {
    static_cast<void>(toldReports()); // those of an earlier run
    QFile file(qEnvironmentVariable("APPDATA") + "/VEXO/Crash test/crashes/crash-20200101-000000-x.txt");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    EXPECT_EQ(toldReports(), QStringList());
    EXPECT_TRUE(file.remove());
}

TEST(CrashReports, ThreadsThatCrashTogetherLeaveOneWholeReport) {
    for (int round = 0; round < 20; ++round) {
        const QString report = reportOf("together");
        ASSERT_TRUE(report.endsWith("end of the report\n")) << round << "\n" << report.toStdString();
    }
}

TEST(CrashReports, SecretsInAddressesAreLeftOut) {
    const QString report = reportOf("fault");
    EXPECT_TRUE(report.contains("\n  opens http://***@vexo.example/?***\n")) << report.toStdString();
    EXPECT_FALSE(report.contains("secret"));
}

TEST(CrashReports, ReportGoesToTheStandardErrorWhereThereIsNoFolder) {
    const FolderThatIsNone none;
    const QString said = runSample("fault").errorOutput;
    EXPECT_TRUE(said.startsWith("Crash test 1.2.3 crashed\nsignal: exception 0xc0000005"))
        << said.toStdString();
    EXPECT_TRUE(said.endsWith("end of the report\nCrash test 1.2.3 crashed\n")) << said.toStdString();
}

TEST(CrashReports, ReportThatDoesNotComeToItsEndDoesNotHoldTheEnd) {
    const FolderThatIsNone none;
    EXPECT_EQ(runSample("deaf").exitCode, kAccessViolation);
}

TEST(CrashReports, EachLineForTheDebuggerStandsInTheReportOnceAndWhole) {
    const QString report = reportOf("log");
    const auto count = [&report](const QString& line) {
        return report.count("\n  " + line + "\n");
    };
    EXPECT_EQ(count(QString::fromUtf8("a wide line, 中文")), 1) << report.toStdString();
    EXPECT_EQ(report.count("a wide line"), 1) << report.toStdString();
    EXPECT_EQ(report.count("  a narrow line\n"), 2);
    EXPECT_EQ(count("first of three"), 1);
    EXPECT_EQ(count(QString(1024, 'x')), 1);
    EXPECT_EQ(count("last of three"), 1);
}
