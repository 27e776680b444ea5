#include "cloud/DataTrackerManager.h"

#include <QDebug>
#include <QDir>
#include <QStandardPaths>
#include <QTimer>

namespace {

/// The file in a folder, which is made and told.
QString fileIn(const QString& folder) {
    qInfo() << "DataTrackerManager dataDir:" << folder;
    QDir().mkpath(folder);
    return QDir(folder).filePath("data_tracking.db");
}

QTimer* makeTimer(QObject* parent, int delayMs) {
    auto* const timer = new QTimer(parent);
    timer->setSingleShot(true);
    timer->setInterval(delayMs);
    return timer;
}

} // namespace

DataTrackerManager* DataTrackerManager::instance() {
    static auto* const manager =
        new DataTrackerManager(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
    return manager;
}

DataTrackerManager::DataTrackerManager(const QString& folder, QObject* parent)
    : QObject(parent), database(fileIn(folder)), retryTimer(makeTimer(this, kRetryMs)),
      idleTimer(makeTimer(this, kCheckpointIdleMs)) {
    connect(retryTimer, &QTimer::timeout, this, &DataTrackerManager::storeWaiting);
    connect(idleTimer, &QTimer::timeout, this, [this] {
        changes = 0;
        database.checkpoint();
    });
    if (const StatementResult opened = database.open(); !opened.isDone) {
        report("Failed to open database:", opened);
        return;
    }
    initialized = createTables();
    qInfo() << (initialized ? "DataTrackerManager initialized with SQLite database"
                            : "DataTrackerManager failed to initialize database");
}

bool DataTrackerManager::createTables() {
    if (database.hasTable()) {
        qInfo() << "Table 'events' already exists, skipping creation";
        createIndexes();
        return true;
    }
    if (const StatementResult created = database.createTable(); !created.isDone) {
        report("Failed to create events table:", created);
        return false;
    }
    createIndexes();
    qInfo() << "Database tables created successfully";
    return true;
}

void DataTrackerManager::createIndexes() {
    for (const StatementResult& result : database.createIndexes()) {
        if (!result.isDone) {
            qInfo().noquote() << "Failed to create index:" << result.problem;
        }
    }
}

void DataTrackerManager::report(const char* line, const StatementResult& result) {
    qInfo().noquote() << line << result.problem;
    emit errorOccurred(line + QStringLiteral(" ") + result.problem);
}

void DataTrackerManager::storeEvent(const QString& featureModule, const QString& featureItem,
                                    const QString& eventType, const QString& eventValue,
                                    const QString& eventTime, const QString& source,
                                    const QString& productSn) {
    if (!initialized) {
        qInfo() << "Database not initialized, cannot store event";
        return;
    }
    storeWaiting();
    const StoredEvent event{featureModule, featureItem, eventType, eventValue, eventTime, source, productSn};
    if (const StatementResult inserted = database.insert(event); inserted.isDone) {
        onChange();
    } else {
        if (inserted.isWorthRetrying) {
            keep(event);
        }
        report("Failed to insert event:", inserted);
    }
    // The record of a connection names the device and the installation.
    const QString shownValue = source == "connected" ? QStringLiteral("***") : eventValue;
    qInfo().noquote() << "Event stored:" << featureModule << featureItem << eventType << shownValue;
}

void DataTrackerManager::keep(const StoredEvent& event) {
    if (waiting.size() < kMostWaiting) {
        waiting.push_back(event);
    }
    retryTimer->start();
}

void DataTrackerManager::storeWaiting() {
    while (!waiting.empty()) {
        const StatementResult inserted = database.insert(waiting.front());
        if (!inserted.isDone && inserted.isWorthRetrying) {
            retryTimer->start();
            return;
        }
        waiting.pop_front();
        onChange();
    }
}

void DataTrackerManager::onChange() {
    idleTimer->start();
    if (++changes >= kCheckpointChanges) {
        changes = 0;
        database.checkpoint();
    }
}

QVariantList DataTrackerManager::queryEvents(int offset) {
    QVariantList rows;
    if (!initialized) {
        qInfo() << "Database not initialized, cannot query events";
        return rows;
    }
    if (const StatementResult found = database.page(offset, rows); !found.isDone) {
        report("Failed to query events:", found);
        return {};
    }
    qInfo() << "Queried" << rows.size() << "events with offset" << offset;
    return rows;
}

int DataTrackerManager::countEvents() const {
    return database.count();
}

void DataTrackerManager::deleteByIds(const QVariantList& ids) {
    if (ids.isEmpty()) {
        return;
    }
    if (const StatementResult removed = database.remove(ids); !removed.isDone) {
        report("Failed to delete events by IDs:", removed);
        return;
    }
    onChange();
    qInfo() << "Deleted" << ids.size() << "events";
}
