// Processes that crash, and the report that stays.

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>
#include <utility>

namespace {

// What the sample prints.
QString outputOf(const char* way) {
    QProcess sample;
    sample.start(QCoreApplication::applicationDirPath() + QStringLiteral("/crashSample.exe"),
                 {QLatin1String(way)});
    EXPECT_TRUE(sample.waitForFinished()) << sample.errorString().toStdString();
    return QString::fromUtf8(sample.readAllStandardOutput());
}

QStringList toldReports() {
    return outputOf("tell").split(QRegularExpression(QStringLiteral("[\r\n]+")), Qt::SkipEmptyParts);
}

} // namespace

TEST(CrashReports, CrashLeavesAReportThatIsToldOnce) {
    static_cast<void>(toldReports()); // those of an earlier run
    for (const auto& [way, signal] :
         {std::pair{"fault", "exception 0xc0000005, address 0x10"}, std::pair{"abort", "22 SIGABRT"}}) {
        outputOf(way);
        const QStringList told = toldReports();
        ASSERT_EQ(told.size(), 1) << way;
        EXPECT_TRUE(toldReports().isEmpty());
        QFile file(told.first());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << told.first().toStdString();
        const QString report = QString::fromUtf8(file.readAll());
        EXPECT_TRUE(
            report.startsWith("Crash test 1.2.3 crashed\nsignal: " + QString::fromLatin1(signal) + "\n"))
            << report.toStdString();
        EXPECT_TRUE(report.contains("\n  a line before the crash\n"));
        EXPECT_TRUE(report.contains(
            QRegularExpression("\n#\\d+ [^\n]*crashSample\\.exe \\+ 0x[0-9a-f]+ \\(linked 0x[0-9a-f]+\\)\n")))
            << report.toStdString();
        EXPECT_TRUE(report.endsWith("end of the report\n"));
    }
}
