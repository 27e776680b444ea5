#include "LinkBench.h"

#include <set>

namespace {

class LinkPeers : public LinkBench {
public:
    // Ticks until the peer is gone, at most `limit`.
    std::uint32_t ticksUntilLost(std::uint32_t limit) {
        std::uint32_t ticks = 0;
        while (ticks < limit && linkInspect().peerCount > 0) {
            tick();
            ++ticks;
        }
        return ticks;
    }

    // Brings the stack right behind a round of ageing, with nothing connected.
    void alignToAgeing() { tick(52); } // the round comes in the poll at tick 51
};

TEST_F(LinkPeers, TheHostIntroducesItselfWithThisHello) {
    tick(1026);
    ASSERT_EQ(sent.size(), 1U);
    const Bytes expected{
        0x55,                   //  0 magic
        0x12,                   //  1 control: kind 2
        0x0D, 0x00,             //  2 length 13
        0x01, 0x00,             //  4 sequence of the hello counter
        0x01, 0x01, 0x1C, 0x00, //  6 source CHID 1, VID 1, PID 28
        0x00, 0x00, 0x00, 0x00, // 10 destination: broadcast
        0x00, 0x00,             // 14 messageId 0
        0x00,                   // 16 nodeKind
        0xF4, 0x01,             // 17 maxPayload 500
        0x00,                   // 19 hops
        0x01,                   // 20 protocolA
        0x0A,                   // 21 protocolB
        0x01, 0x04, 0x00, 0x00, // 22 upTime 1025
        0x00, 0x00,             // 26 frameRate
        0x24,                   // 28 intervalCode
        0xBC,                   // 29 checksum
    };
    EXPECT_EQ(sent[0].bytes, expected) << hexOf(sent[0].bytes);
}

TEST_F(LinkPeers, AHelloGoesOutOnAllChannelsWhenMoreThan1024TicksHavePassed) {
    ASSERT_EQ(linkOpenChannel(recordSent, this), 2U);
    tick(1025);
    EXPECT_TRUE(sent.empty());
    tick();
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].channel, 1U);
    EXPECT_EQ(sent[1].channel, 2U);
    EXPECT_EQ(sent[0].bytes, sent[1].bytes);
    tick(1024);
    EXPECT_EQ(sent.size(), 2U);
    tick();
    ASSERT_EQ(sent.size(), 4U);
    EXPECT_EQ(sent[2].frame.sequence, 2); // the hello counter
    EXPECT_EQ(sent[2].tick, 2050U);
}

TEST_F(LinkPeers, AFirstHelloMakesAPeerAndLogsIn) {
    hello(kDevice);
    EXPECT_EQ(linkInspect().peerCount, 1U);
    EXPECT_EQ(logins, (std::vector<Login>{{0, 0, kDevice}}));
    flush();
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(sent[0].frame.messageId, 0);
    EXPECT_EQ(sent[0].frame.kind, kLinkNotification);
    EXPECT_EQ(sent[0].frame.destination, kDevice);
    EXPECT_EQ(sent[0].frame.payload.size(), 13U);
    EXPECT_EQ(sent[1].frame, (WireFrame{kLinkRequest, 1, kHost, kDevice, 14, {0x01, 0x01, 0x1C, 0x00}}));
    EXPECT_EQ(linkInspect().pendingCount, 1U); // message 14 is tracked
}

TEST_F(LinkPeers, ThePeerCanBeSentToInsideItsLoginCallback) {
    linkInstallLoginCallback([](std::uint8_t, std::uint8_t, const LinkAddress& address, void*) {
        linkQueryName(address);
        linkQuerySerial(address);
        linkQueryVersion(address);
        linkSubscribe(address);
    });
    hello(kDevice);
    flush();
    std::vector<std::uint16_t> ids;
    ids.reserve(sent.size());
    for (const Sent& one : sent) {
        ids.push_back(one.frame.messageId);
    }
    EXPECT_EQ(ids, (std::vector<std::uint16_t>{0, 1, 23, 16, 34, 14}));
}

TEST_F(LinkPeers, AKnownPeersHelloIsARefreshWithoutALogin) {
    connect();
    hello(kDevice);
    EXPECT_TRUE(logins.empty());
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(linkInspect().peerCount, 1U);
}

TEST_F(LinkPeers, AHelloShorterThanItsRecordIsIgnored) {
    Bytes payload = helloPayload({});
    payload.pop_back();
    feed({2, 1, kDevice, kEverybody, 0, payload});
    feed({2, 1, kDevice, kEverybody, 0, {}});
    linkPoll();
    linkPoll();
    EXPECT_EQ(linkInspect().peerCount, 0U);
    EXPECT_TRUE(logins.empty());
}

TEST_F(LinkPeers, ADirectedHelloRequestIsAnsweredWithItsSequence) {
    feed({kLinkRequest, 4711, kDevice, kHost, 0, helloPayload({})});
    linkPoll();
    ASSERT_GE(sent.size(), 2U);
    EXPECT_EQ(sent[0].frame.kind, kLinkResponse);
    EXPECT_EQ(sent[0].frame.sequence, 4711);
    EXPECT_EQ(sent[0].frame.destination, kDevice);
    EXPECT_EQ(sent[0].frame.payload.size(), 13U);
    EXPECT_EQ(logins, (std::vector<Login>{{0, 0, kDevice}})); // and it registers the sender
}

TEST_F(LinkPeers, ASilentPeerIsLostAfterThreeIntervals) {
    alignToAgeing();
    connect(); // 3072 ms: 62 rounds of 50
    EXPECT_EQ(ticksUntilLost(5000), 62U * 51U);
    EXPECT_EQ(logins, (std::vector<Login>{{0, 1, kDevice}}));
}

TEST_F(LinkPeers, APeerWithoutAProtocolIsLostAfter3000Ms) {
    for (const bool isA : {true, false}) {
        SetUp();
        forget();
        alignToAgeing();
        connect(kDevice, {.protocolA = static_cast<std::uint8_t>(isA ? 0 : 1),
                          .protocolB = static_cast<std::uint8_t>(isA ? 10 : 0)});
        EXPECT_EQ(ticksUntilLost(5000), 60U * 51U);
    }
}

TEST_F(LinkPeers, TheIntervalCodeIsASmallFloat) {
    alignToAgeing();
    connect(kDevice, {.intervalCode = 0x1F}); // 15 << 4 = 240 ms, three times 720: 15 rounds
    EXPECT_EQ(ticksUntilLost(5000), 15U * 51U);
}

TEST_F(LinkPeers, AnIntervalThatFitsNoCounterKeepsThePeer) {
    connect(kDevice, {.intervalCode = 0xFF});
    tick(20000);
    EXPECT_EQ(linkInspect().peerCount, 1U);
}

TEST_F(LinkPeers, AnIntervalOf0LosesThePeerAtTheNextRound) {
    alignToAgeing();
    connect(kDevice, {.intervalCode = 0x20});
    EXPECT_EQ(ticksUntilLost(5000), 51U);
}

TEST_F(LinkPeers, AHelloRaisesTheTimeLeftButNeverLowersIt) {
    alignToAgeing();
    connect();
    hello(kDevice, {.intervalCode = 0x11}); // 48 ms
    EXPECT_EQ(ticksUntilLost(5000), 62U * 51U);
}

TEST_F(LinkPeers, AHelloFromTimeToTimeKeepsThePeer) {
    connect();
    for (int round = 0; round < 20; ++round) {
        tick(1024);
        hello(kDevice);
    }
    EXPECT_EQ(linkInspect().peerCount, 1U);
    EXPECT_TRUE(logins.empty());
}

TEST_F(LinkPeers, RepluggingWithinTheTimeOutBringsNoLogin) {
    connect();
    tick(2500); // unplugged
    hello(kDevice);
    EXPECT_TRUE(logins.empty());
    tick(5000);
    EXPECT_EQ(logins, (std::vector<Login>{{0, 1, kDevice}}));
    hello(kDevice);
    EXPECT_EQ(logins, (std::vector<Login>{{0, 1, kDevice}, {0, 0, kDevice}}));
}

TEST_F(LinkPeers, RequestsToASilentPeerAreSentUntilItIsLostAndThenDropped) {
    connect();
    linkQueryVersion(kDevice);
    flush();
    EXPECT_EQ(sentWith(16).size(), 1U);
    tick(4000);
    EXPECT_EQ(linkInspect().peerCount, 0U);
    forget();
    linkQueryVersion(kDevice);
    flush();
    EXPECT_TRUE(sentWith(16).empty());
}

TEST_F(LinkPeers, AMessageToAnUnknownPeerOrOneThatTakesNothingIsDroppedSilently) {
    const LinkAddress mute{9, 9, 9};
    connect(kDevice);
    hello(mute, {.maxPayload = 0});
    flush();
    forget();
    LinkFrame frame{.kind = kLinkNotification, .destination = {8, 8, 8}, .messageId = 0x8004};
    EXPECT_EQ(linkSend(0, frame), 0);
    frame.destination = mute;
    EXPECT_EQ(linkSend(0, frame), 0);
    flush();
    EXPECT_TRUE(sentWith(0x8004).empty());
    EXPECT_TRUE(errors.empty());
}

TEST_F(LinkPeers, FiftyTwoPeersAreKeptAndTheNextIsError9) {
    for (std::uint16_t index = 0; index < 52; ++index) {
        hello({1, 2, static_cast<std::uint16_t>(100 + index)});
    }
    EXPECT_EQ(linkInspect().peerCount, 52U);
    EXPECT_TRUE(errors.empty());
    hello({1, 2, 999});
    EXPECT_EQ(errors, (std::vector<Error>{{kLinkErrorPeerTableFull, 0}}));
    EXPECT_EQ(linkInspect().peerCount, 52U);
    // A slot that comes free is found in the ring, and every other peer stays where it was.
    receive(kLinkRequest, 13, {1, 2, 110, 0});
    hello({1, 2, 999});
    EXPECT_EQ(linkInspect().peerCount, 52U);
    for (const std::uint16_t pid : std::initializer_list<std::uint16_t>{100, 109, 111, 151, 999}) {
        forget();
        linkSend(0, {.kind = 2, .destination = {1, 2, pid}, .messageId = 0x8004});
        while (linkInspect().sendQueueLength > 0) {
            linkPoll();
        }
        EXPECT_EQ(sentWith(0x8004).size(), 1U) << pid;
    }
}

TEST_F(LinkPeers, APeerHeardOnAnotherChannelMovesThereWhenItsTimeIsUp) {
    ASSERT_EQ(linkOpenChannel(recordSent, this), 2U);
    alignToAgeing();
    connect();
    hello(kDevice, {}, 2);
    forget();
    linkSend(0, {.kind = 2, .destination = kDevice, .messageId = 0x8004});
    flush();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].channel, 1U); // still the old one
    tick(62 * 51);
    EXPECT_EQ(linkInspect().peerCount, 1U);
    EXPECT_TRUE(logins.empty());
    forget();
    linkSend(0, {.kind = 2, .destination = kDevice, .messageId = 0x8004});
    flush();
    EXPECT_EQ(sent[0].channel, 2U);
    // Its time is still 0: without a hello it is lost at the next round.
    EXPECT_EQ(ticksUntilLost(1000), 51U);
}

TEST_F(LinkPeers, AHelloOnTheOldChannelForgetsTheOtherOne) {
    ASSERT_EQ(linkOpenChannel(recordSent, this), 2U);
    alignToAgeing();
    connect();
    hello(kDevice, {}, 2);
    hello(kDevice, {}, 1);
    EXPECT_EQ(ticksUntilLost(5000), 62U * 51U);
}

TEST_F(LinkPeers, AMovedPeersHelloGoesOutAgainWhereItCameInWithTheRecordAdjusted) {
    ASSERT_EQ(linkOpenChannel(recordSent, this), 2U);
    connect();
    hello(kDevice, {.nodeKind = 5, .maxPayload = 900, .hops = 3, .upTime = 1000, .frameRate = 40}, 2);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].channel, 2U);
    EXPECT_EQ(sent[0].frame, (WireFrame{2, 77, kDevice, kEverybody, 0,
                                        helloPayload({.nodeKind = 5,
                                                      .maxPayload = 500,
                                                      .hops = 4,
                                                      .upTime = 1000 + 10 * 1024,
                                                      .frameRate = 40})}));
}

TEST_F(LinkPeers, TheYoungerOfTwoNodesWithOneAddressPicksANewOne) {
    tick(100);
    hello(kHost, {.upTime = 5000});
    const LinkAddress moved = linkInspect().hostAddress;
    EXPECT_NE(moved.chid, 1);
    EXPECT_EQ(moved.vid, 1);
    EXPECT_EQ(moved.pid, 28);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].frame.source, moved);
    EXPECT_EQ(sent[0].frame.destination, kEverybody);
    EXPECT_EQ(linkInspect().peerCount, 0U);
    // The next hello of the other node makes it a peer like any other.
    hello(kHost, {.upTime = 6000});
    EXPECT_EQ(logins, (std::vector<Login>{{0, 0, kHost}}));
}

TEST_F(LinkPeers, TheOlderOfTwoNodesWithOneAddressKeepsIt) {
    tick(100);
    hello(kHost, {.upTime = 100});
    EXPECT_EQ(linkInspect().hostAddress, kHost);
    EXPECT_EQ(linkInspect().peerCount, 0U);
    EXPECT_TRUE(sent.empty());
    EXPECT_TRUE(logins.empty());
}

TEST_F(LinkPeers, ANewIdKeepsAwayFromThePeersIdsAndFromTheOldOne) {
    for (std::uint16_t chid = 2; chid < 54; ++chid) {
        hello({static_cast<std::uint8_t>(chid), 1, 28});
    }
    ASSERT_EQ(linkInspect().peerCount, 52U);
    std::set<std::uint8_t> picked;
    for (int round = 0; round < 2000; ++round) {
        const LinkAddress before = linkInspect().hostAddress;
        feed({2, 1, before, kEverybody, 0, helloPayload({.upTime = 0xFFFFFFF0})});
        linkPoll();
        const LinkAddress after = linkInspect().hostAddress;
        ASSERT_NE(after.chid, before.chid);
        ASSERT_FALSE(after.chid >= 2 && after.chid < 54) << int{after.chid};
        ASSERT_NE(after.chid, 0);
        picked.insert(after.chid);
    }
    EXPECT_GT(picked.size(), 150U);
}

TEST_F(LinkPeers, ALogoutUnlinksThePeerAndCallsTwice) {
    connect();
    receive(kLinkRequest, 13, {7, 3, 0x34, 0x12});
    EXPECT_EQ(logins, (std::vector<Login>{{0, 1, kDevice}, {1, 1, kDevice}}));
    EXPECT_EQ(linkInspect().peerCount, 0U);
}

TEST_F(LinkPeers, ALogoutOfAnUnknownAddressCallsOnce) {
    connect();
    receive(kLinkRequest, 13, {9, 9, 9, 0});
    EXPECT_EQ(logins, (std::vector<Login>{{1, 1, {9, 9, 9}}}));
    EXPECT_EQ(linkInspect().peerCount, 1U);
}

TEST_F(LinkPeers, ALoginNoticeIsToldAndAnswered) {
    connect();
    receive(kLinkRequest, 14, {7, 3, 0x34, 0x12}, 321);
    flush();
    EXPECT_EQ(logins, (std::vector<Login>{{1, 0, kDevice}}));
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].frame, (WireFrame{kLinkResponse, 321, kHost, kDevice, 14, {0}}));
}

TEST_F(LinkPeers, LoginMessagesWithoutAWholeAddressAreIgnored) {
    connect();
    receive(kLinkRequest, 13, {7, 3, 0x34});
    receive(kLinkRequest, 14, {7, 3, 0x34});
    receive(kLinkNotification, 13, {7, 3, 0x34, 0x12});
    flush();
    EXPECT_TRUE(logins.empty());
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(linkInspect().peerCount, 1U);
}

TEST_F(LinkPeers, APollInsideALoginCallbackDoesNotRemoveThePeerTwice) {
    connect();
    linkInstallLoginCallback(
        [](std::uint8_t from, std::uint8_t type, const LinkAddress& address, void* context) {
            auto* bench = static_cast<LinkPeers*>(context);
            bench->logins.push_back({from, type, address});
            if (bench->logins.size() < 3) {
                bench->feed({kLinkRequest, 1, kDevice, kHost, 13, {7, 3, 0x34, 0x12}});
                bench->tick(200); // a nested event loop, ageing included
            }
        },
        this);
    tick(5000);
    EXPECT_EQ(linkInspect().peerCount, 0U);
    EXPECT_EQ(logins, (std::vector<Login>{{0, 1, kDevice}, {1, 1, kDevice}, {1, 1, kDevice}}));
}

TEST_F(LinkPeers, AFrameForAnotherPeerIsForwardedOnItsChannel) {
    ASSERT_EQ(linkOpenChannel(recordSent, this), 2U);
    const LinkAddress far{4, 4, 4};
    connect();
    hello(far, {}, 2);
    flush();
    forget();
    const WireFrame frame{2, 55, kDevice, far, 0x8002, {1, 2, 3}};
    feed(frame);
    linkPoll();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].channel, 2U);
    EXPECT_EQ(sent[0].frame, frame);
    feed({2, 55, kDevice, {6, 6, 6}, 0x8002, {1}});
    linkPoll();
    EXPECT_EQ(sent.size(), 1U);
}

TEST_F(LinkPeers, TwoChannelsCanBeOpenedAndTheThirdIsError7) {
    EXPECT_EQ(linkOpenChannel(recordSent, this), 2U);
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(linkOpenChannel(recordSent, this), 0U);
    EXPECT_EQ(errors, (std::vector<Error>{{kLinkErrorNoChannel, 0}}));
}

TEST_F(LinkPeers, InitClearsEverything) {
    connect();
    linkSetAttribute(kDevice, 1, 1, Bytes{1}.data());
    feed({2, 1, kDevice, kHost, 0x8002, {1}});
    tick(10);
    linkQueryName(kDevice);
    linkInit();
    const LinkInspection seen = linkInspect();
    EXPECT_EQ(seen.hostAddress, kHost);
    EXPECT_EQ(seen.tickCount, 0U);
    EXPECT_EQ(seen.peerCount, 0U);
    EXPECT_EQ(seen.pendingCount, 0U);
    EXPECT_EQ(seen.receiveQueueLength, 0U);
    EXPECT_EQ(seen.sendQueueLength, 0U);
    EXPECT_EQ(seen.poolBlocksInUse, 0U);
    EXPECT_EQ(linkOpenChannel(recordSent, this), 1U);
}

} // namespace
