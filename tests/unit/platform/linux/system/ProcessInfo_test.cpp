#include "platform/linux/system/ProcessInfo.h"
#include "tests/support/Await.h"
#include "tests/unit/platform/linux/ShellCommand.h"

#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <gtest/gtest.h>
#include <linux/fuse.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
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
    const std::vector<std::uint32_t> before = namespacedProcesses()[kOwnId];
    const ShellCommand first(command + "sh -c 'true & sleep 600 & wait'");
    const ShellCommand second(command + "sh -c 'true & sleep 600 & wait'");
    std::vector<std::uint32_t> found;
    EXPECT_TRUE(await([&] {
        found = namespacedProcesses()[kOwnId];
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

namespace {

// In memory, as the root of a Flatpak is.
const QString kRootPattern = QStringLiteral("/dev/shm/vexo-root-XXXXXX");

/// A process whose root folder is this one.
class ProcessInRoot {
public:
    explicit ProcessInRoot(const QString& folder) {
        const QByteArray path = QFile::encodeName(folder);
        std::array<int, 2> ready{};
        [[maybe_unused]] const int made = pipe(ready.data());
        child = fork();
        if (child == 0) {
            const char done = chroot(path.constData()) == 0 ? 1 : 0;
            [[maybe_unused]] const ssize_t told = ::write(ready[1], &done, 1);
            pause();
            _exit(0);
        }
        char done = 0;
        inRoot = ::read(ready[0], &done, 1) == 1 && done == 1;
        close(ready[0]);
        close(ready[1]);
    }
    ~ProcessInRoot() {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    ProcessInRoot(const ProcessInRoot&) = delete;
    ProcessInRoot& operator=(const ProcessInRoot&) = delete;

    [[nodiscard]] std::uint32_t id() const { return static_cast<std::uint32_t>(child); }
    /// An account that may not change a root has no such process.
    [[nodiscard]] bool isInRoot() const { return inRoot; }

private:
    pid_t child = 0;
    bool inRoot = false;
};

/// A process whose root folder is in a file system of another program, which answers nothing once the process
/// has its root.
class ProcessInSilentRoot {
public:
    explicit ProcessInSilentRoot(const QString& folder) {
        const std::string path = QFile::encodeName(folder).toStdString();
        std::array<int, 2> ready{};
        [[maybe_unused]] const int made = pipe(ready.data());
        server = fork();
        if (server == 0) {
            serve(path, ready[1]);
            _exit(0);
        }
        close(ready[1]);
        if (::read(ready[0], &process, sizeof(process)) != sizeof(process)) {
            process = 0;
        }
        close(ready[0]);
    }
    ~ProcessInSilentRoot() { end(); }
    ProcessInSilentRoot(const ProcessInSilentRoot&) = delete;
    ProcessInSilentRoot& operator=(const ProcessInSilentRoot&) = delete;

    [[nodiscard]] std::uint32_t id() const { return static_cast<std::uint32_t>(process); }
    /// An account that may not mount, and a system without such file systems, have no such process.
    [[nodiscard]] bool isInRoot() const { return process != 0; }
    /// Who waits for the file system is told that it has gone.
    void end() {
        if (server > 0) {
            kill(server, SIGKILL);
            waitpid(std::exchange(server, 0), nullptr, 0);
        }
    }

private:
    static void serve(const std::string& path, int ready) {
        const int device = open("/dev/fuse", O_RDWR | O_CLOEXEC);
        const std::string options = "fd=" + std::to_string(device) + ",rootmode=40000,user_id=0,group_id=0";
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/dev/shm", nullptr, MS_PRIVATE, nullptr) != 0 ||
            mount("silent", path.c_str(), "fuse", MS_NOSUID | MS_NODEV, options.c_str()) != 0) {
            return;
        }
        if (fork() == 0) {
            close(device);
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const pid_t own = chroot(path.c_str()) == 0 ? getpid() : 0;
            [[maybe_unused]] const ssize_t told = ::write(ready, &own, sizeof(own));
            pause();
            _exit(0);
        }
        close(ready);
        alignas(fuse_in_header) std::array<char, 1 << 17> request{};
        while (::read(device, request.data(), request.size()) > 0) {
            answer(device, *reinterpret_cast<const fuse_in_header*>(request.data()));
        }
    }
    // The first question of all, and that whether the root may be taken.
    static void answer(int device, const fuse_in_header& question) {
        struct {
            fuse_out_header header;
            fuse_init_out body;
        } reply{};
        reply.header.unique = question.unique;
        reply.header.len = sizeof(reply);
        reply.body.major = FUSE_KERNEL_VERSION;
        reply.body.minor = FUSE_KERNEL_MINOR_VERSION;
        reply.body.max_write = 4096;
        if (question.opcode == FUSE_ACCESS) {
            reply.header.len = sizeof(reply.header);
            reply.header.error = -ENOSYS;
        }
        if (question.opcode == FUSE_INIT || question.opcode == FUSE_ACCESS) {
            [[maybe_unused]] const ssize_t told = ::write(device, &reply, reply.header.len);
        }
    }

    pid_t server = 0;
    pid_t process = 0;
};

} // namespace

TEST(ProcessInfo, FlatpakIsKnownByTheFileInItsRoot) {
    const QTemporaryDir root(kRootPattern);
    QFile file(root.filePath(QStringLiteral(".flatpak-info")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Instance]\nname=wrong\n[Application]\nruntime=x\nname=org.example.Player\n");
    file.close();
    const ProcessInRoot process(root.path());
    if (!process.isInRoot()) {
        GTEST_SKIP() << "this account may not change the root of a process";
    }
    EXPECT_EQ(flatpakApplication(process.id()), "org.example.Player");
    EXPECT_EQ(flatpakApplication(static_cast<std::uint32_t>(getpid())), "");
}

TEST(ProcessInfo, PipeInTheRootOfAProcessDoesNotKeepItsReader) {
    const QTemporaryDir root(kRootPattern);
    const QByteArray pipe = QFile::encodeName(root.filePath(QStringLiteral(".flatpak-info")));
    ASSERT_EQ(mkfifo(pipe.constData(), S_IRUSR | S_IWUSR), 0);
    const ProcessInRoot process(root.path());
    if (!process.isInRoot()) {
        GTEST_SKIP() << "this account may not change the root of a process";
    }
    auto answer = std::async(std::launch::async, [&] { return flatpakApplication(process.id()); });
    EXPECT_TRUE(await([&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    // Ends a reader that waits.
    close(open(pipe.constData(), O_WRONLY | O_NONBLOCK));
    EXPECT_EQ(answer.get(), "");
}

TEST(ProcessInfo, FileSystemThatAProcessHasForItsRootDoesNotKeepItsReader) {
    const QTemporaryDir root(kRootPattern);
    ProcessInSilentRoot process(root.path());
    if (!process.isInRoot()) {
        GTEST_SKIP() << "this account makes no file systems";
    }
    auto answer = std::async(std::launch::async, [&] { return flatpakApplication(process.id()); });
    EXPECT_TRUE(await([&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    process.end();
    EXPECT_EQ(answer.get(), "");
}

TEST(ProcessInfo, LinkInTheRootOfAProcessIsNotFollowedIntoOurs) {
    const QTemporaryDir root(kRootPattern);
    const QTemporaryDir outside;
    QFile file(outside.filePath(QStringLiteral("info")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Application]\nname=org.example.Other\n");
    file.close();
    ASSERT_TRUE(QFile::link(file.fileName(), root.filePath(QStringLiteral(".flatpak-info"))));
    const ProcessInRoot process(root.path());
    if (!process.isInRoot()) {
        GTEST_SKIP() << "this account may not change the root of a process";
    }
    EXPECT_EQ(flatpakApplication(process.id()), "");
}
