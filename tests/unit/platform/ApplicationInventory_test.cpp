#include "platform/ApplicationInventory.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

RawAudioSession session(std::uint32_t id, const QString& name, const QString& path) {
    return {id, name, path, QString(), QStringLiteral("Active")};
}

QVariantMap device(const QString& name) {
    return {{"name", name}, {"isInput", true}};
}

void makeFile(const QString& path) {
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
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

TEST(FileNames, IconFileNameHasAnUnderscoreForABlankAndAnUmlaut) {
    EXPECT_EQ(programIconFileName(QStringLiteral("Spül Gerät-2_a")), "Sp_l_Ger_t-2_a.png");
    EXPECT_EQ(programIconFileName(QStringLiteral("音乐")), "__.png");
}

TEST(FileNames, UrlHasThreeSlashesOnEverySystem) {
    EXPECT_EQ(fileUrl("/usr/bin/a"), "file:///usr/bin/a");
    EXPECT_EQ(fileUrl(R"(C:\Program Files\a.exe)"), "file:///C:/Program Files/a.exe");
    EXPECT_EQ(fileUrl({}), "file:///");
}

class ProgramFiles : public testing::Test {
protected:
    [[nodiscard]] QStringList names(int depth = 3) const {
        QStringList found;
        for (const QString& path :
             programFiles({folder.filePath("one"), folder.filePath("two")}, "exe", depth)) {
            found.append(QDir(folder.path()).relativeFilePath(path));
        }
        found.sort();
        return found;
    }
    void add(const QString& path) { makeFile(folder.filePath(path)); }

    // Not named after the program, whose own files are left out.
    QTemporaryDir folder{QDir::tempPath() + "/programs-XXXXXX"};
};

TEST_F(ProgramFiles, FirstOfTwoWithOneNameWinsWhereverItLies) {
    add("one/deep/player.exe");
    add("two/player.exe");
    EXPECT_EQ(names(), QStringList{"one/deep/player.exe"});
}

TEST_F(ProgramFiles, TwoFoldersBelowARootAreReachedAndThreeAreNot) {
    add("one/a/b/near.exe");
    add("one/a/b/c/far.exe");
    EXPECT_EQ(names(), QStringList{"one/a/b/near.exe"});
}

TEST_F(ProgramFiles, OnlyTheSuffixCountsInAnyCase) {
    add("one/a.EXE");
    add("one/b.txt");
    add("one/exe");
    EXPECT_EQ(names(), QStringList{"one/a.EXE"});
}

TEST_F(ProgramFiles, MakersOwnProgramsAreLeftOut) {
    add("one/VEXO Tool.exe");
    add("one/VexoDeck/a.exe");
    add("one/Vexo Deck.exe");
    add("one/vexodeck.exe");
    EXPECT_EQ(names(), QStringList{"one/vexodeck.exe"});
}

TEST_F(ProgramFiles, MissingRootIsNoFault) {
    EXPECT_TRUE(programFiles({folder.filePath("nowhere")}, "exe", 3).isEmpty());
}

TEST(SaveIcon, FitsAPictureIntoASquareOf128) {
    const QTemporaryDir folder;
    QImage wide(64, 32, QImage::Format_ARGB32);
    wide.fill(Qt::red);
    const QString path = folder.filePath("icon.png");
    ASSERT_TRUE(saveIcon(wide, path));
    const QImage saved(path);
    EXPECT_EQ(saved.size(), QSize(128, 128));
    EXPECT_EQ(saved.pixelColor(64, 64), QColor(Qt::red));
    EXPECT_EQ(saved.pixelColor(64, 5).alpha(), 0);
}

TEST(SaveIcon, PictureMadeForADisplayWithScalingFillsTheCanvasToo) {
    const QTemporaryDir folder;
    for (const int size : {256, 128, 64}) {
        QImage picture(size, size, QImage::Format_ARGB32);
        picture.fill(Qt::red);
        picture.setDevicePixelRatio(2.0);
        const QString path = folder.filePath("icon.png");
        ASSERT_TRUE(saveIcon(picture, path));
        const QImage saved(path);
        for (const QPoint corner : {QPoint(0, 0), QPoint(127, 0), QPoint(0, 127), QPoint(127, 127)}) {
            EXPECT_EQ(saved.pixelColor(corner).name(QColor::HexArgb).toStdString(), "#ffff0000")
                << size << " pixels, at " << corner.x() << ", " << corner.y();
        }
    }
}

TEST(SaveIcon, FolderThatIsNotThereIsNoCrash) {
    QImage picture(8, 8, QImage::Format_ARGB32);
    picture.fill(Qt::red);
    EXPECT_FALSE(saveIcon(picture, "/nowhere/at/all/icon.png"));
}
