#include "mixer/DelayControl.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace {

constexpr std::uint32_t kBlock = 480;
constexpr std::uint32_t kBlocksOfASecond = DelayControl::kSecondFrames / kBlock;

class DelayControlTest : public testing::Test {
protected:
    // Reads for that long, with so much in the ring before each.
    ReadSpeed look(double seconds, std::uint32_t readable) {
        const auto blocks = static_cast<std::uint32_t>(seconds * kBlocksOfASecond);
        for (std::uint32_t block = 0; block < blocks; ++block) {
            control.observe(readable, kBlock);
        }
        return control.speed();
    }

    DelayControl control;
};

} // namespace

TEST_F(DelayControlTest, ADelayThatStaysIsLeftAlone) {
    EXPECT_EQ(look(60, 1'200), ReadSpeed::Exact);
}

TEST_F(DelayControlTest, NothingIsDecidedInTheFirstSeconds) {
    EXPECT_EQ(look(4.99, 500), ReadSpeed::Exact);
    EXPECT_EQ(look(0.01, 500), ReadSpeed::Slower);
}

TEST_F(DelayControlTest, ADelayThatHasGrownByMoreThanTheSlackIsBroughtBack) {
    EXPECT_EQ(look(10, 1'200), ReadSpeed::Exact);
    EXPECT_EQ(look(10, 1'200 + DelayControl::kSlack), ReadSpeed::Exact);
    EXPECT_EQ(look(10, 1'201 + DelayControl::kSlack), ReadSpeed::Faster);
    EXPECT_EQ(look(10, 1'300), ReadSpeed::Faster);
    EXPECT_EQ(look(10, 1'220), ReadSpeed::Exact);
}

TEST_F(DelayControlTest, ADelayThatHasShrunkByMoreThanTheSlackIsBroughtBack) {
    EXPECT_EQ(look(10, 1'500), ReadSpeed::Exact);
    EXPECT_EQ(look(10, 1'500 - DelayControl::kSlack), ReadSpeed::Exact);
    EXPECT_EQ(look(10, 1'499 - DelayControl::kSlack), ReadSpeed::Slower);
    EXPECT_EQ(look(10, 1'499), ReadSpeed::Slower);
    EXPECT_EQ(look(10, 1'500), ReadSpeed::Exact);
}

TEST_F(DelayControlTest, TooLittleForALatePacketIsMadeMore) {
    EXPECT_EQ(look(10, 2 * kBlock + 23), ReadSpeed::Slower);
    EXPECT_EQ(look(10, 2 * kBlock + 71), ReadSpeed::Slower);
    EXPECT_EQ(look(10, 2 * kBlock + 72), ReadSpeed::Exact);
    EXPECT_EQ(look(10, 2 * kBlock + 24), ReadSpeed::Exact);
}

TEST_F(DelayControlTest, TheLeastOfEachSecondCountsWhateverThePacketsAre) {
    for (int round = 0; round < 10'000; ++round) { // packets of 60 ms
        control.observe(1'200 + kBlock * static_cast<std::uint32_t>(5 - round % 6), kBlock);
    }
    EXPECT_EQ(control.speed(), ReadSpeed::Exact);
    EXPECT_EQ(look(10, 1'200 + 5 * kBlock), ReadSpeed::Faster);
}

TEST_F(DelayControlTest, ASecondWithALatePacketChangesNothing) {
    EXPECT_EQ(look(20, 1'200), ReadSpeed::Exact);
    for (int round = 0; round < 20; ++round) {
        control.observe(0, kBlock);
        control.observe(100, kBlock);
        EXPECT_EQ(look(5, 1'200), ReadSpeed::Exact);
    }
}

TEST_F(DelayControlTest, SecondsWithLatePacketsOneAfterTheOtherDo) {
    EXPECT_EQ(look(20, 1'200), ReadSpeed::Exact);
    for (int round = 0; round < 5; ++round) {
        control.observe(100, kBlock);
        static_cast<void>(look(1, 1'200));
    }
    EXPECT_EQ(control.speed(), ReadSpeed::Slower);
}

TEST_F(DelayControlTest, AStoppedSourceIsLearnedAnew) {
    EXPECT_EQ(look(10, 1'100), ReadSpeed::Exact);
    EXPECT_EQ(look(0.09, 0), ReadSpeed::Exact); // late, and there again
    EXPECT_EQ(look(10, 1'500), ReadSpeed::Faster);
    EXPECT_EQ(look(0.1, 0), ReadSpeed::Exact); // stopped
    EXPECT_EQ(look(30, 1'500), ReadSpeed::Exact);
}

TEST_F(DelayControlTest, ASourceBeginsWithItsFirstWholeBlock) {
    EXPECT_EQ(look(30, kBlock - 1), ReadSpeed::Exact);
    EXPECT_EQ(look(6, kBlock), ReadSpeed::Slower);
}

TEST_F(DelayControlTest, ALongDelayAtTheBeginningIsMadeShorter) {
    EXPECT_EQ(look(10, 9'600), ReadSpeed::Faster);
    EXPECT_EQ(look(10, 2 * kBlock + DelayControl::kLongestLearned), ReadSpeed::Exact);
}

TEST_F(DelayControlTest, AReaderThatBeginsBehindOnPurposeKeepsItsDelay) {
    control.forgetAndKeepAnyDelay();
    EXPECT_EQ(look(10, 9'600), ReadSpeed::Exact);
    EXPECT_EQ(look(10, 9'900), ReadSpeed::Faster);
    EXPECT_EQ(look(10, 9'600), ReadSpeed::Exact);
    EXPECT_EQ(look(10, 9'300), ReadSpeed::Slower);
}

TEST_F(DelayControlTest, NoReaderIsSlowedDownBeyondTheLongestDelay) {
    const auto lateEachSecond = [this](std::uint32_t readable) {
        for (int round = 0; round < 10; ++round) {
            control.observe(0, kBlock);
            static_cast<void>(look(1, readable));
        }
        return control.speed();
    };
    EXPECT_EQ(look(10, 1'200), ReadSpeed::Exact);
    EXPECT_EQ(lateEachSecond(1'300), ReadSpeed::Slower);
    EXPECT_EQ(lateEachSecond(DelayControl::kLongestDelay - 100), ReadSpeed::Slower);
    EXPECT_EQ(lateEachSecond(DelayControl::kLongestDelay + 100), ReadSpeed::Exact);
}

TEST_F(DelayControlTest, AFasterReaderThatHasLittleLeftIsExactAtOnce) {
    EXPECT_EQ(look(10, 1'200), ReadSpeed::Exact);
    EXPECT_EQ(look(10, 2'400), ReadSpeed::Faster);
    control.observe(900, kBlock);
    EXPECT_EQ(control.speed(), ReadSpeed::Exact);
}

TEST_F(DelayControlTest, AskingForNothingOrForMuchIsTaken) {
    control.observe(0, 0);
    control.observe(28'799, 0);
    control.observe(28'799, 28'799);
    control.observe(28'799, 200'000);
    control.observe(0, 200'000);
    EXPECT_EQ(control.speed(), ReadSpeed::Exact);
}
