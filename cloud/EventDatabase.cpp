#include "cloud/EventDatabase.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStringList>
#include <QThreadPool>
#include <QVariantMap>

#include <utility>

namespace {

constexpr auto kConnection = "DataTrackerManagerConnection";
constexpr auto kCheckpointConnection = "DataTrackerManagerCheckpoint";

constexpr auto kCreateTable = "CREATE TABLE IF NOT EXISTS events ("
                              "id INTEGER PRIMARY KEY AUTOINCREMENT,"
                              "featureModule TEXT NOT NULL,"
                              "featureItem TEXT NOT NULL,"
                              "eventType TEXT NOT NULL,"
                              "eventValue TEXT NOT NULL,"
                              "eventTime TEXT NOT NULL,"
                              "source TEXT NOT NULL,"
                              "productSn TEXT NOT NULL"
                              ")";
constexpr std::array kCreateIndexes{
    "CREATE INDEX IF NOT EXISTS idx_events_feature_module ON events(featureModule)",
    "CREATE INDEX IF NOT EXISTS idx_events_feature_item ON events(featureItem)",
    "CREATE INDEX IF NOT EXISTS idx_events_event_type ON events(eventType)",
    "CREATE INDEX IF NOT EXISTS idx_events_product_sn ON events(productSn)",
    // The newest page would otherwise sort the whole table.
    "CREATE INDEX IF NOT EXISTS idx_events_event_time ON events(eventTime)",
};

/// SQLite's numbers for a file that another connection holds, and for a full disk.
constexpr std::array kPassingProblems{"5", "6", "13"};

StatementResult failure(const QSqlError& error) {
    const QString code = error.nativeErrorCode();
    bool isPassing = false;
    for (const char* const passing : kPassingProblems) {
        isPassing = isPassing || code == QLatin1String(passing);
    }
    return {.isDone = false, .isWorthRetrying = isPassing, .problem = error.text()};
}

/// Runs a prepared statement and ends it, so that it holds no lock on the file.
StatementResult run(QSqlQuery& query, bool isPrepared) {
    const bool isDone = isPrepared && query.exec();
    const StatementResult result = isDone ? StatementResult{} : failure(query.lastError());
    query.finish();
    return result;
}

} // namespace

EventDatabase::EventDatabase(QString file) : path(std::move(file)) {
    QSqlDatabase::addDatabase("QSQLITE", kConnection);
}

EventDatabase::~EventDatabase() {
    QSqlDatabase::removeDatabase(kConnection);
}

QSqlQuery EventDatabase::query() const {
    QSqlQuery made(QSqlDatabase::database(kConnection, false));
    made.setForwardOnly(true);
    return made;
}

StatementResult EventDatabase::open() {
    QSqlDatabase database = QSqlDatabase::database(kConnection, false);
    database.setDatabaseName(path);
    database.setConnectOptions("QSQLITE_BUSY_TIMEOUT=0");
    if (!database.open()) {
        return failure(database.lastError());
    }
    // A file that cannot be changed so, because it is held or damaged, works as it is.
    for (const char* const pragma :
         {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=NORMAL", "PRAGMA wal_autocheckpoint=0"}) {
        QSqlQuery setting = query();
        setting.exec(pragma);
    }
    return {};
}

bool EventDatabase::hasTable() const {
    QSqlQuery look = query();
    return look.prepare("SELECT name FROM sqlite_master WHERE type='table' AND name='events'") &&
           look.exec() && look.next();
}

StatementResult EventDatabase::createTable() {
    QSqlQuery statement = query();
    return run(statement, statement.prepare(kCreateTable));
}

QList<StatementResult> EventDatabase::createIndexes() {
    QList<StatementResult> results;
    for (const char* const text : kCreateIndexes) {
        QSqlQuery statement = query();
        results.append(run(statement, statement.prepare(text)));
    }
    return results;
}

StatementResult EventDatabase::insert(const StoredEvent& event) {
    QSqlQuery statement = query();
    const bool isPrepared =
        statement.prepare("INSERT INTO events "
                          "(featureModule, featureItem, eventType, eventValue, eventTime, source, productSn) "
                          "VALUES (?, ?, ?, ?, ?, ?, ?)");
    for (const QString& value : event) {
        statement.addBindValue(value);
    }
    return run(statement, isPrepared);
}

StatementResult EventDatabase::page(int offset, QVariantList& rows) const {
    QSqlQuery statement = query();
    const bool isPrepared =
        statement.prepare("SELECT * FROM events ORDER BY eventTime DESC LIMIT 50 OFFSET ?");
    statement.addBindValue(offset);
    if (!isPrepared || !statement.exec()) {
        return failure(statement.lastError());
    }
    while (statement.next()) {
        const QSqlRecord record = statement.record();
        QVariantMap row;
        for (int column = 0; column < record.count(); ++column) {
            row[record.fieldName(column)] = record.value(column);
        }
        rows.append(row);
    }
    return {};
}

int EventDatabase::count() const {
    QSqlQuery statement = query();
    if (!statement.prepare("SELECT COUNT(*) FROM events") || !statement.exec() || !statement.next()) {
        return 0;
    }
    return statement.value(0).toInt();
}

StatementResult EventDatabase::remove(const QVariantList& ids) {
    const QString places = QStringList(ids.size(), "?").join(",");
    QSqlQuery statement = query();
    const bool isPrepared = statement.prepare("DELETE FROM events WHERE id IN (" + places + ")");
    for (const QVariant& id : ids) {
        statement.addBindValue(id);
    }
    return run(statement, isPrepared);
}

void EventDatabase::checkpoint() const {
    if (isCheckpointing->exchange(true)) {
        return;
    }
    QThreadPool::globalInstance()->start([file = path, running = isCheckpointing] {
        {
            QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE", kCheckpointConnection);
            database.setDatabaseName(file);
            database.setConnectOptions("QSQLITE_BUSY_TIMEOUT=0");
            if (database.open()) {
                QSqlQuery("PRAGMA wal_checkpoint(PASSIVE)", database).finish();
            }
        }
        QSqlDatabase::removeDatabase(kCheckpointConnection);
        *running = false;
    });
}
