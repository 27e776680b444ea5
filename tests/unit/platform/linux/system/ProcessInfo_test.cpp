#include "platform/linux/system/ProcessInfo.h"
#include "tests/support/Await.h"
#include "tests/unit/platform/linux/ShellCommand.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

TEST(ProcessInfo, ChildAndGrandchildBelongToTheTreeAndTheParentDoesNot) {
    const auto own = static_cast<std::uint32_t>(getpid());
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    EXPECT_TRUE(isInProcessTree(static_cast<std::uint32_t>(child), own));
    EXPECT_TRUE(isInProcessTree(own, own));
    EXPECT_FALSE(isInProcessTree(own, static_cast<std::uint32_t>(child)));
    EXPECT_EQ(parentProcess(static_cast<std::uint32_t>(child)), own);
    EXPECT_EQ(processImagePath(static_cast<std::uint32_t>(child)), processImagePath(own));
    EXPECT_FALSE(processFileName(own).empty());
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(isInProcessTree(static_cast<std::uint32_t>(child), own));
}

TEST(ProcessInfo, ProcessThatIsNotThereIsNoError) {
    EXPECT_EQ(parentProcess(0xFFFFFFF0), std::nullopt);
    EXPECT_EQ(processImagePath(0xFFFFFFF0), "");
    EXPECT_EQ(processFileName(0xFFFFFFF0), "");
    EXPECT_FALSE(isInProcessTree(0xFFFFFFF0, 1));
}

TEST(ProcessInfo, ProcessIsFoundByTheIdThatItHasInItsOwnNamespace) {
    constexpr std::uint32_t kOwnId = 3;
    const std::string command = "exec unshare --pid --fork --kill-child ";
    if (!ShellCommand(command + "true 2> /dev/null").succeeded()) {
        GTEST_SKIP() << "this user makes no pid namespaces";
    }
    const std::vector<std::uint32_t> before = processesWithOwnId(kOwnId);
    const ShellCommand first(command + "sh -c 'true & sleep 600 & wait'");
    const ShellCommand second(command + "sh -c 'true & sleep 600 & wait'");
    std::vector<std::uint32_t> found;
    EXPECT_TRUE(await([&] {
        found = processesWithOwnId(kOwnId);
        std::erase_if(
            found, [&before](std::uint32_t each) { return std::ranges::find(before, each) != before.end(); });
        return found.size() == 2;
    }));
    for (const std::uint32_t each : found) {
        EXPECT_EQ(namespaceIds(each), (std::vector<std::uint32_t>{each, kOwnId}));
    }
    const auto inOrder = [&found](const ShellCommand& command1, std::size_t at) {
        return isInProcessTree(found.at(at), command1.processId());
    };
    EXPECT_TRUE((inOrder(first, 0) && inOrder(second, 1)) || (inOrder(first, 1) && inOrder(second, 0)));
}

TEST(ProcessInfo, OwnProcessIsTheOneThatProcShows) {
    const auto own = static_cast<std::uint32_t>(getpid());
    EXPECT_EQ(ownProcess(), own);
    EXPECT_EQ(namespaceIds(own).front(), own);
    EXPECT_TRUE(namespaceIds(0xFFFFFFF0).empty());
}

TEST(ProcessInfo, FlatpakIsKnownByTheFileInItsRoot) {
    const QTemporaryDir root;
    QFile file(root.filePath(QStringLiteral(".flatpak-info")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Instance]\nname=wrong\n[Application]\nruntime=x\nname=org.example.Player\n");
    file.close();
    const QByteArray path = QFile::encodeName(root.path());
    const pid_t child = fork();
    if (child == 0) {
        if (chroot(path.constData()) != 0) {
            _exit(1);
        }
        pause();
        _exit(0);
    }
    const auto inside = static_cast<std::uint32_t>(child);
    const bool found = await(
        [&] { return !flatpakApplication(inside).empty() || waitpid(child, nullptr, WNOHANG) == child; });
    EXPECT_TRUE(found);
    if (geteuid() == 0) {
        EXPECT_EQ(flatpakApplication(inside), "org.example.Player");
    }
    EXPECT_EQ(flatpakApplication(static_cast<std::uint32_t>(getpid())), "");
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}
