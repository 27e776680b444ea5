#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "platform/linux/sound/CaptureFeed.h"
#include "platform/linux/sound/PipeWireConnection.h"
#include "platform/linux/sound/PulseProcessCapture.h"
#include "tests/support/Await.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/unit/platform/linux/ShellCommand.h"
#include "tests/unit/platform/linux/sound/LiveSoundServer.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>

namespace {

// Captures on a sound server of the test's own.
class CaptureOnServer : public testing::TestWithParam<LiveSoundServer::Kind> {
protected:
    void SetUp() override {
        if (!LiveSoundServer::isInstalled(GetParam())) {
            GTEST_SKIP() << "the sound server is not installed";
        }
        server = std::make_unique<LiveSoundServer>(GetParam());
        connection = server->connection;
        ASSERT_TRUE(server->isReady());
        // On PipeWire the captures are to go over its own connection.
        ASSERT_TRUE(GetParam() == LiveSoundServer::Kind::PulseAudio || await([this] {
                        const PulseServer::Lock lock(*connection);
                        const auto& pipeWire = connection->pipeWire();
                        return pipeWire && pipeWire->state() == PipeWireConnection::State::Ready;
                    }));
    }

    /// Two streams of one process tree, each at a level of 1/8, play until the returned command ends.
    [[nodiscard]] std::unique_ptr<ShellCommand> playTwoStreams() {
        constexpr const char* kStream = "pacat --playback --raw --format=u8 --channels=2 --rate=48000 "
                                        "--latency-msec=20 --volume=32768 /dev/zero & ";
        auto command = std::make_unique<ShellCommand>(std::string(kStream) + kStream + "wait");
        EXPECT_TRUE(await([this] { return connection->playbacks().size() == 2; }));
        return command;
    }

    void enable(std::uint32_t processId) {
        AppAudioConfig record;
        record.processID = processId;
        record.input1Enabled = true;
        store.putConfig(processId, record);
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

    RouterLogCapture lines;
    std::unique_ptr<LiveSoundServer> server;
    std::shared_ptr<PulseServer> connection;
    AppAudioConfigStore store;
    PerAppInputBuffers buffers{store};
};

} // namespace

// Streams that are added up have frames waiting for each other at most times: each round stops at another
// one.
TEST_P(CaptureOnServer, FiftyStoppedCapturesOfSeveralStreamsLeaveNothingBehindOnTheServersThread) {
    const std::unique_ptr<ShellCommand> application = playTwoStreams();
    const std::uint32_t processId = application->processId();
    enable(processId);
    for (int round = 0; round < 50; ++round) {
        auto capture = std::make_unique<PulseProcessCapture>(connection, buffers);
        ASSERT_EQ(capture->startCapture(processId, true), kSoundDone);
        awaitBothStreams(processId);
        ASSERT_EQ(capture->stopCapture(), kSoundDone);
        buffers.resetProcessBuffers(processId);
        // In every second round nobody has the capture any more.
        if (round % 2 == 1) {
            capture.reset();
        }
        passOnServerThread(CaptureFeed::kRestAfter);
        EXPECT_EQ(buffers.getInputBuffer(processId, 1)->writePos, 0u) << "in round " << round;
    }
}

TEST_P(CaptureOnServer, ServerThatEndsUnderACaptureLeavesItInForce) {
    const std::unique_ptr<ShellCommand> application = playTwoStreams();
    enable(application->processId());
    PulseProcessCapture capture(connection, buffers);
    ASSERT_EQ(capture.startCapture(application->processId(), true), kSoundDone);
    awaitBothStreams(application->processId());
    server->process.reset();
    EXPECT_TRUE(await([this] { return connection->playbacks().empty(); }));
    EXPECT_EQ(capture.stopCapture(), kSoundDone);
}

INSTANTIATE_TEST_SUITE_P(, CaptureOnServer,
                         testing::Values(LiveSoundServer::Kind::PulseAudio, LiveSoundServer::Kind::PipeWire),
                         [](const auto& test) {
                             return test.param == LiveSoundServer::Kind::PulseAudio ? "PulseAudio"
                                                                                    : "PipeWire";
                         });
