#include "LinkBench.h"
#include "device/link/LinkFrameWriter.h"
#include "device/link/LinkSeed.h"

#include <algorithm>

namespace {

constexpr std::uint16_t kRequestMessage = 0x9000;

class LinkRequests : public LinkBench {
public:
    void SetUp() override {
        LinkBench::SetUp();
        record(kRequestMessage);
        connect();
    }

    int request(const Bytes& payload = {}, std::uint32_t flags = kLinkTracked,
                std::uint16_t messageId = kRequestMessage) {
        return linkSend(flags, {.kind = kLinkRequest,
                                .length = static_cast<std::uint16_t>(payload.size()),
                                .destination = kDevice,
                                .messageId = messageId,
                                .payload = payload.data()});
    }

    // Answers a request as the device would, from `source`.
    void answer(const WireFrame& asked, const LinkAddress& source = kDevice, const Bytes& payload = {0}) {
        feed({kLinkResponse, asked.sequence, source, kHost, asked.messageId, payload});
        linkPoll();
    }

    // Keeps the device a peer while ticks pass.
    void tickConnected(std::uint32_t count) {
        for (std::uint32_t done = 0; done < count; ++done) {
            if (done % 1000 == 0) {
                hello(kDevice);
            }
            tick();
        }
    }
};

TEST_F(LinkRequests, ATrackedRequestGoesOutFourTimesAndThenTimesOut) {
    const std::uint32_t start = linkInspect().tickCount;
    request({1, 2});
    tickConnected(4004);
    EXPECT_TRUE(timedOut.empty());
    tick();
    ASSERT_EQ(timedOut.size(), 1U);
    EXPECT_EQ(timedOut[0].frame.messageId, kRequestMessage);
    EXPECT_EQ(timedOut[0].frame.destination, kDevice);
    EXPECT_EQ(timedOut[0].payload, (Bytes{1, 2}));
    std::vector<std::uint32_t> ticks;
    for (const Sent& one : sent) {
        if (one.frame.messageId == kRequestMessage) {
            ticks.push_back(one.tick - start);
        }
    }
    // A retry is queued by the sweep at the end of a poll and leaves with the next poll.
    EXPECT_EQ(ticks, (std::vector<std::uint32_t>{0, 1002, 2003, 3004}));
    const std::vector<WireFrame> frames = sentWith(kRequestMessage);
    EXPECT_TRUE(
        std::all_of(frames.begin(), frames.end(), [&](const WireFrame& one) { return one == frames[0]; }));
    EXPECT_EQ(linkInspect().pendingCount, 0U);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
    tick(3000);
    EXPECT_EQ(timedOut.size(), 1U);
}

TEST_F(LinkRequests, AnAnswerEndsTheRetries) {
    request();
    tick(1500);
    ASSERT_EQ(sentWith(kRequestMessage).size(), 2U);
    answer(sentWith(kRequestMessage)[0]);
    EXPECT_EQ(linkInspect().pendingCount, 0U);
    EXPECT_EQ(linkInspect().pendingAnswered, linkInspect().pendingStarted);
    tickConnected(5000);
    EXPECT_EQ(sentWith(kRequestMessage).size(), 2U);
    EXPECT_TRUE(timedOut.empty());
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].frame.kind, kLinkResponse);
}

TEST_F(LinkRequests, AResponseFromAWrongAddressDoesNotFreeThePendingEntry) {
    request();
    flush();
    for (const LinkAddress& wrong :
         {LinkAddress{8, 3, 0x1234}, LinkAddress{7, 4, 0x1234}, LinkAddress{7, 3, 0x1235}}) {
        answer(sentWith(kRequestMessage)[0], wrong);
        EXPECT_EQ(linkInspect().pendingCount, 1U);
    }
    answer(sentWith(kRequestMessage)[0]);
    EXPECT_EQ(linkInspect().pendingCount, 0U);
}

TEST_F(LinkRequests, AResponseWithAnotherSequenceOrIdOrKindDoesNotFreeThePendingEntry) {
    request();
    flush();
    const WireFrame asked = sentWith(kRequestMessage)[0];
    WireFrame other = asked;
    ++other.sequence;
    answer(other);
    other = asked;
    ++other.messageId;
    answer(other);
    feed({kLinkNotification, asked.sequence, kDevice, kHost, kRequestMessage, {}});
    linkPoll();
    EXPECT_EQ(linkInspect().pendingCount, 1U);
}

TEST_F(LinkRequests, AnswersTwiceOrOutOfOrderOrLateAreTakenAsTheyCome) {
    request({1});
    request({2});
    flush();
    const std::vector<WireFrame> asked = sentWith(kRequestMessage);
    answer(asked[1], kDevice, {0, 2});
    answer(asked[0], kDevice, {0, 1});
    answer(asked[0], kDevice, {0, 1});
    EXPECT_EQ(linkInspect().pendingCount, 0U);
    ASSERT_EQ(delivered.size(), 3U);
    EXPECT_EQ(delivered[0].payload, (Bytes{0, 2}));
    EXPECT_EQ(delivered[1].payload, (Bytes{0, 1}));
    request({3});
    tickConnected(4010);
    ASSERT_EQ(timedOut.size(), 1U);
    answer(sentWith(kRequestMessage).back()); // late: still delivered, nothing to end
    EXPECT_EQ(delivered.size(), 4U);
    EXPECT_EQ(linkInspect().pendingAnswered + linkInspect().pendingTimedOut, linkInspect().pendingStarted);
}

TEST_F(LinkRequests, SequencesCountUpAndWrapFrom65535To0) {
    std::uint16_t expected = 2; // message 14 had 1
    for (int count = 0; count < 65540; ++count) {
        request({}, 0);
        linkPoll();
        ASSERT_EQ(sent.back().frame.sequence, expected) << count;
        expected = static_cast<std::uint16_t>(expected + 1);
        sent.clear();
    }
    EXPECT_EQ(expected, 6);
}

TEST_F(LinkRequests, AnUntrackedRequestAndAnyNotificationAreNotKept) {
    request({}, 0);
    linkSend(kLinkTracked, {.kind = kLinkNotification, .destination = kDevice, .messageId = kRequestMessage});
    flush();
    EXPECT_EQ(sentWith(kRequestMessage).size(), 2U);
    EXPECT_EQ(linkInspect().pendingCount, 0U);
}

TEST_F(LinkRequests, SourceIsFilledIn) {
    linkSend(0, {.kind = 2, .source = {9, 9, 9}, .destination = kDevice, .messageId = kRequestMessage});
    flush();
    EXPECT_EQ(sentWith(kRequestMessage)[0].source, kHost);
}

TEST_F(LinkRequests, AResponseInADispatchTakesTheSequenceOfItsFrame) {
    linkRegisterMessage(
        0x9001,
        [](const LinkFrame& frame, void*) {
            linkSend(0,
                     {.kind = 1, .sequence = 5, .destination = frame.source, .messageId = frame.messageId});
            linkSend(kLinkKeepSequence,
                     {.kind = 1, .sequence = 6, .destination = frame.source, .messageId = frame.messageId});
            linkSend(0,
                     {.kind = 2, .sequence = 7, .destination = frame.source, .messageId = frame.messageId});
        },
        nullptr);
    receive(kLinkRequest, 0x9001, {}, 4000);
    linkSend(0,
             {.kind = 1, .sequence = 8, .destination = kDevice, .messageId = 0x9001}); // no dispatch running
    flush();
    const std::vector<WireFrame> frames = sentWith(0x9001);
    ASSERT_EQ(frames.size(), 4U);
    EXPECT_EQ(frames[0].sequence, 4000);
    EXPECT_EQ(frames[1].sequence, 6);
    EXPECT_EQ(frames[2].sequence, 2); // of the counter
    EXPECT_EQ(frames[3].sequence, 8);
}

TEST_F(LinkRequests, ANestedPollKeepsTheSequenceOfTheOuterDispatch) {
    linkRegisterMessage(
        0x9001,
        [](const LinkFrame& frame, void* context) {
            auto* bench = static_cast<LinkRequests*>(context);
            if (frame.sequence == 4000) {
                bench->feed({kLinkRequest, 5000, kDevice, kHost, 0x9001, {}});
                bench->tick(3);
            }
            linkSend(0, {.kind = 1, .destination = frame.source, .messageId = frame.messageId});
        },
        nullptr, this);
    receive(kLinkRequest, 0x9001, {}, 4000);
    flush();
    const std::vector<WireFrame> frames = sentWith(0x9001);
    ASSERT_EQ(frames.size(), 2U);
    EXPECT_EQ(frames[0].sequence, 5000);
    EXPECT_EQ(frames[1].sequence, 4000);
}

TEST_F(LinkRequests, WithAllPendingEntriesTakenARequestGoesOutUntracked) {
    for (int count = 0; count < 200; ++count) {
        EXPECT_EQ(request(), 0);
        linkPoll();
    }
    EXPECT_EQ(linkInspect().pendingCount, 200U);
    forget();
    EXPECT_EQ(request({3}), 1);
    flush();
    ASSERT_EQ(sentWith(kRequestMessage).size(), 1U);
    EXPECT_EQ(sentWith(kRequestMessage)[0].payload, Bytes{3});
    EXPECT_EQ(linkInspect().pendingCount, 200U);
    tickConnected(7000);
    EXPECT_EQ(timedOut.size(), 200U);
    EXPECT_TRUE(errors.empty());
}

TEST_F(LinkRequests, CancellingEndsThePendingRequestAndSendsNothing) {
    request({1});
    request({2}, kLinkTracked, 0x9001);
    flush();
    forget();
    EXPECT_EQ(request({9}, kLinkTracked | kLinkCancel), 0);
    flush();
    EXPECT_TRUE(sent.empty());
    ASSERT_EQ(timedOut.size(), 1U);
    EXPECT_EQ(timedOut[0].payload, Bytes{1});
    EXPECT_EQ(linkInspect().pendingCount, 1U);
    EXPECT_EQ(linkInspect().pendingCancelled, 1U);
    request({9}, kLinkTracked | kLinkCancel); // nothing left to cancel
    flush();
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(timedOut.size(), 1U);
}

TEST_F(LinkRequests, CancellingLeavesTheRequestsToOtherPeersAlone) {
    const LinkAddress other{9, 3, 0x1234};
    hello(other);
    linkSend(kLinkTracked, {.destination = other, .messageId = kRequestMessage});
    request({2});
    request({9}, kLinkTracked | kLinkCancel);
    ASSERT_EQ(timedOut.size(), 1U);
    EXPECT_EQ(timedOut[0].frame.destination, kDevice);
}

TEST_F(LinkRequests, ATimeOutHandlerMayAskAgain) {
    linkRegisterMessage(
        0x9001, nullptr,
        [](const LinkFrame& frame, void* context) {
            auto* bench = static_cast<LinkRequests*>(context);
            bench->timedOut.push_back(deliveredOf(frame));
            if (bench->timedOut.size() == 1) {
                linkSend(kLinkTracked, frame);
            }
        },
        this);
    request({5, 6}, kLinkTracked, 0x9001);
    tickConnected(4100);
    EXPECT_EQ(timedOut.size(), 1U);
    EXPECT_EQ(linkInspect().pendingCount, 1U);
    tickConnected(4100);
    ASSERT_EQ(timedOut.size(), 2U);
    EXPECT_EQ(timedOut[1].payload, (Bytes{5, 6}));
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
}

TEST_F(LinkRequests, ALengthWithoutAPayloadIsDropped) {
    EXPECT_EQ(
        linkSend(kLinkTracked, {.length = 4, .destination = kDevice, .messageId = kLinkMessageSetAttribute}),
        0);
    tickConnected(4100);
    EXPECT_TRUE(sentWith(kLinkMessageSetAttribute).empty());
    ASSERT_EQ(attributes.size(), 1U); // timed out, without an attribute to name
    EXPECT_EQ(attributes[0].attID, 0);
}

TEST_F(LinkRequests, ABroadcastIsSentAtOnceOnAllChannels) {
    ASSERT_EQ(linkOpenChannel(recordSent, this), 2U);
    const Bytes payload{1, 2, 3};
    for (const LinkAddress& everybody : {LinkAddress{0, 0, 0}, LinkAddress{9, 0, 0}}) {
        forget();
        linkSend(0, {.kind = 2,
                     .length = 3,
                     .destination = everybody,
                     .messageId = kRequestMessage,
                     .payload = payload.data()});
        ASSERT_EQ(sent.size(), 2U);
        EXPECT_EQ(sent[0].channel, 1U);
        EXPECT_EQ(sent[1].channel, 2U);
        EXPECT_EQ(sent[0].frame.destination, everybody);
    }
}

TEST_F(LinkRequests, ABroadcastAbove500BytesIsError2) {
    const Bytes payload(501);
    linkSend(0, {.kind = 2, .length = 501, .messageId = kRequestMessage, .payload = payload.data()});
    EXPECT_EQ(errors, (std::vector<Error>{{kLinkErrorOutgoingTooLong, kRequestMessage}}));
    EXPECT_TRUE(sent.empty());
}

TEST_F(LinkRequests, SendingOnAChannelRejectsWithItsCodes) {
    using vexo::link::sendOnChannel;
    const Bytes payload(501);
    LinkFrame frame{.kind = 2,
                    .length = 500,
                    .destination = kDevice,
                    .messageId = kRequestMessage,
                    .payload = payload.data()};
    EXPECT_EQ(sendOnChannel(3, frame), 230);
    EXPECT_EQ(sendOnChannel(2, frame), 231);
    EXPECT_EQ(sendOnChannel(0, frame), 231);
    EXPECT_EQ(sendOnChannel(1, frame), 0);
    frame.length = 501;
    EXPECT_EQ(sendOnChannel(1, frame), 235);
    EXPECT_EQ(errors, (std::vector<Error>{{kLinkErrorOutgoingTooLong, kRequestMessage}}));
    frame.length = 1;
    frame.payload = nullptr;
    EXPECT_EQ(sendOnChannel(1, frame), 237);
    EXPECT_EQ(sent.size(), 1U);
}

TEST_F(LinkRequests, WithoutPoolMemorySendingIs241AndError12) {
    for (int count = 0; count < 200; ++count) { // a block each, kept in the receive queue
        feed({2, 1, kDevice, kHost, kRequestMessage, {1}});
    }
    const Bytes payload{1};
    for (int count = 0; count < 5; ++count) { // two blocks each: pending and send queue
        EXPECT_EQ(request(payload), 0);
    }
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(linkInspect().poolBlocksInUse, 210U);
    EXPECT_EQ(vexo::link::sendOnChannel(1, {.kind = 2, .messageId = kRequestMessage}), 241);
    EXPECT_EQ(errors, (std::vector<Error>{{kLinkErrorOutOfMemory, kRequestMessage}}));
    // A tracked request that cannot be kept is not sent.
    EXPECT_EQ(request(payload), 241);
    EXPECT_EQ(linkInspect().pendingCount, 5U);
    EXPECT_EQ(errors.size(), 2U);
    // Neither can a payload be received: error 12 with its message id, and the parser goes on.
    feed({2, 1, kDevice, kHost, 0x9001, {1}});
    EXPECT_EQ(errors.back(), (Error{kLinkErrorOutOfMemory, 0x9001}));
    // All memory is released.
    while (linkInspect().receiveQueueLength > 0) {
        linkPoll();
    }
    EXPECT_EQ(delivered.size(), 200U);
    tickConnected(6000);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
}

TEST_F(LinkRequests, TheHandlerTableTakes256Entries) {
    int taken = 0;
    while (taken < 300 && linkRegisterMessage(0xA000, nullptr, nullptr) == 0) {
        ++taken;
    }
    EXPECT_EQ(taken, 256 - 10 - 1); // ten messages of the stack, one of this test
    EXPECT_EQ(linkRegisterMessage(0xA001, nullptr, nullptr), 1);
}

TEST_F(LinkRequests, OfSeveralHandlersForOneIdTheFirstIsCalled) {
    linkRegisterMessage(kRequestMessage, [](const LinkFrame&, void*) { FAIL(); }, nullptr);
    receive(kLinkNotification, kRequestMessage, {1});
    EXPECT_EQ(delivered.size(), 1U);
}

TEST_F(LinkRequests, AnIdWithoutAHandlerIsDroppedSilently) {
    receive(kLinkRequest, 0xBEEF, {1});
    flush();
    EXPECT_TRUE(sent.empty());
    EXPECT_TRUE(errors.empty());
}

TEST_F(LinkRequests, ABroadcastMessageIsDispatchedTwice) {
    feed({2, 9, kDevice, kEverybody, kRequestMessage, {1, 2}});
    linkPoll();
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].frame.destination, kEverybody);
    linkPoll();
    ASSERT_EQ(delivered.size(), 2U);
    EXPECT_EQ(delivered[1].frame.destination, kHost);
    EXPECT_EQ(delivered[1].payload, (Bytes{1, 2}));
    tick(10);
    EXPECT_EQ(delivered.size(), 2U);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
    EXPECT_TRUE(sent.empty()); // repeated on channel 0 only, which nobody uses
}

TEST_F(LinkRequests, ABroadcastFromTheHostsOwnAddressIsOnlyDispatchedInItsSecondPass) {
    feed({2, 9, kHost, kEverybody, kRequestMessage, {1, 2}});
    linkPoll();
    EXPECT_TRUE(delivered.empty());
    tick(10);
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].frame.destination, kHost);
}

TEST(LinkSeed, IsTheHashOfTheBuildTextsWithTheirFinalNul) {
    // 21 bytes: "Jan  1 2024" NUL "00:00:00" NUL, seed = seed * 131 + byte.
    const std::uint8_t bytes[] = {'J', 'a', 'n', ' ', ' ', '1', ' ', '2', '0', '2', '4',
                                  0,   '0', '0', ':', '0', '0', ':', '0', '0', 0};
    std::uint64_t expected = 0;
    for (const std::uint8_t byte : bytes) {
        expected = (expected * 131 + byte) % 0x100000000;
    }
    EXPECT_EQ(vexo::link::seedOf("Jan  1 2024", "00:00:00"), expected);
}

} // namespace
