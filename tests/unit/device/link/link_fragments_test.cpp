#include "LinkBench.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr std::uint16_t kMessage = 0x9000;

Bytes counting(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t index = 0; index < count; ++index) {
        bytes[index] = static_cast<std::uint8_t>(index % 251);
    }
    return bytes;
}

Bytes part(const Bytes& bytes, std::size_t from, std::size_t count) {
    const auto start = bytes.begin() + static_cast<std::ptrdiff_t>(from);
    return {start, start + static_cast<std::ptrdiff_t>(count)};
}

class LinkFragments : public LinkBench {
public:
    void SetUp() override {
        LinkBench::SetUp();
        record(kMessage);
    }

    void send(const Bytes& payload, std::uint8_t kind = kLinkNotification) {
        linkSend(0, {.kind = kind,
                     .length = static_cast<std::uint16_t>(payload.size()),
                     .destination = kDevice,
                     .messageId = kMessage,
                     .payload = payload.data()});
    }

    void piece(std::uint8_t kind, std::uint16_t sequence, const Bytes& payload,
               std::uint16_t messageId = kMessage) {
        receive(kind, messageId, payload, sequence);
    }
};

TEST_F(LinkFragments, AMessageLongerThanThePeerTakesIsCutWithItsSequencesSummed) {
    connect(kDevice, {.maxPayload = 40});
    const Bytes payload = counting(100);
    send(payload, kLinkRequest);
    flush();
    const std::vector<WireFrame> frames = sentWith(kMessage);
    ASSERT_EQ(frames.size(), 3U);
    // The message has sequence 2: its pieces 3 and 4, and the last piece 2 + 3 + 4.
    EXPECT_EQ(frames[0], (WireFrame{kLinkFragment, 3, kHost, kDevice, kMessage, part(payload, 0, 40)}));
    EXPECT_EQ(frames[1], (WireFrame{kLinkFragment, 4, kHost, kDevice, kMessage, part(payload, 40, 40)}));
    EXPECT_EQ(frames[2], (WireFrame{kLinkRequest, 9, kHost, kDevice, kMessage, part(payload, 80, 20)}));
    send(counting(1));
    flush();
    EXPECT_EQ(sent.back().frame.sequence, 3); // the message's own counter went on by one
}

TEST_F(LinkFragments, AMessageOfExactlyThePieceSizeIsNotCut) {
    connect(kDevice, {.maxPayload = 40});
    send(counting(40));
    send(counting(80));
    flush();
    const std::vector<WireFrame> frames = sentWith(kMessage);
    ASSERT_EQ(frames.size(), 3U);
    EXPECT_EQ(frames[0].kind, kLinkNotification);
    EXPECT_EQ(frames[1].kind, kLinkFragment);
    EXPECT_EQ(frames[2].payload.size(), 40U);
}

TEST_F(LinkFragments, APieceHasAtMost500BytesWhateverThePeerTakes) {
    connect(kDevice, {.maxPayload = 2000});
    send(counting(501));
    flush();
    const std::vector<WireFrame> frames = sentWith(kMessage);
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[0].payload.size(), 500U);
    EXPECT_EQ(frames[1].payload.size(), 1U);
}

TEST_F(LinkFragments, AMessageInPiecesArrivesWholeWithItsSequenceRestored) {
    connect();
    const Bytes payload = counting(100);
    for (const int first : {100, 0, 65534, 65535}) { // the sums wrap with 16 bits
        forget();
        const auto sequenceOf = [&](int sum) {
            return static_cast<std::uint16_t>(sum);
        };
        piece(kLinkFragment, sequenceOf(first + 1), part(payload, 0, 40));
        piece(kLinkFragment, sequenceOf(first + 2), part(payload, 40, 40));
        EXPECT_TRUE(delivered.empty());
        piece(kLinkRequest, sequenceOf(first + first + 1 + first + 2), part(payload, 80, 20));
        ASSERT_EQ(delivered.size(), 1U);
        EXPECT_EQ(delivered[0].frame.sequence, sequenceOf(first));
        EXPECT_EQ(delivered[0].frame.kind, kLinkRequest);
        EXPECT_EQ(delivered[0].payload, payload);
    }
}

TEST_F(LinkFragments, WhatOneStackCutsAnotherPutsTogether) {
    for (const std::size_t length : std::initializer_list<std::size_t>{1, 7, 8, 63, 64, 65, 499, 500}) {
        SetUp();
        forget();
        connect(kDevice, {.maxPayload = 7});
        send(counting(length));
        flush();
        const std::vector<WireFrame> frames = sentWith(kMessage);
        forget();
        for (WireFrame frame : frames) {
            std::swap(frame.source, frame.destination);
            feed(frame);
            linkPoll();
        }
        ASSERT_EQ(delivered.size(), 1U) << length;
        EXPECT_EQ(delivered[0].payload, counting(length));
        EXPECT_EQ(delivered[0].frame.sequence, 2);
    }
}

TEST_F(LinkFragments, AResponseInPiecesEndsItsRequest) {
    connect();
    linkSend(kLinkTracked, {.destination = kDevice, .messageId = kMessage});
    flush();
    const std::uint16_t asked = sentWith(kMessage)[0].sequence;
    piece(kLinkFragment, static_cast<std::uint16_t>(asked + 1), counting(300));
    EXPECT_EQ(linkInspect().pendingCount, 1U);
    piece(kLinkResponse, static_cast<std::uint16_t>(asked + asked + 1), counting(100));
    EXPECT_EQ(linkInspect().pendingCount, 0U);
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].payload.size(), 400U);
}

TEST_F(LinkFragments, ALostPieceCostsTheMessageAndTheFrameThatFollows) {
    connect();
    piece(kLinkFragment, 101, counting(40));
    piece(kLinkNotification, 100 + 101 + 102, counting(20)); // piece 102 was lost
    EXPECT_TRUE(delivered.empty());
    piece(kLinkNotification, 200, {1});
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].payload, Bytes{1});
}

TEST_F(LinkFragments, ALastPieceOfAnotherMessageDropsTheBuffer) {
    connect();
    record(0x9001);
    piece(kLinkFragment, 101, counting(40));
    piece(kLinkNotification, 201, counting(20), 0x9001);
    EXPECT_TRUE(delivered.empty());
    piece(kLinkNotification, 201, counting(20));
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].payload.size(), 20U);
}

TEST_F(LinkFragments, AMessageHasTheIdOfItsLastFragment) {
    connect();
    record(0x9001);
    piece(kLinkFragment, 101, counting(40));
    piece(kLinkFragment, 102, counting(40), 0x9001);
    piece(kLinkNotification, 100 + 101 + 102, counting(20)); // not the last piece of 0x9001
    EXPECT_TRUE(delivered.empty());
    piece(kLinkFragment, 101, counting(40));
    piece(kLinkFragment, 102, counting(40), 0x9001);
    piece(kLinkNotification, 100 + 101 + 102, counting(20), 0x9001);
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].frame.messageId, 0x9001);
    EXPECT_EQ(delivered[0].payload.size(), 100U);
}

TEST_F(LinkFragments, APieceThatWouldOverflowDeliversWhatIsBufferedFirst) {
    connect();
    piece(kLinkFragment, 101, counting(300));
    piece(kLinkFragment, 102, counting(201));
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].frame.kind, kLinkFragment);
    EXPECT_EQ(delivered[0].frame.messageId, kMessage);
    EXPECT_EQ(delivered[0].payload, counting(300));
    piece(kLinkNotification, 100 + 101 + 102, {9});
    ASSERT_EQ(delivered.size(), 2U);
    EXPECT_EQ(delivered[1].frame.kind, kLinkNotification);
    EXPECT_EQ(delivered[1].frame.sequence, 100);
    EXPECT_EQ(delivered[1].payload.size(), 202U);
}

TEST_F(LinkFragments, ALastPieceThatWouldOverflowIsDispatchedByItself) {
    connect();
    piece(kLinkFragment, 101, counting(499));
    piece(kLinkNotification, 201, {1, 2});
    ASSERT_EQ(delivered.size(), 2U);
    EXPECT_EQ(delivered[0].frame.kind, kLinkFragment);
    EXPECT_EQ(delivered[0].payload.size(), 499U);
    EXPECT_EQ(delivered[1].frame.kind, kLinkNotification);
    EXPECT_EQ(delivered[1].frame.sequence, 100);
    EXPECT_EQ(delivered[1].payload, (Bytes{1, 2}));
}

TEST_F(LinkFragments, ExactlyFiveHundredBytesArePutTogether) {
    connect();
    piece(kLinkFragment, 101, counting(499));
    piece(kLinkNotification, 201, {1});
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].payload.size(), 500U);
}

TEST_F(LinkFragments, EachPeerHasABufferOfItsOwn) {
    const LinkAddress other{8, 3, 0x1234};
    connect();
    connect(other);
    piece(kLinkFragment, 101, counting(10));
    feed({kLinkFragment, 301, other, kHost, kMessage, counting(20)});
    linkPoll();
    piece(kLinkNotification, 201, counting(1));
    feed({kLinkNotification, 601, other, kHost, kMessage, counting(2)});
    linkPoll();
    ASSERT_EQ(delivered.size(), 2U);
    EXPECT_EQ(delivered[0].payload.size(), 11U);
    EXPECT_EQ(delivered[1].payload.size(), 22U);
}

TEST_F(LinkFragments, FragmentsOfAStrangerAreDropped) {
    piece(kLinkFragment, 101, counting(10));
    piece(kLinkNotification, 201, counting(1));
    ASSERT_EQ(delivered.size(), 1U); // the last piece stands for itself
    EXPECT_EQ(delivered[0].payload.size(), 1U);
}

TEST_F(LinkFragments, AHandlerThatRemovesThePeerInMidMessageIsHarmless) {
    connect();
    linkRegisterMessage(
        0x9001,
        [](const LinkFrame&, void* context) {
            auto* bench = static_cast<LinkFragments*>(context);
            bench->feed({kLinkRequest, 1, {9, 9, 9}, kHost, 13, {7, 3, 0x34, 0x12}});
            bench->tick(2);
        },
        nullptr, this);
    piece(kLinkFragment, 101, counting(400), 0x9001);
    piece(kLinkFragment, 102, counting(400), 0x9001);
    EXPECT_EQ(linkInspect().peerCount, 0U);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
}

TEST_F(LinkFragments, OnePollSendsOneQueuedFrame) {
    connect();
    send({1});
    send({2});
    linkPoll();
    EXPECT_EQ(sent.size(), 1U);
    linkPoll();
    EXPECT_EQ(sent.size(), 2U);
}

TEST_F(LinkFragments, ThePeersFrameRatePacesTheFrames) {
    connect(kDevice, {.frameRate = 100}); // 10 ms
    for (std::uint8_t count = 0; count < 4; ++count) {
        send({count});
    }
    tick(100);
    ASSERT_EQ(sent.size(), 4U);
    for (std::size_t index = 1; index < sent.size(); ++index) {
        EXPECT_EQ(sent[index].tick - sent[index - 1].tick, 10U);
    }
}

TEST_F(LinkFragments, TheIntervalInForceIsThatOfTheFrameSentLast) {
    const LinkAddress slow{8, 3, 1};
    connect(kDevice);
    hello(slow, {.frameRate = 20}); // 50 ms
    tick(60);
    forget();
    linkSend(0, {.kind = 2, .destination = slow, .messageId = kMessage});
    send({1});
    send({2});
    tick(100);
    ASSERT_EQ(sent.size(), 3U);
    EXPECT_EQ(sent[1].tick - sent[0].tick, 50U); // after the slow peer's frame
    EXPECT_EQ(sent[2].tick - sent[1].tick, 1U);
}

TEST_F(LinkFragments, AFullSendQueueDropsTheCopy) {
    connect();
    for (int count = 0; count < 205; ++count) {
        send({static_cast<std::uint8_t>(count)});
    }
    EXPECT_EQ(linkInspect().sendQueueLength, 200U);
    EXPECT_TRUE(errors.empty());
    flush();
    ASSERT_EQ(sent.size(), 200U);
    EXPECT_EQ(sent.back().frame.payload, Bytes{199});
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
}

TEST_F(LinkFragments, ALongestMessageToAPeerThatTakesOneByteIsHarmless) {
    connect();
    hello(kDevice, {.maxPayload = 1});
    send(counting(65535));
    flush();
    EXPECT_EQ(sent.size(), 200U);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
}

} // namespace
