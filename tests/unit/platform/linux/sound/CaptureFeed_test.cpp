#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "platform/linux/sound/CaptureFeed.h"

#include <array>
#include <gtest/gtest.h>
#include <memory>

namespace {

// A feed on a main loop that the test turns, without a sound server.
class CaptureFeedTest : public testing::Test {
protected:
    static constexpr std::uint32_t kProcess = 4711;
    static constexpr std::size_t kPacketFrames = 480;

    CaptureFeedTest() {
        AppAudioConfig record;
        record.processID = kProcess;
        record.input1Enabled = true;
        store.putConfig(kProcess, record);
        packet.fill(0.25f);
    }

    /// Frames that have gone into the mixer.
    [[nodiscard]] std::size_t fedFrames() { return buffers.getInputBuffer(kProcess, 1)->writePos / 2; }
    [[nodiscard]] float level() const { return buffers.getProcessLevels(kProcess).left; }
    void turnLoop() { ASSERT_GE(pa_mainloop_iterate(mainloop.get(), 1, nullptr), 0); }

    std::array<float, 2 * kPacketFrames> packet{};
    AppAudioConfigStore store;
    PerAppInputBuffers buffers{store};
    PulseMainloopHandle mainloop{pa_mainloop_new()};
    pa_mainloop_api& api{*pa_mainloop_get_api(mainloop.get())};
    std::unique_ptr<CaptureFeed> feed{std::make_unique<CaptureFeed>(api, buffers, kProcess)};
};

} // namespace

TEST_F(CaptureFeedTest, FirstPacketGoesInBehindSilenceAndTheNextDoesNot) {
    feed->push(packet);
    EXPECT_EQ(fedFrames(), CaptureFeed::kSilentFrames + kPacketFrames);
    feed->push(packet);
    EXPECT_EQ(fedFrames(), CaptureFeed::kSilentFrames + 2 * kPacketFrames);
}

TEST_F(CaptureFeedTest, LastPacketIsFollowedByOneOfSilence) {
    feed->push(packet);
    ASSERT_GT(level(), 0.0f);
    ASSERT_GT(buffers.getBus1Levels().left, 0.0f);
    while (level() > 0.0f) {
        turnLoop();
    }
    EXPECT_EQ(fedFrames(), kPacketFrames + 2 * CaptureFeed::kSilentFrames);
    EXPECT_EQ(buffers.getBus1Levels().left, 0.0f);
}

TEST_F(CaptureFeedTest, NothingComesAfterItsEnd) {
    feed->push(packet);
    const std::size_t before = fedFrames();
    feed.reset();
    bool over = false;
    PulseTimer later(api, [&over] { over = true; });
    later.start(2 * CaptureFeed::kRestAfter);
    while (!over) {
        turnLoop();
    }
    EXPECT_EQ(fedFrames(), before);
}
