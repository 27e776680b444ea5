// What a new connection of the transport forgets and what it keeps.

#include "LinkBench.h"

namespace {

constexpr std::uint16_t kConnectionMessage = 0x9000;

class LinkConnection : public LinkBench {
public:
    void SetUp() override {
        LinkBench::SetUp();
        record(kConnectionMessage);
        connect();
    }

    static void request(const Bytes& payload) {
        linkSend(kLinkTracked, {.length = static_cast<std::uint16_t>(payload.size()),
                                .destination = kDevice,
                                .messageId = kConnectionMessage,
                                .payload = payload.data()});
    }

    static void notify(std::uint16_t messageId) {
        linkSend(0, {.kind = kLinkNotification, .destination = kDevice, .messageId = messageId});
    }
};

TEST_F(LinkConnection, AFrameThatArrivedInPartIsForgotten) {
    for (const std::size_t arrived : std::initializer_list<std::size_t>{1, 2, 15, 16, 20, 516}) {
        const Bytes frame = encode({2, 1, kDevice, kHost, kConnectionMessage, Bytes(500, 7)});
        feed(Bytes(frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(arrived)));
        linkForgetConnection();
        EXPECT_EQ(linkInspect().poolBlocksInUse, 0U) << arrived;
        hello(kDevice);
        EXPECT_EQ(linkInspect().peerCount, 1U) << "the first frame was lost after " << arrived << " bytes";
    }
    EXPECT_TRUE(errors.empty());
}

TEST_F(LinkConnection, FramesThatWaitAreForgotten) {
    feed({2, 1, kDevice, kHost, kConnectionMessage, {1, 2}});
    notify(0x9001);
    linkForgetConnection();
    EXPECT_EQ(linkInspect().receiveQueueLength, 0U);
    EXPECT_EQ(linkInspect().sendQueueLength, 0U);
    hello(kDevice);
    flush();
    EXPECT_TRUE(delivered.empty());
    EXPECT_TRUE(sentWith(0x9001).empty());
}

TEST_F(LinkConnection, PendingRequestsEndWithoutACallAndTheirLateAnswersFitNoOther) {
    request({1});
    flush();
    const std::uint16_t asked = sentWith(kConnectionMessage).back().sequence;
    linkForgetConnection();
    EXPECT_EQ(linkInspect().pendingCount, 0U);
    EXPECT_EQ(linkInspect().pendingCancelled, 1U);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
    connect();
    request({2});
    flush();
    receive(kLinkResponse, kConnectionMessage, {0}, asked);
    EXPECT_EQ(linkInspect().pendingCount, 1U) << "an old answer has ended a new request";
    EXPECT_TRUE(timedOut.empty());
}

TEST_F(LinkConnection, APeerLogsInAnewHoweverSoonItSaysHello) {
    linkForgetConnection();
    EXPECT_EQ(linkInspect().peerCount, 0U);
    EXPECT_TRUE(logins.empty());
    hello(kDevice);
    EXPECT_EQ(logins, (std::vector<Login>{{0, 0, kDevice}}));
}

TEST_F(LinkConnection, NoPeerOfTheOldOneTimesOutInTheNew) {
    linkForgetConnection();
    tick(4000);
    EXPECT_TRUE(logins.empty());
}

TEST_F(LinkConnection, HalfAMessageOfThePeerIsForgotten) {
    receive(kLinkFragment, kConnectionMessage, {1, 2, 3}, 101);
    linkForgetConnection();
    hello(kDevice);
    receive(kLinkNotification, kConnectionMessage, {4}, 100 + 101);
    ASSERT_EQ(delivered.size(), 1U);
    EXPECT_EQ(delivered[0].payload, Bytes{4});
}

TEST_F(LinkConnection, ThePaceOfTheOldPeerIsForgotten) {
    hello(kDevice, {.frameRate = 1}); // a frame a second
    notify(kConnectionMessage);
    flush();
    linkForgetConnection();
    connect();
    notify(kConnectionMessage);
    tick();
    EXPECT_EQ(sentWith(kConnectionMessage).size(), 1U);
}

TEST_F(LinkConnection, ClockHandlersAndChannelsStay) {
    const std::uint32_t before = linkInspect().tickCount;
    linkForgetConnection();
    EXPECT_EQ(linkInspect().tickCount, before);
    connect();
    receive(kLinkNotification, kConnectionMessage, {1});
    EXPECT_EQ(delivered.size(), 1U);
    EXPECT_EQ(linkOpenChannel(recordSent, this), 2U);
}

TEST_F(LinkConnection, MayBeginInsideALoginCallback) {
    linkInstallLoginCallback(
        [](std::uint8_t from, std::uint8_t type, const LinkAddress& address, void* context) {
            static_cast<LinkConnection*>(context)->logins.push_back({from, type, address});
            linkForgetConnection();
        },
        this);
    tick(4000); // the peer times out
    EXPECT_EQ(logins, (std::vector<Login>{{0, 1, kDevice}}));
    forget();
    hello(kDevice);
    EXPECT_EQ(logins, (std::vector<Login>{{0, 0, kDevice}}));
    EXPECT_EQ(linkInspect().peerCount, 0U);
    EXPECT_TRUE(sentWith(14).empty());
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
}

TEST_F(LinkConnection, MayBeginInsideAHandlerOfARequest) {
    linkRegisterMessage(
        0x9001, [](const LinkFrame&, void*) { linkForgetConnection(); },
        [](const LinkFrame&, void*) { linkForgetConnection(); });
    feed({2, 1, kDevice, kHost, 0x9001, {1, 2}});
    linkPoll();
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
    connect();
    linkSend(kLinkTracked, {.destination = kDevice, .messageId = 0x9001});
    request({1});
    linkSend(kLinkTracked | kLinkCancel, {.destination = kDevice, .messageId = 0x9001});
    EXPECT_EQ(linkInspect().pendingCount, 0U);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
    EXPECT_TRUE(errors.empty());
}

} // namespace
