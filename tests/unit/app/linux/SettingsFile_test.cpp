// The store as the file that it is on Linux.

#include "app/SettingsManager.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJSEngine>
#include <QSignalSpy>

#include <chrono>
#include <gtest/gtest.h>

namespace {

/// Gives access to the store's file.
class SettingsManagerFile : public SettingsManager {
public:
    [[nodiscard]] QString fileName() const { return settings->fileName(); }
    [[nodiscard]] QSettings::Format format() const { return settings->format(); }
};

/// A manager on an emptied store.
class SettingsFileTest : public testing::Test {
protected:
    void SetUp() override { manager.clear(); }

    /// The store's file, which exists and has no line of the key.
    QString fileWithout(const QString& key) {
        manager.setValue("other", 1);
        manager.removeValue(key);
        manager.sync();
        return SettingsManagerFile().fileName();
    }

    /// The line of "volume" in the file, empty where there is none.
    static QByteArray written(const QString& path) {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (line.startsWith("volume=")) {
                return line;
            }
        }
        return {};
    }

    // All managers share the store in this process: this one writes nothing by itself.
    SettingsManager manager{std::chrono::hours(1)};
};

} // namespace

TEST_F(SettingsFileTest, StoreIsNamedAfterTheProductInTheNativeFormat) {
    const LogCapture log;
    const SettingsManagerFile store;
    EXPECT_TRUE(store.fileName().endsWith(QStringLiteral("/Vexo Deck/Settings.conf")))
        << store.fileName().toStdString();
    EXPECT_EQ(store.format(), QSettings::NativeFormat);
    EXPECT_EQ(log.texts(QtDebugMsg),
              QStringList(QStringLiteral("QSettings file path:  \"%1\"").arg(store.fileName())));
}

TEST_F(SettingsFileTest, SettingThePresentValueWritesButDoesNotEmit) {
    manager.setValue("volume", 3);
    manager.sync();
    const QString path = SettingsManagerFile().fileName();
    ASSERT_TRUE(QFile::exists(path));
    const QSignalSpy changes(&manager, &SettingsManager::valueChanged);
    ASSERT_TRUE(QFile::remove(path));
    manager.setValue("volume", 3);
    manager.sync();
    EXPECT_EQ(changes.size(), 0);
    EXPECT_TRUE(QFile::exists(path)) << "the value was not written";
}

TEST_F(SettingsFileTest, ChangeIsWrittenHalfASecondLater) {
    EXPECT_EQ(SettingsManager::kWriteDelay, std::chrono::milliseconds(500));
}

TEST_F(SettingsFileTest, ChangesWaitForTheDelay) {
    const QString path = fileWithout("volume");
    SettingsManager patient(std::chrono::hours(1));
    // As a dragged slider does, with turns of the event loop in between.
    for (int step = 0; step < 20; ++step) {
        patient.setValue("volume", step);
        QCoreApplication::processEvents();
        EXPECT_EQ(written(path), "") << "step " << step;
    }
    patient.sync();
    EXPECT_EQ(written(path), "volume=19");
}

TEST_F(SettingsFileTest, ChangesThatGoOnDoNotPutOffTheWrite) {
    const QString path = fileWithout("volume");
    SettingsManager quick(std::chrono::milliseconds(20));
    int step = 0;
    ASSERT_TRUE(await([&] {
        quick.setValue("volume", ++step);
        return !written(path).isEmpty();
    }));
    // And the next change is written in its turn.
    quick.setValue("volume", -1);
    EXPECT_TRUE(await([&] { return written(path) == "volume=-1"; }));
}

TEST_F(SettingsFileTest, WhatIsPendingReachesTheDiskWhenTheProgramQuits) {
    const QString path = fileWithout("volume");
    manager.setValue("volume", 7);
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
    QCoreApplication::exec();
    EXPECT_EQ(written(path), "volume=7");
}

TEST_F(SettingsFileTest, DamagedStoreReadsAsEmptyAndTakesNewValues) {
    const QString path = SettingsManagerFile().fileName();
    manager.sync();
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    static constexpr char kDamage[] = "\x00\xff[[[=\n%%\x01garbage\xfe=\x80\n[unclosed";
    file.write(kDamage, sizeof(kDamage) - 1);
    file.close();
    SettingsManager damaged;
    EXPECT_EQ(damaged.getValue("volume", 5), QVariant(5));
    damaged.setValue("volume", 6);
    damaged.sync();
    EXPECT_EQ(damaged.getValue("volume"), QVariant(6));
}

TEST_F(SettingsFileTest, ArrayOfTheScriptLanguageSetAgainDoesNotEmit) {
    QJSEngine engine;
    const QVariant list = QVariant::fromValue(engine.evaluate("['a', 'b']"));
    manager.setValue("list", list);
    const QSignalSpy changes(&manager, &SettingsManager::valueChanged);
    manager.setValue("list", list);
    EXPECT_EQ(changes.size(), 0);
}
