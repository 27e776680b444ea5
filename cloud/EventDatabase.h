#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QVariantList>

#include <array>
#include <atomic>
#include <memory>

class QSqlQuery;

/// One event as it is stored: featureModule, featureItem, eventType, eventValue, eventTime, source,
/// productSn.
using StoredEvent = std::array<QString, 7>;

/// What came of a statement.
struct StatementResult {
    bool isDone = true;
    /// Nothing was wrong with the statement: another program holds the file, or the disk is full.
    bool isWorthRetrying = false;
    /// The driver's text.
    QString problem;
};

/// The file of the events and its statements. Main thread, as the connection; it logs and signals nothing.
///
/// No operation waits for another program that holds the file: it fails at once. None waits for the disk
/// either, since changes go to a log beside the file (WAL) and checkpoint() brings them over on another
/// thread. So a killed process loses nothing that was stored, and a machine that loses its power may lose the
/// last events, never the file.
class EventDatabase {
public:
    explicit EventDatabase(QString path);
    ~EventDatabase();
    EventDatabase(const EventDatabase&) = delete;
    EventDatabase& operator=(const EventDatabase&) = delete;

    [[nodiscard]] StatementResult open();
    [[nodiscard]] bool hasTable() const;
    [[nodiscard]] StatementResult createTable();
    /// One result for each index.
    [[nodiscard]] QList<StatementResult> createIndexes();
    [[nodiscard]] StatementResult insert(const StoredEvent& event);
    /// Appends a map for each of up to 50 rows, the newest first.
    [[nodiscard]] StatementResult page(int offset, QVariantList& rows) const;
    /// 0 where the file cannot be read.
    [[nodiscard]] int count() const;
    [[nodiscard]] StatementResult remove(const QVariantList& ids);
    /// Brings the log over into the file, on a thread of Qt's pool, unless one is at it. Returns at once.
    void checkpoint() const;

private:
    [[nodiscard]] QSqlQuery query() const;

    const QString path;
    /// While a thread brings the log over.
    const std::shared_ptr<std::atomic_bool> isCheckpointing = std::make_shared<std::atomic_bool>(false);
};
