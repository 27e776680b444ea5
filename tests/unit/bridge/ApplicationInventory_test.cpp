#include "bridge/ApplicationInventory.h"
#include "inventory/ProgramFiles.h"
#include "platform/IconFiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>

namespace {

RawAudioSession session(std::uint32_t id, const QString& name, const QString& path) {
    return {id, name, path, QString(), QStringLiteral("Active")};
}

QVariantMap device(const QString& name) {
    return {{"name", name}, {"isInput", true}};
}

} // namespace

TEST(AudioSessions, ProcessWithTwoSessionsGivesOneRecord) {
    const auto sessions =
        audioSessionsFrom({session(7, "a", "/bin/a"), session(7, "b", "/bin/a"), session(8, "c", {})});
    ASSERT_EQ(sessions.size(), 2);
    EXPECT_EQ(sessions[0].name, "a");
    EXPECT_EQ(sessions[1].processId, 8U);
}

TEST(AudioSessions, SessionOfTheSystemItselfIsLeftOut) {
    EXPECT_TRUE(audioSessionsFrom({session(0, "System sounds", {})}).isEmpty());
}

TEST(AudioSessions, ProcessWithoutAccessHasAnEmptyPathAndAnUnknownName) {
    const auto sessions = audioSessionsFrom({session(7, {}, {}), session(8, "Shown", {})});
    EXPECT_EQ(sessions[0].name, "(unknown)");
    EXPECT_EQ(sessions[0].executablePath, "");
    EXPECT_EQ(sessions[0].iconPath, "");
    EXPECT_EQ(sessions[1].name, "Shown");
}

TEST(AudioSessions, NameComesFromTheImageThenFromTheProcess) {
    RawAudioSession nameless = session(9, {}, {});
    nameless.processFileName = "worker.exe";
    const auto sessions = audioSessionsFrom({session(7, {}, R"(C:\Programs\Some Player\player.v2.exe)"),
                                             session(8, {}, "/opt/x/radio"), nameless});
    EXPECT_EQ(sessions[0].name, "player.v2");
    EXPECT_EQ(sessions[1].name, "radio");
    EXPECT_EQ(sessions[2].name, "worker");
}

TEST(AudioSessions, IconPathIsKnownBeforeTheIcon) {
    EXPECT_EQ(sessionIconPath("/tmp", "/usr/bin/mpv", 7), "/tmp/VexoDeck/icons/mpv.png");
    EXPECT_EQ(sessionIconPath("/tmp", {}, 7), "/tmp/VexoDeck/icons/process_7.png");
    EXPECT_EQ(sessionIconPath({}, "/usr/bin/mpv", 7), QString());
}

TEST(ApplicationMaps, HaveTheKeysThatScreensStore) {
    AudioSessionInfo info = audioSessionsFrom({session(7, "Radio", "/opt/x/radio")})[0];
    info.iconPath = R"(C:\Temp\VexoDeck\icons\radio.png)";
    const QVariantList maps = applicationMaps({info}, [](const QString&) { return QString(); });
    EXPECT_EQ(maps, (QVariantList{QVariantMap{{"processIdentifier", "7"},
                                              {"bundleIdentifier", "file:///opt/x/radio"},
                                              {"iconFilePath", "file:///C:/Temp/VexoDeck/icons/radio.png"},
                                              {"name", "Radio"},
                                              {"type", "app"},
                                              {"isActive", true}}}));
}

TEST(ApplicationMaps, ProgramsWithoutAPathAreToldApartByTheirNames) {
    const auto sessions = audioSessionsFrom({session(7, "Radio", {}), session(8, "Music", {})});
    const QVariantList maps = applicationMaps(sessions, [](const QString&) { return QString(); });
    EXPECT_EQ(maps[0].toMap()["bundleIdentifier"], "file:///Radio");
    EXPECT_EQ(maps[1].toMap()["bundleIdentifier"], "file:///Music");
    EXPECT_EQ(maps[0].toMap()["iconFilePath"], "");
}

TEST(ApplicationMaps, OwnNameOfTheProgramComesBeforeThatOfTheSession) {
    const auto sessions = audioSessionsFrom({session(7, "playback", "/bin/a"), session(8, "kept", "/bin/b")});
    const QVariantList maps = applicationMaps(
        sessions, [](const QString& path) { return path == "/bin/a" ? QString("Player") : QString(); });
    EXPECT_EQ(maps[0].toMap()["name"], "Player");
    EXPECT_EQ(maps[1].toMap()["name"], "kept");
}

TEST(ApplicationMaps, ThisProgramIsNotOffered) {
    const auto sessions =
        audioSessionsFrom({session(1, "VEXO", "/bin/a"), session(2, "Vexo Deck", "/bin/b"),
                           session(3, "ALSA plug-in [VexoDeck]", "/bin/c"), session(4, "vexo", "/bin/d")});
    const QVariantList maps = applicationMaps(sessions, [](const QString&) { return QString(); });
    ASSERT_EQ(maps.size(), 1);
    EXPECT_EQ(maps[0].toMap()["name"], "vexo");
}

TEST(ApplicationMaps, OnlyAnActiveSessionIsActive) {
    for (const char* state : {"Inactive", "Expired", "Unknown"}) {
        AudioSessionInfo info;
        info.processId = 7;
        info.state = state;
        EXPECT_FALSE(applicationMaps({info}, [](const QString&) { return QString(); })[0]
                         .toMap()["isActive"]
                         .toBool());
    }
}

TEST(InputDevicesInTheInventory, StandFirstInTheirOrder) {
    const QVariantList maps = withInputDevices({QVariantMap{{"name", "app"}}}, {device("a"), device("b")});
    ASSERT_EQ(maps.size(), 3);
    EXPECT_EQ(maps[0].toMap()["name"], "a");
    EXPECT_EQ(maps[0].toMap()["bundleIdentifier"], "a");
    EXPECT_EQ(maps[0].toMap()["processIdentifier"], "a");
    EXPECT_TRUE(maps[0].toMap()["isInput"].toBool());
    EXPECT_EQ(maps[1].toMap()["name"], "b");
    EXPECT_EQ(maps[2].toMap()["name"], "app");
}

TEST(InputDevicesInTheInventory, NameWithVexoInExactCaseIsLeftOut) {
    const QVariantList maps = withInputDevices({}, {device("VEXO Mixdesk R2"), device("vexo mixdesk")});
    ASSERT_EQ(maps.size(), 1);
    EXPECT_EQ(maps[0].toMap()["name"], "vexo mixdesk");
}

TEST(OwnIconAddress, IsThatOfAnIconThatTheInventoryHasWritten) {
    for (const char* const program : {"/opt/x/address", "/opt/x/C# 50%2F 音乐"}) {
        const QString path = sessionIconPath(temporaryFolder(), program, 7);
        QFile::remove(path);
        EXPECT_EQ(ownIconAddress(fileUrl(path)), QString());
        ASSERT_TRUE(writeIconFile(path, "picture"));
        EXPECT_EQ(QUrl(ownIconAddress(fileUrl(path))).toLocalFile(), path);
        QFile::remove(path);
    }
}

TEST(OwnIconAddress, IsThatOfTodaysFolderWhereverItLayBefore) {
    const QString path = sessionIconPath(temporaryFolder(), "/opt/x/address", 7);
    ASSERT_TRUE(writeIconFile(path, "picture"));
    EXPECT_EQ(QUrl(ownIconAddress("file:///tmp/VexoDeck/icons/address.png")).toLocalFile(), path);
    QFile::remove(path);
    EXPECT_EQ(ownIconAddress("file:///tmp/VexoDeck/icons/address.png"), QString());
}

TEST(OwnIconAddress, IsEmptyForAnyOtherFile) {
    const QTemporaryDir elsewhere;
    QFile foreign(elsewhere.filePath("foreign.png"));
    ASSERT_TRUE(foreign.open(QIODevice::WriteOnly));
    const QString icon = sessionIconPath(temporaryFolder(), "/opt/x/address", 7);
    ASSERT_TRUE(writeIconFile(icon, "picture"));
    const QString folder = fileUrl(sessionIconFolder(temporaryFolder()));
    const QString climbing = QDir(sessionIconFolder(temporaryFolder())).relativeFilePath(foreign.fileName());
    for (const QString& text :
         {QString(), QStringLiteral("file:///"), fileUrl(foreign.fileName()), foreign.fileName(), icon,
          folder, folder + "/", folder + "/.", folder + "/..", folder + '/' + climbing,
          folder + '/' + QString(climbing).replace("/", "%2F"), folder + "/../icons/address.png",
          QStringLiteral("http://localhost/icon.png"), QStringLiteral("qrc:/icon.png")}) {
        EXPECT_EQ(ownIconAddress(text), QString()) << text.toStdString();
    }
    QFile::remove(icon);
}

TEST(EndIconWork, LaterListsGetIconsAgain) {
    EXPECT_TRUE(endIconWork(std::chrono::seconds(30)));
    std::atomic<bool> made{false};
    const QFuture<void> icon =
        generateIconAsync("/no/such/entry", "/no/such/icon.png", "none").then([&made] { made = true; });
    EXPECT_TRUE(endIconWork(std::chrono::seconds(30)));
    EXPECT_TRUE(icon.isFinished());
    EXPECT_TRUE(made);
}
