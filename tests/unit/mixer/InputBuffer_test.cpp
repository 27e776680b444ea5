#include "mixer/InputBuffer.h"
#include "tests/support/RandomSeed.h"
#include "tests/support/mixer/MixerFixture.h"

#include <memory>

namespace {

// Frames carry their own number, exact in float, so that a reader can tell which one it sees.
constexpr std::uint32_t kNumberRange = 1u << 23;

float numberOf(std::uint64_t frame) {
    return static_cast<float>(frame % kNumberRange);
}

void write(InputBuffer& ring, const std::vector<float>& stereo, float gain = 1.0f) {
    RingWriter writer(&ring, gain);
    writer.write(stereo);
    writer.publish();
}

std::vector<float> read(InputBuffer& ring, std::atomic<std::uint32_t>& position, std::uint32_t frames) {
    RingReader reader(ring, position, frames);
    std::vector<float> stereo;
    while (reader.remaining() > 0) {
        const std::uint32_t piece = reader.contiguous();
        for (std::uint32_t frame = 0; frame < piece; ++frame) {
            const StereoFrame sample = reader.data()[frame].load(std::memory_order_relaxed);
            stereo.push_back(sample.left);
            stereo.push_back(sample.right);
        }
        reader.advance(piece);
    }
    reader.commit();
    return stereo;
}

} // namespace

TEST(InputBuffer, NewRingIsSilentAndEmpty) {
    const auto ring = std::make_unique<InputBuffer>();
    EXPECT_EQ(InputBuffer::kFloatCount, 57600u);
    for (const InputBuffer::Frame& frame : ring->samples) {
        ASSERT_EQ(frame.load().left, 0.0f);
        ASSERT_EQ(frame.load().right, 0.0f);
    }
    EXPECT_TRUE(read(*ring, ring->busReadPos, 100).empty());
    EXPECT_EQ(ring->levelLeft.load(), 0.0f);
    EXPECT_EQ(ring->levelRight.load(), 0.0f);
}

TEST(InputBuffer, PositionsCountFloatsAndWrapAt57600) {
    const auto ring = std::make_unique<InputBuffer>();
    write(*ring, std::vector<float>(57598, 1.0f));
    EXPECT_EQ(ring->writePos.load(), 57598u);
    write(*ring, {2.0f, 3.0f, 4.0f, 5.0f});
    EXPECT_EQ(ring->writePos.load(), 2u);
    EXPECT_EQ(ring->samples[28799].load().right, 3.0f);
    EXPECT_EQ(ring->samples[0].load().left, 4.0f);
}

TEST(InputBuffer, NothingIsReadableBeforeItIsPublished) {
    const auto ring = std::make_unique<InputBuffer>();
    RingWriter writer(ring.get(), 1.0f);
    writer.write(std::vector<float>(20, 1.0f));
    EXPECT_TRUE(read(*ring, ring->busReadPos, 10).empty());
    writer.publish();
    EXPECT_EQ(read(*ring, ring->busReadPos, 10).size(), 20u);
}

TEST(InputBuffer, BusAndSoloReadTheSameDataWithoutDisturbingEachOther) {
    const auto ring = std::make_unique<InputBuffer>();
    write(*ring, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(read(*ring, ring->busReadPos, 2), (std::vector<float>{1, 2, 3, 4}));
    EXPECT_EQ(read(*ring, ring->soloReadPos, 10), (std::vector<float>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(read(*ring, ring->busReadPos, 10), (std::vector<float>{5, 6}));
}

TEST(InputBuffer, ReaderThatLagsByExactlyOneWholeRingSeesAnEmptyRing) {
    const auto ring = std::make_unique<InputBuffer>();
    write(*ring, std::vector<float>(InputBuffer::kFloatCount, 0.5f));
    EXPECT_TRUE(read(*ring, ring->busReadPos, 100).empty());
    write(*ring, {1, 2});
    EXPECT_EQ(read(*ring, ring->busReadPos, 100), (std::vector<float>{1, 2}));
}

TEST(InputBuffer, LappedReaderSeesTheRemainderOfTheDifference) {
    const auto ring = std::make_unique<InputBuffer>();
    std::vector<float> stereo;
    for (std::uint64_t frame = 0; frame < InputBuffer::kFrameCount + 5; ++frame) {
        stereo.insert(stereo.end(), {numberOf(frame), -numberOf(frame)});
    }
    write(*ring, stereo);
    EXPECT_EQ(read(*ring, ring->busReadPos, 100), (std::vector<float>{28800, -28800, 28801, -28801, 28802,
                                                                      -28802, 28803, -28803, 28804, -28804}));
}

TEST(InputBuffer, PacketLargerThanTheRingLeavesItsEnd) {
    const auto ring = std::make_unique<InputBuffer>();
    std::vector<float> stereo;
    for (std::uint64_t frame = 0; frame < 3 * InputBuffer::kFrameCount + 2; ++frame) {
        stereo.insert(stereo.end(), {numberOf(frame), 0.0f});
    }
    write(*ring, stereo);
    EXPECT_EQ(ring->writePos.load(), 4u);
    EXPECT_EQ(ring->samples[0].load().left, 86400.0f);
    EXPECT_EQ(ring->samples[1].load().left, 86401.0f);
    EXPECT_EQ(ring->samples[2].load().left, 57602.0f);
    EXPECT_EQ(ring->samples[28799].load().left, 86399.0f);
}

TEST(InputBuffer, ResetEmptiesEverything) {
    const auto ring = std::make_unique<InputBuffer>();
    write(*ring, std::vector<float>(2000, 1.0f));
    static_cast<void>(read(*ring, ring->busReadPos, 10));
    static_cast<void>(read(*ring, ring->soloReadPos, 20));
    ring->levelLeft = 1.0f;
    ring->levelRight = 1.0f;
    ring->reset();
    EXPECT_EQ(ring->writePos + ring->busReadPos + ring->soloReadPos, 0u);
    EXPECT_EQ(ring->levelLeft + ring->levelRight, 0.0f);
    for (const InputBuffer::Frame& frame : ring->samples) {
        ASSERT_EQ(frame.load().left, 0.0f);
        ASSERT_EQ(frame.load().right, 0.0f);
    }
}

TEST(InputBuffer, SkippedFramesMoveThePositionAndNothingElse) {
    const auto ring = std::make_unique<InputBuffer>();
    write(*ring, {1, 2, 3, 4, 5, 6});
    RingWriter writer(ring.get(), 1.0f);
    writer.skip(5 * std::uint64_t{InputBuffer::kFrameCount} + 28'798);
    EXPECT_EQ(ring->writePos.load(), 6u);
    writer.write(std::vector<float>{7, 8});
    writer.publish();
    EXPECT_EQ(ring->writePos.load(), 4u); // 3 and 28798 frames: one before the end of a round, and one more
    EXPECT_EQ(ring->samples[0].load().left, 1.0f);
    EXPECT_EQ(ring->samples[1].load().left, 7.0f);
    EXPECT_EQ(ring->samples[2].load().left, 5.0f);
    for (std::size_t frame = 3; frame < InputBuffer::kFrameCount; ++frame) {
        ASSERT_EQ(ring->samples[frame].load().left, 0.0f) << frame;
    }
}

// The model counts frames without wrapping: a slot holds the newest frame whose number fits it, and readable
// is the distance between two counts, modulo the ring.
TEST(InputBuffer, AMillionRandomStepsFollowTheModelThroughLapsAndLags) {
    const std::uint32_t seed = newSeed();
    Random random(seed);
    SCOPED_TRACE("seed " + std::to_string(seed));
    const auto ring = std::make_unique<InputBuffer>();
    constexpr std::uint64_t kFrames = InputBuffer::kFrameCount;
    std::uint64_t written = 0;
    std::uint64_t readBy[2] = {0, 0};
    std::uint64_t laps = 0;
    std::vector<float> packet;
    const int steps = longRun() ? 10'000'000 : 1'000'000;
    for (int step = 0; step < steps; ++step) {
        const std::uint32_t what = random() % 1000;
        if (what < 400) {
            const std::uint32_t frames =
                what == 0 ? random() % 70'000 : (what < 4 ? random() % 28'801 : random() % 200);
            packet.clear();
            for (std::uint64_t frame = written; frame < written + frames; ++frame) {
                packet.push_back(numberOf(frame));
                packet.push_back(-numberOf(frame));
            }
            write(*ring, packet);
            written += frames;
            continue;
        }
        const std::size_t who = what % 2;
        std::atomic<std::uint32_t>& position = who == 0 ? ring->busReadPos : ring->soloReadPos;
        const std::uint32_t wanted = random() % 300;
        const std::vector<float> stereo = read(*ring, position, wanted);
        std::uint64_t& from = readBy[who];
        const std::uint64_t behind = written - from;
        if (behind >= kFrames) {
            ++laps;
            from += behind / kFrames * kFrames; // what was overwritten is gone
        }
        const std::uint64_t expected = std::min<std::uint64_t>(wanted, written - from);
        ASSERT_EQ(stereo.size(), 2 * expected) << "step " << step << ", " << behind << " behind";
        for (std::uint64_t frame = 0; frame < expected; ++frame) {
            ASSERT_EQ(stereo[2 * frame], numberOf(from + frame)) << "step " << step << ", frame " << frame;
            ASSERT_EQ(stereo[2 * frame + 1], -numberOf(from + frame))
                << "step " << step << ", frame " << frame;
        }
        from += expected;
    }
    EXPECT_GT(laps, 100u) << "the steps did not lap a reader often enough to mean anything";
}
