#include "platform/linux/system/FileDescriptor.h"
#include "platform/linux/system/ForeignFile.h"

#include <QFile>
#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr std::size_t kLimit = 100000;

class ForeignFile : public testing::Test {
protected:
    [[nodiscard]] std::string path(const char* name) const { return folder.filePath(name).toStdString(); }
    void write(const char* name, const QByteArray& content) const {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QTemporaryDir folder;
};

} // namespace

TEST_F(ForeignFile, IsReadWholeUpToTheLimit) {
    for (const qsizetype size : {0, 1, 16384, 16385, static_cast<int>(kLimit)}) {
        write("file", QByteArray(size, 'x'));
        EXPECT_EQ(readForeignFile(path("file"), kLimit), std::string(static_cast<std::size_t>(size), 'x'));
    }
    write("file", QByteArray(kLimit + 1, 'x'));
    EXPECT_EQ(readForeignFile(path("file"), kLimit), std::nullopt);
}

TEST_F(ForeignFile, RecordOfProcIsReadThoughItSaysToBeEmpty) {
    const std::string own = std::to_string(getpid());
    EXPECT_TRUE(readForeignFile("/proc/self/stat", kLimit).value_or("").starts_with(own + " ("));
}

TEST_F(ForeignFile, LinkIsFollowedToAFileAlone) {
    write("file", "content");
    ASSERT_EQ(symlink("file", path("link").c_str()), 0);
    EXPECT_EQ(readForeignFile(path("link"), kLimit), "content");
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    ASSERT_EQ(symlink("pipe", path("link2").c_str()), 0);
    EXPECT_EQ(readForeignFile(path("link2"), kLimit), std::nullopt);
}

TEST_F(ForeignFile, WhatIsNoFileIsNothing) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    const FileDescriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path("socket").copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    for (const std::string& name : {path("pipe"), path("socket"), path("none"), path(""), std::string(),
                                    std::string("/dev/zero"), std::string("/dev/ptmx")}) {
        EXPECT_EQ(readForeignFile(name, kLimit), std::nullopt) << name;
    }
}

TEST_F(ForeignFile, WriterOfAPipeDoesNotNotice) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    // While somebody reads, a writer may open the pipe and then gets a signal when the reader has gone.
    const FileDescriptor watch(open(path("pipe").c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    ASSERT_EQ(::write(watch.get(), "kept", 4), 4);
    EXPECT_EQ(readForeignFile(path("pipe"), kLimit), std::nullopt);
    std::string left(8, '\0');
    EXPECT_EQ(read(watch.get(), left.data(), left.size()), 4);
}

TEST_F(ForeignFile, LeaseOfAnotherProgramIsNotWaitedFor) {
    write("file", "content");
    std::signal(SIGIO, SIG_IGN); // what the holder of a lease gets
    const FileDescriptor holder(open(path("file").c_str(), O_RDWR | O_CLOEXEC));
    if (fcntl(holder.get(), F_SETLEASE, F_WRLCK) != 0) {
        GTEST_SKIP() << "this file system has no leases";
    }
    EXPECT_EQ(readForeignFile(path("file"), kLimit), std::nullopt);
    fcntl(holder.get(), F_SETLEASE, F_UNLCK);
    std::signal(SIGIO, SIG_DFL);
}
