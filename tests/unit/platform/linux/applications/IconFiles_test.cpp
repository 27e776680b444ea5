#include "inventory/ProgramFiles.h"
#include "platform/IconFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

class IconFiles : public testing::Test {
protected:
    void SetUp() override {
        const QString data = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
        paths = {sessionIconPath(temporaryFolder(), "/opt/iconfiles", 7), data + "/app_icons/iconfiles.png"};
    }
    void TearDown() override {
        for (const QString& path : paths) {
            QFile::remove(path);
        }
    }

    QStringList paths;
};

} // namespace

TEST_F(IconFiles, LieInTheUsersOwnFolders) {
    EXPECT_EQ(temporaryFolder(), QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation));
    for (const QString& path : paths) {
        EXPECT_FALSE(isIconFile(path));
        ASSERT_TRUE(writeIconFile(path, "picture"));
        EXPECT_TRUE(isIconFile(path));
        struct stat status{};
        ASSERT_EQ(stat(QFile::encodeName(QFileInfo(path).path()).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0700U);
        EXPECT_TRUE(prepareIconFolder(QFileInfo(path).path()));
    }
}

TEST_F(IconFiles, AreNoneElsewhere) {
    const QTemporaryDir elsewhere;
    for (const QString& path : {elsewhere.filePath("a.png"), QDir::homePath() + "/a.png", QString("a.png"),
                                QString(), temporaryFolder() + "/../a.png", temporaryFolder() + "/"}) {
        EXPECT_FALSE(writeIconFile(path, "picture")) << path.toStdString();
        EXPECT_FALSE(isIconFile(path)) << path.toStdString();
    }
    EXPECT_FALSE(prepareIconFolder(elsewhere.path()));
}

TEST_F(IconFiles, LinkIsNone) {
    const QTemporaryDir elsewhere;
    QFile foreign(elsewhere.filePath("foreign.png"));
    ASSERT_TRUE(foreign.open(QIODevice::WriteOnly));
    foreign.close();
    for (const QString& path : paths) {
        ASSERT_TRUE(prepareIconFolder(QFileInfo(path).path()));
        ASSERT_TRUE(QFile::link(foreign.fileName(), path));
        EXPECT_FALSE(isIconFile(path));
        ASSERT_TRUE(writeIconFile(path, "picture"));
        EXPECT_TRUE(isIconFile(path));
        EXPECT_EQ(QFileInfo(foreign.fileName()).size(), 0);
    }
}
