#include "app/SettingsManager.h"

#include <QCoreApplication>
#include <QJSEngine>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

const QString kProduct = QStringLiteral("Vexo Deck Settings Test");

/// A product of its own: not every system lets a test have a store besides the user's.
class OwnProduct {
public:
    OwnProduct() { QCoreApplication::setApplicationName(kProduct); }
    ~OwnProduct() { QCoreApplication::setApplicationName(before); }
    OwnProduct(const OwnProduct&) = delete;
    OwnProduct& operator=(const OwnProduct&) = delete;

private:
    const QString before = QCoreApplication::applicationName();
};

/// A manager on an emptied store.
class SettingsManagerTest : public testing::Test {
protected:
    void SetUp() override { manager.clear(); }
    void TearDown() override { manager.clear(); }

    const OwnProduct product;
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

TEST_F(SettingsManagerTest, SettingThePresentValueDoesNotEmit) {
    // The store may return another type than it was given.
    for (const QVariant& value : {QVariant(3), QVariant(true), QVariant(false), QVariant(0.25),
                                  QVariant("true"), QVariant(QStringLiteral("三")), QVariant(QString())}) {
        manager.setValue("present", value);
        manager.sync();
        SettingsManager again;
        const QSignalSpy changes(&again, &SettingsManager::valueChanged);
        again.setValue("present", value);
        EXPECT_EQ(changes.size(), 0) << value.typeName() << ' ' << value.toString().toStdString();
    }
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
