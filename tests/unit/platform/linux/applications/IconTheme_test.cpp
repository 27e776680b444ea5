#include "platform/linux/applications/IconTheme.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

void write(const QString& path, const QByteArray& text) {
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
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

} // namespace

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

TEST_F(IconThemeTest, FoldersAndThemesOutsideOfTheBaseFoldersAreNotSearched) {
    write(file("outside/a.png"), "");
    write(file("base/mine/index.theme"),
          "[Icon Theme]\nInherits=../../outside\nDirectories=../../outside,/tmp\n"
          "[../../outside]\nSize=48\n");
    write(file("outside/index.theme"), "[Icon Theme]\nDirectories=.\n[.]\nSize=48\n");
    EXPECT_EQ(findIconFile("a", {file("base")}, {"mine"}), "");
    EXPECT_EQ(findIconFile("a", {file("base")}, {"../../outside", "..", "."}), "");
}

TEST_F(IconThemeTest, IndexThatIsNoFileOrTooLargeIsNotRead) {
    write(file("mine/s48/a.png"), "");
    QFile::remove(file("mine/index.theme"));
    ASSERT_EQ(mkfifo(file("mine/index.theme").toLocal8Bit().constData(), 0600), 0);
    EXPECT_EQ(find("a"), "");
    QFile::remove(file("mine/index.theme"));
    const QByteArray index = "[Icon Theme]\nDirectories=s48\n[s48]\nSize=48\n";
    write(file("mine/index.theme"), index + QByteArray((1 << 20) - index.size(), '#'));
    EXPECT_EQ(find("a"), "mine/s48/a.png");
    write(file("mine/index.theme"), index + QByteArray((1 << 20) - index.size() + 1, '#'));
    EXPECT_EQ(find("a"), "");
}

TEST_F(IconThemeTest, WhatIsNoFileIsNotOpened) {
    ASSERT_EQ(mkfifo(file("pipe.png").toLocal8Bit().constData(), 0600), 0);
    EXPECT_TRUE(loadIcon(file("pipe.png"), 128).isNull());
    EXPECT_TRUE(loadIcon("/dev/ptmx", 128).isNull());
    EXPECT_TRUE(loadIcon(folder.path(), 128).isNull());
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

TEST_F(IconThemeTest, PictureThatTakesTooMuchMemoryIsNull) {
    for (const int edge : {4000, 4200}) {
        QImage large(edge, edge, QImage::Format_Mono); // few bytes in the file
        large.fill(0);
        ASSERT_TRUE(large.save(file("large.png")));
        EXPECT_EQ(loadIcon(file("large.png"), 128).isNull(), edge > 4096) << edge;
    }
    write(file("huge.svg"), "<svg xmlns='http://www.w3.org/2000/svg' width='1e9' height='1e3'/>");
    EXPECT_EQ(loadIcon(file("huge.svg"), 128).size(), QSize(128, 1));
    write(file("long.png"), QByteArray((8 << 20) + 1, 'x'));
    EXPECT_TRUE(loadIcon(file("long.png"), 128).isNull());
}

TEST(IconThemeIndex, HasItsFoldersInOrderAndItsParents) {
    const IconThemeIndex index = parseIconTheme(
        "[Icon Theme]\nName=a\nInherits=b, c,\nDirectories=48x48/apps,large,48x48@2/apps, "
        "scalable/apps,none\n"
        "[scalable/apps]\nType=Scalable\nSize=16\n[48x48@2/apps]\nSize=48\nScale=2\n[48x48/apps]\nSize=48\n"
        "[large]\nSize=x\n");
    EXPECT_EQ(index.parents, (QStringList{"b", "c"}));
    QStringList folders;
    for (const IconThemeFolder& folder : index.folders) {
        folders.append(QStringLiteral("%1 %2 %3").arg(folder.name).arg(folder.size).arg(folder.scalable));
    }
    EXPECT_EQ(folders.join(';').toStdString(), "48x48/apps 48 0;large 0 0;scalable/apps 16 1;none 0 0");
    EXPECT_TRUE(parseIconTheme("").folders.isEmpty());
    EXPECT_TRUE(parseIconTheme(QByteArray(4096, '[')).folders.isEmpty());
}

TEST(IconName, IsNoPathAndNothingElse) {
    for (const char* const name : {"player", "org.example.Player", "audio-volume-high", "gtk+", "x_1@2"}) {
        EXPECT_TRUE(isIconName(name)) << name;
    }
    for (const QString& text :
         {QString(), QStringLiteral("/usr/share/icons/a.png"), QStringLiteral("a/b"), QStringLiteral("../a"),
          QStringLiteral(".hidden"), QStringLiteral("a b"), QStringLiteral("a\n"), QStringLiteral("~"),
          QStringLiteral("file:///a"), QStringLiteral("音乐"), QString(129, 'a'), QString(QChar(0))}) {
        EXPECT_FALSE(isIconName(text)) << text.toStdString();
    }
}
