#include "emulator/HidWire.h"
#include "emulator/LinkFrame.h"
#include "tests/unit/emulator/TestHost.h"

namespace vexo::emulator {
namespace {

constexpr LinkAddress kHost{1, 1, 28};
constexpr LinkAddress kDevice{2, 3, 0x1001};

//                              55 start
//                                10 kind 0
//                                  0000 no payload
//                                      0100 sequence 1
//                                          01011C00 from 1, 1, 28
//                                                  02030110 to 2, 3, 0x1001
//                                                          0100 name query
//                                                              9B sum
constexpr std::string_view kNameQueryHex = "55100000010001011C000203011001009B";
//                              payload: attribute 5, one byte, 15
constexpr std::string_view kWriteHex = "55100300030201011C00020301101E0005010FD4";

std::vector<LinkFrame> readAll(FrameReader& reader, BytesView report) {
    std::vector<LinkFrame> frames;
    reader.feed(report, [&](LinkFrame&& frame) { frames.push_back(std::move(frame)); });
    return frames;
}

LinkFrame writeFrame() {
    return {.kind = kRequest,
            .sequence = 0x0203,
            .source = kHost,
            .destination = kDevice,
            .messageId = kAttributeWrite,
            .payload = {5, 1, 15}};
}

TEST(LinkFrame, IsEncodedByteByByte) {
    EXPECT_EQ(toHex(encodeFrame({.kind = kRequest,
                                 .sequence = 1,
                                 .source = kHost,
                                 .destination = kDevice,
                                 .messageId = kNameQuery,
                                 .payload = {}})),
              kNameQueryHex);
    EXPECT_EQ(toHex(encodeFrame(writeFrame())), kWriteHex);
}

TEST(LinkFrame, IsDecodedByteByByte) {
    FrameReader reader;
    const std::vector<LinkFrame> frames = readAll(reader, bytes(kWriteHex));
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0], writeFrame());
}

TEST(LinkFrame, KeepsEveryKindInTheLowNibble) {
    for (std::uint8_t kind = 0; kind < 16; ++kind) {
        LinkFrame frame = writeFrame();
        frame.kind = kind;
        const Bytes encoded = encodeFrame(frame);
        EXPECT_EQ(encoded[1], 0x10 | kind);
        FrameReader reader;
        const std::vector<LinkFrame> frames = readAll(reader, encoded);
        ASSERT_EQ(frames.size(), 1U);
        EXPECT_EQ(frames[0].kind, kind);
    }
}

TEST(FrameReader, FindsTwoFramesInOneReportAndSkipsPadding) {
    FrameReader reader;
    Bytes report = bytes(kNameQueryHex);
    const Bytes second = bytes(kWriteHex);
    report.insert(report.end(), second.begin(), second.end());
    report.resize(64, 0);
    EXPECT_EQ(readAll(reader, report).size(), 2U);
    EXPECT_EQ(reader.counters.strayBytes, 0U);
}

TEST(FrameReader, PutsAFrameTogetherFromAnyTwoPieces) {
    const Bytes whole = bytes(kWriteHex);
    for (std::size_t cut = 1; cut < whole.size(); ++cut) {
        FrameReader reader;
        EXPECT_TRUE(readAll(reader, BytesView(whole).first(cut)).empty()) << "cut at " << cut;
        const std::vector<LinkFrame> frames = readAll(reader, BytesView(whole).subspan(cut));
        ASSERT_EQ(frames.size(), 1U) << "cut at " << cut;
        EXPECT_EQ(frames[0], writeFrame());
    }
}

TEST(FrameReader, LosesOnlyTheFrameWithAWrongSum) {
    FrameReader reader;
    Bytes report = bytes(kWriteHex);
    report[18] ^= 1U;
    const Bytes good = bytes(kNameQueryHex);
    report.insert(report.end(), good.begin(), good.end());
    EXPECT_EQ(readAll(reader, report).size(), 1U);
    EXPECT_EQ(reader.counters.badChecksums, 1U);
}

TEST(FrameReader, ThrowsTheRestOfTheReportAwayAfterAWrongControlByte) {
    FrameReader reader;
    Bytes report{0x55, 0x20};
    const Bytes good = bytes(kNameQueryHex);
    report.insert(report.end(), good.begin(), good.end());
    EXPECT_TRUE(readAll(reader, report).empty());
    EXPECT_EQ(reader.counters.badControls, 1U);
    EXPECT_EQ(readAll(reader, good).size(), 1U);
}

TEST(FrameReader, RefusesALengthAbove500) {
    LinkFrame frame = writeFrame();
    frame.payload.assign(500, 1);
    FrameReader reader;
    EXPECT_EQ(readAll(reader, encodeFrame(frame)).size(), 1U);
    frame.payload.assign(501, 1);
    EXPECT_TRUE(readAll(reader, encodeFrame(frame)).empty());
    EXPECT_EQ(reader.counters.badLengths, 1U);
}

TEST(FrameReader, CountsStrayBytesButNotZeros) {
    FrameReader reader;
    readAll(reader, Bytes{0, 1, 2, 0});
    EXPECT_EQ(reader.counters.strayBytes, 2U);
}

TEST(Reports, TheMixersCarryIdLengthAndTwoZerosBeforeSixtyBytes) {
    const ModelInfo& r2 = modelInfo(Model::MixdeskR2);
    const Bytes report = inputReport(r2, Bytes{0xAA, 0xBB}, true);
    ASSERT_EQ(report.size(), 64U);
    EXPECT_EQ(toHex(BytesView(report).first(8)), "01020000AABB0000");
    EXPECT_EQ(inputReport(r2, Bytes(60, 9), true).size(), 64U);
}

TEST(Reports, TheMicrophonesCarrySixtyFourBytesAndNoId) {
    const ModelInfo& m40 = modelInfo(Model::VoxmicM40);
    const Bytes report = inputReport(m40, Bytes{0xAA, 0xBB}, true);
    ASSERT_EQ(report.size(), 64U);
    EXPECT_EQ(toHex(BytesView(report).first(4)), "AABB0000");
}

TEST(Reports, OfTheHostGiveTheirFrameBytes) {
    const auto frameBytes = [](Model model, const Bytes& report) -> std::string {
        const auto found = frameBytesOfOutputReport(modelInfo(model), report);
        return found ? toHex(*found) : "unknown";
    };
    EXPECT_EQ(frameBytes(Model::MixdeskR2, {1, 2, 0xAA, 0xBB}), "AABB");
    // Bytes behind the length are padding.
    EXPECT_EQ(frameBytes(Model::MixdeskR2, {1, 1, 0xAA, 0xBB}), "AA");
    EXPECT_EQ(frameBytes(Model::MixdeskR2, {1, 3, 0xAA, 0xBB}), "unknown");
    EXPECT_EQ(frameBytes(Model::MixdeskR2, {2, 1, 0xAA}), "unknown");
    EXPECT_EQ(frameBytes(Model::MixdeskR2, {1}), "unknown");
    Bytes longest(60, 7);
    longest[0] = 1;
    longest[1] = 58;
    EXPECT_EQ(frameBytes(Model::MixdeskR2, longest), toHex(Bytes(58, 7)));
    longest.push_back(7);
    longest[1] = 59;
    EXPECT_EQ(frameBytes(Model::MixdeskR2, longest), "unknown");
    EXPECT_EQ(frameBytes(Model::VoxmicT40, {0, 0xAA, 0xBB}), "AABB");
    EXPECT_EQ(frameBytes(Model::VoxmicT40, {1, 0xAA}), "unknown");
    EXPECT_EQ(frameBytes(Model::VoxmicT40, Bytes(65, 0)).size(), 128U);
    EXPECT_EQ(frameBytes(Model::VoxmicT40, Bytes(66, 0)), "unknown");
}

// Walks a report descriptor's short items.
TEST(ReportDescriptor, NamesTheUsageAndReportsOfSixtyFourBytes) {
    for (const ModelInfo& model : allModels()) {
        for (const HidInterface& interface : model.interfaces) {
            const Bytes descriptor = reportDescriptor(interface);
            unsigned usagePage = 0;
            unsigned collectionUsage = 0;
            unsigned usage = 0;
            unsigned reportSize = 0;
            unsigned reportCount = 0;
            unsigned inputBits = 0;
            unsigned outputBits = 0;
            bool numbered = false;
            int depth = 0;
            for (std::size_t at = 0; at < descriptor.size();) {
                const std::uint8_t item = descriptor[at];
                const std::size_t size = (item & 3U) == 3 ? 4 : (item & 3U);
                ASSERT_LE(at + 1 + size, descriptor.size()) << model.word;
                unsigned value = 0;
                for (std::size_t i = 0; i < size; ++i) {
                    value |= static_cast<unsigned>(descriptor[at + 1 + i]) << (8 * i);
                }
                switch (item & 0xFCU) {
                case 0x04:
                    usagePage = value;
                    break;
                case 0x08:
                    usage = value;
                    break;
                case 0xA0:
                    collectionUsage = depth++ == 0 ? usage : collectionUsage;
                    break;
                case 0xC0:
                    --depth;
                    break;
                case 0x84:
                    numbered = value == 1;
                    break;
                case 0x74:
                    reportSize = value;
                    break;
                case 0x94:
                    reportCount = value;
                    break;
                case 0x80:
                    inputBits += reportSize * reportCount;
                    break;
                case 0x90:
                    outputBits += reportSize * reportCount;
                    break;
                default:
                    break;
                }
                at += 1 + size;
            }
            EXPECT_EQ(depth, 0) << model.word;
            EXPECT_EQ(usagePage, interface.usagePage) << model.word;
            EXPECT_EQ(collectionUsage, interface.usage) << model.word;
            EXPECT_EQ(numbered, interface.numbered) << model.word;
            EXPECT_EQ(inputBits / 8 + (numbered ? 1 : 0), 64U) << model.word;
            EXPECT_EQ(outputBits / 8 + (numbered ? 1 : 0), 64U) << model.word;
        }
    }
}

TEST(HidWire, GivesBackWhatWasPutIn) {
    const InterfaceInfo info{.path = "some/path",
                             .vendorId = 0x3327,
                             .productId = 0x9829,
                             .releaseNumber = 0x0107,
                             .serial = "R2-0001",
                             .manufacturer = "VEXO",
                             .product = "",
                             .usagePage = 0xFF00,
                             .usage = 1,
                             .interfaceNumber = 4,
                             .reportDescriptor = {1, 2, 3}};
    Bytes body;
    appendInterface(body, info);
    WireReader reader(body);
    EXPECT_EQ(reader.takeInterface(), info);
    EXPECT_TRUE(reader.ok());
    EXPECT_EQ(reader.takeU8(), 0);
    EXPECT_FALSE(reader.ok());
    for (std::size_t size = 0; size < body.size(); ++size) {
        WireReader cut(BytesView(body).first(size));
        cut.takeInterface();
        EXPECT_FALSE(cut.ok()) << size << " bytes";
    }
}

TEST(HidWire, MessagesAreFoundByteByByteAndNeverOverread) {
    const Bytes first = wireMessage(WireType::Input, Bytes{1, 2, 3});
    const Bytes second = wireMessage(WireType::Write, Bytes{});
    EXPECT_EQ(toHex(first), "0603000000010203");
    WireBuffer buffer;
    Bytes all = first;
    all.insert(all.end(), second.begin(), second.end());
    std::vector<Bytes> bodies;
    for (const std::uint8_t byte : all) {
        EXPECT_GT(buffer.missing(), 0U);
        buffer.add(BytesView(&byte, 1));
        if (const auto message = buffer.take()) {
            bodies.push_back(message->body);
        }
    }
    EXPECT_EQ(bodies, (std::vector<Bytes>{{1, 2, 3}, {}}));
    buffer.add(bytes("06FFFFFFFF"));
    EXPECT_TRUE(buffer.broken());
}

} // namespace
} // namespace vexo::emulator
