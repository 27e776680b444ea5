// The store of the events on real files.

#include "cloud/DataTrackerManager.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/cloud/OtherProgram.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <memory>

namespace {

class EventStore : public testing::Test {
protected:
    void TearDown() override { manager.reset(); }

    void open() { openIn(folder.filePath("data")); }

    void openIn(const QString& path) {
        manager.reset();
        errors.clear();
        manager = std::make_unique<DataTrackerManager>(path);
        QObject::connect(manager.get(), &DataTrackerManager::errorOccurred, manager.get(),
                         [this](const QString& text) { errors.append(text); });
    }

    [[nodiscard]] QString file() const { return folder.filePath("data/data_tracking.db"); }

    /// Stores so many events, of one second each.
    void store(int count, int first = 0) {
        for (int number = first; number < first + count; ++number) {
            manager->storeEvent("话筒", "XLR输入", "增益", QString::number(number),
                                QString("2025-08-01 17:%1:%2")
                                    .arg(number / 60, 2, 10, QChar('0'))
                                    .arg(number % 60, 2, 10, QChar('0')),
                                "software", "N/A");
        }
    }

    const LogCapture log;
    const QTemporaryDir folder;
    std::unique_ptr<DataTrackerManager> manager;
    QStringList errors;
};

TEST_F(EventStore, AFirstStartMakesFolderTableAndIndexes) {
    open();
    EXPECT_EQ(log.count("Database tables created successfully"), 1);
    EXPECT_EQ(log.count("DataTrackerManager initialized with SQLite database"), 1);
    EXPECT_EQ(log.count("DataTrackerManager dataDir:"), 1);
    const OtherProgram other(file());
    EXPECT_EQ(OtherProgram::ask("SELECT sql FROM sqlite_master WHERE name='events'"),
              "CREATE TABLE events (id INTEGER PRIMARY KEY AUTOINCREMENT,featureModule TEXT NOT NULL,"
              "featureItem TEXT NOT NULL,eventType TEXT NOT NULL,eventValue TEXT NOT NULL,"
              "eventTime TEXT NOT NULL,source TEXT NOT NULL,productSn TEXT NOT NULL)");
    for (const char* const name : {"idx_events_feature_module", "idx_events_feature_item",
                                   "idx_events_event_type", "idx_events_product_sn"}) {
        EXPECT_EQ(OtherProgram::ask(QString("SELECT COUNT(*) FROM sqlite_master WHERE name='%1'").arg(name)),
                  "1");
    }
}

TEST_F(EventStore, ASecondStartFindsTheTableAndItsRows) {
    open();
    store(3);
    open();
    EXPECT_EQ(log.count("Table 'events' already exists, skipping creation"), 1);
    EXPECT_EQ(log.count("Failed to create index:"), 0);
    EXPECT_EQ(manager->countEvents(), 3);
}

TEST_F(EventStore, ARowHasTheColumnsOfTheTable) {
    open();
    manager->storeEvent("m", "i", "t", "v'\";--", "2025-08-01 17:30:00", "software", "文件😀");
    const QVariantMap row = manager->queryEvents().value(0).toMap();
    EXPECT_EQ(row, (QVariantMap{{"id", 1},
                                {"featureModule", "m"},
                                {"featureItem", "i"},
                                {"eventType", "t"},
                                {"eventValue", "v'\";--"},
                                {"eventTime", "2025-08-01 17:30:00"},
                                {"source", "software"},
                                {"productSn", "文件😀"}}));
    EXPECT_EQ(log.count("Event stored: m i t v"), 1);
    EXPECT_EQ(log.count("Queried 1 events with offset 0"), 1);
}

TEST_F(EventStore, TheSecondPageOfSixtyRowsHasTen) {
    open();
    store(60);
    const QVariantList first = manager->queryEvents();
    EXPECT_EQ(first.size(), 50);
    EXPECT_EQ(first.first().toMap()["eventValue"].toString(), "59");
    EXPECT_EQ(manager->queryEvents(50).size(), 10);
    EXPECT_EQ(manager->queryEvents(60).size(), 0);
    EXPECT_EQ(manager->countEvents(), 60);
}

TEST_F(EventStore, RowsOfTheSameTimeAllComeBack) {
    open();
    manager->storeEvent("m", "i", "t", "1", "2025-08-01 17:30:00", "software", "s");
    manager->storeEvent("m", "i", "t", "2", "2025-08-01 17:30:00", "software", "s");
    EXPECT_EQ(manager->queryEvents().size(), 2);
}

TEST_F(EventStore, DeletingReportsTheIdsGiven) {
    open();
    store(3);
    manager->deleteByIds({});
    manager->deleteByIds({1, 3, 1000, 1001});
    EXPECT_EQ(log.count("Deleted 4 events"), 1);
    EXPECT_EQ(manager->queryEvents().size(), 1);
    EXPECT_EQ(manager->queryEvents().first().toMap()["id"].toInt(), 2);
    QVariantList many;
    for (int id = 1; id <= 1000; ++id) {
        many.append(id);
    }
    manager->deleteByIds(many);
    EXPECT_EQ(manager->countEvents(), 0);
    EXPECT_TRUE(errors.isEmpty());
}

TEST_F(EventStore, AnEmptyTextIsStoredAndANullIsRefused) {
    open();
    manager->storeEvent("", "", "", "", "", "", "");
    EXPECT_EQ(manager->countEvents(), 1);
    manager->storeEvent("m", "i", "t", "v", "2025", "software", QString());
    EXPECT_EQ(manager->countEvents(), 1);
    ASSERT_EQ(errors.size(), 1);
    EXPECT_TRUE(errors[0].startsWith("Failed to insert event: "));
    EXPECT_EQ(log.count(errors[0]), 1);
    EXPECT_EQ(log.count("Event stored: m i t v"), 1);
}

TEST_F(EventStore, TheRecordOfAConnectionDoesNotReachTheLog) {
    open();
    manager->storeEvent("", "", "", R"({"productSn":"SN123"})", "2025", "connected", "SN123");
    EXPECT_EQ(log.count("Event stored:"), 1);
    EXPECT_EQ(log.count("SN123"), 0);
    EXPECT_EQ(manager->queryEvents().first().toMap()["eventValue"].toString(), R"({"productSn":"SN123"})");
}

TEST_F(EventStore, AFolderThatCannotBeMadeLeavesTheStoreSilent) {
    QFile blocking(folder.filePath("data"));
    ASSERT_TRUE(blocking.open(QIODevice::WriteOnly));
    open();
    EXPECT_EQ(log.count("Failed to open database:"), 1);
    EXPECT_EQ(manager->countEvents(), 0);
    store(1);
    EXPECT_TRUE(manager->queryEvents().isEmpty());
    EXPECT_TRUE(errors.isEmpty());
    EXPECT_EQ(log.count("Database not initialized, cannot store event"), 1);
    EXPECT_EQ(log.count("Database not initialized, cannot query events"), 1);
    EXPECT_EQ(log.count("Event stored:"), 0);
}

TEST_F(EventStore, ADamagedFileIsLeftAsItIs) {
    ASSERT_TRUE(QDir().mkpath(folder.filePath("data")));
    const QByteArray bytes(10000, 'x');
    {
        QFile damaged(file());
        ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
        damaged.write(bytes);
    }
    open();
    EXPECT_EQ(log.count("Failed to create events table:"), 1);
    EXPECT_EQ(log.count("DataTrackerManager failed to initialize database"), 1);
    store(1);
    EXPECT_EQ(manager->countEvents(), 0);
    QFile damaged(file());
    ASSERT_TRUE(damaged.open(QIODevice::ReadOnly));
    EXPECT_EQ(damaged.readAll(), bytes);
}

TEST_F(EventStore, AnEmptyFileBecomesAStore) {
    ASSERT_TRUE(QDir().mkpath(folder.filePath("data")));
    ASSERT_TRUE(QFile(file()).open(QIODevice::WriteOnly));
    open();
    store(1);
    EXPECT_EQ(manager->countEvents(), 1);
}

TEST_F(EventStore, AFileThatAnotherProgramHoldsDelaysNothingAndLosesNothing) {
    open();
    store(2);
    const OtherProgram other(file());
    OtherProgram::ask("BEGIN EXCLUSIVE");
    QElapsedTimer time;
    time.start();
    store(3, 2);
    manager->deleteByIds({1});
    EXPECT_EQ(manager->countEvents(), 2);
    EXPECT_EQ(manager->queryEvents().size(), 2);
    // Qt's usual wait for a held file is 5 s for each statement.
    EXPECT_LT(time.elapsed(), 5000);
    EXPECT_EQ(errors.size(), 4);
    OtherProgram::ask("COMMIT");
    EXPECT_TRUE(await([&] { return manager->countEvents() == 5; }));
    store(1, 5);
    EXPECT_EQ(manager->countEvents(), 6);
    QSet<QString> values;
    for (const QVariant& row : manager->queryEvents()) {
        values.insert(row.toMap()["eventValue"].toString());
    }
    EXPECT_EQ(values, (QSet<QString>{"0", "1", "2", "3", "4", "5"}));
}

TEST_F(EventStore, WhatWaitsForAHeldFileIsStoredBeforeTheNextEvent) {
    open();
    const OtherProgram other(file());
    OtherProgram::ask("BEGIN EXCLUSIVE");
    store(2);
    OtherProgram::ask("COMMIT");
    store(1, 2);
    EXPECT_EQ(manager->countEvents(), 3);
    EXPECT_EQ(manager->queryEvents().last().toMap()["id"].toInt(), 1);
    EXPECT_EQ(manager->queryEvents().last().toMap()["eventValue"].toString(), "0");
}

TEST_F(EventStore, TheLogOfChangesGoesIntoTheFileOnAnotherThread) {
    open();
    const qint64 before = QFile(file()).size();
    store(DataTrackerManager::kCheckpointChanges);
    EXPECT_TRUE(await([&] { return QFile(file()).size() > before; }));
    EXPECT_EQ(manager->countEvents(), DataTrackerManager::kCheckpointChanges);
}

} // namespace
