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
