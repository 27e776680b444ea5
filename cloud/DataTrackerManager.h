#pragma once

#include "cloud/EventDatabase.h"

#include <QObject>
#include <QString>
#include <QVariantList>

#include <deque>

class QTimer;

/// The events that wait for their upload, in one file that survives restarts. A process-wide singleton, in
/// QML as `DataTrackerManager` of the module `VexoDeckTracker`. It knows neither consent nor upload.
///
/// Main thread. Each operation is synchronous and waits neither for another program that holds the file nor
/// for the disk; see EventDatabase. A failure is a line of the log and errorOccurred with the same words; no
/// operation returns an error. A file that cannot be opened at the start is not tried again in this run.
///
/// An event that finds the file held or the disk full is reported as failed and kept in memory, up to
/// `kMostWaiting` of them, the oldest first; it is stored with the next event or after `kRetryMs`.
class DataTrackerManager : public QObject {
    Q_OBJECT

public:
    /// The process-wide object on the file in the program's data folder, made at the first call and alive to
    /// the end of the process.
    static DataTrackerManager* instance();

    static constexpr int kRetryMs = 1000;
    static constexpr std::size_t kMostWaiting = 1000;
    /// After so many changes, and after so long without one, the log of changes goes into the file.
    static constexpr int kCheckpointChanges = 1000;
    static constexpr int kCheckpointIdleMs = 30000;

    /// On the file `data_tracking.db` of the folder, which is made where it is missing. One object at a time.
    explicit DataTrackerManager(const QString& folder, QObject* parent = nullptr);

    /// Inserts one row. A null text is refused, an empty one is not. `eventTime` must sort by time as text.
    Q_INVOKABLE void storeEvent(const QString& featureModule, const QString& featureItem,
                                const QString& eventType, const QString& eventValue, const QString& eventTime,
                                const QString& source, const QString& productSn);
    /// Up to 50 rows, the newest first, each a map with the table's columns ("id" and the names of the
    /// arguments above). Rows of the same time come in any order.
    Q_INVOKABLE [[nodiscard]] QVariantList queryEvents(int offset = 0);
    /// 0 where there is no file.
    Q_INVOKABLE [[nodiscard]] int countEvents() const;
    /// Ids without a row are no error. At most 32766 ids.
    Q_INVOKABLE void deleteByIds(const QVariantList& ids);

signals:
    void errorOccurred(const QString& error);

private:
    [[nodiscard]] bool createTables();
    void createIndexes();
    void report(const char* line, const StatementResult& result);
    /// Inserts what waits, as far as it goes.
    void storeWaiting();
    void keep(const StoredEvent& event);
    void onChange();

    EventDatabase database;
    bool initialized = false;
    std::deque<StoredEvent> waiting;
    QTimer* const retryTimer;
    QTimer* const idleTimer;
    int changes = 0;
};
