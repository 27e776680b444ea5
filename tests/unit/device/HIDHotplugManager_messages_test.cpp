// What goes over the link to an open device and comes back.

#include "device/HIDDevice.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/device/HIDHotplugManagerFixture.h"

TEST_F(HIDHotplugManagerTest, MixerReportsCarryIdLengthAndAtMost58Bytes) {
    connectDevice(kR2);
    login();
    tick(20);
    const qsizetype before = static_cast<qsizetype>(writtenReports().size());
    manager->messageSend(10, QByteArray(120, '\x11'));
    tick(1);
    const std::vector<Report> reports = writtenReports();
    ASSERT_EQ(static_cast<qsizetype>(reports.size()), before + 3);
    const auto at = static_cast<std::size_t>(before);
    // 16 header, 122 payload, 1 checksum: 139 bytes in 58 + 58 + 23.
    EXPECT_EQ(reports[at].size(), 60u);
    EXPECT_EQ(reports[at][0], 1);
    EXPECT_EQ(reports[at][1], 58);
    EXPECT_EQ(reports[at][2], 0x55);
    EXPECT_EQ(reports[at + 1].size(), 60u);
    EXPECT_EQ(reports[at + 2].size(), 25u);
    EXPECT_EQ(reports[at + 2][1], 23);
}

TEST_F(HIDHotplugManagerTest, FrameThatTheQueueHasNoRoomForIsNotSentInPart) {
    connectDevice(kR2);
    login();
    tick(20);
    auto* const device = manager->findChild<HIDDevice*>();
    const std::size_t before = writtenReports().size();
    scriptedHidapi::holdWrites(true);
    ASSERT_TRUE(device->writeAll("x"));
    ASSERT_TRUE(awaitThread([] { return scriptedHidapi::writesInside() == 1; }));
    for (int count = 0; count < 254; ++count) {
        ASSERT_TRUE(device->writeAll("x"));
    }
    manager->messageSend(10, QByteArray(120, '\x11')); // three reports, and room for two
    tick(1);
    scriptedHidapi::holdWrites(false);
    EXPECT_EQ(writtenReports().size(), before + 255);
}

TEST_F(HIDHotplugManagerTest, MicrophoneReportsCarryAZeroAndAtMost64Bytes) {
    for (const scriptedHidapi::Interface& interface : {kM40, kT40}) {
        connectDevice(interface);
        login();
        tick(20);
        const std::size_t before = writtenReports().size();
        manager->messageSend(10, QByteArray(120, '\x11'));
        tick(1);
        const std::vector<Report> reports = writtenReports();
        ASSERT_EQ(reports.size(), before + 3);
        EXPECT_EQ(reports[before].size(), 65u);
        EXPECT_EQ(reports[before][0], 0);
        EXPECT_EQ(reports[before][1], 0x55);
        EXPECT_EQ(reports[before + 1].size(), 65u);
        EXPECT_EQ(reports[before + 2].size(), 12u);
        scriptedHidapi::unplug(interface.path);
        ASSERT_TRUE(await([&] { return !connections.last().isConnected; }));
        manager->onScanTimer();
    }
}

TEST_F(HIDHotplugManagerTest, MixerReportShorterThanItsHeaderCarriesNothing) {
    connectDevice(kR2);
    for (std::size_t size = 1; size < 4; ++size) {
        ASSERT_NO_FATAL_FAILURE(receiveReport(Report(size, 0x55)));
        EXPECT_TRUE(logLines("hid_data.log").last().endsWith("[RX] "));
    }
    login();
    EXPECT_EQ(manager->getDeviceInfo().value("vid"), QVariant(3u));
}

TEST_F(HIDHotplugManagerTest, LoginSendsFourQueriesAndFillsTheLinkIds) {
    connectDevice(kR2);
    const LogCapture log;
    login();
    tick(20);
    std::vector<int> ids;
    for (const WireFrame& frame : sentFrames()) {
        const int id = frame.messageId;
        if (id == 1 || id == 23 || id == 16 || id == 34) {
            ids.push_back(id);
        }
    }
    EXPECT_EQ(ids, (std::vector<int>{1, 23, 16, 34}));
    EXPECT_EQ(manager->getDeviceInfo(), QVariantMap({{"dpid", 0x9829u}, {"pid", 0x1234u}, {"vid", 3u}}));
    EXPECT_EQ(log.count(R"(用户登录回调 from: 0 type: 0 "VID:0x0003 PID:0x1234 CHID:0x0002")"), 1);
}

TEST_F(HIDHotplugManagerTest, LoginOfAnAddressWithoutChidSendsNoQueries) {
    connectDevice(kR2);
    login({0, 3, 0x1234});
    tick(20);
    EXPECT_TRUE(sentWith(1).empty());
    EXPECT_FALSE(manager->getDeviceInfo().contains("pid"));
}

TEST_F(HIDHotplugManagerTest, LoginNoticeFromThePeerChangesNothing) {
    connectDevice(kR2);
    login();
    tick(20);
    const LogCapture log;
    receive(fromDevice(0, 14, {2, 3, 0x34, 0x12}));
    EXPECT_EQ(log.count("用户登录回调"), 0);
}

TEST_F(HIDHotplugManagerTest, NameSerialAndVersionFillTheMapAndReportEach) {
    connectDevice(kR2);
    login();
    tick(20);
    connections.clear();
    const LogCapture log;
    answer(1, {0, 6, 'M', 'i', 'x', 0, 'x', 'y'});
    answer(23, {0, 'A', '1', 0, 'z'});
    answer(16, {0, 0, 0, 0, 0, 0, 0, 0, 0, 12, 5});
    ASSERT_EQ(connections.size(), 3);
    EXPECT_EQ(connections[0].info.value("name"), QVariant("Mix"));
    EXPECT_EQ(connections[1].info.value("sn"), QVariant("A1"));
    EXPECT_EQ(connections[2].info.value("version"), QVariant("V12.05"));
    EXPECT_TRUE(connections[2].isConnected);
    EXPECT_EQ(log.count(R"(设备名回调，长度: 6 数据: "4d6978007879" 设备名: "Mix")"), 1);
    EXPECT_EQ(log.count("SN回调，长度: 4 数据: *** SN: ***"), 1);
    EXPECT_EQ(log.count(R"(版本回调，长度: 11 版本: "V12.05")"), 1);
}

TEST_F(HIDHotplugManagerTest, EmptyNameAndEmptySerialChangeNothing) {
    connectDevice(kR2);
    login();
    tick(20);
    connections.clear();
    answer(1, {0, 0});
    answer(23, {0, 0, 0});
    EXPECT_TRUE(connections.isEmpty());
    EXPECT_FALSE(manager->getDeviceInfo().contains("name"));
    EXPECT_FALSE(manager->getDeviceInfo().contains("sn"));
}

TEST_F(HIDHotplugManagerTest, UnansweredQueriesChangeNothing) {
    connectDevice(kR2);
    login();
    connections.clear();
    for (int round = 0; round < 6; ++round) {
        tick(1000);
        login(); // the peer stays known
    }
    EXPECT_TRUE(connections.isEmpty());
    EXPECT_TRUE(attributes.empty());
}

TEST_F(HIDHotplugManagerTest, AttributeAnswersAndNotificationsAreReportedAsUnsignedNumbers) {
    connectDevice(kR2);
    login();
    tick(20);
    manager->messageGet(5);
    tick(2);
    const LogCapture log;
    answer(31, {0, 5, 1, 22});
    receive(fromDevice(2, 34, {25, 1, 0xFB}));
    ASSERT_EQ(attributes.size(), 2u);
    EXPECT_EQ(attributes[0].first, 5);
    EXPECT_EQ(attributes[0].second, QVariantList() << 22u);
    EXPECT_EQ(attributes[1].first, 25);
    EXPECT_EQ(attributes[1].second, QVariantList() << 0xFBu);
    EXPECT_EQ(log.count(R"(属性回调  attID: 25 数据: "fb" 转换后数组长度: 1)"), 1);
    const QStringList lines = logLines("hid_attribute.log");
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[1].endsWith("] [属性接收] attID:0x0019 数据:FB")) << lines[1].toStdString();
}

TEST_F(HIDHotplugManagerTest, AttributeZeroAndEmptyValuesAreNotReported) {
    connectDevice(kR2);
    login();
    receive(fromDevice(2, 34, {0, 1, 3}));
    receive(fromDevice(2, 34, {5, 0}));
    EXPECT_TRUE(attributes.empty());
    EXPECT_TRUE(logLines("hid_attribute.log").isEmpty());
}

TEST_F(HIDHotplugManagerTest, OperationsLogAndSendWhileOpen) {
    connectDevice(kR2);
    login();
    tick(20);
    const LogCapture log;
    manager->messageSend(25, QByteArray("\xFB"));
    manager->messageGet(5);
    manager->messageGetAll();
    tick(3);
    EXPECT_EQ(log.texts(QtDebugMsg),
              QStringList({R"(属性发送  attID: 25 数据: "fb")", "属性获取  attID: 5", "获取所有属性"}));
    EXPECT_EQ(payloadsSentWith(30), (std::vector<Bytes>{{25, 1, 0xFB}}));
    EXPECT_EQ(payloadsSentWith(31), (std::vector<Bytes>{{5}}));
    EXPECT_EQ(payloadsSentWith(33), (std::vector<Bytes>{{0}}));
    const QStringList lines = logLines("hid_attribute.log");
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines[0].endsWith("] [属性发送] attID:0x0019 数据:FB")) << lines[0].toStdString();
}

TEST_F(HIDHotplugManagerTest, OperationsWhileClosedDoNothing) {
    const LogCapture log;
    manager->messageSend(1, "\x01");
    manager->messageGet(1);
    manager->messageGetAll();
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_TRUE(logLines("hid_attribute.log").isEmpty());
}

TEST_F(HIDHotplugManagerTest, ValueOfMoreThan255BytesIsCutToItsSizeModulo256) {
    connectDevice(kR2);
    login();
    tick(20);
    manager->messageSend(10, QByteArray(257, '\x11'));
    tick(1);
    EXPECT_EQ(payloadsSentWith(30), (std::vector<Bytes>{{10, 1, 0x11}}));
    manager->messageSend(11, QByteArray(201, '\x22'));
    tick(1);
    EXPECT_EQ(sentWith(30).size(), 1u) << "201 bytes are dropped";
}

TEST_F(HIDHotplugManagerTest, PrivateMessagesComeWithTheirFirstByteWhateverTheKind) {
    connectDevice(kR2);
    login();
    receive(fromDevice(2, 0x8002, {17, 3}));
    receive(fromDevice(0, 0x8003, {1}));
    receive(fromDevice(2, 0x8003, {}));
    receive(fromDevice(2, 0x8006, {0xAA}));
    EXPECT_EQ(privates,
              (std::vector<std::pair<std::uint32_t, std::uint8_t>>{{0x8002, 17}, {0x8003, 1}, {0x8003, 0}}));
}

TEST_F(HIDHotplugManagerTest, PrivateMessageIsSentOnceAsANotificationAndLogged) {
    connectDevice(kR2);
    login();
    tick(20);
    manager->sendPriMessage(0x8004, QByteArray("\x01"));
    tick(1);
    tick(2500);
    const std::vector<WireFrame> sent = sentWith(0x8004);
    ASSERT_EQ(sent.size(), 1u) << "a notification is not retried";
    EXPECT_EQ(sent[0].kind, kLinkNotification);
    EXPECT_EQ(sent[0].payload, Bytes{1});
    const QStringList lines = logLines("hid_attribute.log");
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines[0].endsWith("] [属性发送] attID:0x8004 数据:01")) << lines[0].toStdString();
}

TEST_F(HIDHotplugManagerTest, UpgradeMessageIsATrackedRequest) {
    connectDevice(kR2);
    login();
    tick(20);
    manager->sendPriMessage(0x8006, QByteArray("\xAA\x55", 2));
    tick(1);
    ASSERT_EQ(sentWith(0x8006).size(), 1u);
    EXPECT_EQ(sentWith(0x8006)[0].kind, kLinkRequest);
    tick(1010);
    EXPECT_EQ(sentWith(0x8006).size(), 2u);
}

TEST_F(HIDHotplugManagerTest, LinkErrorsAreLogged) {
    connectDevice(kR2);
    Bytes broken = wireFrame::hello(kDevice);
    broken.back() ^= 1;
    const LogCapture log;
    receive(broken);
    EXPECT_EQ(log.count("错误回调 id: 3 msgid: 0"), 1);
}
