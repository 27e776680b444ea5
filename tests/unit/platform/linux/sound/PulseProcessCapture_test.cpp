#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "platform/linux/sound/PulseProcessCapture.h"
#include "tests/support/mixer/RouterLogCapture.h"

#include <array>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Captures without a sound server: what starts and stops, and what stays.
class PulseProcessCaptureTest : public testing::Test {
protected:
    static constexpr std::uint32_t kProcess = 4711;

    static void SetUpTestSuite() { setenv("PULSE_SERVER", "unix:/nowhere", 1); }

    RouterLogCapture lines;
    AppAudioConfigStore store;
    PerAppInputBuffers buffers{store};
    PulseProcessCapture capture{PulseServer::shared(), buffers};
};

} // namespace

TEST_F(PulseProcessCaptureTest, WithoutAServerStartSucceedsAndSaysSoAndStopIsOk) {
    EXPECT_EQ(capture.startCapture(kProcess, true), kSoundDone);
    EXPECT_EQ(lines.take(), (Lines{"[INFO] Capture format: 48000 Hz, 2 ch, 32 bits",
                                   "[INFO] Capturing from process loopback (PID: 4711)",
                                   "[INFO] Audio capture started for PID 4711, buffer size: 2400 frames"}));
    EXPECT_EQ(capture.stopCapture(), kSoundDone);
}

TEST_F(PulseProcessCaptureTest, BufferDurationIsThatOfTheLine) {
    capture.setBufferDuration(std::chrono::milliseconds(20));
    EXPECT_EQ(capture.startCapture(kProcess, true), kSoundDone);
    EXPECT_TRUE(lines.contains("[INFO] Audio capture started for PID 4711, buffer size: 960 frames"));
}

TEST_F(PulseProcessCaptureTest, StopBeforeAnyStartIsAnInvalidStateAtOnce) {
    EXPECT_EQ(capture.stopCapture(), SoundError::NothingToStop);
    EXPECT_EQ(lines.lines(), Lines());
}

TEST_F(PulseProcessCaptureTest, SecondStopIsAnInvalidStateAtOnce) {
    EXPECT_EQ(capture.startCapture(kProcess, true), kSoundDone);
    EXPECT_EQ(capture.stopCapture(), kSoundDone);
    EXPECT_EQ(capture.stopCapture(), SoundError::NothingToStop);
    EXPECT_EQ(capture.stopCapture(), SoundError::NothingToStop);
}

TEST_F(PulseProcessCaptureTest, ProcessThatHasEndedIsCapturedLikeOneThatPlaysNothing) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(0);
    }
    ASSERT_GT(child, 0);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_EQ(capture.startCapture(static_cast<std::uint32_t>(child), true), kSoundDone);
    EXPECT_EQ(capture.stopCapture(), kSoundDone);
}

TEST_F(PulseProcessCaptureTest, StartAndStopLeaveTheLevelsAloneUntilTheyAreReset) {
    AppAudioConfig record;
    record.processID = kProcess;
    record.input1Enabled = true;
    store.putConfig(kProcess, record);
    std::array<float, 960> packet{};
    packet.fill(0.25f);
    buffers.addInputData(kProcess, packet.data(), sizeof(packet), floatWaveFormat(2, 48000));
    const StereoLevel played = buffers.getProcessLevels(kProcess);
    ASSERT_GT(played.left, 0.0f);
    EXPECT_EQ(capture.startCapture(kProcess, true), kSoundDone);
    EXPECT_EQ(buffers.getProcessLevels(kProcess).left, played.left);
    EXPECT_EQ(capture.stopCapture(), kSoundDone);
    EXPECT_EQ(buffers.getProcessLevels(kProcess).left, played.left);
    buffers.resetProcessBuffers(kProcess);
    EXPECT_EQ(buffers.getProcessLevels(kProcess).left, 0.0f);
}
