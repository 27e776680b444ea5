#include "inventory/ProgramFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

void makeFile(const QString& path) {
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
}

} // namespace

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

TEST(IconFile, FitsAPictureIntoASquareOf128) {
    QImage wide(64, 32, QImage::Format_ARGB32);
    wide.fill(Qt::red);
    const QImage saved = QImage::fromData(iconFileOf(wide), "PNG");
    EXPECT_EQ(saved.size(), QSize(128, 128));
    EXPECT_EQ(saved.pixelColor(64, 64), QColor(Qt::red));
    EXPECT_EQ(saved.pixelColor(64, 5).alpha(), 0);
}

TEST(IconFile, PictureMadeForADisplayWithScalingFillsTheCanvasToo) {
    for (const int size : {256, 128, 64}) {
        QImage picture(size, size, QImage::Format_ARGB32);
        picture.fill(Qt::red);
        picture.setDevicePixelRatio(2.0);
        const QImage saved = QImage::fromData(iconFileOf(picture), "PNG");
        for (const QPoint corner : {QPoint(0, 0), QPoint(127, 0), QPoint(0, 127), QPoint(127, 127)}) {
            EXPECT_EQ(saved.pixelColor(corner).name(QColor::HexArgb).toStdString(), "#ffff0000")
                << size << " pixels, at " << corner.x() << ", " << corner.y();
        }
    }
}
