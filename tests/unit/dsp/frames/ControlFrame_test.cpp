#include "dsp/frames/ControlFrame.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <string_view>
#include <vector>

namespace vexo::dsp {
namespace {

std::vector<std::uint8_t> counting(std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
    return bytes;
}

Bytes bytesOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

TEST(ControlFrame, MagicFrameMatchesBytesWrittenByHand) {
    struct Row {
        Report payload, frame;
    };
    const Row rows[] = {
        {{0x00, 0x00, 0x81, 0x00, 0x00},
         {0x01, 0x0B, 0xAA, 0x53, 0x4E, 0x44, 0x43, 0x00, 0x00, 0x81, 0x00, 0x00, 0xAD}},
        {{0x00, 0x00, 0x82, 0x00, 0x03, 0, 0, 0},
         {0x01, 0x0E, 0xAA, 0x53, 0x4E, 0x44, 0x43, 0x00, 0x00, 0x82, 0x00, 0x03, 0, 0, 0, 0xA9}},
        {{0x10, 0x01, 0x85, 0x00, 0x00},
         {0x01, 0x0B, 0xAA, 0x53, 0x4E, 0x44, 0x43, 0x10, 0x01, 0x85, 0x00, 0x00, 0x98}},
        {{0x30, 0x00, 0x87, 0x00, 0x04, 0x80, 0xBB, 0, 0},
         {0x01, 0x0F, 0xAA, 0x53, 0x4E, 0x44, 0x43, 0x30, 0x00, 0x87, 0x00, 0x04, 0x80, 0xBB, 0, 0, 0x38}},
        {{0x01, 0x02, 0x03}, {0x01, 0x09, 0xAA, 0x53, 0x4E, 0x44, 0x43, 0x01, 0x02, 0x03, 0x28}},
    };
    for (const Row& row : rows) {
        const auto made = magicFrame(row.payload);
        ASSERT_TRUE(made);
        const Frame frame = made.value_or(Frame{});
        EXPECT_EQ(frame.report, row.frame);
        EXPECT_TRUE(frame.checksumComputed);
    }
}

TEST(ControlFrame, AMagicFrameOfAnEmptyPayloadHasChecksum0) {
    const auto made = magicFrame({});
    ASSERT_TRUE(made);
    const Frame frame = made.value_or(Frame{});
    EXPECT_EQ(frame.report, (Report{0x01, 0x06, 0xAA, 0x53, 0x4E, 0x44, 0x43, 0x00}));
    EXPECT_FALSE(frame.checksumComputed);
}

TEST(ControlFrame, PayloadsOfUpTo2BytesHaveNoChecksumAnd3BytesHaveOne) {
    for (const std::size_t count : {0U, 1U, 2U, 3U}) {
        const auto made = magicFrame(counting(count));
        ASSERT_TRUE(made);
        const Frame frame = made.value_or(Frame{});
        EXPECT_EQ(frame.checksumComputed, count == 3) << count;
        EXPECT_EQ(frame.report.back(), count == 3 ? 0x28 : 0) << count;
    }
}

TEST(ControlFrame, APayloadOf249BytesFitsAnd250DoesNot) {
    const auto made = magicFrame(counting(249));
    ASSERT_TRUE(made);
    const Frame longest = made.value_or(Frame{});
    EXPECT_EQ(longest.report.size(), 257U);
    EXPECT_EQ(longest.report[1], 0xFF);
    EXPECT_FALSE(magicFrame(counting(250)));
}

TEST(ControlFrame, CommandFramesHaveTheirChecksums) {
    struct Row {
        std::size_t count;
        std::uint8_t checksum;
    };
    for (const Row row : {Row{0, 0x00}, Row{1, 0x00}, Row{6, 0x00}, Row{7, 0xE4}, Row{60, 0xDA}}) {
        const Frame frame = commandFrame(counting(row.count));
        ASSERT_EQ(frame.report.size(), row.count + 4);
        EXPECT_EQ(frame.report[1], row.count + 2);
        EXPECT_EQ(frame.report[2], 0);
        EXPECT_EQ(frame.report.back(), row.checksum) << row.count;
        EXPECT_EQ(frame.checksumComputed, row.count > 6) << row.count;
    }
}

TEST(ControlFrame, FormOneLeavesByte1OutOfItsSum) {
    const Frame frame = commandFrame(counting(60));
    const unsigned sum = std::accumulate(frame.report.begin() + 2, frame.report.end(), 0U);
    EXPECT_EQ(frame.report[1], 0x3E);
    EXPECT_EQ(sum % 256, 0U);
}

TEST(ControlFrame, FormTwoLeavesTheFirstByteOfTheBlockOut) {
    std::vector<std::uint8_t> block = counting(62);
    const Frame one = packetFrame(block);
    block[0] = 0xF0;
    const Frame other = packetFrame(block);
    EXPECT_EQ(one.report.size(), 64U);
    EXPECT_EQ(one.report.back(), other.report.back());
    block[1] ^= 1U;
    EXPECT_NE(packetFrame(block).report.back(), one.report.back());
}

TEST(ControlFrame, TheSumOfCoveredBytesAndChecksumIs0) {
    std::mt19937 random(20);
    for (int round = 0; round < 10'000; ++round) {
        std::vector<std::uint8_t> bytes(8 + random() % 300);
        std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<std::uint8_t>(random()); });
        const unsigned sum = std::accumulate(bytes.begin(), bytes.end(), unsigned{checksumOf(bytes).value});
        ASSERT_EQ(sum % 256, 0U) << round;
    }
}

TEST(ControlFrame, CrcMatchesThePublishedCheckValues) {
    EXPECT_EQ(crc16(bytesOf("123456789")), 0x31C3);
    EXPECT_EQ(crc16(bytesOf("123456789"), 0xFFFF), 0x29B1);
    EXPECT_EQ(crc16({}), 0x0000);
    EXPECT_EQ(crc16({}, 0xFFFF), 0xFFFF);
}

TEST(ControlFrame, CrcOfTheTableEqualsTheBitwiseOne) {
    std::mt19937 random(21);
    std::vector<std::uint8_t> bytes;
    unsigned bitwise = 0;
    for (int count = 0; count < 2'000; ++count) {
        bytes.push_back(static_cast<std::uint8_t>(random()));
        for (unsigned mask = 0x80; mask != 0; mask >>= 1U) {
            const bool carry = ((bitwise & 0x8000U) != 0) != ((bytes.back() & mask) != 0);
            bitwise = ((bitwise << 1U) & 0xFFFFU) ^ (carry ? 0x1021U : 0U);
        }
        ASSERT_EQ(crc16(bytes), bitwise) << count;
    }
}

TEST(ControlFrame, APayloadIsBoundByItsReport) {
    const auto sizeOf = [](const Report& report) {
        return payloadOf(report).size();
    };
    EXPECT_EQ(sizeOf({}), 0U);
    EXPECT_EQ(sizeOf({1, 9}), 0U);
    EXPECT_EQ(sizeOf({1, 0, 7}), 0U);
    EXPECT_EQ(sizeOf({1, 2, 7, 8, 9}), 2U);
    EXPECT_EQ(sizeOf({1, 255, 7, 8, 9}), 3U);
}

TEST(ControlFrame, AnEchoBeginsAtTheSecondByte) {
    EXPECT_TRUE(echoes(bytesOf("?cm_vcrc"), "cm_vcrc"));
    EXPECT_TRUE(echoes(bytesOf("xcm_code and more"), "cm_code"));
    EXPECT_FALSE(echoes(bytesOf("cm_vcrc?"), "cm_vcrc"));
    EXPECT_FALSE(echoes(bytesOf("?cm_vcr"), "cm_vcrc"));
    EXPECT_FALSE(echoes({}, "cm_vcrc"));
}

} // namespace
} // namespace vexo::dsp
