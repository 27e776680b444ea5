#include "platform/linux/sound/ClientProcesses.h"
#include "platform/linux/system/ProcessInfo.h"
#include "tests/support/Await.h"
#include "tests/unit/platform/linux/ShellCommand.h"

#include <QTemporaryDir>

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kNamespace = "exec unshare --pid --fork --kill-child ";

std::string fileNameOf(const std::string& program) {
    return std::filesystem::path(program).filename().string();
}

std::vector<std::uint32_t> processesOfNumber2() {
    return namespacedProcesses()[2];
}

// A listening local socket that keeps every connection.
class Listener {
public:
    explicit Listener(const std::string& path) : descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        listening = bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
                    listen(descriptor, 16) == 0;
    }
    ~Listener() {
        for (const int connection : connections) {
            close(connection);
        }
        close(descriptor);
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    [[nodiscard]] bool isListening() const { return listening; }
    void take(int count) {
        for (int taken = 0; taken < count; ++taken) {
            connections.push_back(accept4(descriptor, nullptr, nullptr, SOCK_CLOEXEC));
        }
    }

private:
    const int descriptor;
    bool listening = false;
    std::vector<int> connections;
};

class ClientProcessesTest : public testing::Test {
protected:
    void SetUp() override {
        if (!ShellCommand(std::string(kNamespace) + "true 2> /dev/null").succeeded()) {
            GTEST_SKIP() << "this user makes no pid namespaces";
        }
        ASSERT_TRUE(std::filesystem::copy_file(std::filesystem::canonical("/usr/bin/python3"), program));
    }

    /// A program that is process 2 in a pid namespace of its own, connected this often to the socket.
    std::uint32_t runInNamespace(int connections) {
        const std::string script =
            "import socket, time\nkept = [socket.socket(socket.AF_UNIX) for _ in range(" +
            std::to_string(connections) + ")]\nfor each in kept: each.connect('" + path +
            "')\ntime.sleep(600)";
        const std::vector<std::uint32_t> before = processesOfNumber2();
        sandboxes.push_back(std::make_unique<ShellCommand>(std::string(kNamespace) +
                                                           "sh -c '\"$1\" -c \"$0\" & wait' \"" + script +
                                                           "\" \"" + program + "\""));
        std::uint32_t process = 0;
        EXPECT_TRUE(await([&] {
            for (const std::uint32_t each : processesOfNumber2()) {
                if (std::ranges::find(before, each) == before.end() &&
                    fileNameOf(processImagePath(each)) == python) {
                    process = each;
                }
            }
            return process != 0;
        }));
        listener.take(connections);
        return process;
    }

    std::uint32_t processOf(std::uint32_t client) { return processes.processOf(client, {}); }

    const QTemporaryDir folder;
    const std::string path = folder.filePath("socket").toStdString();
    Listener listener{path};
    std::vector<std::unique_ptr<ShellCommand>> sandboxes;
    // A file name of its own: tests that run at the same time have processes of the same numbers.
    const std::string python = "python-" + std::to_string(getpid());
    const std::string program = folder.filePath(QString::fromStdString(python)).toStdString();
    ClientProcesses processes;
};

} // namespace

TEST_F(ClientProcessesTest, ClientThatLivesWhereWeDoIsTheProcessThatItNames) {
    const auto own = static_cast<std::uint32_t>(getpid());
    processes.put(1, {.processId = own, .binary = fileNameOf(processImagePath(own)), .peerProcess = 0});
    EXPECT_EQ(processOf(1), own);
}

TEST_F(ClientProcessesTest, ServersWordCountsBeforeTheClients) {
    processes.put(1, {.processId = 2, .binary = "player", .peerProcess = 4711});
    EXPECT_EQ(processOf(1), 4711u);
}

TEST_F(ClientProcessesTest, ProcessThatIsNotToBeFoundIsTheOneNamedUnlessItsIdIsThatOfAnInput) {
    processes.put(1, {.processId = 0x3FFFFFFF, .binary = "of-nobody", .peerProcess = 0});
    EXPECT_EQ(processOf(1), 0x3FFFFFFFu);
    for (std::uint32_t id = 0; id < ClientProcesses::kFirstProcessId; ++id) {
        processes.put(2, {.processId = id, .binary = "of-nobody", .peerProcess = 0});
        EXPECT_EQ(processOf(2), 0u);
        processes.put(2, {.processId = 4711, .binary = "of-nobody", .peerProcess = id});
        EXPECT_EQ(processOf(2), id == 0 ? 4711u : 0u);
    }
}

TEST_F(ClientProcessesTest, StreamWithoutAKnownClientSpeaksForItself) {
    const auto own = static_cast<std::uint32_t>(getpid());
    const std::string binary = fileNameOf(processImagePath(own));
    EXPECT_EQ(processes.processOf(7, {.processId = own, .binary = binary, .peerProcess = 0}), own);
    EXPECT_EQ(processes.processOf(7, {}), 0u);
}

TEST_F(ClientProcessesTest, NumberOfANamespaceIsTheProcessThatHasIt) {
    const std::uint32_t process = runInNamespace(0);
    EXPECT_EQ(namespaceIds(process), (std::vector<std::uint32_t>{process, 2}));
    processes.put(1, {.processId = 2, .binary = python, .peerProcess = 0});
    EXPECT_EQ(processOf(1), process);
}

TEST_F(ClientProcessesTest, ProcessInWhoseNameAClientPlaysIsLookedForOnce) {
    const std::uint32_t process = runInNamespace(0);
    processes.put(1,
                  {.processId = static_cast<std::uint32_t>(getpid()), .binary = "player", .peerProcess = 0});
    const ClientClaim ofStream{.processId = 2, .binary = python, .peerProcess = 0};
    EXPECT_EQ(processes.processOf(1, ofStream), process);
    sandboxes.clear();
    ASSERT_TRUE(await([&] { return processImagePath(process).empty(); }));
    EXPECT_EQ(processes.processOf(1, ofStream), process);
}

TEST_F(ClientProcessesTest, StreamOfAClientThatTheServerVouchesForIsItsWhateverItSays) {
    processes.put(1, {.processId = 2, .binary = "player", .peerProcess = 4711});
    EXPECT_EQ(processes.processOf(1, {.processId = 4712, .binary = "other", .peerProcess = 0}), 4711u);
    processes.put(2, {.processId = 0, .binary = "", .peerProcess = 4711});
    EXPECT_EQ(processes.processOf(2, {.processId = 4712, .binary = "other", .peerProcess = 0}), 4711u);
}

TEST_F(ClientProcessesTest, StreamMaySpeakForAnotherProcessThanAClientThatNobodyVouchesFor) {
    const auto own = static_cast<std::uint32_t>(getpid());
    const std::string binary = fileNameOf(processImagePath(own));
    processes.put(1, {.processId = 4711, .binary = "of-nobody", .peerProcess = 0});
    EXPECT_EQ(processes.processOf(1, {.processId = own, .binary = binary, .peerProcess = 0}), own);
    EXPECT_EQ(processOf(1), 4711u);
}

TEST_F(ClientProcessesTest, ProcessesOfOneNumberAreToldApartWhicheverPlaysFirst) {
    ASSERT_TRUE(listener.isListening());
    const std::uint32_t first = runInNamespace(1);
    const std::uint32_t second = runInNamespace(1);
    processes.setServerPath(path);
    processes.put(1, {.processId = 2, .binary = python, .peerProcess = 0});
    processes.put(2, {.processId = 2, .binary = python, .peerProcess = 0});
    EXPECT_EQ(processOf(2), second);
    EXPECT_EQ(processOf(1), first);
    // One that comes later is the process whose connection has come, though others are older.
    const std::uint32_t third = runInNamespace(1);
    processes.put(3, {.processId = 2, .binary = python, .peerProcess = 0});
    EXPECT_EQ(processOf(3), third);
    EXPECT_EQ(processOf(2), second);
}

TEST_F(ClientProcessesTest, ProcessesOfOneNumberGetAsManyClientsAsTheyHaveConnections) {
    ASSERT_TRUE(listener.isListening());
    const std::uint32_t silent = runInNamespace(0);
    const std::uint32_t two = runInNamespace(2);
    const std::uint32_t one = runInNamespace(1);
    processes.setServerPath(path);
    std::vector<std::uint32_t> found;
    for (const std::uint32_t client : {1U, 2U, 3U}) {
        processes.put(client, {.processId = 2, .binary = python, .peerProcess = 0});
        found.push_back(processOf(client));
    }
    EXPECT_EQ(found, (std::vector{two, two, one})) << "beside " << silent;
    processes.remove(1);
    processes.put(4, {.processId = 2, .binary = python, .peerProcess = 0});
    EXPECT_EQ(processOf(4), two) << "in the place of the one that left";
}
