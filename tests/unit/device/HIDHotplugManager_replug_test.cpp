// A device that is pulled off and plugged in again, before and after its peer has timed out.

#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/device/HIDHotplugManagerFixture.h"

TEST_F(HIDHotplugManagerTest, ReplugWithinThePeersTimeOutBringsNoNewQueries) {
    connectDevice(kR2);
    login();
    tick(20);
    answer(1, {0, 3, 'M', 'i', 'x'});
    const std::size_t before = sentWith(1).size();
    scriptedHidapi::unplug("/r2");
    ASSERT_TRUE(await([&] { return !connections.last().isConnected; }));
    connectDevice(kR2);
    login();
    tick(20);
    EXPECT_EQ(sentWith(1).size(), before);
    EXPECT_EQ(manager->getDeviceInfo().value("name"), QVariant("Mix"));
}

TEST_F(HIDHotplugManagerTest, ReplugPastThePeersTimeOutGivesTheOldMapAtOnceAndLosesReads) {
    connectFullyAndUnplug();
    const QVariantMap full{{"dpid", 0x9829u}, {"pid", 0x1234u}, {"vid", 3u},
                           {"name", "Mix"},   {"sn", "SN7"},    {"version", "V2.05"}};
    tick(3300);
    connectDevice(kR2);
    ASSERT_EQ(connections.size(), 1);
    EXPECT_TRUE(connections[0].isConnected);
    EXPECT_EQ(connections[0].info, full);
    manager->messageGet(1);
    tick(4100); // four sends, 1001 ticks apart, and the end of the wait
    EXPECT_TRUE(sentWith(31).empty());
    const std::size_t before = sentFrames().size();
    login();
    tick(1100);
    EXPECT_GT(sentFrames().size(), before) << "the new login sends its queries";
    EXPECT_TRUE(sentWith(31).empty()) << "a read is not made up for";
    EXPECT_TRUE(attributes.empty());
}

TEST_F(HIDHotplugManagerTest, ReadBeforeTheLoginIsRepeatedForADeviceThatLogsInMeanwhile) {
    connectFullyAndUnplug();
    tick(3300);
    connectDevice(kR2);
    manager->messageGet(1);
    tick(20);
    login();
    EXPECT_TRUE(sentWith(31).empty());
    tick(1001);
    EXPECT_EQ(payloadsSentWith(31), (std::vector<Bytes>{{1}}));
}

TEST_F(HIDHotplugManagerTest, ReplugWithinThePeersTimeOutSendsReadsBeforeANewHello) {
    connectFullyAndUnplug();
    connectDevice(kR2);
    ASSERT_EQ(connections.size(), 1);
    EXPECT_EQ(connections[0].info.size(), 6);
    manager->messageGet(1);
    tick(20);
    EXPECT_EQ(payloadsSentWith(31), (std::vector<Bytes>{{1}}));
    answer(31, {0, 1, 1, 1});
    ASSERT_EQ(attributes.size(), 1u);
    EXPECT_EQ(attributes[0].first, 1);
    EXPECT_EQ(attributes[0].second, QVariantList() << 1u);
}

TEST_F(HIDHotplugManagerTest, LostPeerTakesTheLoginPathAgain) {
    connectDevice(kR2);
    login();
    const LogCapture log;
    tick(3300);
    EXPECT_EQ(log.count("用户登录回调 from: 0 type: 1"), 1);
}
