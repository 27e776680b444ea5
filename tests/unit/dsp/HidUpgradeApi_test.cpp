#include "dsp/HidUpgradeApi.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/dsp/ScriptedLoader.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using Steps = std::vector<std::pair<int, std::string>>;
constexpr UpgradeWaits kShort{.handshakeMs = 1,
                              .eraseMs = 1,
                              .packetMs = 0,
                              .lengthMs = 1,
                              .finishMs = 1,
                              .closeMs = 1,
                              .probePauseMs = 1,
                              .jumpPauseMs = 1,
                              .jumpLimitMs = 20};

QByteArray ramp(qsizetype count) {
    QByteArray bytes(count, Qt::Uninitialized);
    for (qsizetype i = 0; i < count; ++i) {
        bytes[i] = static_cast<char>(i);
    }
    return bytes;
}

class HidUpgrade : public testing::Test {
protected:
    HidUpgrade() {
        hidProtocol::instance().closeDevice();
        scriptedHidapi::reset();
        plugDevice(true);
    }
    ~HidUpgrade() override {
        EXPECT_FALSE(hidProtocol::instance().isOpen());
        EXPECT_EQ(scriptedHidapi::openHandles(), 0);
        EXPECT_EQ(scriptedHidapi::callsAfterClose(), 0);
        EXPECT_EQ(scriptedHidapi::listsOutstanding(), 0);
    }

    void plugDevice(bool inBootloader) { loader = std::make_unique<ScriptedLoader>(inBootloader); }
    QString file(const QByteArray& bytes) {
        QFile stored(folder.filePath("image.bin"));
        EXPECT_TRUE(stored.open(QIODevice::WriteOnly));
        stored.write(bytes);
        return stored.fileName();
    }
    int run(const QString& path, const UpgradeWaits& waits = kShort) {
        HidUpgradeApi api(waits);
        steps.clear();
        api.setProgressCallback([this](int value, const QString& text) {
            steps.emplace_back(value, text.toStdString());
            if (onStep) {
                onStep(value);
            }
        });
        const int result = api.upgrade(path, ScriptedLoader::kVendor, ScriptedLoader::kBoot);
        error = api.lastErrorText().toStdString();
        EXPECT_EQ(error.empty(), result == 0);
        EXPECT_TRUE(std::ranges::is_sorted(steps, {}, &std::pair<int, std::string>::first));
        return result;
    }
    int run(qsizetype bytes) { return run(file(ramp(bytes))); }
    int last() const { return steps.empty() ? -1 : steps.back().first; }

    QTemporaryDir folder;
    std::unique_ptr<ScriptedLoader> loader;
    std::function<void(int)> onStep;
    Steps steps;
    std::string error;
};

TEST_F(HidUpgrade, ProgressFromTheNormalIdentityIsExactly) {
    plugDevice(false);
    EXPECT_EQ(run(57), 0);
    const Steps wanted{{0, "开始HID升级..."},
                       {5, "发现设备 PID: 0x9829"},
                       {12, "尝试切换至FlashBoot模式"},
                       {14, "FlashBoot 版本: 01-02-0A"},
                       {18, "已发送跳转命令，等待设备重启"},
                       {20, "设备已进入FlashBoot模式"},
                       {35, "固件加载完成: 大小=0x39, CRC=0x3520"},
                       {40, "打开FlashBoot HID设备"},
                       {45, "设备已打开，准备握手"},
                       {55, "握手成功，擦除Flash"},
                       {70, "刷写固件数据"},
                       {70, "发送数据包 1/2"},
                       {75, "发送数据包 2/2"},
                       {85, "确认数据长度"},
                       {95, "完成升级"},
                       {100, "升级成功"}};
    EXPECT_EQ(steps, wanted);
    EXPECT_EQ(loader->commands, (std::vector<std::string>{"cm_vsrc", "cm_rest", "cm_vcrc", "cm_code",
                                                          "packet", "packet", "cm_upgd", "cm_fnsh"}));
}

TEST_F(HidUpgrade, ADeviceOnTheBootIdentitySkipsTheVersionAndTheRestart) {
    EXPECT_EQ(run(56), 0);
    ASSERT_GE(steps.size(), 4U);
    EXPECT_EQ(steps[1], (std::pair<int, std::string>{5, "发现设备 PID: 0x0820"}));
    EXPECT_EQ(steps[2], (std::pair<int, std::string>{15, "设备已在FlashBoot模式"}));
    EXPECT_EQ(steps[3], (std::pair<int, std::string>{35, "固件加载完成: 大小=0x38, CRC=0x1a31"}));
    EXPECT_EQ(loader->commands,
              (std::vector<std::string>{"cm_vcrc", "cm_code", "packet", "cm_upgd", "cm_fnsh"}));
}

TEST_F(HidUpgrade, PacketProgressGoesFrom70To79) {
    EXPECT_EQ(run(560), 0);
    std::vector<int> values;
    for (const auto& [value, text] : steps) {
        values.push_back(value);
    }
    EXPECT_EQ(values, (std::vector<int>{0,  5,  15, 35, 40, 45, 55, 70, 70, 71, 72,
                                        73, 74, 75, 76, 77, 78, 79, 85, 95, 100}));
}

TEST_F(HidUpgrade, TheFlashHoldsTheImageAndZerosBehindIt) {
    for (const qsizetype size : {1, 55, 56, 57, 168, 5000}) {
        ASSERT_EQ(run(size), 0);
        QByteArray wanted = ramp(size);
        wanted.resize((size + 55) / 56 * 56, '\0');
        EXPECT_TRUE(
            std::ranges::equal(loader->flash, wanted, {}, {}, [](char byte) { return std::uint8_t(byte); }));
    }
}

TEST_F(HidUpgrade, FilesOutsideTheLimitsAreRefused) {
    for (const qsizetype size : {0, 0x100001}) {
        EXPECT_EQ(run(size), 3);
        EXPECT_EQ(error, "固件文件大小异常: " + std::to_string(size) + " Bytes");
        EXPECT_EQ(last(), 15);
    }
    EXPECT_TRUE(loader->commands.empty());
}

TEST_F(HidUpgrade, AFileThatCannotBeOpenedIsRefusedByName) {
    for (const QString& path : {folder.filePath("%1 missing \n.bin"), folder.path(), QString()}) {
        EXPECT_EQ(run(path), 3);
        EXPECT_EQ(error, "无法打开固件文件: " + path.toStdString());
        EXPECT_EQ(last(), 15);
    }
}

TEST_F(HidUpgrade, WithoutADeviceTheProbeTriesTenTimes) {
    loader->pullOut();
    const HidUpgradeApi api(kShort);
    EXPECT_FALSE(api.deviceExists(ScriptedLoader::kVendor));
    EXPECT_EQ(scriptedHidapi::enumerations(), 10);
    EXPECT_EQ(run(56), 2);
    EXPECT_EQ(scriptedHidapi::enumerations(), 20);
    EXPECT_EQ(error, "未找到指定VID的HID设备");
    EXPECT_EQ(last(), 0);
}

TEST_F(HidUpgrade, ADeviceThatIsThereIsFoundAtTheFirstTry) {
    EXPECT_TRUE(HidUpgradeApi(kShort).deviceExists(ScriptedLoader::kVendor));
    EXPECT_EQ(scriptedHidapi::enumerations(), 1);
}

TEST_F(HidUpgrade, ADeviceThatCannotBeOpenedFails) {
    scriptedHidapi::failOpen(ScriptedLoader::kBootPath, true, L"broken");
    EXPECT_EQ(run(56), 2);
    EXPECT_EQ(error, "打开FlashBoot HID设备失败");
    EXPECT_EQ(last(), 40);
    plugDevice(false);
    scriptedHidapi::failOpen(ScriptedLoader::kNormalPath, true, L"broken");
    EXPECT_EQ(run(56), 4);
    EXPECT_EQ(error, "打开SDK HID设备失败");
    EXPECT_EQ(last(), 12);
}

TEST_F(HidUpgrade, AVersionAllAbove254MeansNoLoader) {
    struct Row {
        scriptedHidapi::Report version;
        int result;
    };
    const Row rows[] = {
        {{0xFF, 0xFF, 0xFF}, 4}, {{0xFE, 0xFF, 0xFF}, 0}, {{0xFF, 0xFE, 0xFF}, 0}, {{0xFF, 0xFF, 0xFE}, 0}};
    for (const Row& row : rows) {
        plugDevice(false);
        scriptedHidapi::Report reply{1, 12, 0, 'c', 'm', '_', 'v', 's', 'r', 'c'};
        reply.insert(reply.end(), row.version.begin(), row.version.end());
        loader->replies["cm_vsrc"] = {reply};
        EXPECT_EQ(run(56), row.result);
        EXPECT_EQ(error, row.result == 0 ? "" : "设备不存在FlashBoot");
    }
}

TEST_F(HidUpgrade, AMissingOrWrongReplyFailsItsStep) {
    struct Row {
        const char* command;
        const char* error;
        int result, last;
        bool wrongReplyFails;
    };
    const Row rows[] = {{"cm_vsrc", "设备不存在FlashBoot", 4, 12, true},
                        {"cm_vcrc", "握手失败，错误ID[2-0]", 1, 45, true},
                        {"cm_code", "擦除失败，错误ID[3-2]", 1, 55, true},
                        {"cm_upgd", "升级确认失败，错误ID[4-1]", 1, 85, false}};
    for (const Row& row : rows) {
        plugDevice(false);
        loader->replies[row.command] = {};
        EXPECT_EQ(run(56), row.result) << row.command;
        EXPECT_EQ(error, row.error);
        EXPECT_EQ(last(), row.last);
        plugDevice(false);
        loader->replies[row.command] = {{1, 4, 0, 'c', 'm', '_'}};
        EXPECT_EQ(run(56), row.wrongReplyFails ? row.result : 0) << row.command;
        plugDevice(false);
        EXPECT_EQ(run(56), 0) << "a second attempt";
    }
}

TEST_F(HidUpgrade, AWrongEchoIsLoggedWithItsBytes) {
    loader->replies["cm_vcrc"] = {{1, 4, 0, 'c', 'm', 0x0A}};
    const LogCapture log;
    EXPECT_EQ(run(56), 1);
    EXPECT_EQ(log.count("命令应答不匹配, 期望: cm_vcrc 实际: \"00 63 6d 0a\""), 1);
    EXPECT_EQ(log.texts(QtWarningMsg).size(), 2);
}

TEST_F(HidUpgrade, RepliesThatArriveTwiceOrEarlyDoNotAnswerTheNextCommand) {
    const scriptedHidapi::Report handshake{1, 9, 0, 'c', 'm', '_', 'v', 'c', 'r', 'c'};
    const scriptedHidapi::Report erase{1, 9, 0, 'c', 'm', '_', 'c', 'o', 'd', 'e'};
    loader->replies["cm_vcrc"] = {handshake, handshake, erase};
    loader->replies["cm_code"] = {};
    EXPECT_EQ(run(56), 1);
    EXPECT_EQ(error, "擦除失败，错误ID[3-2]");
    loader->replies["cm_code"] = {erase, erase};
    EXPECT_EQ(run(56), 0);
}

TEST_F(HidUpgrade, ARefusedPacketNamesItsNumber) {
    for (const int packet : {1, 2, 3}) {
        plugDevice(true);
        loader->after = [packet](std::size_t index) {
            scriptedHidapi::failWrite(ScriptedLoader::kBootPath, index == static_cast<std::size_t>(packet));
        };
        EXPECT_EQ(run(168), 1);
        EXPECT_EQ(error, "发送固件数据失败 (包" + std::to_string(packet) + "/3)");
        scriptedHidapi::failWrite(ScriptedLoader::kBootPath, false);
    }
}

TEST_F(HidUpgrade, AFailedFinishIsLoggedAndTheResultIs0) {
    loader->after = [this](std::size_t) {
        scriptedHidapi::failWrite(ScriptedLoader::kBootPath, loader->commands.back() == "cm_upgd");
    };
    const LogCapture log;
    EXPECT_EQ(run(56), 0);
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList{"HidUpgradeApi: 完成命令发送失败"});
}

TEST_F(HidUpgrade, ADeviceThatDoesNotJumpIsGivenUp) {
    plugDevice(false);
    loader->jumps = false;
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_EQ(run(56), 4);
    EXPECT_GE(elapsed.elapsed(), kShort.jumpLimitMs);
    EXPECT_EQ(error, "SDK跳转到FlashBoot失败");
    EXPECT_EQ(last(), 18);
}

TEST_F(HidUpgrade, AFailedRestartIsLogged) {
    plugDevice(false);
    loader->after = [](std::size_t) {
        scriptedHidapi::failWrite(ScriptedLoader::kNormalPath, true);
    };
    const LogCapture log;
    EXPECT_EQ(run(56), 4);
    EXPECT_EQ(log.count("HidUpgradeApi: 跳转命令发送失败"), 1);
}

TEST_F(HidUpgrade, AnOpenHandleIsClosedFirst) {
    ASSERT_TRUE(hidProtocol::instance().openDevice(ScriptedLoader::kVendor, ScriptedLoader::kBoot));
    EXPECT_EQ(run(56), 0);
    EXPECT_EQ(scriptedHidapi::exits(), 2);
}

TEST_F(HidUpgrade, TheEndOfTheProgramStopsThePackets) {
    int result = -1;
    onStep = [](int value) {
        if (value >= 72) {
            QCoreApplication::exit(0);
        }
    };
    QTimer::singleShot(0, [&] {
        result = run(560);
        QCoreApplication::exit(0);
    });
    QCoreApplication::exec();
    EXPECT_EQ(result, 1);
    EXPECT_EQ(error, "发送固件数据失败 (包3/10)");
    EXPECT_EQ(std::ranges::count(loader->commands, "packet"), 3);
}

TEST_F(HidUpgrade, ACableCutAtEachReportFailsAndASecondAttemptSucceeds) {
    const std::vector<const char*> errors{"设备不存在FlashBoot",       "SDK跳转到FlashBoot失败",
                                          "握手失败，错误ID[2-0]",     "擦除失败，错误ID[3-2]",
                                          "发送固件数据失败 (包2/3)",  "发送固件数据失败 (包3/3)",
                                          "升级确认失败，错误ID[4-1]", "升级确认失败，错误ID[4-1]"};
    for (std::size_t cut = 0; cut < 9; ++cut) {
        for (const bool isBefore : {true, false}) {
            plugDevice(false);
            auto& hook = isBefore ? loader->before : loader->after;
            hook = [this, cut](std::size_t index) {
                if (index == cut) {
                    loader->pullOut();
                    loader->jumps = false;
                }
            };
            // The last command needs no answer.
            const bool isLast = cut == 8;
            EXPECT_EQ(run(168) == 0, isLast) << cut << isBefore;
            if (!isLast) {
                EXPECT_EQ(error, errors[cut]) << cut << isBefore;
            }
            EXPECT_FALSE(hidProtocol::instance().isOpen());
            plugDevice(cut >= 3);
            EXPECT_EQ(run(168), 0) << cut << isBefore;
            EXPECT_TRUE(std::ranges::equal(loader->flash, ramp(168), {}, {},
                                           [](char byte) { return std::uint8_t(byte); }));
        }
    }
}

TEST_F(HidUpgrade, TheWaitsAreAtLeast) {
    const UpgradeWaits waits;
    QElapsedTimer elapsed;
    std::vector<qint64> times;
    loader->before = [&](std::size_t) {
        times.push_back(elapsed.elapsed());
    };
    elapsed.start();
    EXPECT_EQ(run(file(ramp(57)), waits), 0);
    const qint64 whole = elapsed.elapsed();
    // From the handshake over the erase, two packets and the length to the finish; the rounds and writes take
    // 1 ms each.
    const qint64 least[] = {22, 3502, 6, 6, 7};
    ASSERT_EQ(times.size(), 6U);
    for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_GE(times[i + 1] - times[i] + 1, least[i]) << i;
    }
    EXPECT_GE(whole - times[5] + 1, 420);
}

} // namespace
