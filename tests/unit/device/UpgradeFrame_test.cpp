#include "device/UpgradeFrame.h"
#include "tests/support/WireFrame.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

std::string hexOfFrame(QByteArrayView bytes) {
    return bytes.toByteArray().toHex(' ').toUpper().toStdString();
}

QByteArray counting(int first, int count) {
    QByteArray bytes;
    for (int i = 0; i < count; ++i) {
        bytes.append(static_cast<char>(first + i));
    }
    return bytes;
}

TEST(UpgradeFrame, CrcMatchesThePublishedCheckValues) {
    EXPECT_EQ(upgradeCrc("123456789"), 0x29B1);
    EXPECT_EQ(upgradeCrc(QByteArrayView()), 0xFFFF);
}

TEST(UpgradeFrame, FramesMatchBytesWrittenByHand) {
    EXPECT_EQ(hexOfFrame(upgradeFrame(0x80, QByteArrayView("\0", 1))), "AA 55 C8 6E 80 01 00 00");
    EXPECT_EQ(hexOfFrame(upgradeFrame(0x80, "\x01")), "AA 55 E9 7E 80 01 00 01");
    EXPECT_EQ(hexOfFrame(upgradeFrame(0x80, "\x02")), "AA 55 8A 4E 80 01 00 02");
    EXPECT_EQ(hexOfFrame(upgradeFrame(0x80, "\x03")), "AA 55 AB 5E 80 01 00 03");
    EXPECT_EQ(hexOfFrame(upgradeFrame(0x82, QByteArrayView("\0", 1))), "AA 55 A0 83 82 01 00 00");
    EXPECT_EQ(hexOfFrame(upgradeFrame(0x82, "\x01")), "AA 55 81 93 82 01 00 01");
    EXPECT_EQ(hexOfFrame(upgradeFrame(0x82, "\x02")), "AA 55 E2 A3 82 01 00 02");
    EXPECT_EQ(hexOfFrame(upgradeFrame(0x81, QByteArray::fromHex("00000000200000"))),
              "AA 55 25 5D 81 07 00 00 00 00 00 20 00 00");
    EXPECT_EQ(hexOfFrame(upgradeFrame(0x81, QByteArray(6, '\0'))), "AA 55 28 CC 81 06 00 00 00 00 00 00 00");
    EXPECT_EQ(hexOfFrame(upgradeFrame(0x81, QByteArray::fromHex("000000002000") + counting(0x20, 32))),
              "AA 55 DF 38 81 26 00 00 00 00 00 20 00 " + hexOfFrame(counting(0x20, 32)));
}

TEST(UpgradeFrame, FramesEqualTheTestsOwnOnes) {
    std::mt19937 random(20);
    for (const std::size_t size : {0U, 1U, 6U, 255U, 256U, 487U, 65535U}) {
        wireFrame::Bytes data(size);
        for (std::uint8_t& byte : data) {
            byte = static_cast<std::uint8_t>(random());
        }
        const wireFrame::Bytes expected = wireFrame::upgradeFrame(0x81, data);
        EXPECT_EQ(upgradeFrame(0x81, QByteArrayView(data.data(), static_cast<qsizetype>(size))),
                  QByteArrayView(expected.data(), static_cast<qsizetype>(expected.size())))
            << size << " bytes of data";
    }
}

TEST(UpgradeFrame, TheReaderIgnoresMagicAndCrc) {
    const QByteArray frame = QByteArray::fromHex("0102030481020017182A");
    const std::optional<UpgradeMessage> read = readUpgradeFrame(frame);
    ASSERT_TRUE(read);
    const UpgradeMessage message = read.value_or(UpgradeMessage{});
    EXPECT_EQ(message.command, 0x81);
    EXPECT_EQ(message.dataLength, 2);
    EXPECT_EQ(hexOfFrame(message.data), "17 18") << "bytes behind the data are no part of it";
}

TEST(UpgradeFrame, ADataLengthPastTheFrameIsCutToIt) {
    const QByteArray frame = QByteArray::fromHex("AA55000080FFFF0102");
    const std::optional<UpgradeMessage> read = readUpgradeFrame(frame);
    ASSERT_TRUE(read);
    const UpgradeMessage message = read.value_or(UpgradeMessage{});
    EXPECT_EQ(message.dataLength, 65535);
    EXPECT_EQ(hexOfFrame(message.data), "01 02");
}

TEST(UpgradeFrame, FewerThanSevenBytesAreNoFrame) {
    for (int size = 0; size < 7; ++size) {
        EXPECT_FALSE(readUpgradeFrame(QByteArray(size, '\x55'))) << size;
    }
    const QByteArray shortest = QByteArray::fromHex("AA550000800100");
    const std::optional<UpgradeMessage> read = readUpgradeFrame(shortest);
    ASSERT_TRUE(read);
    const UpgradeMessage message = read.value_or(UpgradeMessage{});
    EXPECT_EQ(message.dataLength, 1);
    EXPECT_TRUE(message.data.isEmpty());
}

} // namespace
