#include "LinkBench.h"

namespace {

class LinkMessages : public LinkBench {
protected:
    void SetUp() override {
        LinkBench::SetUp();
        connect();
    }

    // The payload with which a query went out.
    Bytes asked(std::uint16_t messageId) {
        flush();
        const std::vector<WireFrame> frames = sentWith(messageId);
        EXPECT_EQ(frames.size(), 1U);
        if (frames.empty()) {
            return {};
        }
        EXPECT_EQ(frames[0].kind, kLinkRequest);
        EXPECT_EQ(frames[0].destination, kDevice);
        EXPECT_EQ(linkInspect().pendingCount, 1U);
        return frames[0].payload;
    }

    static void expectInfo(const LinkInfo& info, std::uint16_t messageId, std::uint16_t length,
                           std::uint8_t status, std::uint8_t kind = kLinkResponse) {
        EXPECT_EQ(info.kind, kind);
        EXPECT_EQ(info.address, kDevice);
        EXPECT_EQ(info.messageId, messageId);
        EXPECT_EQ(info.length, length);
        EXPECT_EQ(info.status, status);
    }
};

TEST_F(LinkMessages, TheNameQueryHasNoPayloadAndItsAnswerGivesTheName) {
    linkQueryName(kDevice);
    EXPECT_EQ(asked(1), Bytes{});
    receive(kLinkResponse, 1, {0, 4, 'M', 'i', 'c', 0, 9, 9});
    ASSERT_EQ(names.size(), 1U);
    expectInfo(names[0].info, 1, 4, 0);
    EXPECT_EQ(names[0].bytes, (Bytes{'M', 'i', 'c', 0}));
}

TEST_F(LinkMessages, ANameLengthPastThePayloadIsCutToThePayload) {
    receive(kLinkResponse, 1, {0, 200, 'M', 'i', 'c'});
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(names[0].bytes, (Bytes{'M', 'i', 'c'}));
    receive(kLinkResponse, 1, {0, 5});
    receive(kLinkResponse, 1, {0});
    ASSERT_EQ(names.size(), 3U);
    EXPECT_EQ(names[1].bytes, std::nullopt);
    EXPECT_EQ(names[2].info.status, 0);
    EXPECT_EQ(names[2].info.length, 0);
}

TEST_F(LinkMessages, AnAnswerWithoutAStatusCountsAsFailed) {
    receive(kLinkResponse, 1, {});
    receive(kLinkResponse, 23, {});
    receive(kLinkResponse, 16, {});
    EXPECT_EQ(names.at(0).info.status, 1);
    EXPECT_EQ(serials.at(0).info.status, 1);
    EXPECT_EQ(versions.at(0).info.status, 1);
}

TEST_F(LinkMessages, AFailingAnswerGivesItsStatusAndNoBytes) {
    receive(kLinkResponse, 1, {5, 3, 'M', 'i', 'c'});
    receive(kLinkResponse, 23, {6, 'S', 'N'});
    receive(kLinkResponse, 16, {7, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2});
    ASSERT_EQ(names.size(), 1U);
    expectInfo(names[0].info, 1, 0, 5);
    EXPECT_EQ(names[0].bytes, std::nullopt);
    expectInfo(serials.at(0).info, 23, 0, 6);
    EXPECT_EQ(serials[0].bytes, std::nullopt);
    expectInfo(versions.at(0).info, 16, 0, 7);
    EXPECT_EQ(versions[0].bytes, std::nullopt);
}

TEST_F(LinkMessages, TheSerialQueryHasOneByte0AndItsAnswerGivesAllBytesAfterTheStatus) {
    linkQuerySerial(kDevice);
    EXPECT_EQ(asked(23), Bytes{0});
    receive(kLinkResponse, 23, {0, 'A', '1', 'B'});
    ASSERT_EQ(serials.size(), 1U);
    expectInfo(serials[0].info, 23, 3, 0);
    EXPECT_EQ(serials[0].bytes, (Bytes{'A', '1', 'B'}));
}

TEST_F(LinkMessages, TheVersionAnswerIsGivenWhole) {
    linkQueryVersion(kDevice);
    EXPECT_EQ(asked(16), Bytes{});
    const Bytes payload{0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 14, 0, 0};
    receive(kLinkResponse, 16, payload);
    ASSERT_EQ(versions.size(), 1U);
    expectInfo(versions[0].info, 16, 13, 0);
    EXPECT_EQ(versions[0].bytes, payload);
}

TEST_F(LinkMessages, AVersionTooShortToHoldItsNumbersComesAsNullBytes) {
    receive(kLinkResponse, 16, Bytes(10));
    receive(kLinkResponse, 16, Bytes(11));
    ASSERT_EQ(versions.size(), 2U);
    EXPECT_EQ(versions[0].bytes, std::nullopt);
    EXPECT_EQ(versions[0].info.length, 0);
    EXPECT_EQ(versions[1].bytes, Bytes(11));
}

TEST_F(LinkMessages, TheHostAnswersANameQueryItself) {
    receive(kLinkRequest, 1, {}, 333);
    flush();
    Bytes payload(22);
    payload[1] = 6;   // 0 status 0, 1 name length
    payload[2] = 'S'; // 2 name
    payload[3] = 'R';
    payload[4] = '-';
    payload[5] = 'P';
    payload[6] = 'C'; // 7 NUL, then zeros
    EXPECT_EQ(sentWith(1), (std::vector<WireFrame>{{kLinkResponse, 333, kHost, kDevice, 1, payload}}));
    EXPECT_TRUE(names.empty());
}

TEST_F(LinkMessages, TheHostAnswersAVersionQuery) {
    receive(kLinkRequest, 16, {}, 334);
    flush();
    const Bytes payload{
        0,                         // 0 status
        1,  0, 0, 0,               // 1 VID 1
        28, 0, 0, 0,               // 5 PID 28
        0,  0, 0, 0, 0, 0, 0, 0, 0 // 9
    };
    EXPECT_EQ(sentWith(16), (std::vector<WireFrame>{{kLinkResponse, 334, kHost, kDevice, 16, payload}}));
    EXPECT_TRUE(versions.empty());
}

TEST_F(LinkMessages, TheHostAcceptsAnAttributeWriteAndIgnoresTheValue) {
    receive(kLinkRequest, 30, {17, 2, 1, 1}, 335);
    receive(kLinkRequest, 30, {}, 336);
    flush();
    EXPECT_EQ(sentWith(30), (std::vector<WireFrame>{{kLinkResponse, 335, kHost, kDevice, 30, {0, 17}}}));
    EXPECT_TRUE(attributes.empty());
}

TEST_F(LinkMessages, OtherRequestsOfTheDeviceGetNoAnswer) {
    for (const std::uint16_t messageId : std::initializer_list<std::uint16_t>{23, 31, 32, 33, 34}) {
        receive(kLinkRequest, messageId, {1, 1, 1});
    }
    flush();
    EXPECT_TRUE(sent.empty());
    EXPECT_TRUE(attributes.empty());
    EXPECT_TRUE(serials.empty());
}

TEST_F(LinkMessages, QueriesToTheHostsOwnAddress) {
    linkQueryName(kHost);
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(names[0].bytes, (Bytes{'S', 'R', '-', 'P', 'C', 0}));
    EXPECT_EQ(names[0].info.address, kHost);
    EXPECT_EQ(names[0].info.status, 0);
    linkQuerySerial(kHost);
    EXPECT_EQ(linkInspect().pendingCount, 0U);
    EXPECT_TRUE(serials.empty());
    EXPECT_TRUE(sent.empty());
}

TEST_F(LinkMessages, SetAttributeSendsIdLengthAndValue) {
    linkSetAttribute(kDevice, 9, 3, Bytes{1, 2, 3}.data());
    EXPECT_EQ(asked(30), (Bytes{9, 3, 1, 2, 3}));
    receive(kLinkResponse, 30, {0, 9});
    ASSERT_EQ(attributes.size(), 1U);
    expectInfo(attributes[0].info, 30, 0, 0);
    EXPECT_EQ(attributes[0].attID, 9);
    EXPECT_EQ(attributes[0].bytes, std::nullopt);
}

TEST_F(LinkMessages, SetAttributeTakes200BytesAndDropsMoreSilently) {
    const Bytes value(255, 0xEE);
    linkSetAttribute(kDevice, 9, 201, value.data());
    linkSetAttribute(kDevice, 9, 255, value.data());
    flush();
    EXPECT_TRUE(sent.empty());
    EXPECT_TRUE(errors.empty());
    EXPECT_TRUE(attributes.empty());
    EXPECT_EQ(linkInspect().pendingCount, 0U);
    linkSetAttribute(kDevice, 9, 200, value.data());
    const Bytes payload = asked(30);
    EXPECT_EQ(payload.size(), 202U);
    EXPECT_EQ(payload[1], 200);
}

TEST_F(LinkMessages, SetAttributeTakesAnEmptyValue) {
    linkSetAttribute(kDevice, 9, 0, nullptr);
    EXPECT_EQ(asked(30), (Bytes{9, 0}));
}

TEST_F(LinkMessages, GetAttributeIsAnsweredWithAValue) {
    linkGetAttribute(kDevice, 9);
    EXPECT_EQ(asked(31), Bytes{9});
    receive(kLinkResponse, 31, {0, 9, 2, 0xAA, 0xBB, 0xCC});
    ASSERT_EQ(attributes.size(), 1U);
    expectInfo(attributes[0].info, 31, 2, 0);
    EXPECT_EQ(attributes[0].attID, 9);
    EXPECT_EQ(attributes[0].bytes, (Bytes{0xAA, 0xBB}));
}

TEST_F(LinkMessages, AFailedReadOrWriteGivesItsStatusWithoutBytes) {
    receive(kLinkResponse, 30, {4, 9});
    receive(kLinkResponse, 31, {5, 9, 2, 1, 1});
    receive(kLinkResponse, 31, {6});
    ASSERT_EQ(attributes.size(), 3U);
    expectInfo(attributes[0].info, 30, 0, 4);
    expectInfo(attributes[1].info, 31, 0, 5);
    EXPECT_EQ(attributes[1].attID, 9);
    EXPECT_EQ(attributes[1].bytes, std::nullopt);
    EXPECT_EQ(attributes[2].attID, 0);
}

TEST_F(LinkMessages, ASingleReadAnswersWithOneAttributeOnly) {
    receive(kLinkResponse, 31, {0, 9, 1, 0xAA, 10, 1, 0xBB});
    ASSERT_EQ(attributes.size(), 1U);
    EXPECT_EQ(attributes[0].attID, 9);
}

TEST_F(LinkMessages, GetAttributesAsksForACountOfIds) {
    linkGetAttributes(kDevice, 3, Bytes{7, 8, 9}.data());
    EXPECT_EQ(asked(33), (Bytes{3, 7, 8, 9}));
}

TEST_F(LinkMessages, GetAttributesWithCount0AsksForAll) {
    linkGetAttributes(kDevice, 0, nullptr);
    EXPECT_EQ(asked(33), Bytes{0});
}

TEST_F(LinkMessages, GetAttributesTakes255Ids) {
    linkGetAttributes(kDevice, 255, Bytes(255, 3).data());
    EXPECT_EQ(asked(33).size(), 256U);
}

TEST_F(LinkMessages, AMultiAttributeAnswerIsOneCallForEachAttribute) {
    receive(kLinkResponse, 33, {0, 7, 1, 0xA1, 8, 0, 9, 2, 0xB1, 0xB2});
    ASSERT_EQ(attributes.size(), 3U);
    expectInfo(attributes[0].info, 33, 1, 0);
    EXPECT_EQ(attributes[0].attID, 7);
    EXPECT_EQ(attributes[0].bytes, Bytes{0xA1});
    EXPECT_EQ(attributes[1].attID, 8);
    EXPECT_EQ(attributes[1].bytes, std::nullopt);
    EXPECT_EQ(attributes[2].attID, 9);
    EXPECT_EQ(attributes[2].bytes, (Bytes{0xB1, 0xB2}));
}

TEST_F(LinkMessages, AMultiAttributeWriteNamesTheFailedIds) {
    receive(kLinkResponse, 32, {3, 7, 8});
    receive(kLinkResponse, 32, {0});
    ASSERT_EQ(attributes.size(), 3U);
    expectInfo(attributes[0].info, 32, 0, 3);
    EXPECT_EQ(attributes[0].attID, 7);
    EXPECT_EQ(attributes[1].attID, 8);
    expectInfo(attributes[2].info, 32, 0, 0);
    EXPECT_EQ(attributes[2].attID, 0);
}

TEST_F(LinkMessages, AFailedOrEmptyMultiReadIsOneCallWithoutAnAttribute) {
    receive(kLinkResponse, 33, {2, 7, 1, 0xA1});
    receive(kLinkResponse, 33, {0});
    ASSERT_EQ(attributes.size(), 2U);
    expectInfo(attributes[0].info, 33, 0, 2);
    EXPECT_EQ(attributes[0].attID, 0);
    expectInfo(attributes[1].info, 33, 0, 0);
}

TEST_F(LinkMessages, AValueThatReachesPastItsPayloadIsDropped) {
    receive(kLinkResponse, 33, {0, 7, 1, 0xA1, 8, 5, 1, 2});
    receive(kLinkResponse, 33, {0, 7, 1, 0xA1, 8});
    receive(kLinkResponse, 31, {0, 7, 2, 0xA1});
    receive(kLinkNotification, 34, {7, 2, 0xA1});
    receive(kLinkNotification, 34, {7});
    receive(kLinkNotification, 34, {});
    ASSERT_EQ(attributes.size(), 2U);
    EXPECT_EQ(attributes[0].bytes, Bytes{0xA1});
    EXPECT_EQ(attributes[1].bytes, Bytes{0xA1});
}

TEST_F(LinkMessages, TheSubscriptionHasOneByte0) {
    linkSubscribe(kDevice);
    EXPECT_EQ(asked(34), Bytes{0});
    receive(kLinkResponse, 34, {0});
    ASSERT_EQ(attributes.size(), 1U);
    expectInfo(attributes[0].info, 34, 0, 0);
    EXPECT_EQ(attributes[0].attID, 0);
}

TEST_F(LinkMessages, ANotificationGivesItsValue) {
    receive(kLinkNotification, 34, {9, 2, 0xAA, 0xBB});
    ASSERT_EQ(attributes.size(), 1U);
    expectInfo(attributes[0].info, 34, 2, 0, kLinkNotification);
    EXPECT_EQ(attributes[0].attID, 9);
    EXPECT_EQ(attributes[0].bytes, (Bytes{0xAA, 0xBB}));
    flush();
    EXPECT_TRUE(sent.empty()); // no answer
}

TEST_F(LinkMessages, Attribute0IsNeverDeliveredWithAValue) {
    receive(kLinkNotification, 34, {0, 1, 0xAA});
    receive(kLinkResponse, 31, {0, 0, 1, 0xAA});
    receive(kLinkResponse, 33, {0, 0, 1, 0xAA, 9, 1, 0xBB});
    ASSERT_EQ(attributes.size(), 1U);
    EXPECT_EQ(attributes[0].attID, 9);
}

TEST_F(LinkMessages, AnUnansweredQueryGivesStatus1AndLength0) {
    linkQueryName(kDevice);
    linkQuerySerial(kDevice);
    linkQueryVersion(kDevice);
    linkSubscribe(kDevice);
    linkSetAttribute(kDevice, 9, 1, Bytes{1}.data());
    linkGetAttribute(kDevice, 10);
    linkGetAttributes(kDevice, 2, Bytes{11, 12}.data());
    linkSend(kLinkTracked,
             {.length = 3, .destination = kDevice, .messageId = 32, .payload = Bytes{13, 1, 5}.data()});
    tick(4100);
    ASSERT_EQ(names.size(), 1U);
    expectInfo(names[0].info, 1, 0, 1, kLinkRequest);
    EXPECT_EQ(names[0].bytes, std::nullopt);
    ASSERT_EQ(serials.size(), 1U);
    expectInfo(serials[0].info, 23, 0, 1, kLinkRequest);
    ASSERT_EQ(versions.size(), 1U);
    expectInfo(versions[0].info, 16, 0, 1, kLinkRequest);
    EXPECT_EQ(versions[0].bytes, std::nullopt);
    ASSERT_EQ(attributes.size(), 5U);
    const std::vector<std::pair<std::uint16_t, std::uint16_t>> expected{
        {34, 0}, {30, 9}, {31, 10}, {33, 0}, {32, 0}};
    for (std::size_t index = 0; index < expected.size(); ++index) {
        expectInfo(attributes[index].info, expected[index].first, 0, 1, kLinkRequest);
        EXPECT_EQ(attributes[index].attID, expected[index].second);
        EXPECT_EQ(attributes[index].bytes, std::nullopt);
    }
}

TEST_F(LinkMessages, NothingIsInstalledAndNothingBreaks) {
    linkInit();
    channel = linkOpenChannel(recordSent, this);
    hello(kDevice);
    for (const std::uint16_t messageId :
         std::initializer_list<std::uint16_t>{1, 13, 14, 16, 23, 30, 31, 32, 33, 34}) {
        for (const std::uint8_t kind : std::initializer_list<std::uint8_t>{0, 1, 2, 3, 15}) {
            receive(kind, messageId, {0, 1, 1, 1});
            receive(kind, messageId, {});
        }
    }
    linkQueryName(kHost);
    EXPECT_EQ(linkOpenChannel(recordSent, this), 2U);
    EXPECT_EQ(linkOpenChannel(recordSent, this), 0U);
    tick(5000);
    EXPECT_EQ(linkInspect().poolBlocksInUse, 0U);
}

} // namespace
