#include "app/SettingsManager.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJSEngine>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

/// Gives access to the store's file.
class SettingsManagerFile : public SettingsManager {
public:
    [[nodiscard]] QString fileName() const { return settings->fileName(); }
    [[nodiscard]] QSettings::Format format() const { return settings->format(); }
};

/// A manager on an emptied store.
class SettingsManagerTest : public testing::Test {
protected:
    void SetUp() override { manager.clear(); }

    /// The store's file, which exists and has no line of the key.
    QString fileWithout(const QString& key) {
        manager.setValue("other", 1);
        manager.removeValue(key);
        manager.sync();
        return SettingsManagerFile().fileName();
    }

    /// The line of "volume" as it stands on the disk, empty where there is none.
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

    SettingsManager manager;
};

/// A manager that has lost its store.
class SettingsManagerWithoutStore : public SettingsManager {
public:
    SettingsManagerWithoutStore() {
        delete settings;
        settings = nullptr;
    }
};

} // namespace

TEST_F(SettingsManagerTest, StoreIsNamedAfterTheProductInTheNativeFormat) {
    const LogCapture log;
    const SettingsManagerFile store;
    EXPECT_TRUE(store.fileName().endsWith(QStringLiteral("/Vexo Deck/Settings.conf")))
        << store.fileName().toStdString();
    EXPECT_EQ(store.format(), QSettings::NativeFormat);
    EXPECT_EQ(log.texts(QtDebugMsg),
              QStringList(QStringLiteral("QSettings file path:  \"%1\"").arg(store.fileName())));
}

TEST_F(SettingsManagerTest, LaterStoresDefaultToTheIniFormatWithoutEffectOnThisOne) {
    EXPECT_EQ(QSettings::defaultFormat(), QSettings::IniFormat);
}

TEST_F(SettingsManagerTest, SetValueEmitsWhenTheValueDiffers) {
    const QSignalSpy changes(&manager, &SettingsManager::valueChanged);
    manager.setValue("volume", 3);
    manager.setValue("volume", 4);
    ASSERT_EQ(changes.size(), 2);
    EXPECT_EQ(changes.at(1).at(0).toString(), "volume");
    EXPECT_EQ(changes.at(1).at(1), QVariant(4));
    EXPECT_EQ(manager.getValue("volume"), QVariant(4));
}

TEST_F(SettingsManagerTest, SettingThePresentValueWritesButDoesNotEmit) {
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

TEST_F(SettingsManagerTest, ChangesReachTheDiskTogether) {
    const QString path = fileWithout("volume");
    const QDeadlineTimer early(250);
    // As a dragged slider does, with turns of the event loop in between.
    for (int step = 0; step < 20; ++step) {
        manager.setValue("volume", step);
        QCoreApplication::processEvents();
        EXPECT_TRUE(early.hasExpired() || written(path).isEmpty()) << "step " << step;
    }
    const QDeadlineTimer patience(10000);
    while (written(path).isEmpty() && !patience.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
    EXPECT_EQ(written(path), "volume=19");
}

TEST_F(SettingsManagerTest, WhatIsPendingReachesTheDiskWhenTheProgramQuits) {
    const QString path = fileWithout("volume");
    manager.setValue("volume", 7);
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [] { QCoreApplication::quit(); }, Qt::QueuedConnection);
    QCoreApplication::exec();
    EXPECT_EQ(written(path), "volume=7");
}

TEST_F(SettingsManagerTest, ArrayAndObjectOfTheScriptLanguageAreStoredAsListAndMap) {
    QJSEngine engine;
    const QSignalSpy changes(&manager, &SettingsManager::valueChanged);
    manager.setValue("list", QVariant::fromValue(engine.evaluate("['a', 'b']")));
    manager.setValue("map", QVariant::fromValue(engine.evaluate("({ name: 'a', level: 0.5 })")));
    manager.setValue("number", QVariant::fromValue(engine.evaluate("7")));
    const QVariantList list{"a", "b"};
    const QVariantMap map{{"name", "a"}, {"level", 0.5}};
    ASSERT_EQ(changes.size(), 3);
    EXPECT_EQ(changes.at(0).at(1), QVariant(list));
    // As another process finds them.
    manager.sync();
    SettingsManager other;
    EXPECT_EQ(other.getStringList("list"), QStringList({"a", "b"}));
    EXPECT_EQ(other.getValue("map"), QVariant(map));
    EXPECT_EQ(other.getValue("number").toInt(), 7);
    manager.setValue("list", QVariant::fromValue(engine.evaluate("['a', 'b']")));
    EXPECT_EQ(changes.size(), 3) << "the same list is no change";
}

TEST_F(SettingsManagerTest, GetValueGivesTheDefaultOrAnInvalidValueForAnAbsentKey) {
    EXPECT_EQ(manager.getValue("absent", 7), QVariant(7));
    EXPECT_FALSE(manager.getValue("absent").isValid());
}

TEST_F(SettingsManagerTest, RemovingAnAbsentKeyEmitsAnInvalidValue) {
    const QSignalSpy changes(&manager, &SettingsManager::valueChanged);
    manager.removeValue("absent");
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(0).toString(), "absent");
    EXPECT_FALSE(changes.at(0).at(1).value<QVariant>().isValid());
}

TEST_F(SettingsManagerTest, RemoveValueRemoves) {
    manager.setValue("volume", 3);
    EXPECT_TRUE(manager.contains("volume"));
    manager.removeValue("volume");
    EXPECT_FALSE(manager.contains("volume"));
}

TEST_F(SettingsManagerTest, ClearEmitsExactlyOnceWithAnEmptyKey) {
    manager.setValue("a", 1);
    manager.setValue("b", 2);
    const QSignalSpy changes(&manager, &SettingsManager::valueChanged);
    manager.clear();
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(0).toString(), QString());
    EXPECT_FALSE(changes.at(0).at(1).value<QVariant>().isValid());
    EXPECT_TRUE(manager.getAllKeys().isEmpty());
}

TEST_F(SettingsManagerTest, ColourLosesItsAlphaAndComesBackOpaque) {
    const QSignalSpy changes(&manager, &SettingsManager::valueChanged);
    manager.setColor("light", QColor(0x3F, 0x2E, 0xF8, 0x80));
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(1), QVariant(QStringLiteral("#3f2ef8")));
    EXPECT_EQ(manager.getValue("light"), QVariant(QStringLiteral("#3f2ef8")));
    EXPECT_EQ(manager.getColor("light"), QColor(0x3F, 0x2E, 0xF8, 0xFF));
}

TEST_F(SettingsManagerTest, ColourSetAgainDoesNotEmit) {
    manager.setColor("light", QColor(1, 2, 3));
    const QSignalSpy changes(&manager, &SettingsManager::valueChanged);
    manager.setColor("light", QColor(1, 2, 3, 4));
    EXPECT_EQ(changes.size(), 0);
}

TEST_F(SettingsManagerTest, TextThatIsNoColourGivesAnInvalidColourNotTheDefault) {
    manager.setValue("light", "no colour");
    EXPECT_FALSE(manager.getColor("light", QColor(Qt::red)).isValid());
}

TEST_F(SettingsManagerTest, AbsentColourGivesTheDefaultOpaqueAndBlackWithoutOne) {
    EXPECT_EQ(manager.getColor("light", QColor(1, 2, 3, 4)), QColor(1, 2, 3, 255));
    EXPECT_EQ(manager.getColor("light"), QColor(0, 0, 0, 255));
}

TEST_F(SettingsManagerTest, StringListSurvivesTheStore) {
    const QStringList list{"one", "two, with comma", QStringLiteral("三")};
    const QSignalSpy changes(&manager, &SettingsManager::valueChanged);
    manager.setStringList("list", list);
    manager.setStringList("list", list);
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes.at(0).at(1), QVariant(list));
    const SettingsManager again;
    EXPECT_EQ(again.getStringList("list"), list);
}

TEST_F(SettingsManagerTest, SingleStringReadAsListHasOneElement) {
    manager.setValue("list", "alone");
    EXPECT_EQ(manager.getStringList("list"), QStringList("alone"));
}

TEST_F(SettingsManagerTest, AbsentListGivesTheDefaultOrNothing) {
    EXPECT_EQ(manager.getStringList("absent", {"a"}), QStringList("a"));
    EXPECT_TRUE(manager.getStringList("absent").isEmpty());
}

TEST_F(SettingsManagerTest, GetAllKeysListsEveryKey) {
    manager.setValue("b", 1);
    manager.setValue("a", 1);
    EXPECT_EQ(manager.getAllKeys(), QStringList({"a", "b"}));
}

TEST_F(SettingsManagerTest, DamagedStoreReadsAsEmptyAndTakesNewValues) {
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

TEST(SettingsManagerWithoutStoreTest, EveryOperationFallsBack) {
    SettingsManagerWithoutStore manager;
    const QSignalSpy changes(&manager, &SettingsManager::valueChanged);
    manager.setValue("key", 1);
    manager.setColor("key", Qt::red);
    manager.setStringList("key", {"a"});
    manager.removeValue("key");
    manager.sync();
    manager.clear();
    EXPECT_EQ(changes.size(), 0);
    EXPECT_EQ(manager.getValue("key", 2), QVariant(2));
    EXPECT_FALSE(manager.contains("key"));
    EXPECT_EQ(manager.getColor("key", QColor(1, 2, 3, 4)), QColor(1, 2, 3, 4));
    EXPECT_EQ(manager.getStringList("key", {"a"}), QStringList("a"));
    EXPECT_TRUE(manager.getAllKeys().isEmpty());
}

TEST(SettingsManagerInstanceTest, OneObjectServesTheProcess) {
    EXPECT_EQ(SettingsManager::instance(), SettingsManager::instance());
    EXPECT_EQ(SettingsManager::instance()->parent(), nullptr);
}
