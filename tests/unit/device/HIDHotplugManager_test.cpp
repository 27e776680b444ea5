#include "device/HIDHotplugManager.h"
#include "device/link/LinkInspection.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedHidapi.h"
#include "tests/support/WireFrame.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTimer>

#include <gtest/gtest.h>
#include <memory>

namespace {

using scriptedHidapi::Report;
using wireFrame::Bytes;

const scriptedHidapi::Interface kM40{"/m40", 0x2F05, 0x1396, 0x8C};
const scriptedHidapi::Interface kT40{"/t40", 0x2F05, 0x1397, 0x8C};
const scriptedHidapi::Interface kR2{"/r2", 0x3327, 0x9829, 0x0C};
const scriptedHidapi::Interface kBootloader{"/boot", 0x3327, 0x0820, 0xFF00};
const scriptedHidapi::Interface kKeyboard{"/keyboard", 0x1234, 0x5678, 0x01};

QString dataFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

QStringList logLines(const QString& name) {
    QFile file(QDir(dataFolder()).filePath(name));
    return file.open(QIODevice::ReadOnly)
               ? QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts)
               : QStringList();
}

/// The different warnings and errors so far, sorted.
QStringList troubles(const LogCapture& log) {
    QStringList texts = log.texts(QtWarningMsg) + log.texts(QtCriticalMsg) + log.texts(QtFatalMsg);
    texts.removeDuplicates();
    texts.sort();
    return texts;
}

/// A manager whose scan and tick the test runs itself.
class HIDHotplugManagerTest : public testing::Test {
protected:
    struct Connection {
        QVariantMap info;
        bool isConnected;
    };

    void SetUp() override {
        scriptedHidapi::reset();
        QDir(dataFolder()).removeRecursively();
        make();
    }

    void TearDown() override {
        manager.reset();
        EXPECT_EQ(scriptedHidapi::callsAfterClose(), 0);
        EXPECT_EQ(scriptedHidapi::openHandles(), 0);
    }

    void make() {
        manager = std::make_unique<HIDHotplugManager>();
        timers = manager->findChildren<QTimer*>();
        for (QTimer* timer : timers) {
            timer->stop();
        }
        QObject::connect(manager.get(), &HIDHotplugManager::deviceConnected, manager.get(),
                         [this](const QVariantMap& info, bool is) { connections.append({info, is}); });
        QObject::connect(
            manager.get(), &HIDHotplugManager::messageReceived, manager.get(),
            [this](uint16_t id, const QVariantList& list) { attributes.emplace_back(id, list); });
        QObject::connect(manager.get(), &HIDHotplugManager::priMsgCallback, manager.get(),
                         [this](uint32_t id, uint8_t value) { privates.emplace_back(id, value); });
        QObject::connect(manager.get(), &HIDHotplugManager::upgradeFirmwareSignal, manager.get(),
                         [this] { ++upgradeSignals; });
    }

    void connectDevice(const scriptedHidapi::Interface& interface) {
        scriptedHidapi::plug(interface);
        path = interface.path;
        mixer = interface.productId == 0x9829;
        manager->onScanTimer();
        ASSERT_FALSE(connections.isEmpty());
    }

    /// Delivers a frame in the reports of the model and lets the link process it.
    void receive(const Bytes& frame) {
        const std::size_t chunk = mixer ? 60 : 64;
        for (std::size_t offset = 0; offset < frame.size(); offset += chunk) {
            const std::size_t count = std::min(chunk, frame.size() - offset);
            Report report;
            if (mixer) {
                report = {1, static_cast<std::uint8_t>(count), 0, 0};
            }
            report.insert(report.end(), frame.begin() + static_cast<std::ptrdiff_t>(offset),
                          frame.begin() + static_cast<std::ptrdiff_t>(offset + count));
            const qsizetype before = logLines("hid_data.log").filter("[RX]").size();
            scriptedHidapi::deliver(path, report);
            ASSERT_TRUE(await([&] { return logLines("hid_data.log").filter("[RX]").size() == before + 1; }));
        }
        manager->onTimeout();
    }

    void login(const wireFrame::Address& address = wireFrame::kDevice) { receive(wireFrame::hello(address)); }

    void tick(int count) {
        for (int i = 0; i < count; ++i) {
            manager->onTimeout();
        }
    }

    /// The frames written so far, put together from the reports.
    [[nodiscard]] std::vector<Bytes> sentFrames() const {
        Bytes stream;
        for (const Report& report : scriptedHidapi::written(path)) {
            stream.insert(stream.end(), report.begin() + (mixer ? 2 : 1), report.end());
        }
        std::vector<Bytes> frames;
        for (std::size_t at = 0; at + 17 <= stream.size();) {
            const std::size_t length = 17u + stream[at + 2] + 256u * stream[at + 3];
            frames.emplace_back(stream.begin() + static_cast<std::ptrdiff_t>(at),
                                stream.begin() +
                                    static_cast<std::ptrdiff_t>(std::min(at + length, stream.size())));
            at += length;
        }
        return frames;
    }

    /// The last frame sent with this message id, or nothing.
    [[nodiscard]] Bytes lastSent(std::uint16_t messageId) const {
        Bytes last;
        for (const Bytes& frame : sentFrames()) {
            if (frame[14] + 256 * frame[15] == messageId) {
                last = frame;
            }
        }
        return last;
    }

    /// Answers the last request of this message id.
    void answer(std::uint16_t messageId, const Bytes& payload) {
        const Bytes request = lastSent(messageId);
        ASSERT_FALSE(request.empty()) << "no request of message " << messageId;
        receive(wireFrame::frame(1, static_cast<std::uint16_t>(request[4] + 256 * request[5]),
                                 wireFrame::kDevice, wireFrame::kHost, messageId, payload));
    }

    /// Connects the mixer, lets it log in and say all about itself, and pulls it off.
    void connectFullyAndUnplug() {
        connectDevice(kR2);
        login();
        tick(20);
        answer(1, {0, 3, 'M', 'i', 'x'});
        answer(23, {0, 'S', 'N', '7', 0});
        answer(16, {0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 5});
        scriptedHidapi::unplug(path);
        ASSERT_TRUE(await([&] { return !connections.last().isConnected; }));
        connections.clear();
    }

    void checkMicrophoneReports(const scriptedHidapi::Interface& interface) {
        connectDevice(interface);
        login();
        tick(20);
        const std::size_t before = scriptedHidapi::written(path).size();
        manager->messageSend(10, QByteArray(120, '\x11'));
        tick(1);
        const std::vector<Report> reports = scriptedHidapi::written(path);
        ASSERT_EQ(reports.size(), before + 3);
        EXPECT_EQ(reports[before].size(), 65u);
        EXPECT_EQ(reports[before][0], 0);
        EXPECT_EQ(reports[before][1], 0x55);
        EXPECT_EQ(reports[before + 1].size(), 65u);
        EXPECT_EQ(reports[before + 2].size(), 12u);
    }

    std::unique_ptr<HIDHotplugManager> manager;
    QList<QTimer*> timers;
    std::string path;
    bool mixer = false;
    QList<Connection> connections;
    std::vector<std::pair<std::uint16_t, QVariantList>> attributes;
    std::vector<std::pair<std::uint32_t, std::uint8_t>> privates;
    int upgradeSignals = 0;
};

} // namespace

TEST_F(HIDHotplugManagerTest, ConstructionStartsBothTimersAndLogsZeroIds) {
    const LogCapture log;
    const HIDHotplugManager other;
    const QList<QTimer*> found = other.findChildren<QTimer*>();
    ASSERT_EQ(found.size(), 2);
    EXPECT_EQ(found[0]->interval(), 2000);
    EXPECT_EQ(found[1]->interval(), 1);
    EXPECT_TRUE(found[0]->isActive() && found[1]->isActive());
    EXPECT_FALSE(found[0]->isSingleShot() || found[1]->isSingleShot());
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList({"HIDHotplugManager 单例创建完成，开始监测设备",
                                                  R"(监测设备 VID: "0x0000" PID: "0x0000")"}));
}

TEST_F(HIDHotplugManagerTest, DestructionLogs) {
    const LogCapture log;
    manager.reset();
    EXPECT_EQ(log.count("HIDHotplugManager 单例销毁完成，停止监测设备"), 1);
    make();
}

TEST_F(HIDHotplugManagerTest, PresentDeviceConnectsWithDpidOnlyWithinTheFirstScan) {
    scriptedHidapi::plug(kKeyboard);
    const LogCapture log;
    connectDevice(kR2);
    ASSERT_EQ(connections.size(), 1);
    EXPECT_TRUE(connections[0].isConnected);
    EXPECT_EQ(connections[0].info, QVariantMap({{"dpid", 0x9829u}}));
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList({"设备已在线", "设备在线，尝试连接 FIXED_USAGE: 12",
                                                  " hid_open_path ", "HIDDevice 连接成功: \"/r2\""}));
    EXPECT_EQ(scriptedHidapi::listsOutstanding(), 0);
}

TEST_F(HIDHotplugManagerTest, MicrophonesAreOpenedOnTheirUsagePage) {
    const LogCapture log;
    scriptedHidapi::plug({"/m40-media", 0x2F05, 0x1396, 0x0C});
    connectDevice(kM40);
    EXPECT_EQ(log.count("FIXED_USAGE: 140"), 1);
    EXPECT_EQ(log.count("/m40-media"), 0);
    EXPECT_EQ(connections.last().info.value("dpid"), QVariant(0x1396u));
}

TEST_F(HIDHotplugManagerTest, OnlyTheFirstKnownDeviceOfTheListIsUsedAsLongAsItIsThere) {
    scriptedHidapi::plug(kKeyboard);
    scriptedHidapi::plug(kT40);
    scriptedHidapi::plug(kR2);
    manager->onScanTimer();
    manager->onScanTimer();
    ASSERT_EQ(connections.size(), 1);
    EXPECT_EQ(connections[0].info.value("dpid"), QVariant(0x1397u));
    EXPECT_EQ(scriptedHidapi::openedEver(), 1);

    const LogCapture log;
    scriptedHidapi::unplug("/t40");
    ASSERT_TRUE(await([&] { return connections.size() == 2; }));
    EXPECT_FALSE(connections[1].isConnected);
    manager->onScanTimer();
    ASSERT_EQ(connections.size(), 3);
    EXPECT_TRUE(connections[2].isConnected);
    EXPECT_EQ(connections[2].info.value("dpid"), QVariant(0x9829u));
    EXPECT_EQ(log.count("FIXED_USAGE: 12"), 1);
    EXPECT_EQ(scriptedHidapi::openedEver(), 2);
}

TEST_F(HIDHotplugManagerTest, OpenDeviceIsNotLookedFor) {
    connectDevice(kR2);
    const int before = scriptedHidapi::enumerations();
    manager->onScanTimer();
    EXPECT_EQ(scriptedHidapi::enumerations(), before);
}

TEST_F(HIDHotplugManagerTest, DeviceWithoutTheUsagePageIsRetriedAtEveryScan) {
    scriptedHidapi::plug({"/r2-other", 0x3327, 0x9829, 0x01});
    const LogCapture log;
    manager->onScanTimer();
    manager->onScanTimer();
    EXPECT_TRUE(connections.isEmpty());
    EXPECT_EQ(log.count("设备已在线"), 1);
    EXPECT_EQ(log.count("设备在线，尝试连接"), 2);
    EXPECT_EQ(manager->getDeviceInfo(), QVariantMap({{"dpid", 0x9829u}}))
        << "dpid follows the device, pid and vid only a login";
}

TEST_F(HIDHotplugManagerTest, UnplugReportsFalseWithTheOldValuesAndOfflineAtTheNextScan) {
    connectDevice(kR2);
    login();
    answer(1, {0, 3, 'M', 'i', 'x'});
    answer(23, {0, 'S', 'N', '7', 0});
    answer(16, {0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 5});
    const QVariantMap full = manager->getDeviceInfo();
    const LogCapture log;
    scriptedHidapi::unplug("/r2");
    ASSERT_TRUE(await([&] { return !connections.last().isConnected; }));
    EXPECT_EQ(connections.last().info, full);
    EXPECT_EQ(connections.last().info.value("name"), QVariant("Mix"));
    EXPECT_EQ(log.count("HIDDevice 断开连接: \"/r2\""), 1);
    EXPECT_EQ(log.count("设备已离线"), 0);
    manager->onScanTimer();
    EXPECT_EQ(log.count("设备已离线"), 1);
    EXPECT_EQ(manager->getDeviceInfo(), full);
}

TEST_F(HIDHotplugManagerTest, FirstCloseOfTwoInterfacesStillCountsAsConnected) {
    scriptedHidapi::plug({"/r2b", 0x3327, 0x9829, 0x0C});
    connectDevice(kR2);
    ASSERT_EQ(connections.size(), 2);
    scriptedHidapi::unplug("/r2b");
    ASSERT_TRUE(await([&] { return connections.size() == 3; }));
    EXPECT_TRUE(connections[2].isConnected);
    scriptedHidapi::unplug("/r2");
    ASSERT_TRUE(await([&] { return connections.size() == 4; }));
    EXPECT_FALSE(connections[3].isConnected);
}

TEST_F(HIDHotplugManagerTest, BootloaderAtStartStopsTheManagerAndSignalsTheUpgrade) {
    scriptedHidapi::plug(kBootloader);
    scriptedHidapi::plug(kR2);
    manager->startAndConnectDevice();
    const LogCapture log;
    manager->onScanTimer();
    EXPECT_EQ(upgradeSignals, 1);
    EXPECT_TRUE(connections.isEmpty());
    EXPECT_FALSE(timers[0]->isActive() || timers[1]->isActive());
    EXPECT_EQ(log.texts(QtDebugMsg),
              QStringList("HIDHotplugManager::stopAndDisconnectDevice 停止监测并断开设备"));
    EXPECT_EQ(manager->getDeviceInfo(), QVariantMap());
    EXPECT_EQ(scriptedHidapi::listsOutstanding(), 1) << "the list of this one scan is kept aside";
}

TEST_F(HIDHotplugManagerTest, StopClosesStopsBothTimersAndStartResumesThem) {
    connectDevice(kR2);
    manager->startAndConnectDevice();
    EXPECT_TRUE(timers[0]->isActive() && timers[1]->isActive());
    manager->stopAndDisconnectDevice();
    EXPECT_FALSE(timers[0]->isActive() || timers[1]->isActive());
    ASSERT_EQ(connections.size(), 2);
    EXPECT_FALSE(connections[1].isConnected);
    const int before = scriptedHidapi::enumerations();
    const LogCapture log;
    manager->startAndConnectDevice();
    EXPECT_EQ(log.texts(QtDebugMsg),
              QStringList("HIDHotplugManager::startAndConnectDevice 启动监测并尝试连接设备"));
    EXPECT_TRUE(timers[0]->isActive() && timers[1]->isActive());
    EXPECT_EQ(timers[0]->interval(), 2000);
    EXPECT_EQ(scriptedHidapi::enumerations(), before) << "the next scan comes 2000 ms later";
}

TEST_F(HIDHotplugManagerTest, StartOnARunningManagerChangesNothing) {
    manager->startAndConnectDevice();
    const int idBefore = timers[0]->timerId();
    const int tickBefore = timers[1]->timerId();
    manager->startAndConnectDevice();
    EXPECT_EQ(timers[0]->timerId(), idBefore);
    EXPECT_EQ(timers[1]->timerId(), tickBefore);
}

TEST_F(HIDHotplugManagerTest, TheTickRestsWhileTheLinkIsIdleAndWakesForWork) {
    connectDevice(kR2);
    login();
    for (const std::uint16_t message : std::initializer_list<std::uint16_t>{1, 14, 16, 23, 34}) {
        tick(3);
        answer(message, {0});
    }
    manager->startAndConnectDevice();
    ASSERT_TRUE(await([&] { return timers[1]->interval() > 1; }));
    const std::uint32_t before = linkInspect().tickCount;
    QElapsedTimer clock;
    clock.start();
    EXPECT_TRUE(await([&] { return linkInspect().tickCount >= before + 150; }))
        << "ticks rested are made up for";
    manager->messageGet(10);
    const std::uint32_t passed = linkInspect().tickCount - before;
    EXPECT_EQ(timers[1]->interval(), 1) << "a request wakes the link";
    EXPECT_LE(passed, clock.elapsed() + 60) << "time does not run ahead";
    EXPECT_TRUE(await([&] { return !lastSent(31).empty(); })) << "and it goes out";
}

TEST_F(HIDHotplugManagerTest, MixerReportsCarryIdLengthAndAtMost58Bytes) {
    connectDevice(kR2);
    login();
    tick(20);
    const qsizetype before = static_cast<qsizetype>(scriptedHidapi::written("/r2").size());
    manager->messageSend(10, QByteArray(120, '\x11'));
    tick(1);
    const std::vector<Report> reports = scriptedHidapi::written("/r2");
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

TEST_F(HIDHotplugManagerTest, MicrophoneReportsCarryAZeroAndAtMost64Bytes) {
    for (const scriptedHidapi::Interface& interface : {kM40, kT40}) {
        checkMicrophoneReports(interface);
        scriptedHidapi::unplug(interface.path);
        ASSERT_TRUE(await([&] { return !connections.last().isConnected; }));
        manager->onScanTimer();
    }
}

TEST_F(HIDHotplugManagerTest, LoginSendsFourQueriesAndFillsTheLinkIds) {
    connectDevice(kR2);
    const LogCapture log;
    login();
    tick(20);
    std::vector<int> ids;
    for (const Bytes& frame : sentFrames()) {
        const int id = frame[14] + 256 * frame[15];
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
    login({0, 3, 0x34, 0x12});
    tick(20);
    EXPECT_TRUE(lastSent(1).empty());
    EXPECT_FALSE(manager->getDeviceInfo().contains("pid"));
}

TEST_F(HIDHotplugManagerTest, LoginNoticeFromThePeerChangesNothing) {
    connectDevice(kR2);
    login();
    tick(20);
    const LogCapture log;
    receive(wireFrame::frame(0, 9, wireFrame::kDevice, wireFrame::kHost, 14, {2, 3, 0x34, 0x12}));
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
    EXPECT_EQ(log.count(R"(SN回调，长度: 4 数据: "4131007a" SN: "A1")"), 1);
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
    receive(wireFrame::frame(2, 77, wireFrame::kDevice, wireFrame::kHost, 34, {25, 1, 0xFB}));
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
    receive(wireFrame::frame(2, 77, wireFrame::kDevice, wireFrame::kHost, 34, {0, 1, 3}));
    receive(wireFrame::frame(2, 78, wireFrame::kDevice, wireFrame::kHost, 34, {5, 0}));
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
    const Bytes write = lastSent(30);
    ASSERT_EQ(write.size(), 20u);
    EXPECT_EQ(Bytes(write.begin() + 16, write.begin() + 19), (Bytes{25, 1, 0xFB}));
    EXPECT_EQ(lastSent(31).at(16), 5);
    EXPECT_EQ(lastSent(33).at(16), 0);
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

TEST_F(HIDHotplugManagerTest, PrivateMessagesComeWithTheirFirstByteWhateverTheKind) {
    connectDevice(kR2);
    login();
    receive(wireFrame::frame(2, 5, wireFrame::kDevice, wireFrame::kHost, 0x8002, {17, 3}));
    receive(wireFrame::frame(0, 6, wireFrame::kDevice, wireFrame::kHost, 0x8003, {1}));
    receive(wireFrame::frame(2, 7, wireFrame::kDevice, wireFrame::kHost, 0x8003, {}));
    receive(wireFrame::frame(2, 8, wireFrame::kDevice, wireFrame::kHost, 0x8006, {0xAA}));
    EXPECT_EQ(privates,
              (std::vector<std::pair<std::uint32_t, std::uint8_t>>{{0x8002, 17}, {0x8003, 1}, {0x8003, 0}}));
}

TEST_F(HIDHotplugManagerTest, PrivateMessageIsSentOnceAsANotificationAndLogged) {
    connectDevice(kR2);
    login();
    tick(20);
    manager->sendPriMessage(0x8004, QByteArray("\x01"));
    tick(1);
    const Bytes sent = lastSent(0x8004);
    ASSERT_EQ(sent.size(), 18u);
    EXPECT_EQ(sent[1], 0x12);
    EXPECT_EQ(sent[16], 1);
    const auto count = [this] {
        int found = 0;
        for (const Bytes& frame : sentFrames()) {
            found += frame[14] == 0x04 && frame[15] == 0x80 ? 1 : 0;
        }
        return found;
    };
    tick(2500);
    EXPECT_EQ(count(), 1) << "a notification is not retried";
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
    EXPECT_EQ(lastSent(0x8006).at(1), 0x10);
    const std::size_t before = sentFrames().size();
    tick(1010);
    int again = 0;
    const std::vector<Bytes> frames = sentFrames();
    for (std::size_t i = before; i < frames.size(); ++i) {
        again += frames[i][14] == 0x06 && frames[i][15] == 0x80 ? 1 : 0;
    }
    EXPECT_EQ(again, 1);
}

TEST_F(HIDHotplugManagerTest, PrivateMessageIsLoggedEvenWhileClosed) {
    manager->sendPriMessage(0x8004, QByteArray("\x01"));
    EXPECT_EQ(logLines("hid_attribute.log").size(), 1);
}

TEST_F(HIDHotplugManagerTest, DataLogHoldsEveryReportInUpperCaseHex) {
    connectDevice(kR2);
    login();
    const QStringList lines = logLines("hid_data.log");
    const QRegularExpression form(
        R"(^\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}\] \[(TX|RX)\] ([0-9A-F]{2})+$)");
    ASSERT_FALSE(lines.isEmpty());
    for (const QString& line : lines) {
        EXPECT_TRUE(form.match(line).hasMatch()) << line.toStdString();
    }
    const QString rx = lines.filter("[RX]").first();
    EXPECT_TRUE(rx.contains("] 5512")) << "the four bytes before the frame are gone: " << rx.toStdString();
    tick(5);
    const QStringList tx = logLines("hid_data.log").filter("[TX]");
    ASSERT_FALSE(tx.isEmpty());
    EXPECT_TRUE(tx.first().contains("] 011E5512")) << tx.first().toStdString();
}

TEST_F(HIDHotplugManagerTest, UnwritableLogFolderWarnsAndChangesNothingElse) {
    QDir(dataFolder()).removeRecursively();
    const QFileInfo folder(dataFolder());
    ASSERT_TRUE(QDir().mkpath(folder.path()));
    QFile blocker(dataFolder());
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly)); // a file in the folder's place
    blocker.close();
    const LogCapture log;
    scriptedHidapi::plug(kR2);
    path = "/r2";
    mixer = true;
    manager->onScanTimer();
    Report report{1, 30, 0, 0};
    const Bytes hello = wireFrame::hello();
    report.insert(report.end(), hello.begin(), hello.end());
    scriptedHidapi::deliver("/r2", report);
    ASSERT_TRUE(await([&] { return log.count("无法打开日志文件:") > 0; }));
    tick(20);
    manager->messageSend(1, "\x01");
    QStringList wanted;
    for (const auto& [name, failure] : {std::pair{"hid_attribute.log", "无法打开属性日志文件:"},
                                        std::pair{"hid_data.log", "无法打开日志文件:"}}) {
        QFile file(QDir(dataFolder()).filePath(name));
        ASSERT_FALSE(file.open(QIODevice::WriteOnly | QIODevice::Append));
        wanted += QStringLiteral("%1 \"%2\" 错误: \"%3\"").arg(failure, file.fileName(), file.errorString());
    }
    EXPECT_EQ(troubles(log).join('\n').toStdString(), wanted.join('\n').toStdString());
    EXPECT_EQ(manager->getDeviceInfo().value("vid"), QVariant(3u)) << "the login went through";
    ASSERT_TRUE(QFile::remove(dataFolder()));
}

TEST_F(HIDHotplugManagerTest, FullDiskWarnsAndChangesNothingElse) {
    ASSERT_TRUE(QDir().mkpath(dataFolder()));
    for (const QString& name : {QStringLiteral("hid_data.log"), QStringLiteral("hid_attribute.log")}) {
        ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), QDir(dataFolder()).filePath(name)));
    }
    connectDevice(kR2);
    const LogCapture log;
    Report report{1, 30, 0, 0};
    const Bytes hello = wireFrame::hello();
    report.insert(report.end(), hello.begin(), hello.end());
    scriptedHidapi::deliver("/r2", report);
    ASSERT_TRUE(await([&] { return log.count("写入日志文件失败:") > 0; }));
    tick(20);
    manager->messageSend(1, "\x01");
    // The device that stands for the full disk also cannot be sought, which Qt tells.
    EXPECT_EQ(troubles(log).filter(QStringLiteral("失败")).join('\n').toStdString(),
              "写入属性日志文件失败: \"No space left on device\"\n"
              "写入日志文件失败: \"No space left on device\"");
    EXPECT_EQ(manager->getDeviceInfo().value("vid"), QVariant(3u)) << "the login went through";
}

TEST_F(HIDHotplugManagerTest, ValueOfMoreThan255BytesIsCutToItsSizeModulo256) {
    connectDevice(kR2);
    login();
    tick(20);
    manager->messageSend(10, QByteArray(257, '\x11'));
    tick(1);
    const Bytes write = lastSent(30);
    ASSERT_EQ(write.size(), 20u);
    EXPECT_EQ(Bytes(write.begin() + 16, write.begin() + 19), (Bytes{10, 1, 0x11}));
    manager->messageSend(11, QByteArray(201, '\x22'));
    tick(1);
    EXPECT_EQ(lastSent(30), write) << "201 bytes are dropped";
}

TEST_F(HIDHotplugManagerTest, MixerReportShorterThanItsHeaderCarriesNothing) {
    connectDevice(kR2);
    for (std::size_t size = 1; size < 4; ++size) {
        const qsizetype before = logLines("hid_data.log").filter("[RX]").size();
        scriptedHidapi::deliver("/r2", Report(size, 0x55));
        ASSERT_TRUE(await([&] { return logLines("hid_data.log").filter("[RX]").size() == before + 1; }));
        EXPECT_TRUE(logLines("hid_data.log").last().endsWith("[RX] "));
    }
    login();
    EXPECT_EQ(manager->getDeviceInfo().value("vid"), QVariant(3u));
}

TEST_F(HIDHotplugManagerTest, LinkErrorsAreLogged) {
    connectDevice(kR2);
    Bytes broken = wireFrame::hello();
    broken.back() ^= 1;
    const LogCapture log;
    receive(broken);
    EXPECT_EQ(log.count("错误回调 id: 3 msgid: 0"), 1);
}

TEST_F(HIDHotplugManagerTest, ReplugWithinThePeersTimeOutBringsNoNewQueries) {
    connectDevice(kR2);
    login();
    tick(20);
    const auto queries = [this] {
        int found = 0;
        for (const Bytes& frame : sentFrames()) {
            found += frame[14] == 1 && frame[15] == 0 ? 1 : 0;
        }
        return found;
    };
    answer(1, {0, 3, 'M', 'i', 'x'});
    const int before = queries();
    scriptedHidapi::unplug("/r2");
    ASSERT_TRUE(await([&] { return !connections.last().isConnected; }));
    connectDevice(kR2);
    login();
    tick(20);
    EXPECT_EQ(queries(), before);
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
    EXPECT_TRUE(lastSent(31).empty());
    const std::size_t before = sentFrames().size();
    login();
    tick(1100);
    EXPECT_GT(sentFrames().size(), before) << "the new login sends its queries";
    EXPECT_TRUE(lastSent(31).empty()) << "a read is not made up for";
    EXPECT_TRUE(attributes.empty());
}

TEST_F(HIDHotplugManagerTest, ReadBeforeTheLoginIsRepeatedForADeviceThatLogsInMeanwhile) {
    connectFullyAndUnplug();
    tick(3300);
    connectDevice(kR2);
    manager->messageGet(1);
    tick(20);
    login();
    EXPECT_TRUE(lastSent(31).empty());
    tick(1001);
    ASSERT_FALSE(lastSent(31).empty());
    EXPECT_EQ(lastSent(31).at(16), 1);
}

TEST_F(HIDHotplugManagerTest, ReplugWithinThePeersTimeOutSendsReadsBeforeANewHello) {
    connectFullyAndUnplug();
    connectDevice(kR2);
    ASSERT_EQ(connections.size(), 1);
    EXPECT_EQ(connections[0].info.size(), 6);
    manager->messageGet(1);
    tick(20);
    ASSERT_FALSE(lastSent(31).empty());
    EXPECT_EQ(lastSent(31).at(16), 1);
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

TEST_F(HIDHotplugManagerTest, ByteArrayToVariantListGivesUnsignedNumbers) {
    EXPECT_EQ(manager->byteArrayToVariantList(QByteArray("\x00\x7F\xFB", 3)), QVariantList({0u, 127u, 251u}));
    EXPECT_TRUE(manager->byteArrayToVariantList(QByteArray()).isEmpty());
}

TEST_F(HIDHotplugManagerTest, RealTimersScanAndTick) {
    scriptedHidapi::plug(kR2);
    QElapsedTimer clock;
    clock.start();
    manager->startAndConnectDevice();
    ASSERT_TRUE(await([&] { return !connections.isEmpty(); }, 5000));
    EXPECT_TRUE(connections[0].isConnected);
    // The first scan is due after 2000 ms, 5 % more where the timer is coarse; the rest is for a busy
    // machine.
    EXPECT_LT(clock.elapsed(), 3000);
    ASSERT_TRUE(await([] { return !scriptedHidapi::written("/r2").empty(); }, 5000)) << "no hello went out";
}
