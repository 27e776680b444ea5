#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/applications/IconTheme.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

DesktopEntry parse(const QByteArray& lines, const QStringList& languages = {},
                   const QStringList& desktops = {}) {
    return parseDesktopEntry("[Desktop Entry]\nType=Application\nName=Player\nExec=player %U\n" + lines,
                             languages, desktops);
}

void write(const QString& path, const QByteArray& text) {
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
}

} // namespace

TEST(DesktopEntry, NameIsThatOfTheFirstLanguageThatHasOne) {
    const QByteArray names = "Name[zh]=播放器\nName[zh_TW]=播放程式\nName[de]=Spieler\n";
    EXPECT_EQ(parse(names, {"zh_CN", "zh"}).name, QStringLiteral("播放器"));
    EXPECT_EQ(parse(names, {"zh_TW", "zh"}).name, QStringLiteral("播放程式"));
    EXPECT_EQ(parse(names, {"fr"}).name, "Player");
}

TEST(DesktopEntry, HiddenOnesAreNotShown) {
    EXPECT_TRUE(parse("").shown);
    EXPECT_FALSE(parse("NoDisplay=true\n").shown);
    EXPECT_FALSE(parse("Hidden=true\n").shown);
    EXPECT_FALSE(parse("TryExec=/no/such/program\n").shown);
    EXPECT_TRUE(parse("TryExec=sh\n").shown);
    EXPECT_FALSE(parse("OnlyShowIn=KDE;XFCE;\n", {}, {"GNOME"}).shown);
    EXPECT_TRUE(parse("OnlyShowIn=KDE;XFCE;\n", {}, {"XFCE"}).shown);
    EXPECT_FALSE(parse("NotShowIn=GNOME;\n", {}, {"GNOME"}).shown);
}

TEST(DesktopEntry, LinksFoldersAndNamelessOnesAreNotShown) {
    EXPECT_FALSE(parseDesktopEntry("[Desktop Entry]\nType=Link\nName=a\n", {}, {}).shown);
    EXPECT_FALSE(parseDesktopEntry("[Desktop Entry]\nType=Application\n", {}, {}).shown);
    EXPECT_FALSE(parseDesktopEntry("", {}, {}).shown);
    EXPECT_FALSE(parseDesktopEntry(QByteArray(4096, '\xff'), {}, {}).shown);
}

TEST(DesktopEntry, OtherGroupsAndCommentsDoNotCount) {
    const DesktopEntry entry =
        parse("# Icon=no\nIcon=player\n[Desktop Action New]\nName=New window\nIcon=window\n");
    EXPECT_EQ(entry.name, "Player");
    EXPECT_EQ(entry.icon, "player");
}

TEST(DesktopEntry, KeysThatOnlyBeginLikeAUsedOneDoNotCount) {
    const DesktopEntry entry = parse("NameX=no\nName[de=no\nX-Name=no\nIcon =player\nIconX[de]=no\n", {"de"});
    EXPECT_EQ(entry.name, "Player");
    EXPECT_EQ(entry.icon, "player");
}

TEST(DesktopEntry, TheLastLineNeedsNoEnd) {
    EXPECT_EQ(parse("Icon=player").icon, "player");
}

TEST(DesktopEntry, EscapesOfAValueAreUndone) {
    EXPECT_EQ(parse("Icon=a\\sb\\\\c\\n\\q\\\n").icon, "a b\\c\nq\\");
}

TEST(ProgramOfExec, IsTheFirstWordBehindEnv) {
    EXPECT_EQ(programOfExec("player %U"), "player");
    EXPECT_EQ(programOfExec("/opt/a/player --x"), "/opt/a/player");
    EXPECT_EQ(programOfExec("\"/opt/a b/player\" %f"), "/opt/a b/player");
    EXPECT_EQ(programOfExec("\"/opt/\\\"q/player\""), "/opt/\"q/player");
    EXPECT_EQ(programOfExec("env LANG=C -i player"), "player");
    EXPECT_EQ(programOfExec("/usr/bin/env A=b /opt/player x"), "/opt/player");
    EXPECT_EQ(programOfExec(""), "");
    EXPECT_EQ(programOfExec("env A=b"), "");
    EXPECT_EQ(programOfExec("\"open"), "open");
}

TEST(EntryOfExecutable, PathComesBeforeFileNameAndAShownOneBeforeAHidden) {
    DesktopEntry hidden{"1", "Hidden", {}, "player", false};
    DesktopEntry shown{"2", "Shown", {}, "player", true};
    DesktopEntry exact{"3", "Exact", {}, "/opt/player", true};
    EXPECT_EQ(entryOfExecutable({hidden, shown, exact}, "/opt/player")->name, "Exact");
    EXPECT_EQ(entryOfExecutable({hidden, shown, exact}, "/usr/bin/player")->name, "Shown");
    EXPECT_EQ(entryOfExecutable({hidden}, "/usr/bin/player")->name, "Hidden");
    EXPECT_EQ(entryOfExecutable({hidden, shown}, "/usr/bin/other"), nullptr);
    EXPECT_EQ(entryOfExecutable({hidden, shown}, ""), nullptr);
}

class IconThemeTest : public testing::Test {
protected:
    void SetUp() override {
        write(file("mine/index.theme"),
              "[Icon Theme]\nInherits=parent\nDirectories=s48,s256,draw\n"
              "[s48]\nSize=48\nType=Fixed\n[s256]\nSize=256\n[draw]\nSize=16\nType=Scalable\n");
        write(file("parent/index.theme"), "[Icon Theme]\nDirectories=s32\n[s32]\nSize=32\n");
        write(file("hicolor/index.theme"), "[Icon Theme]\nDirectories=s64\n[s64]\nSize=64\n");
    }
    [[nodiscard]] QString file(const QString& name) const { return folder.filePath(name); }
    [[nodiscard]] QString find(const QString& name) const {
        return QDir(folder.path()).relativeFilePath(findIconFile(name, {folder.path()}, {"mine"}));
    }

    QTemporaryDir folder;
};

TEST_F(IconThemeTest, LargestOfTheAskedSizesWins) {
    write(file("mine/s48/a.png"), "");
    write(file("mine/s256/a.png"), "");
    write(file("mine/draw/a.svg"), "");
    EXPECT_EQ(find("a"), "mine/s256/a.png");
}

TEST_F(IconThemeTest, DrawnIconServesWhereThereIsNoSize) {
    write(file("mine/draw/a.svg"), "");
    EXPECT_EQ(find("a"), "mine/draw/a.svg");
}

TEST_F(IconThemeTest, ParentsComeBeforeTheLastThemeAndThatBeforeLooseFiles) {
    write(file("a.png"), "");
    EXPECT_EQ(find("a"), "a.png");
    write(file("hicolor/s64/a.png"), "");
    EXPECT_EQ(find("a"), "hicolor/s64/a.png");
    write(file("parent/s32/a.png"), "");
    EXPECT_EQ(find("a"), "parent/s32/a.png");
}

TEST_F(IconThemeTest, UnknownEmptyAndClimbingNamesFindNothing) {
    write(file("secret.png"), "");
    EXPECT_EQ(findIconFile("nothing", {folder.path()}, {"mine"}), "");
    EXPECT_EQ(findIconFile("", {folder.path()}, {"mine"}), "");
    EXPECT_EQ(findIconFile("../secret", {folder.filePath("mine")}, {}), "");
}

TEST_F(IconThemeTest, ThemesThatInheritEachOtherEnd) {
    write(file("parent/index.theme"), "[Icon Theme]\nInherits=mine\nDirectories=s32\n[s32]\nSize=32\n");
    EXPECT_EQ(findIconFile("nothing", {folder.path()}, {"mine"}), "");
}

TEST_F(IconThemeTest, AbsolutePathIsReadAsItIsAndRubbishIsNull) {
    QImage picture(4, 4, QImage::Format_ARGB32);
    picture.fill(Qt::blue);
    ASSERT_TRUE(picture.save(file("x.png")));
    EXPECT_EQ(loadIcon(file("x.png"), 128).size(), QSize(4, 4));
    write(file("bad.png"), "no picture");
    EXPECT_TRUE(loadIcon(file("bad.png"), 128).isNull());
    EXPECT_TRUE(loadIcon(file("gone.png"), 128).isNull());
}
