#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "platform/linux/sound/CaptureFeed.h"
#include "platform/linux/sound/PulseProcessCapture.h"
#include "tests/support/Await.h"
#include "tests/support/mixer/RouterLogCapture.h"

#include <QDir>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// A shell command in a process group of its own, which ends with this object.
class ShellCommand {
public:
    explicit ShellCommand(const std::string& command) : id(fork()) {
        if (id == 0) {
            setpgid(0, 0);
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
        setpgid(id, id);
    }
    ~ShellCommand() {
        kill(-id, SIGKILL);
        while (waitpid(id, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    ShellCommand(const ShellCommand&) = delete;
    ShellCommand& operator=(const ShellCommand&) = delete;

    [[nodiscard]] std::uint32_t processId() const { return static_cast<std::uint32_t>(id); }

private:
    const pid_t id;
};

// Captures on a sound server of the test's own, with one null sink.
class PulseCaptureOnServer : public testing::Test {
protected:
    void SetUp() override {
        if (QStandardPaths::findExecutable("pulseaudio").isEmpty()) {
            GTEST_SKIP() << "pulseaudio is not installed";
        }
        const std::string folder = runtime.path().toStdString();
        setenv("PULSE_RUNTIME_PATH", folder.c_str(), 1);
        setenv("PULSE_STATE_PATH", folder.c_str(), 1);
        setenv("PULSE_COOKIE", (folder + "/cookie").c_str(), 1);
        server = std::make_unique<ShellCommand>(
            "exec pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no --high-priority=no "
            "--log-level=0 -L 'module-native-protocol-unix auth-anonymous=1 socket=" +
            folder + "/native' -L 'module-null-sink sink_name=null norewinds=1'");
        setenv("PULSE_SERVER", ("unix:" + folder + "/native").c_str(), 1);
        connection = PulseServer::shared();
        ASSERT_TRUE(await([this] { return connection->isReady(); }));
    }

    /// Two streams of one process tree, each at a level of 1/8, play until the returned command ends.
    [[nodiscard]] std::unique_ptr<ShellCommand> playTwoStreams() {
        constexpr const char* kStream = "pacat --playback --raw --format=u8 --channels=2 --rate=48000 "
                                        "--latency-msec=20 --volume=32768 /dev/zero & ";
        auto command = std::make_unique<ShellCommand>(std::string(kStream) + kStream + "wait");
        EXPECT_TRUE(await([this] { return connection->playbacks().size() == 2; }));
        return command;
    }

    void awaitBothStreams(std::uint32_t processId) const {
        EXPECT_TRUE(await([&] { return buffers.getProcessLevels(processId).left > 0.2f; }));
    }

    /// Returns when the server's thread has done all that is due within `delay` from now.
    void passOnServerThread(std::chrono::milliseconds delay) const {
        std::atomic<bool> passed = false;
        std::optional<PulseTimer> timer;
        {
            const PulseServer::Lock lock(*connection);
            timer.emplace(connection->api(), [&passed] { passed = true; }).start(delay);
        }
        EXPECT_TRUE(await([&passed] { return passed.load(); }));
        const PulseServer::Lock lock(*connection);
        timer.reset();
    }

    // The server's module takes no space in the name of its socket.
    const QTemporaryDir runtime{QDir::tempPath() + QStringLiteral("/vexo-sound-XXXXXX")};
    RouterLogCapture lines;
    std::unique_ptr<ShellCommand> server;
    std::shared_ptr<PulseServer> connection;
    AppAudioConfigStore store;
    PerAppInputBuffers buffers{store};
};

} // namespace

// Streams that are added up have frames waiting for each other at most times: each round stops at another
// one.
TEST_F(PulseCaptureOnServer, StoppedCaptureOfSeveralStreamsLeavesNothingBehindOnTheServersThread) {
    const std::unique_ptr<ShellCommand> application = playTwoStreams();
    const std::uint32_t processId = application->processId();
    AppAudioConfig record;
    record.processID = processId;
    record.input1Enabled = true;
    store.putConfig(processId, record);
    for (int round = 0; round < 10; ++round) {
        auto capture = std::make_unique<PulseProcessCapture>(connection, buffers);
        ASSERT_EQ(capture->startCapture(processId, true), kSoundDone);
        awaitBothStreams(processId);
        ASSERT_EQ(capture->stopCapture(), kSoundDone);
        buffers.resetProcessBuffers(processId);
        // In every second round nobody has the capture any more.
        if (round % 2 == 1) {
            capture.reset();
        }
        passOnServerThread(2 * CaptureFeed::kRestAfter);
        EXPECT_EQ(buffers.getInputBuffer(processId, 1)->writePos, 0u) << "in round " << round;
    }
}
