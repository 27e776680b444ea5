#include "LinkBench.h"
#include "tests/support/RandomSeed.h"

#include <algorithm>
#include <random>

namespace {

class LinkParser : public LinkBench {
public:
    void SetUp() override {
        LinkBench::SetUp();
        record(0x8002);
        record(0x8003);
    }

    void drain() {
        while (linkInspect().receiveQueueLength > 0) {
            linkPoll();
        }
    }

    static WireFrame privateFrame(const Bytes& payload, std::uint16_t sequence = 5) {
        return {2, sequence, kDevice, kHost, 0x8002, payload};
    }

    std::vector<Bytes> deliveredPayloads() const {
        std::vector<Bytes> payloads;
        payloads.reserve(delivered.size());
        for (const Delivered& one : delivered) {
            payloads.push_back(one.payload);
        }
        return payloads;
    }
};

TEST_F(LinkParser, ReadsEveryFieldOfAFrame) {
    const Bytes bytes{
        0x55,                   //  0 magic
        0x12,                   //  1 control: 0x1, kind 2
        0x03, 0x00,             //  2 length 3
        0x34, 0x12,             //  4 sequence 0x1234
        0x07, 0x03, 0x34, 0x12, //  6 source CHID 7, VID 3, PID 0x1234
        0x01, 0x01, 0x1C, 0x00, // 10 destination CHID 1, VID 1, PID 28
        0x02, 0x80,             // 14 messageId 0x8002
        0xAA, 0xBB, 0xCC,       // 16 payload
        0xD1,                   // 19 checksum: sum of the 19 bytes before it, modulo 256
    };
    EXPECT_EQ(feed(bytes), 0);
    drain();
    ASSERT_EQ(delivered.size(), 1U);
    const LinkFrame& frame = delivered[0].frame;
    EXPECT_EQ(frame.kind, kLinkNotification);
    EXPECT_EQ(frame.length, 3);
    EXPECT_EQ(frame.sequence, 0x1234);
    EXPECT_EQ(frame.source, kDevice);
    EXPECT_EQ(frame.destination, kHost);
    EXPECT_EQ(frame.messageId, 0x8002);
    EXPECT_EQ(delivered[0].payload, (Bytes{0xAA, 0xBB, 0xCC}));
    EXPECT_TRUE(errors.empty());
}

TEST_F(LinkParser, AFrameWithoutPayloadHasItsChecksumRightAfterTheHeader) {
    const Bytes bytes{
        0x55,                   //  0 magic
        0x12,                   //  1 control: kind 2
        0x00, 0x00,             //  2 length 0
        0x01, 0x00,             //  4 sequence 1
        0x07, 0x03, 0x34, 0x12, //  6 source
        0x01, 0x01, 0x1C, 0x00, // 10 destination
        0x03, 0x80,             // 14 messageId 0x8003
        0x59,                   // 16 checksum
    };
    EXPECT_EQ(feed(bytes), 0);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
    drain();
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].frame.length, 0);
    EXPECT_EQ(delivered[0].frame.messageId, 0x8003);
}

TEST_F(LinkParser, ALongestPayloadArrivesWhole) {
    Bytes payload(500);
    for (std::size_t index = 0; index < payload.size(); ++index) {
        payload[index] = static_cast<std::uint8_t>(index * 7);
    }
    EXPECT_EQ(feed(privateFrame(payload)), 0);
    drain();
    EXPECT_EQ(deliveredPayloads(), (std::vector<Bytes>{payload}));
}

TEST_F(LinkParser, ALengthAbove500IsError1AndTheParserLooksForTheNextFrame) {
    Bytes bytes = encode(privateFrame({}));
    bytes[2] = 0xF5; // length 501
    bytes[3] = 0x01;
    bytes.pop_back(); // the checksum is not looked at
    EXPECT_EQ(feed(bytes), 0);
    EXPECT_EQ(errors, (std::vector<Error>{{kLinkErrorIncomingTooLong, 0x8002}}));
    feed(privateFrame({1}));
    drain();
    EXPECT_EQ(deliveredPayloads(), (std::vector<Bytes>{{1}}));
}

TEST_F(LinkParser, ACorruptedChecksumCostsThatFrameOnly) {
    Bytes bytes = encode(privateFrame({1, 2, 3}));
    bytes.back() ^= 0x01;
    const Bytes good = encode(privateFrame({4, 5, 6}));
    bytes.insert(bytes.end(), good.begin(), good.end());
    EXPECT_EQ(feed(bytes), 0);
    drain();
    EXPECT_EQ(errors, (std::vector<Error>{{kLinkErrorChecksum, 0x8002}}));
    EXPECT_EQ(deliveredPayloads(), (std::vector<Bytes>{{4, 5, 6}}));
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
}

TEST_F(LinkParser, AStrayMagicInThePaddingThrowsAwayTheRestOfThatReport) {
    Bytes report = encode(privateFrame({1}));
    report.insert(report.end(), {0x00, 0x00, 0x55, 0x00});
    const Bytes lost = encode(privateFrame({2}));
    report.insert(report.end(), lost.begin(), lost.end());
    EXPECT_EQ(feed(report), 45);
    EXPECT_EQ(feed(privateFrame({3})), 0);
    drain();
    EXPECT_EQ(deliveredPayloads(), (std::vector<Bytes>{{1}, {3}}));
    EXPECT_TRUE(errors.empty());
}

TEST_F(LinkParser, AMagicAtAReportsEndWaitsForTheNextReport) {
    EXPECT_EQ(feed(Bytes{0x00, 0x55}), 0);
    EXPECT_EQ(feed(privateFrame({1})), 45); // its own 0x55 has no high nibble 1
    Bytes rest = encode(privateFrame({2}));
    EXPECT_EQ(feed(Bytes{0x55}), 0);
    rest.erase(rest.begin());
    EXPECT_EQ(feed(rest), 0);
    drain();
    EXPECT_EQ(deliveredPayloads(), (std::vector<Bytes>{{2}}));
}

TEST_F(LinkParser, AFrameSplitAcrossTwoReportsIsPutTogetherAtAnyPlace) {
    const Bytes bytes = encode(privateFrame({9, 8, 7, 6}));
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
        const auto middle = bytes.begin() + static_cast<std::ptrdiff_t>(cut);
        EXPECT_EQ(feed(Bytes(bytes.begin(), middle)), 0);
        EXPECT_EQ(feed(Bytes(middle, bytes.end())), 0);
        drain();
        EXPECT_EQ(deliveredPayloads(), (std::vector<Bytes>{{9, 8, 7, 6}})) << "cut at " << cut;
        forget();
    }
}

TEST_F(LinkParser, TwoFramesInOneReportAreBothDelivered) {
    Bytes report = encode(privateFrame({1}));
    const Bytes second = encode(privateFrame({2}));
    report.insert(report.end(), second.begin(), second.end());
    report.resize(64); // padding
    EXPECT_EQ(feed(report), 0);
    drain();
    EXPECT_EQ(deliveredPayloads(), (std::vector<Bytes>{{1}, {2}}));
}

TEST_F(LinkParser, PaddingBetweenFramesIsSkipped) {
    Bytes report(11, 0x00);
    const Bytes frame = encode(privateFrame({1}));
    report.insert(report.end(), frame.begin(), frame.end());
    report.resize(64, 0xFF);
    feed(report);
    feed(report);
    drain();
    EXPECT_EQ(delivered.size(), 2U);
}

TEST_F(LinkParser, AnUnknownChannelIs26AndAnUnusedOne27) {
    const Bytes bytes = encode(privateFrame({1}));
    const auto length = static_cast<std::uint32_t>(bytes.size());
    EXPECT_EQ(linkFeed(3, length, bytes.data()), 26);
    EXPECT_EQ(linkFeed(0xFFFFFFFF, length, bytes.data()), 26);
    EXPECT_EQ(linkFeed(2, length, bytes.data()), 27);
    EXPECT_EQ(linkFeed(0, length, bytes.data()), 27);
    EXPECT_EQ(linkInspect().receiveQueueLength, 0U);
}

TEST_F(LinkParser, EachChannelHasAParserOfItsOwn) {
    ASSERT_EQ(linkOpenChannel(recordSent, this), 2U);
    const Bytes first = encode(privateFrame({1}));
    const Bytes second = encode(privateFrame({2}));
    for (std::size_t index = 0; index < first.size(); ++index) {
        EXPECT_EQ(linkFeed(1, 1, &first[index]), 0);
        EXPECT_EQ(linkFeed(2, 1, &second[index]), 0);
    }
    drain();
    EXPECT_EQ(deliveredPayloads(), (std::vector<Bytes>{{1}, {2}}));
}

TEST_F(LinkParser, FeedingNothingIsHarmless) {
    EXPECT_EQ(linkFeed(channel, 0, nullptr), 0);
    EXPECT_TRUE(errors.empty());
}

TEST_F(LinkParser, TheReceiveQueueTakes200FramesAndThenReportsError8) {
    for (int index = 0; index < 200; ++index) {
        feed(privateFrame({static_cast<std::uint8_t>(index)}));
    }
    EXPECT_TRUE(errors.empty());
    feed(privateFrame({200}));
    EXPECT_EQ(errors, (std::vector<Error>{{kLinkErrorReceiveQueueFull, 0x8002}}));
    EXPECT_EQ(linkInspect().receiveQueueLength, 200U);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 200U);
    drain();
    ASSERT_EQ(delivered.size(), 200U);
    EXPECT_EQ(delivered[199].payload, Bytes{199});
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
}

TEST_F(LinkParser, OnePollTakesOneReceivedFrame) {
    feed(privateFrame({1}));
    feed(privateFrame({2}));
    linkPoll();
    EXPECT_EQ(deliveredPayloads(), (std::vector<Bytes>{{1}}));
    linkPoll();
    EXPECT_EQ(deliveredPayloads(), (std::vector<Bytes>{{1}, {2}}));
}

TEST_F(LinkParser, ParsingCallsNoHandler) {
    feed(privateFrame({1}));
    EXPECT_TRUE(delivered.empty());
}

// The definition, one byte at a time. linkFeed must equal it for any portions.
class ByteWiseParser {
public:
    std::vector<Bytes> frames;
    std::vector<std::pair<int, std::uint16_t>> errors;

    int feed(const Bytes& block) {
        for (const std::uint8_t byte : block) {
            if (!take(byte)) {
                return 45;
            }
        }
        return 0;
    }

private:
    // False when the rest of the block is dropped.
    bool take(std::uint8_t byte) {
        if (state == 0) {
            if (byte == 0x55) {
                frame.assign(1, byte);
                state = 1;
            }
            return true;
        }
        if (state == 1 && byte >> 4 != 1) {
            state = 0;
            return false;
        }
        frame.push_back(byte);
        if (state < 15) {
            ++state;
        } else if (state == 15) {
            length = frame[2] + frame[3] * 256;
            if (length > 500) {
                errors.emplace_back(1, messageId());
                state = 0;
            } else {
                state = length == 0 ? 17 : 16;
            }
        } else if (state == 16) {
            state = frame.size() == 16U + static_cast<std::size_t>(length) ? 17 : 16;
        } else {
            unsigned sum = 0;
            for (std::size_t index = 0; index + 1 < frame.size(); ++index) {
                sum += frame[index];
            }
            if (sum % 256 == byte) {
                frames.push_back(frame);
            } else {
                errors.emplace_back(3, messageId());
            }
            state = 0;
        }
        return true;
    }

    [[nodiscard]] std::uint16_t messageId() const {
        return static_cast<std::uint16_t>(frame[14] + frame[15] * 256);
    }

    int state = 0;
    int length = 0;
    Bytes frame;
};

// Frames, some of them damaged, between padding and noise.
Bytes anyStream(std::mt19937_64& random) {
    const auto below = [&](std::uint64_t limit) {
        return random() % limit;
    };
    Bytes stream;
    while (stream.size() < 4000) {
        switch (below(6)) {
        case 0: // noise rich in magics
            for (std::uint64_t count = below(40); count > 0; --count) {
                stream.push_back(below(3) == 0 ? 0x55 : static_cast<std::uint8_t>(below(256)));
            }
            break;
        case 1: // padding
            stream.insert(stream.end(), below(64), 0);
            break;
        default: {
            Bytes payload(below(8) == 0 ? below(501) : below(30));
            std::generate(payload.begin(), payload.end(),
                          [&] { return static_cast<std::uint8_t>(below(256)); });
            Bytes frame = encode({static_cast<std::uint8_t>(below(16)), static_cast<std::uint16_t>(random()),
                                  kDevice, kHost, 0x8003, payload});
            if (below(4) == 0) {
                frame[below(frame.size())] ^= static_cast<std::uint8_t>(1 + below(255));
            }
            stream.insert(stream.end(), frame.begin(), frame.end());
        }
        }
    }
    return stream;
}

TEST_F(LinkParser, EqualsTheByteWiseDefinitionOnAnyStreamInAnyPortions) {
    const std::uint64_t seed = seedFromEnvironment(20240607);
    std::mt19937_64 random(seed);
    const auto below = [&](std::uint64_t limit) {
        return random() % limit;
    };
    std::size_t frameCount = 0;
    std::size_t errorCount = 0;
    std::size_t thrownAway = 0;
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
        const Bytes stream = anyStream(random);
        ByteWiseParser reference;
        linkInit();
        linkInstallErrorCallback(
            [](int code, std::uint16_t messageId, void* context) {
                static_cast<std::vector<Error>*>(context)->push_back({code, messageId});
            },
            &errors);
        channel = linkOpenChannel(recordSent, this);
        errors.clear();
        delivered.clear();
        record(0x8003);
        std::vector<Bytes> expected;
        for (std::size_t offset = 0; offset < stream.size();) {
            const std::size_t count = std::min<std::size_t>(below(66), stream.size() - offset);
            const auto start = stream.begin() + static_cast<std::ptrdiff_t>(offset);
            const Bytes block(start, start + static_cast<std::ptrdiff_t>(count));
            const int result = reference.feed(block);
            ASSERT_EQ(feed(block), result) << hexOf(block);
            thrownAway += result == 45 ? 1 : 0;
            offset += count;
            ASSERT_EQ(linkInspect().receiveQueueLength, reference.frames.size() - expected.size());
            expected = reference.frames;
            // Fragments and foreign addresses are not dispatched; the frames are compared where they are.
            while (linkInspect().receiveQueueLength > 0) {
                linkPoll();
            }
        }
        std::vector<Bytes> dispatched;
        dispatched.reserve(delivered.size());
        for (const Delivered& one : delivered) {
            dispatched.push_back(encode({one.frame.kind, one.frame.sequence, one.frame.source,
                                         one.frame.destination, one.frame.messageId, one.payload}));
        }
        std::erase_if(expected, [](const Bytes& bytes) {
            const WireFrame frame = decode(bytes).value();
            return frame.destination != kHost || frame.messageId != 0x8003 || frame.kind == kLinkFragment;
        });
        ASSERT_EQ(dispatched, expected);
        ASSERT_EQ(errors.size(), reference.errors.size());
        for (std::size_t index = 0; index < errors.size(); ++index) {
            ASSERT_EQ(errors[index], (Error{reference.errors[index].first, reference.errors[index].second}));
        }
        frameCount += dispatched.size();
        errorCount += errors.size();
        ASSERT_EQ(linkInspect().receiveQueueLength, 0U);
    }
    // The streams held enough of everything.
    EXPECT_GT(frameCount, 5000U);
    EXPECT_GT(errorCount, 1000U);
    EXPECT_GT(thrownAway, 1000U);
}

} // namespace
