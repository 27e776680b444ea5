#include "dsp/frames/ControlFrame.h"
#include "dsp/frames/RecordAssembly.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <optional>

namespace vexo::dsp {
namespace {

using Result = RecordAssembly::Result;

/// A record of one equaliser set with the data 0, 1, 2 and so on; its checksum is 0x6E.
Report equaliserRecord() {
    Report record{0xAA, 0x53, 0x4E, 0x44, 0x43, 0x10, 0x00, 0x05, 0x44, 0x01};
    for (unsigned i = 0; i < 324; ++i) {
        record.push_back(static_cast<std::uint8_t>(i));
    }
    record.push_back(0x6E);
    return record;
}

TEST(RecordAssembly, ARecordOfSixReportsIsPutTogether) {
    const Report sent = equaliserRecord();
    RecordAssembly assembly;
    for (std::size_t from = 0; from < sent.size(); from += 62) {
        const Bytes part = Bytes(sent).subspan(from, std::min<std::size_t>(62, sent.size() - from));
        EXPECT_FALSE(assembly.complete());
        EXPECT_EQ(assembly.feed(part), from == 310 ? Result::Completed : Result::Taken);
    }
    EXPECT_TRUE(std::ranges::equal(assembly.record(), sent));
    EXPECT_EQ(checksumOf(assembly.record().first(334)).value, 0x6E);
}

TEST(RecordAssembly, AReportPastTheEndIsCut) {
    Report sent = equaliserRecord();
    sent.resize(400, 0xEE);
    RecordAssembly assembly;
    EXPECT_EQ(assembly.feed(sent), Result::Completed);
    EXPECT_EQ(assembly.total(), 335U);
    EXPECT_EQ(assembly.feed(sent), Result::Completed);
    EXPECT_TRUE(std::ranges::equal(assembly.record(), equaliserRecord()));
}

TEST(RecordAssembly, AReportOfTenBytesIsSkipped) {
    RecordAssembly assembly;
    EXPECT_EQ(assembly.feed(Bytes(equaliserRecord()).first(10)), Result::Skipped);
    EXPECT_EQ(assembly.feed(Bytes(equaliserRecord()).first(11)), Result::Taken);
    EXPECT_EQ(assembly.collected(), 11U);
}

TEST(RecordAssembly, AReportWithoutTheMagicIsSkipped) {
    Report sent = equaliserRecord();
    sent[4] = 0;
    RecordAssembly assembly;
    EXPECT_EQ(assembly.feed(sent), Result::Skipped);
    EXPECT_EQ(assembly.total(), 0U);
}

TEST(RecordAssembly, ALengthOf0AllocatesNothing) {
    const Report sent{0xAA, 0x53, 0x4E, 0x44, 0x43, 0x00, 0x00, 0x01, 0x00, 0x00, 0x2D};
    RecordAssembly assembly;
    EXPECT_EQ(assembly.feed(sent), Result::Skipped);
    EXPECT_FALSE(assembly.complete());
    EXPECT_EQ(assembly.total(), 0U);
}

TEST(RecordAssembly, ALengthOf65535WaitsForItsReports) {
    Report sent = equaliserRecord();
    sent[8] = 0xFF;
    sent[9] = 0xFF;
    RecordAssembly assembly;
    EXPECT_EQ(assembly.feed(sent), Result::Taken);
    EXPECT_EQ(assembly.total(), 65'546U);
    EXPECT_EQ(assembly.record().back(), 0);
}

TEST(RecordAssembly, ANullReportIsToldAndChangesNothing) {
    RecordAssembly assembly;
    EXPECT_EQ(assembly.feed(std::nullopt), Result::NoReport);
    EXPECT_EQ(assembly.total(), 0U);
}

} // namespace
} // namespace vexo::dsp
