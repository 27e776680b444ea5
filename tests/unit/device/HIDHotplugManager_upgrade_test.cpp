// The firmware of a microphone goes over the link, block by block as the device asks for it.

#include "device/HIDDevice.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/device/HIDHotplugManagerFixture.h"

#include <QFile>
#include <QTemporaryDir>

#include <string>

namespace {

using Progress = std::vector<std::pair<int, std::string>>;

constexpr std::uint16_t kUpgrade = 0x8006;
const LinkAddress kOtherDevice{9, 3, 0x1234};

Bytes ramp(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i);
    }
    return bytes;
}

Bytes request(std::uint32_t address, std::uint16_t length, std::uint8_t progress) {
    Bytes data(7);
    wireFrame::writeU16(data, 0, address & 0xFFFF); // 0: address
    wireFrame::writeU16(data, 2, address >> 16);    // 2
    wireFrame::writeU16(data, 4, length);           // 4: length
    data[6] = progress;                             // 6: progress
    return wireFrame::upgradeFrame(0x81, data);
}

Bytes block(std::uint32_t address, std::uint16_t length, const Bytes& bytes) {
    Bytes data = request(address, length, 0);
    data = Bytes(data.begin() + 7, data.end() - 1);
    data.insert(data.end(), bytes.begin(), bytes.end());
    return wireFrame::upgradeFrame(0x81, data);
}

Bytes status(std::uint8_t value) {
    return wireFrame::upgradeFrame(0x80, Bytes{value});
}

Bytes verdict(std::uint8_t value) {
    return wireFrame::upgradeFrame(0x82, Bytes{value});
}

} // namespace

class HIDHotplugManagerUpgradeTest : public HIDHotplugManagerTest {
protected:
    /// A microphone that has logged in, and whose first questions have been answered.
    void connectMicrophone(const scriptedHidapi::Interface& interface = kM40) {
        connectDevice(interface);
        login();
        tick(20);
        answer(1, {0, 3, 'M', '4', '0'});
        answer(23, {0, 'S', 'N', '7', 0});
        answer(16, {0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 5});
        answer(34, {0});
    }

    QString firmware(const Bytes& bytes, const QString& name = "firmware.bin") {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<qint64>(bytes.size()));
        return file.fileName();
    }

    /// The device tells by itself.
    void tell(const Bytes& frame) { receive(fromDevice(2, kUpgrade, frame)); }

    QTemporaryDir folder;
};

TEST_F(HIDHotplugManagerUpgradeTest, AWholeTransferGoesOverTheLinkAsTheDeviceDrivesIt) {
    for (const scriptedHidapi::Interface& interface : {kM40, kT40}) {
        SCOPED_TRACE(interface.path);
        ASSERT_NO_FATAL_FAILURE(connectMicrophone(interface));
        upgradeReports.clear();
        const Bytes image = ramp(96);
        manager->upgradeFirmware(firmware(image));
        tick(1);
        ASSERT_EQ(payloadsSentWith(kUpgrade), std::vector<Bytes>{status(0)});
        EXPECT_EQ(sentWith(kUpgrade)[0].kind, kLinkRequest);

        answer(kUpgrade, status(0));
        tell(request(0, 32, 0));
        answer(kUpgrade, request(32, 32, 50));
        tick(1);
        EXPECT_EQ(payloadsSentWith(kUpgrade),
                  (std::vector<Bytes>{status(0), block(0, 32, Bytes(image.begin() + 32, image.begin() + 64)),
                                      block(32, 32, Bytes(image.begin() + 64, image.end()))}));
        answer(kUpgrade, verdict(0));
        EXPECT_EQ(upgradeReports,
                  (Progress{{0, "可以升级"}, {0, "升级进度:0"}, {50, "升级进度:50"}, {100, "升级成功"}}));

        ASSERT_NO_FATAL_FAILURE(unplug());
        manager->onScanTimer();
    }
}

TEST_F(HIDHotplugManagerUpgradeTest, TheQuestionIsATrackedRequestRetriedThreeTimes) {
    connectMicrophone();
    manager->upgradeFirmware(firmware(ramp(96)));
    tick(1);
    EXPECT_EQ(sentWith(kUpgrade).size(), 1u);
    for (int round = 0; round < 8; ++round) {
        tick(1001);
        login(); // the peer stays known
    }
    EXPECT_EQ(payloadsSentWith(kUpgrade), std::vector<Bytes>(4, status(0)));
    EXPECT_TRUE(upgradeReports.empty()) << "a device that is silent is left to the view";
}

TEST_F(HIDHotplugManagerUpgradeTest, TheNextRequestAsAnAnswerEndsTheRepetitionsOfABlock) {
    connectMicrophone();
    manager->upgradeFirmware(firmware(ramp(200)));
    tick(1);
    answer(kUpgrade, status(0));
    tell(request(0, 10, 0));
    answer(kUpgrade, request(10, 10, 50));
    answer(kUpgrade, verdict(0));
    for (int round = 0; round < 5; ++round) {
        tick(1001);
        login();
    }
    EXPECT_EQ(sentWith(kUpgrade).size(), 3u) << "the question and two blocks, each once";
}

TEST_F(HIDHotplugManagerUpgradeTest, WithoutAnswersToItsBlocksTheTransferGoesOn) {
    connectMicrophone();
    const Bytes image = ramp(200);
    manager->upgradeFirmware(firmware(image));
    tick(1);
    constexpr int kBlocks = 300; // more than the link can track
    for (int i = 0; i < kBlocks; ++i) {
        tell(request(0, 8, static_cast<std::uint8_t>(i / 3)));
        tick(2);
    }
    tell(verdict(0));
    ASSERT_EQ(upgradeReports.size(), kBlocks + 1U);
    EXPECT_EQ(upgradeReports.back(), (std::pair<int, std::string>{100, "升级成功"}));
}

TEST_F(HIDHotplugManagerUpgradeTest, ABlockThatNoFrameHoldsGoesInFragments) {
    connectMicrophone();
    Bytes image(2000);
    for (std::size_t i = 0; i < image.size(); ++i) {
        image[i] = static_cast<std::uint8_t>(i % 251);
    }
    manager->upgradeFirmware(firmware(image));
    tick(1);
    tell(request(0, 487, 0)); // 7 + 6 + 487: the most that one frame holds
    tick(1);
    ASSERT_EQ(sentWith(kUpgrade).size(), 2u);
    EXPECT_EQ(sentWith(kUpgrade)[1].kind, kLinkRequest);
    answer(kUpgrade, request(487, 1000, 40));
    tick(5);
    Bytes whole;
    std::vector<int> kinds;
    for (const WireFrame& frame : sentWith(kUpgrade)) {
        kinds.push_back(frame.kind);
        if (kinds.size() > 2) {
            whole.insert(whole.end(), frame.payload.begin(), frame.payload.end());
        }
    }
    EXPECT_EQ(kinds, (std::vector<int>{0, 0, kLinkFragment, kLinkFragment, 0}));
    EXPECT_EQ(whole, block(487, 1000, Bytes(image.begin() + 519, image.begin() + 1519)));
}

TEST_F(HIDHotplugManagerUpgradeTest, ARequestAtTheEndOfTheFileIsRefusedWithoutAFrame) {
    connectMicrophone();
    manager->upgradeFirmware(firmware(ramp(96)));
    tick(1);
    tell(request(96, 0, 80));
    tick(1);
    EXPECT_EQ(upgradeReports, (Progress{{100, "升级失败"}}));
    EXPECT_EQ(sentWith(kUpgrade).size(), 1u);
}

TEST_F(HIDHotplugManagerUpgradeTest, ARequestBeforeAnyUpgradeIsRefused) {
    connectMicrophone();
    tell(request(0, 1, 0));
    EXPECT_EQ(upgradeReports, (Progress{{100, "升级失败"}}));
}

TEST_F(HIDHotplugManagerUpgradeTest, Result1EmitsTwoSignals) {
    connectMicrophone();
    tell(verdict(1));
    EXPECT_EQ(upgradeReports, (Progress{{100, "升级失败,版本低"}, {100, "升级失败,校验失败"}}));
}

TEST_F(HIDHotplugManagerUpgradeTest, AStrayRequestAfterTheEndIsStillServed) {
    connectMicrophone();
    const Bytes image = ramp(96);
    manager->upgradeFirmware(firmware(image));
    tick(1);
    tell(verdict(0));
    tell(request(0, 4, 12));
    tick(1);
    EXPECT_EQ(upgradeReports, (Progress{{100, "升级成功"}, {12, "升级进度:12"}}));
    EXPECT_EQ(payloadsSentWith(kUpgrade).back(), block(0, 4, {32, 33, 34, 35}));
}

TEST_F(HIDHotplugManagerUpgradeTest, ANewUpgradeServesTheNewFile) {
    connectMicrophone();
    manager->upgradeFirmware(firmware(ramp(96)));
    manager->upgradeFirmware(firmware(Bytes(40, 0xEE), "other.bin"));
    tick(1);
    tell(request(0, 4, 0));
    tick(1);
    EXPECT_EQ(payloadsSentWith(kUpgrade).back(), block(0, 4, Bytes(4, 0xEE)));
}

TEST_F(HIDHotplugManagerUpgradeTest, AFileThatCannotBeReadIsLoggedOnly) {
    connectMicrophone();
    manager->upgradeFirmware(firmware(ramp(96)));
    tick(1);
    const LogCapture log;
    for (const QString& file : {QString(), folder.filePath("nothing"), folder.path()}) {
        manager->upgradeFirmware(file);
    }
    tick(1);
    EXPECT_EQ(log.texts(QtDebugMsg).count("读取文件失败"), 3);
    EXPECT_TRUE(upgradeReports.empty());
    EXPECT_EQ(sentWith(kUpgrade).size(), 1u) << "the device is not asked";
    tell(request(0, 1, 0));
    EXPECT_EQ(upgradeReports.back().first, 0) << "the file before it is still there";
}

TEST_F(HIDHotplugManagerUpgradeTest, EachMessageIsLoggedWhole) {
    connectMicrophone();
    const LogCapture log;
    tell(status(3));
    EXPECT_EQ(log.count(R"(升级进度 0x8006 :  "aa55ab5e80010003"   :::   1  ::  "03")"), 1);
}

TEST_F(HIDHotplugManagerUpgradeTest, TheLogTellsEachStepAndOneBlockInTenPercent) {
    connectMicrophone();
    const LogCapture log;
    manager->upgradeFirmware(firmware(ramp(96)));
    tell(status(0));
    for (int progress = 0; progress < 100; ++progress) {
        tell(request(0, 1, static_cast<std::uint8_t>(progress)));
        tick(1);
    }
    tell(verdict(0));
    QStringList lines = log.texts(QtDebugMsg).filter("固件升级");
    ASSERT_EQ(lines.size(), 2 + 1 + 10 + 2) << lines.join('\n').toStdString();
    EXPECT_EQ(lines[0],
              QString("固件升级开始 型号: \"0x1396\" 文件: \"%1\"").arg(folder.filePath("firmware.bin")));
    EXPECT_TRUE(lines[1].startsWith("固件升级 询问设备 文件大小: 96 CRC:")) << lines[1].toStdString();
    EXPECT_EQ(lines[2], "固件升级 进度: 0 \"可以升级\"");
    EXPECT_EQ(lines[3], "固件升级 进度: 0 \"升级进度:0\"");
    EXPECT_EQ(lines[12], "固件升级 进度: 90 \"升级进度:90\"");
    EXPECT_EQ(lines[13], "固件升级 进度: 100 \"升级成功\"");
    EXPECT_TRUE(lines[14].startsWith("固件升级结束 结果: \"升级成功\" 耗时:")) << lines[14].toStdString();
    EXPECT_EQ(upgradeReports.size(), 102u) << "the view gets every one";
}

TEST_F(HIDHotplugManagerUpgradeTest, MessagesTooShortForACommandAreToldAndChangeNothing) {
    connectMicrophone();
    const LogCapture log;
    for (std::size_t size = 0; size < 7; ++size) {
        tell(Bytes(size, 0x55));
    }
    EXPECT_TRUE(upgradeReports.empty());
    EXPECT_EQ(log.texts(QtWarningMsg).size(), 7);
    EXPECT_EQ(log.count("升级进度 0x8006"), 0);
}

TEST_F(HIDHotplugManagerUpgradeTest, FramesOfOtherPeersAreNotTaken) {
    connectMicrophone();
    receive(wireFrame::hello(kOtherDevice));
    receive(wireFrame::encode({2, 78, kOtherDevice, wireFrame::kHost, kUpgrade, verdict(0)}));
    EXPECT_TRUE(upgradeReports.empty());
}

TEST_F(HIDHotplugManagerUpgradeTest, AVerdictRightBeforeTheLossIsStillTold) {
    connectMicrophone();
    manager->upgradeFirmware(firmware(ramp(96)));
    tick(1);
    for (const Report& report : wireFrame::deviceReports(reportForm, fromDevice(2, kUpgrade, verdict(0)))) {
        ASSERT_NO_FATAL_FAILURE(receiveReport(report));
    }
    ASSERT_NO_FATAL_FAILURE(unplug());
    tick(3);
    EXPECT_EQ(upgradeReports, (Progress{{100, "升级成功"}}));
}

TEST_F(HIDHotplugManagerUpgradeTest, ATransferThatWasCutCanBeStartedAgain) {
    connectMicrophone();
    const QString file = firmware(ramp(96));
    manager->upgradeFirmware(file);
    tick(1);
    tell(request(0, 8, 40));
    ASSERT_NO_FATAL_FAILURE(unplug());
    upgradeReports.clear();
    ASSERT_NO_FATAL_FAILURE(connectMicrophone());
    ASSERT_FALSE(scriptedHidapi::takeWritten(path).empty());
    manager->upgradeFirmware(file);
    tick(1);
    EXPECT_EQ(payloadsSentWith(kUpgrade), std::vector<Bytes>{status(0)});
    answer(kUpgrade, status(0));
    tell(verdict(0));
    EXPECT_EQ(upgradeReports, (Progress{{0, "可以升级"}, {100, "升级成功"}}));
}
