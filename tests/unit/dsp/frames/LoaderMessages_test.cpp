#include "dsp/frames/ControlFrame.h"
#include "dsp/frames/LoaderMessages.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <numeric>
#include <string_view>
#include <vector>

namespace vexo::dsp {
namespace {

std::vector<std::uint8_t> ramp(std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    return bytes;
}

std::vector<std::uint8_t> remainders(std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i % 251);
    }
    return bytes;
}

TEST(LoaderMessages, TextsStandAtTheStartOf60Bytes) {
    struct Row {
        std::string_view text;
        std::uint8_t checksum;
    };
    for (const Row row : {Row{"cm_vsrc", 0x13}, Row{"cm_rest?isok", 0x1E}, Row{"cm_fnsh?isok", 0x2D}}) {
        const Report report = commandFrame(commandBlock(row.text)).report;
        ASSERT_EQ(report.size(), 64U);
        EXPECT_TRUE(std::equal(row.text.begin(), row.text.end(), report.begin() + 3));
        EXPECT_EQ(std::count(report.begin() + 3, report.end() - 1, 0), 60 - std::ssize(row.text));
        EXPECT_EQ(report.back(), row.checksum) << row.text;
    }
}

TEST(LoaderMessages, CommandsOfAnImageCarryItsNumbers) {
    struct Row {
        std::vector<std::uint8_t> image;
        std::uint16_t crc;
        std::size_t packets;
        std::uint8_t handshake, erase, length;
    };
    const Row rows[] = {
        {{'1', '2', '3', '4', '5', '6', '7', '8', '9'}, 0x31C3, 1, 0xFB, 0x2C, 0x23},
        {{0x00}, 0x0000, 1, 0xEF, 0x34, 0x2B},
        {{0xFF}, 0x1EF0, 1, 0xE1, 0x34, 0x2B},
        {ramp(56), 0x1A31, 1, 0xA4, 0xFD, 0xF4},
        {ramp(57), 0x3520, 2, 0x9A, 0xFC, 0xF3},
        {ramp(168), 0x179F, 3, 0x39, 0x8D, 0x84},
        {ramp(256), 0x7E55, 5, 0x1C, 0x34, 0x2B},
        {std::vector<std::uint8_t>(kMaxImageBytes, 0xFF), 0x84B4, 18725, 0xB7, 0x25, 0x1C},
        {remainders(kMaxImageBytes), 0x7F1F, 18725, 0x51, 0x25, 0x1C},
    };
    for (const Row& row : rows) {
        const auto size = static_cast<std::uint32_t>(row.image.size());
        EXPECT_EQ(crc16(row.image), row.crc);
        EXPECT_EQ(packetCount(size), row.packets);
        EXPECT_EQ(commandFrame(handshakeBlock("cm_vcrc", row.crc)).report.back(), row.handshake) << size;
        EXPECT_EQ(commandFrame(eraseBlock("cm_code", size)).report.back(), row.erase) << size;
        EXPECT_EQ(commandFrame(lengthBlock("cm_upgd?isok", size)).report.back(), row.length) << size;
    }
}

TEST(LoaderMessages, ParametersFollowTheText) {
    const Report handshake = commandFrame(handshakeBlock("cm_vcrc", 0x31C3)).report;
    EXPECT_EQ(Report(handshake.begin() + 10, handshake.begin() + 21),
              (Report{0x01, 0x01, 0x01, 0xAA, 0xBB, 0xCC, 0xC3, 0x31, 0, 0, 0}));
    const Report erase = commandFrame(eraseBlock("cm_code", 0x100000)).report;
    EXPECT_EQ(Report(erase.begin() + 10, erase.begin() + 17), (Report{0, 0, 1, 0, 0, 0x10, 0}));
    const Report length = commandFrame(lengthBlock("cm_upgd?isok", 0x38)).report;
    EXPECT_EQ(Report(length.begin() + 15, length.begin() + 19), (Report{0x38, 0, 0, 0}));
}

TEST(LoaderMessages, FiftySixBytesAreOnePacketAndFiftySevenTwo) {
    EXPECT_EQ(packetCount(1), 1U);
    EXPECT_EQ(packetCount(56), 1U);
    EXPECT_EQ(packetCount(57), 2U);
    const Report only = packetFrame(packetBlock(ramp(56), 0)).report;
    EXPECT_EQ(Report(only.begin(), only.begin() + 8), (Report{0x01, 0x63, 0x6D, 1, 0, 1, 0, 0}));
    EXPECT_EQ(only.back(), 0x8D);
    EXPECT_EQ(packetFrame(packetBlock(ramp(57), 0)).report.back(), 0x8C);
}

TEST(LoaderMessages, TheLastPacketIsPaddedWithZeros) {
    const Report last = packetFrame(packetBlock(ramp(57), 1)).report;
    EXPECT_EQ(Report(last.begin(), last.begin() + 8), (Report{0x01, 0x63, 0x6D, 2, 0, 2, 0, 0x38}));
    EXPECT_EQ(std::count(last.begin() + 8, last.end() - 1, 0), 55);
    EXPECT_EQ(last.back(), 0x57);
}

TEST(LoaderMessages, PacketNumbersAreLittleEndianUpTo18725) {
    const std::vector<std::uint8_t> image = remainders(kMaxImageBytes);
    const Report first = packetFrame(packetBlock(image, 0)).report;
    EXPECT_EQ(Report(first.begin(), first.begin() + 7), (Report{0x01, 0x63, 0x6D, 1, 0, 0x25, 0x49}));
    EXPECT_EQ(first.back(), 0x20);
    const Report last = packetFrame(packetBlock(image, 18724)).report;
    EXPECT_EQ(Report(last.begin(), last.begin() + 9),
              (Report{0x01, 0x63, 0x6D, 0x25, 0x49, 0x25, 0x49, 0x75, 0x76}));
    EXPECT_EQ(last.back(), 0x27);
}

} // namespace
} // namespace vexo::dsp
