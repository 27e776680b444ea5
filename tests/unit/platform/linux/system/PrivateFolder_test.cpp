#include "platform/linux/system/PrivateFolder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class PrivateFolder : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(QDir().mkpath(folder.filePath("base")));
        ASSERT_TRUE(QDir().mkpath(folder.filePath("elsewhere")));
    }
    [[nodiscard]] std::string path(const char* name) const { return folder.filePath(name).toStdString(); }
    [[nodiscard]] FileDescriptor openOne() const { return openPrivateFolder(path("base"), {"one", "two"}); }
    [[nodiscard]] QByteArray content(const char* name) const {
        QFile file(folder.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("none");
    }
    [[nodiscard]] unsigned rightsOf(const char* name) const {
        struct stat status{};
        return lstat(path(name).c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
    }
    // What lies in a folder, hidden files too.
    [[nodiscard]] QStringList entriesOf(const char* name) const {
        return QDir(folder.filePath(name))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    QTemporaryDir folder;
};

} // namespace

TEST_F(PrivateFolder, IsMadeForThisUserAlone) {
    ASSERT_TRUE(openOne().isOpen());
    EXPECT_EQ(rightsOf("base/one"), 0700U);
    EXPECT_EQ(rightsOf("base/one/two"), 0700U);
    ASSERT_TRUE(openPrivateFolder(path("no/base/yet"), {"one"}).isOpen());
    EXPECT_EQ(rightsOf("no/base/yet"), 0700U);
}

TEST_F(PrivateFolder, RightsOfOthersAreTakenBack) {
    ASSERT_TRUE(QDir().mkpath(folder.filePath("base/one/two")));
    ASSERT_EQ(chmod(path("base/one/two").c_str(), 0777), 0);
    ASSERT_TRUE(openOne().isOpen());
    EXPECT_EQ(rightsOf("base/one/two"), 0700U);
}

TEST_F(PrivateFolder, LevelThatIsALinkOrAFileIsRefused) {
    ASSERT_EQ(symlink(path("elsewhere").c_str(), path("base/one").c_str()), 0);
    EXPECT_FALSE(openOne().isOpen());
    ASSERT_EQ(unlink(path("base/one").c_str()), 0);
    ASSERT_TRUE(QDir().mkpath(folder.filePath("base/one")));
    ASSERT_EQ(symlink(path("elsewhere").c_str(), path("base/one/two").c_str()), 0);
    EXPECT_FALSE(openOne().isOpen());
    ASSERT_EQ(unlink(path("base/one/two").c_str()), 0);
    ASSERT_TRUE(QFile(folder.filePath("base/one/two")).open(QIODevice::WriteOnly));
    EXPECT_FALSE(openOne().isOpen());
    EXPECT_EQ(entriesOf("elsewhere"), QStringList());
}

TEST_F(PrivateFolder, BaseMayBeALink) {
    ASSERT_EQ(symlink(path("elsewhere").c_str(), path("link").c_str()), 0);
    EXPECT_TRUE(openPrivateFolder(path("link"), {"one"}).isOpen());
    EXPECT_EQ(entriesOf("elsewhere"), QStringList{"one"});
}

TEST_F(PrivateFolder, FolderOfSomebodyElseIsRefused) {
    constexpr uid_t kNobody = 65534;
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    ASSERT_TRUE(openOne().isOpen());
    for (const char* const name : {"base/one/two", "base/one", "base"}) {
        ASSERT_EQ(chown(path(name).c_str(), kNobody, kNobody), 0);
        EXPECT_FALSE(openOne().isOpen()) << name;
        ASSERT_EQ(chown(path(name).c_str(), 0, 0), 0);
        EXPECT_TRUE(openOne().isOpen()) << name;
    }
}

TEST_F(PrivateFolder, NamesThatAreNoneAreRefused) {
    const FileDescriptor own = openOne();
    for (const std::string& name : {std::string(), std::string("."), std::string(".."), std::string("a/b"),
                                    std::string("../three"), std::string("a\0b", 3)}) {
        EXPECT_FALSE(openPrivateFolder(path("base"), {"one", name}).isOpen()) << name;
        EXPECT_FALSE(writeFile(own, name, "x")) << name;
        EXPECT_FALSE(hasFile(own, name)) << name;
    }
    EXPECT_EQ(entriesOf("base/one"), QStringList{"two"});
}

TEST_F(PrivateFolder, FileIsWrittenWholeForThisUserAloneAndReplaced) {
    const FileDescriptor own = openOne();
    EXPECT_FALSE(hasFile(own, "a.png"));
    for (const std::string& text : {std::string(300000, 'a'), std::string("short"), std::string()}) {
        ASSERT_TRUE(writeFile(own, "a.png", text));
        EXPECT_EQ(content("base/one/two/a.png").toStdString(), text);
        EXPECT_TRUE(hasFile(own, "a.png"));
    }
    EXPECT_EQ(rightsOf("base/one/two/a.png"), 0600U);
    EXPECT_EQ(entriesOf("base/one/two"), QStringList{"a.png"});
}

TEST_F(PrivateFolder, LinkInItIsReplacedAndNotFollowed) {
    const FileDescriptor own = openOne();
    QFile precious(folder.filePath("elsewhere/precious"));
    ASSERT_TRUE(precious.open(QIODevice::WriteOnly));
    precious.write("kept");
    precious.close();
    ASSERT_EQ(symlink(path("elsewhere/precious").c_str(), path("base/one/two/a.png").c_str()), 0);
    EXPECT_FALSE(hasFile(own, "a.png"));
    ASSERT_TRUE(writeFile(own, "a.png", "new"));
    EXPECT_EQ(content("elsewhere/precious"), QByteArray("kept"));
    EXPECT_EQ(content("base/one/two/a.png"), QByteArray("new"));
}

TEST_F(PrivateFolder, FolderInThePlaceOfAFileStays) {
    const FileDescriptor own = openOne();
    ASSERT_TRUE(QDir().mkpath(folder.filePath("base/one/two/a.png")));
    EXPECT_FALSE(hasFile(own, "a.png"));
    EXPECT_FALSE(writeFile(own, "a.png", "new"));
    EXPECT_EQ(entriesOf("base/one/two"), QStringList{"a.png"});
}

TEST_F(PrivateFolder, StaysTheSameWhenItsPathIsLedElsewhere) {
    const FileDescriptor own = openOne();
    ASSERT_TRUE(QFile::rename(folder.filePath("base/one"), folder.filePath("base/moved")));
    ASSERT_EQ(symlink(path("elsewhere").c_str(), path("base/one").c_str()), 0);
    ASSERT_TRUE(QDir().mkpath(folder.filePath("elsewhere/two")));
    ASSERT_TRUE(writeFile(own, "a.png", "new"));
    EXPECT_EQ(content("base/moved/two/a.png"), QByteArray("new"));
    EXPECT_EQ(entriesOf("elsewhere/two"), QStringList());
}
