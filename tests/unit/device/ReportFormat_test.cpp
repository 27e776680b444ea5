#include "device/ReportFormat.h"
#include "device/UsbIdentity.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint16_t kUnknown = 0x1234;
constexpr std::uint16_t kMicrophones[] = {kVoxmicM40.productId, kVoxmicT40.productId};

} // namespace

TEST(ReportFormat, AReportOfTheMixerHasItsIdAndItsLength) {
    EXPECT_EQ(reportCapacity(kMixdeskR2.productId), 58);
    EXPECT_EQ(reportOf(kMixdeskR2.productId, "\x55\x12\x01").toHex(), "0103551201");
    EXPECT_EQ(reportOf(kMixdeskR2.productId, QByteArray(58, 'a')), "\x01\x3A" + QByteArray(58, 'a'));
}

TEST(ReportFormat, AReportOfTheMicrophonesHasAZero) {
    for (const std::uint16_t productId : kMicrophones) {
        EXPECT_EQ(reportCapacity(productId), 64);
        EXPECT_EQ(reportOf(productId, "\x55\x12\x01").toHex(), "00551201");
    }
}

TEST(ReportFormat, AReportOfAnyOtherDeviceIsTheBytes) {
    EXPECT_EQ(reportCapacity(kUnknown), 64);
    EXPECT_EQ(reportOf(kUnknown, "\x55\x12\x01").toHex(), "551201");
}

TEST(ReportFormat, OnlyTheMixersReportsHaveAHeaderOnTheWayIn) {
    const QByteArray report("\x01\x02\x00\x00\x55\x12", 6);
    EXPECT_EQ(frameBytesOf(kMixdeskR2.productId, report).toByteArray().toHex(), "5512");
    for (const std::uint16_t productId : {kMicrophones[0], kMicrophones[1], kUnknown}) {
        EXPECT_EQ(frameBytesOf(productId, report), report);
    }
}

TEST(ReportFormat, AMixersReportThatIsShorterThanItsHeaderHasNoBytes) {
    for (qsizetype size = 0; size <= 4; ++size) {
        EXPECT_TRUE(frameBytesOf(kMixdeskR2.productId, QByteArray(size, 'a')).isEmpty());
    }
}
