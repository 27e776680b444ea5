// What the main thread pays for the store of the events with 100,000 rows, beside plain inserts of the same
// rows as the driver does them by itself: a journal, and a wait for the disk at each. Ends with 1 when a
// budget is missed.

#include "cloud/DataTrackerManager.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr int kRows = 100'000;
constexpr int kStores = 2000;
constexpr int kReads = 200;
constexpr int kPlainInserts = 200;
constexpr double kStoreBudgetMs = 3.0;
constexpr double kReadBudgetMs = 5.0;
constexpr double kStallBudgetMs = 50.0;

struct Times {
    double medianMs;
    double p99Ms;
    double longestMs;
};

Times measure(int count, const std::function<void(int)>& act) {
    std::vector<double> times;
    for (int turn = 0; turn < count; ++turn) {
        QElapsedTimer timer;
        timer.start();
        act(turn);
        times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::ranges::sort(times);
    return {times[times.size() / 2], times[times.size() * 99 / 100], times.back()};
}

bool print(const char* name, const Times& times, double budgetMs, const Times& neighbour) {
    const bool kept = budgetMs == 0.0 || times.p99Ms < budgetMs;
    std::printf("%-14s %9.3f %9.3f %9.3f %9.2f   %s\n", name, times.medianMs, times.p99Ms, times.longestMs,
                times.p99Ms / neighbour.p99Ms,
                budgetMs == 0.0 ? ""
                : kept          ? "kept"
                                : "MISSED");
    return kept;
}

QString timeOf(int number) {
    return QString("2025-08-%1 %2:%3:%4")
        .arg(1 + number / 86400, 2, 10, QChar('0'))
        .arg(number / 3600 % 24, 2, 10, QChar('0'))
        .arg(number / 60 % 60, 2, 10, QChar('0'))
        .arg(number % 60, 2, 10, QChar('0'));
}

/// Rows of a second connection, in one transaction.
void fill(const QString& file) {
    QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "fill");
    database.setDatabaseName(file);
    database.open();
    database.transaction();
    QSqlQuery query(database);
    query.prepare("INSERT INTO events (featureModule, featureItem, eventType, eventValue, eventTime, source, "
                  "productSn) VALUES ('m', 'i', 't', ?, ?, 'software', 'N/A')");
    for (int row = 0; row < kRows; ++row) {
        query.addBindValue(QString::number(row));
        query.addBindValue(timeOf(row));
        query.exec();
    }
    database.commit();
}

/// While another connection holds the file.
template <typename Act>
Times measureHeld(const QString& file, const Act& act) {
    QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "holder");
    database.setDatabaseName(file);
    database.open();
    QSqlQuery(database).exec("BEGIN EXCLUSIVE");
    const Times times = measure(kReads, act);
    QSqlQuery(database).exec("COMMIT");
    return times;
}

Times plainInserts(const QString& file) {
    QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", "plain");
    database.setDatabaseName(file);
    database.open();
    QSqlQuery(database).exec("CREATE TABLE events (a, b, c, d, e, f, g)");
    return measure(kPlainInserts, [&](int turn) {
        QSqlQuery query(database);
        query.prepare("INSERT INTO events VALUES ('m', 'i', 't', ?, ?, 'software', 'N/A')");
        query.addBindValue(QString::number(turn));
        query.addBindValue(timeOf(turn));
        query.exec();
    });
}

} // namespace

// With an argument: in that folder in place of the system's temporary one.
int main(int argc, char* argv[]) {
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const QTemporaryDir folder((argc > 1 ? QString(argv[1]) : QDir::tempPath()) + "/XXXXXX");
    DataTrackerManager store(folder.path());
    fill(folder.filePath("data_tracking.db"));
    const Times plain = plainInserts(folder.filePath("plain.db"));
    std::printf("%-14s %9s %9s %9s %9s\n", "", "median ms", "p99 ms", "longest", "of plain");
    print("plain insert", plain, 0.0, plain);
    bool kept = print("storeEvent",
                      measure(kStores,
                              [&](int turn) {
                                  store.storeEvent("m", "i", "t", QString::number(turn), timeOf(kRows + turn),
                                                   "software", "N/A");
                              }),
                      kStoreBudgetMs, plain);
    kept = print("queryEvents", measure(kReads, [&](int) { static_cast<void>(store.queryEvents()); }),
                 kReadBudgetMs, plain) &&
           kept;
    kept = print("countEvents", measure(kReads, [&](int) { static_cast<void>(store.countEvents()); }),
                 kReadBudgetMs, plain) &&
           kept;
    const Times held = measureHeld(folder.filePath("data_tracking.db"), [&](int turn) {
        store.storeEvent("m", "i", "t", QString::number(turn), timeOf(kRows + kStores + turn), "software",
                         "N/A");
        static_cast<void>(store.queryEvents());
        static_cast<void>(store.countEvents());
        store.deleteByIds({turn + 1});
    });
    // The longest one counts: each is a stall of the screens.
    kept = print("all, held", held, 0.0, plain) && held.longestMs < kStallBudgetMs && kept;
    return kept ? 0 : 1;
}
