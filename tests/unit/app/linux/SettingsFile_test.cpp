// The store as the file that it is on Linux.

#include "app/SettingsFile.h"
#include "app/SettingsManager.h"
#include "tests/support/Await.h"
#include "tests/support/FullDisk.h"
#include "tests/support/LogCapture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
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
    void SetUp() override {
        manager.clear();
        manager.sync();
        QCoreApplication::processEvents();
    }

    /// The store's file, which exists and has no line of the key.
    QString fileWithout(const QString& key) {
        manager.setValue("other", 1);
        manager.removeValue(key);
        manager.sync();
        QCoreApplication::processEvents();
        return SettingsManagerFile().fileName();
    }

    /// The line of a key in the file, empty where there is none.
    static QByteArray written(const QString& path, const QByteArray& key = "volume") {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (line.startsWith(key + '=')) {
                return line;
            }
        }
        return {};
    }

    /// The store's file with this content, which nobody has read yet.
    static QString fileWith(const QByteArray& content) {
        const QString path = SettingsManagerFile().fileName();
        EXPECT_TRUE(QDir().mkpath(QFileInfo(path).path()));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(content);
        file.close();
        QFile::remove(foreignLinesFile(path));
        return path;
    }

    static QByteArray contentOf(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
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

TEST_F(SettingsFileTest, FirstStepOfADragIsWrittenAtOnceAndTheOthersWait) {
    const QString path = fileWithout("volume");
    SettingsManager patient(std::chrono::hours(1));
    for (int step = 0; step < 20; ++step) {
        patient.setValue("volume", step);
        QCoreApplication::processEvents();
        EXPECT_EQ(written(path), "volume=0") << "step " << step;
    }
    patient.sync();
    EXPECT_EQ(written(path), "volume=19");
}

TEST_F(SettingsFileTest, TextAndListOfTheSameLengthThatChangeAgainAreSteps) {
    const QString path = fileWithout("volume");
    SettingsManager patient(std::chrono::hours(1));
    patient.setValue("text", "first");
    patient.setStringList("list", {"a", "b"});
    ASSERT_TRUE(await([&] { return written(path, "list") == "list=a, b"; }));
    EXPECT_EQ(written(path, "text"), "text=first");
    patient.setValue("text", "second");
    patient.setStringList("list", {"a", "c"});
    QCoreApplication::processEvents();
    EXPECT_EQ(written(path, "text"), "text=first");
    EXPECT_EQ(written(path, "list"), "list=a, b");
}

TEST_F(SettingsFileTest, SwitchIsWrittenAtOnceHoweverOftenItChanges) {
    const QString path = fileWithout("mute");
    SettingsManager patient(std::chrono::hours(1));
    for (const bool on : {true, false, true, false}) {
        patient.setValue("mute", on);
        EXPECT_TRUE(await([&] { return written(path, "mute") == (on ? "mute=true" : "mute=false"); })) << on;
    }
}

TEST_F(SettingsFileTest, EntryThatComesToAListOrGoesIsWrittenAtOnce) {
    const QString path = fileWithout("list");
    SettingsManager patient(std::chrono::hours(1));
    patient.setStringList("list", {"a", "b"});
    EXPECT_TRUE(await([&] { return written(path, "list") == "list=a, b"; }));
    patient.setStringList("list", {"a", "b", "c"});
    EXPECT_TRUE(await([&] { return written(path, "list") == "list=a, b, c"; }));
    patient.setStringList("list", {"c"});
    EXPECT_TRUE(await([&] { return written(path, "list") == "list=c"; }));
}

TEST_F(SettingsFileTest, RemovalIsWrittenAtOnce) {
    const QString path = fileWithout("volume");
    SettingsManager patient(std::chrono::hours(1));
    patient.setValue("volume", 1);
    patient.setValue("other", 1);
    ASSERT_TRUE(await([&] { return written(path) == "volume=1"; }));
    patient.removeValue("volume");
    EXPECT_TRUE(await([&] { return written(path).isEmpty(); }));
    patient.clear();
    EXPECT_TRUE(await([&] { return written(path, "other").isEmpty(); }));
}

TEST_F(SettingsFileTest, ChangesThatGoOnDoNotPutOffTheWrite) {
    const QString path = fileWithout("volume");
    SettingsManager quick(std::chrono::milliseconds(20));
    quick.setValue("volume", 0);
    ASSERT_TRUE(await([&] { return written(path) == "volume=0"; }));
    int step = 0;
    EXPECT_TRUE(await([&] {
        quick.setValue("volume", ++step);
        return written(path) != "volume=0";
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

TEST_F(SettingsFileTest, WriteThatFailsIsToldOnceAndTriedAgainUntilItSucceeds) {
    const QString path = fileWithout("volume");
    // A folder has the file's name.
    ASSERT_TRUE(QFile::remove(path));
    ASSERT_TRUE(QDir().mkpath(path + QStringLiteral("/occupied")));
    const LogCapture log;
    SettingsManager store;
    const QString told = QStringLiteral("the settings cannot be written");
    store.setValue("volume", 5);
    EXPECT_TRUE(await([&] { return log.count(told) == 1; }));
    store.setValue("volume", 6);
    store.sync();
    store.setValue("mute", true);
    store.sync();
    EXPECT_EQ(log.count(told), 1);
    EXPECT_EQ(store.getValue("volume"), QVariant(6));
    ASSERT_TRUE(QDir(path).removeRecursively());
    // No further change.
    ASSERT_TRUE(await([&] { return QFileInfo(path).isFile(); }));
    EXPECT_EQ(written(path), "volume=6");
    EXPECT_EQ(written(path, "mute"), "mute=true");
    EXPECT_EQ(log.count(QStringLiteral("the settings are written again")), 1);
    // The next failure is another one.
    ASSERT_TRUE(QFile::remove(path));
    ASSERT_TRUE(QDir().mkpath(path));
    store.setValue("volume", 7);
    EXPECT_TRUE(await([&] { return log.count(told) == 2; }));
    ASSERT_TRUE(QDir(path).removeRecursively());
    store.sync();
    EXPECT_EQ(written(path), "volume=7");
}

TEST_F(SettingsFileTest, LinesThatAreNoSettingsAreKeptBesideTheFileBeforeTheFirstWrite) {
    const QByteArray garbage("[General]\nvolume=3\nhalf a li\n\x00\xff=\x01\n[unclosed\n", 44);
    const QString path = fileWith(garbage);
    const QString kept = foreignLinesFile(path);
    const LogCapture log;
    SettingsManager store;
    EXPECT_EQ(store.getValue("volume").toInt(), 3);
    store.sync();
    EXPECT_FALSE(QFile::exists(kept)) << "kept without a write";
    store.setValue("volume", 4);
    ASSERT_TRUE(await([&] { return written(path) == "volume=4"; }));
    EXPECT_EQ(contentOf(kept), garbage);
    EXPECT_EQ(log.count(kept), 1);
    // What is written over it later is the program's own.
    store.setValue("other", 5);
    store.sync();
    EXPECT_EQ(contentOf(kept), garbage);
    EXPECT_EQ(log.count(kept), 1);
    QFile::remove(kept);
}

TEST_F(SettingsFileTest, LinesThatOneBeforeThemSwallowsAreKeptBesideTheFile) {
    for (const char* const garbage : {"[General]\nvolume=\"3\nother=4\n", "[General]\nvolume=3\\\nother=4\n",
                                      "[General]\nvolume=3\rother\n"}) {
        const QString path = fileWith(garbage);
        SettingsManager store;
        store.setValue("mute", true);
        store.sync();
        EXPECT_EQ(contentOf(foreignLinesFile(path)), garbage);
        QFile::remove(foreignLinesFile(path));
    }
}

TEST_F(SettingsFileTest, LineThatEndsInABackslashAndABlankSwallowsNothingAndIsNotKept) {
    const QString path = fileWith("[General]\nvolume=3\\ \nother=4\n");
    SettingsManager store;
    EXPECT_EQ(store.getValue("other").toString(), "4");
    store.setValue("mute", true);
    store.sync();
    EXPECT_TRUE(contentOf(path).contains("\nother=4\n"));
    EXPECT_FALSE(QFile::exists(foreignLinesFile(path)));
}

TEST_F(SettingsFileTest, LineWithoutAKeyOutlivesAWriteAndIsNotKeptBesideTheFile) {
    const QString path = fileWith("[General]\n=x\n");
    SettingsManager store;
    store.setValue("volume", 4);
    store.sync();
    EXPECT_TRUE(contentOf(path).contains("\n=x\n"));
    EXPECT_FALSE(QFile::exists(foreignLinesFile(path)));
}

TEST_F(SettingsFileTest, FileOfTheProgramsOwnIsNotKept) {
    const QString path = fileWithout("volume");
    QFile::remove(foreignLinesFile(path));
    for (const QVariant& value :
         {QVariant(0.25), QVariant(QStringLiteral("三\n\x01\x7f;=[\"\\")), QVariant(true),
          QVariant(QStringList{"a", QString()}), QVariant(QVariantMap{{"a", 1}}),
          QVariant(QVariantMap{{"list", QVariantList{1, 2U, Q_INT64_C(3), Q_UINT64_C(4), 0.5, true}},
                               {"texts", QStringList{"@Variant(", QString()}},
                               {"bytes", QByteArray("\x00\xff)", 3)},
                               {"none", QVariant()},
                               {"null", QVariant::fromValue(nullptr)}}),
          QVariant(QVariantList{QVariantMap{{"a", "b"}}, QVariant()}), QVariant::fromValue(nullptr),
          QVariant(QStringList{"@Variant(x)", "@DateTime(x)"}), QVariant(QByteArray("@Variant(\xff"))}) {
        manager.setValue("volume", value);
        manager.setValue(QStringLiteral("group/[三]=;\n"), value);
        manager.sync();
        EXPECT_FALSE(hasForeignLines(contentOf(path))) << contentOf(path).toStdString();
    }
    EXPECT_FALSE(QFile::exists(foreignLinesFile(path)));
}

TEST_F(SettingsFileTest, NamesThatAWriteChangesAreKeptBesideTheFile) {
    for (const char* const line :
         {"[]\nb=1", "[ ]x]\nb=1", "[\\a]\nb=1", "[%2Fa]\nb=1", "\\b=1", "/b=1", "%2fb=1", "%U002Fb=1",
          "[a]\nb=1\n[general]\n/b=1", "b/=1", "b%2F=1", "[a]\nb%u002f =1"}) {
        EXPECT_TRUE(hasForeignLines(QByteArray("[General]\n") + line + '\n')) << line;
    }
    for (const char* const line :
         {"[a\\b]\nb=1", "[%General]\nb=1", "[a]\n\\b=1", "b\\c=1", "b/c=1", "%2b=1", "=x"}) {
        EXPECT_FALSE(hasForeignLines(QByteArray("[General]\n") + line + '\n')) << line;
    }
}

TEST_F(SettingsFileTest, KeysThatAreWrittenAsOneDoNotMakeTheWriteFail) {
    const QString path = fileWith("[General]\n=x\n[\n=y\nvolume=3\n");
    const LogCapture log;
    SettingsManager store;
    store.setValue("mute", true);
    store.sync();
    EXPECT_EQ(written(path, "mute"), "mute=true");
    EXPECT_EQ(log.count(QStringLiteral("cannot be written")), 0);
    QFile::remove(foreignLinesFile(path));
}

TEST_F(SettingsFileTest, ValueThatAsksForMoreMemoryThanThereIsIsTakenOutBeforeTheFileIsRead) {
    const QByteArray damaged("[General]\nvolume=3\nv=@Variant(\\0\\0\\0\\v=@0\\0\\0\\a)\nother=4\n");
    const QString path = fileWith(damaged);
    const LogCapture log;
    SettingsManager store;
    EXPECT_FALSE(store.contains("v"));
    EXPECT_EQ(store.getValue("volume").toInt(), 3);
    EXPECT_EQ(store.getValue("other").toInt(), 4);
    EXPECT_EQ(contentOf(path), "[General]\nvolume=3\n\nother=4\n");
    EXPECT_EQ(contentOf(foreignLinesFile(path)), damaged);
    EXPECT_EQ(log.count(foreignLinesFile(path)), 1);
    store.setValue("volume", 5);
    store.sync();
    EXPECT_EQ(contentOf(foreignLinesFile(path)), damaged);
    EXPECT_EQ(written(path), "volume=5");
    EXPECT_EQ(written(path, "other"), "other=4");
    QFile::remove(foreignLinesFile(path));
}

TEST_F(SettingsFileTest, SuchAValueThatComesWhileTheProgramRunsIsTakenOutBeforeTheNextWrite) {
    const QString path = fileWith("[General]\nvolume=3\n");
    SettingsManager store;
    store.setValue("volume", 4);
    store.sync();
    const QByteArray damaged("[General]\nvolume=4\nlist=a, @Variant(\\0\\0\\0\\t\\xff\\xff\\xff\\xf0)\n");
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(damaged);
    file.close();
    store.setValue("mute", true);
    store.sync();
    EXPECT_EQ(written(path, "mute"), "mute=true");
    EXPECT_EQ(written(path), "volume=4");
    EXPECT_FALSE(store.contains("list"));
    EXPECT_EQ(contentOf(foreignLinesFile(path)), damaged);
    QFile::remove(foreignLinesFile(path));
}

TEST_F(SettingsFileTest, FileThatCannotBeMadeReadableIsNotRead) {
    const QByteArray damaged("[General]\nvolume=3\nv=@Variant(\\0\\0\\0\\v=@0\\0\\0\\a)\n");
    const QString path = fileWith(damaged);
    const LogCapture log;
    {
        const FullDisk disk(0);
        SettingsManager store;
        EXPECT_EQ(store.getValue("volume", 9).toInt(), 9);
        store.setValue("volume", 4);
        store.sync();
        EXPECT_EQ(store.getAllKeys(), QStringList());
    }
    EXPECT_EQ(log.count(QStringLiteral("cannot be removed")), 1);
    EXPECT_EQ(contentOf(path), damaged);
    EXPECT_FALSE(QFile::exists(foreignLinesFile(path)));
    EXPECT_EQ(SettingsManager().getValue("volume").toInt(), 3);
    QFile::remove(foreignLinesFile(path));
}

TEST_F(SettingsFileTest, FileThatWasReplacedByAPartOfItIsPutBackAtTheNextStart) {
    const QByteArray whole("[General]\nvolume=3\nother=4\n");
    const QString path = fileWith("[General]\nvolu");
    const QString former = path + QStringLiteral(".former");
    const auto keepFormer = [&] {
        QFile file(former);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(whole);
    };
    keepFormer();
    EXPECT_EQ(SettingsManager().getValue("volume").toInt(), 3);
    EXPECT_EQ(contentOf(path), whole);
    EXPECT_FALSE(QFile::exists(former));
    // A whole file stays.
    const QByteArray newer("[General]\nvolume=5\n");
    ASSERT_EQ(fileWith(newer), path);
    keepFormer();
    EXPECT_EQ(SettingsManager().getValue("volume").toInt(), 5);
    EXPECT_EQ(contentOf(path), newer);
    EXPECT_FALSE(QFile::exists(former));
}

TEST_F(SettingsFileTest, LockThatAKilledProcessLeftEmptyIsRemoved) {
    const QString lock = fileWithout("volume") + QStringLiteral(".lock");
    QFile file(lock);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    SettingsManager store;
    EXPECT_FALSE(QFile::exists(lock));
}

TEST_F(SettingsFileTest, ArrayOfTheScriptLanguageSetAgainDoesNotEmit) {
    QJSEngine engine;
    const QVariant list = QVariant::fromValue(engine.evaluate("['a', 'b']"));
    manager.setValue("list", list);
    const QSignalSpy changes(&manager, &SettingsManager::valueChanged);
    manager.setValue("list", list);
    EXPECT_EQ(changes.size(), 0);
}
