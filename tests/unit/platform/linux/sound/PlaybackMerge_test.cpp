#include "platform/linux/sound/PlaybackMerge.h"

#include <gtest/gtest.h>
#include <span>
#include <vector>

namespace {

class PlaybackMergeTest : public testing::Test {
protected:
    void push(std::uint32_t stream, std::size_t frames, float value) {
        merge.push(stream, std::vector<float>(frames * 2, value));
    }
    /// Both streams deliver from here on, and nothing waits.
    void beginBoth() {
        push(2, 1, 0.0f);
        push(1, 1, 0.0f);
        push(2, 1, 0.0f);
        out.clear();
    }
    [[nodiscard]] std::vector<float> taken() {
        std::vector<float> all;
        all.swap(out);
        return all;
    }
    static std::vector<float> frames(std::size_t count, float value) {
        return std::vector<float>(count * 2, value);
    }

    std::vector<float> out;
    PlaybackMerge merge{[this](std::span<const float> stereo) {
        out.insert(out.end(), stereo.begin(), stereo.end());
    }};
};

} // namespace

TEST_F(PlaybackMergeTest, SingleStreamPassesAtOnce) {
    merge.add(1);
    push(1, 10, 0.5f);
    EXPECT_EQ(taken(), frames(10, 0.5f));
}

TEST_F(PlaybackMergeTest, TwoStreamsAreAddedFrameByFrameWhateverTheirPackets) {
    merge.add(1);
    merge.add(2);
    beginBoth();
    push(1, 10, 0.5f);
    push(2, 4, 0.25f);
    EXPECT_EQ(taken(), frames(4, 0.75f));
    push(2, 8, 0.25f);
    EXPECT_EQ(taken(), frames(6, 0.75f));
    push(1, 2, 0.5f);
    EXPECT_EQ(taken(), frames(2, 0.75f));
}

TEST_F(PlaybackMergeTest, StreamIsNotWaitedForBeforeItsFirstPacket) {
    merge.add(1);
    merge.add(2);
    push(1, 10, 0.5f);
    EXPECT_EQ(taken(), frames(10, 0.5f));
}

TEST_F(PlaybackMergeTest, PausedStreamIsNotWaitedFor) {
    merge.add(1);
    merge.add(2);
    beginBoth();
    push(1, 10, 0.5f);
    merge.setPaused(2, true);
    EXPECT_EQ(taken(), frames(10, 0.5f));
    push(1, 10, 0.5f);
    EXPECT_EQ(taken(), frames(10, 0.5f));
}

TEST_F(PlaybackMergeTest, StreamThatFallsSilentHoldsTheOthersUpFor60MsAtMost) {
    merge.add(1);
    merge.add(2);
    beginBoth();
    push(1, PlaybackMerge::kLargestSkewFrames, 0.5f);
    EXPECT_TRUE(taken().empty());
    push(1, 1, 0.5f);
    EXPECT_EQ(taken().size(), 2 * (PlaybackMerge::kLargestSkewFrames + 1));
    push(1, 10, 0.5f);
    EXPECT_EQ(taken(), frames(10, 0.5f)) << "and no more from then on";
    push(2, 10, 0.25f);
    push(1, 10, 0.5f);
    EXPECT_EQ(taken(), frames(10, 0.25f + 0.5f)) << "until it delivers again";
}

TEST_F(PlaybackMergeTest, RemovedStreamLetsTheOthersGo) {
    merge.add(1);
    merge.add(2);
    beginBoth();
    push(1, 10, 0.5f);
    merge.remove(2);
    EXPECT_EQ(taken(), frames(10, 0.5f));
    push(2, 10, 0.5f);
    EXPECT_TRUE(taken().empty()) << "a stream that is not there";
}
