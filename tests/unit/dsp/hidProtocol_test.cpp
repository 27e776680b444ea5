#include "dsp/hidProtocol.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedHidapi.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr const char* kPath = "/dev/processor";
using scriptedHidapi::Report;

class HidProtocol : public testing::Test {
protected:
    HidProtocol() {
        hid.closeDevice();
        scriptedHidapi::reset();
        scriptedHidapi::plug({kPath, 0x352F, 0x9829, 0});
    }
    ~HidProtocol() override {
        hid.closeDevice();
        EXPECT_EQ(scriptedHidapi::openHandles(), 0);
        EXPECT_EQ(scriptedHidapi::callsAfterClose(), 0);
    }

    int send(std::size_t count, int form) {
        const std::vector<std::uint8_t> data(300, 0x11);
        return hid.sendFrame(data.data(), static_cast<int>(count), form);
    }
    int read() { return hid.readReply(buffer, length); }
    bool open() { return hid.openDevice(0x352F, 0x9829); }

    hidProtocol& hid = hidProtocol::instance();
    hidProtocol::ReplyBuffer buffer{};
    int length = 0;
};

TEST_F(HidProtocol, HidapiIsReadyBeforeTheFirstOpen) {
    EXPECT_TRUE(hid.isHidReady());
    EXPECT_EQ(scriptedHidapi::initialisations(), 1);
}

TEST_F(HidProtocol, TheTextsAreInOrder) {
    const char* const texts[] = {"cm_rest?isok", "cm_romt?isok", "cm_vcrc",      "cm_vsrc",   "cm_read",
                                 "cm_boot",      "cm_code",      "cm_cnst",      "cm_cnfg",   "cm",
                                 "cm_upgd?isok", "cm_fnsh?isok", "cm_dasd?isok", "cm_upgd!ok"};
    for (int i = 0; i < 14; ++i) {
        EXPECT_STREQ(hid.cmText(static_cast<hidProtocol::CmText>(i)), texts[i]);
    }
}

TEST_F(HidProtocol, OpenPrintsItsLinesAndEntersOpened) {
    testing::internal::CaptureStdout();
    EXPECT_TRUE(open());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "openDevice(vid 0x352F, pid 0x9829)...\nSuccess\n");
    EXPECT_EQ(hid.currentState(), 2);
    EXPECT_TRUE(hid.isOpen());
}

TEST_F(HidProtocol, AFailedOpenPrintsItsLinesAndEntersFinishedFail) {
    testing::internal::CaptureStdout();
    EXPECT_FALSE(hid.openDevice(0x352F, 0x0820));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "openDevice(vid 0x352F, pid 0x0820)...\nFailed\n");
    EXPECT_EQ(hid.currentState(), 20);
    EXPECT_FALSE(hid.isOpen());
}

TEST_F(HidProtocol, ADeviceWithoutPermissionYetIsTriedAgain) {
    scriptedHidapi::failOpen(kPath, true);
    QTimer::singleShot(250, [] { scriptedHidapi::failOpen(kPath, false); });
    const LogCapture log;
    EXPECT_TRUE(open());
    EXPECT_EQ(log.texts(QtWarningMsg).size(), 1);
}

TEST_F(HidProtocol, ADeviceThatStaysWithoutPermissionFailsAfterTwoSeconds) {
    scriptedHidapi::failOpen(kPath, true);
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_FALSE(open());
    EXPECT_GE(elapsed.elapsed(), 2000);
}

TEST_F(HidProtocol, CloseExitsHidapiOnceAndOnlyWhenOpen) {
    hid.closeDevice();
    EXPECT_EQ(scriptedHidapi::exits(), 0);
    ASSERT_TRUE(open());
    hid.closeDevice();
    hid.closeDevice();
    EXPECT_EQ(scriptedHidapi::exits(), 1);
    EXPECT_EQ(hid.currentState(), 0);
}

TEST_F(HidProtocol, ASecondOpenClosesTheFirstHandle) {
    ASSERT_TRUE(open());
    ASSERT_TRUE(open());
    EXPECT_EQ(scriptedHidapi::openHandles(), 1);
}

TEST_F(HidProtocol, SixtyOneBytesAreRefusedWithoutAWrite) {
    ASSERT_TRUE(open());
    EXPECT_EQ(send(61, 1), -1);
    EXPECT_EQ(send(61, 2), -1);
    EXPECT_TRUE(scriptedHidapi::written(kPath).empty());
    EXPECT_EQ(send(60, 1), 64);
    EXPECT_EQ(send(60, 2), 64);
    EXPECT_EQ(scriptedHidapi::written(kPath).size(), 2U);
}

TEST_F(HidProtocol, AThirdFormWritesNothing) {
    ASSERT_TRUE(open());
    EXPECT_EQ(send(60, 3), -1);
    EXPECT_EQ(send(60, 0), -1);
    EXPECT_TRUE(scriptedHidapi::written(kPath).empty());
}

TEST_F(HidProtocol, SendsAndReadsOnAClosedHandleGiveMinus1) {
    const std::array<std::uint8_t, 5> command{0x00, 0x00, 0x81, 0x00, 0x00};
    EXPECT_EQ(hid.sendCommand(command.data(), 5), -1);
    EXPECT_EQ(send(60, 1), -1);
    EXPECT_EQ(read(), -1);
    EXPECT_EQ(hid.sendFeatureReport(), -1);
    EXPECT_EQ(hid.readProduct(), -1);
}

TEST_F(HidProtocol, TheStopFlagEndsSendsAndReads) {
    ASSERT_TRUE(open());
    const std::array<std::uint8_t, 5> command{0x00, 0x00, 0x81, 0x00, 0x00};
    hidProtocol::stopRequested = true;
    EXPECT_EQ(hid.sendCommand(command.data(), 5), -1);
    EXPECT_EQ(send(60, 1), -1);
    EXPECT_EQ(read(), -1);
    hidProtocol::stopRequested = false;
    EXPECT_TRUE(scriptedHidapi::written(kPath).empty());
}

TEST_F(HidProtocol, ACommandIsWrittenAndItsResultPrintedAndTold) {
    ASSERT_TRUE(open());
    QSignalSpy sent(&hid, &hidProtocol::sigDisplay_HID_send);
    const std::array<std::uint8_t, 5> command{0x00, 0x00, 0x81, 0x00, 0x00};
    testing::internal::CaptureStdout();
    EXPECT_EQ(hid.sendCommand(command.data(), 5), 13);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "hid write res =13\n");
    ASSERT_EQ(sent.count(), 1);
    EXPECT_EQ(sent[0][0].toInt(), 13);
    EXPECT_EQ(scriptedHidapi::written(kPath), (std::vector<Report>{{0x01, 0x0B, 0xAA, 0x53, 0x4E, 0x44, 0x43,
                                                                    0x00, 0x00, 0x81, 0x00, 0x00, 0xAD}}));
}

TEST_F(HidProtocol, PayloadsOfUpTo2BytesPrintDataInvalid) {
    ASSERT_TRUE(open());
    const std::array<std::uint8_t, 3> payload{1, 2, 3};
    testing::internal::CaptureStdout();
    EXPECT_EQ(hid.sendCommand(payload.data(), 2), 10);
    EXPECT_EQ(hid.sendCommand(payload.data(), 3), 11);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "data invalidhid write res =10\nhid write res =11\n");
}

TEST_F(HidProtocol, AShortLoaderCommandPrintsDataInvalid) {
    ASSERT_TRUE(open());
    testing::internal::CaptureStdout();
    EXPECT_EQ(send(6, 1), 10);
    EXPECT_EQ(send(7, 1), 11);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "data invalid");
}

TEST_F(HidProtocol, APayloadThatDoesNotFitItsLengthByteIsRefused) {
    ASSERT_TRUE(open());
    const std::vector<std::uint8_t> payload(300, 7);
    EXPECT_EQ(hid.sendCommand(payload.data(), 250), -1);
    EXPECT_EQ(hid.sendCommand(payload.data(), 256), -1);
    EXPECT_EQ(hid.sendCommand(payload.data(), -1), -1);
    EXPECT_EQ(hid.sendCommand(payload.data(), 249), 257);
    EXPECT_EQ(scriptedHidapi::written(kPath).size(), 1U);
}

TEST_F(HidProtocol, ASetterWritesItsRecordAndReadsTheReply) {
    ASSERT_TRUE(open());
    scriptedHidapi::onWrite(kPath, [](const Report&) { scriptedHidapi::deliver(kPath, {1, 2, 0x5A, 0xA5}); });
    const std::array<std::uint8_t, 4> rate{0x80, 0xBB, 0, 0};
    EXPECT_EQ(hid.set(0x30, 0x87, 0, rate), 17);
    EXPECT_EQ(scriptedHidapi::takeWritten(kPath),
              (std::vector<Report>{{0x01, 0x0F, 0xAA, 0x53, 0x4E, 0x44, 0x43, 0x30, 0x00, 0x87, 0x00, 0x04,
                                    0x80, 0xBB, 0, 0, 0x38}}));
    EXPECT_EQ(hidProtocol::replyStore[1], 0xA5);
}

TEST_F(HidProtocol, AnUnknownCommandOrAWrongCountIsNotSent) {
    ASSERT_TRUE(open());
    const std::array<std::uint8_t, 1> one{1};
    EXPECT_EQ(hid.set(0x41, 0x81), -1);
    EXPECT_EQ(hid.set(0x30, 0x87, 0, one), -1);
    EXPECT_TRUE(scriptedHidapi::written(kPath).empty());
}

TEST_F(HidProtocol, AFailedWriteAsksForTheError) {
    ASSERT_TRUE(open());
    scriptedHidapi::failWrite(kPath, true);
    EXPECT_EQ(send(60, 1), -1);
    EXPECT_EQ(scriptedHidapi::errorsAsked(), 1);
}

TEST_F(HidProtocol, EachFrameWaits1msBeforeItsWrite) {
    ASSERT_TRUE(open());
    QElapsedTimer elapsed;
    elapsed.start();
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(send(60, 2), 64);
    }
    EXPECT_GE(elapsed.elapsed(), 10);
}

TEST_F(HidProtocol, AReadTriesTenTimesAndSaysSo) {
    ASSERT_TRUE(open());
    testing::internal::CaptureStdout();
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_EQ(read(), 0);
    EXPECT_GE(elapsed.elapsed(), 10);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "read time out=[10]\n");
    EXPECT_EQ(length, 0);
}

TEST_F(HidProtocol, AReplyDuringTheRoundsCounts) {
    ASSERT_TRUE(open());
    QTimer::singleShot(4, Qt::PreciseTimer, [] { scriptedHidapi::deliver(kPath, {1, 2, 7, 8, 9}); });
    QSignalSpy done(&hid, &hidProtocol::signal_afterHidRead);
    EXPECT_EQ(read(), 5);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(buffer[0], 7);
    EXPECT_EQ(buffer[2], 0);
    EXPECT_EQ(hidProtocol::replyStore, buffer);
    EXPECT_EQ(hidProtocol::replyLength, 5);
    EXPECT_EQ(done.count(), 1);
}

TEST_F(HidProtocol, ReplyLengthsAreBoundByTheirReport) {
    struct Row {
        Report report;
        int result, length;
    };
    const Row rows[] = {{{1, 9}, 2, 0}, {{1, 0, 5}, 3, 0}, {{1, 255, 5, 6}, 4, 2}};
    ASSERT_TRUE(open());
    for (const Row& row : rows) {
        scriptedHidapi::deliver(kPath, row.report);
        EXPECT_EQ(read(), row.result);
        EXPECT_EQ(length, row.length);
    }
}

TEST_F(HidProtocol, AReplyWithAWrongChecksumIsStored) {
    ASSERT_TRUE(open());
    scriptedHidapi::deliver(kPath, {1, 4, 0xAA, 0x53, 0x4E, 0x44});
    EXPECT_EQ(read(), 6);
    EXPECT_EQ(hidProtocol::replyStore[0], 0xAA);
    EXPECT_EQ(length, 4);
}

TEST_F(HidProtocol, AnEmptyReplyClearsTheStore) {
    ASSERT_TRUE(open());
    scriptedHidapi::deliver(kPath, {1, 4, 1, 2, 3, 4});
    read();
    ASSERT_EQ(hidProtocol::replyStore[3], 4);
    read();
    EXPECT_EQ(hidProtocol::replyStore, hidProtocol::ReplyBuffer{});
}

TEST_F(HidProtocol, ACommandClearsTheStoreAndReadsOldReportsAway) {
    ASSERT_TRUE(open());
    scriptedHidapi::deliver(kPath, {1, 4, 1, 2, 3, 4});
    read();
    for (int i = 0; i < 70; ++i) {
        scriptedHidapi::deliver(kPath, {1, 1, 9});
    }
    const LogCapture log;
    ASSERT_EQ(send(60, 1), 64);
    EXPECT_EQ(hidProtocol::replyStore, hidProtocol::ReplyBuffer{});
    EXPECT_EQ(scriptedHidapi::reportsWaiting(), 6);
    EXPECT_EQ(log.texts(QtDebugMsg).size(), 1);
}

TEST_F(HidProtocol, AReadOfAnUnpluggedDeviceIsEmpty) {
    ASSERT_TRUE(open());
    scriptedHidapi::unplug(kPath);
    EXPECT_EQ(read(), -1);
    EXPECT_EQ(length, 0);
}

TEST_F(HidProtocol, AHandleThatIsClosedDuringAWaitIsNotUsed) {
    ASSERT_TRUE(open());
    QTimer::singleShot(0, [this] { hid.closeDevice(); });
    EXPECT_EQ(read(), -1);
    ASSERT_TRUE(open());
    QTimer::singleShot(0, [this] { hid.closeDevice(); });
    EXPECT_EQ(send(60, 1), -1);
}

TEST_F(HidProtocol, AWaitThatTheProgramEndsIsToldSo) {
    bool lasted = true;
    bool next = true;
    QTimer::singleShot(0, [&] {
        QTimer::singleShot(5, [] { QCoreApplication::exit(3); });
        lasted = hid.waitMs(10'000);
        next = hid.waitMs(1);
    });
    EXPECT_EQ(QCoreApplication::exec(), 3);
    EXPECT_FALSE(lasted);
    EXPECT_FALSE(next);
    EXPECT_TRUE(hid.waitMs(1));
}

TEST_F(HidProtocol, NestedWaitsEndInOrder) {
    std::vector<int> ended;
    QTimer::singleShot(0, [&] {
        hid.waitMs(20);
        ended.push_back(20);
    });
    EXPECT_TRUE(hid.waitMs(5));
    ended.push_back(5);
    EXPECT_EQ(ended, (std::vector<int>{20, 5}));
}

TEST_F(HidProtocol, FeatureReportsCarry17Bytes) {
    ASSERT_TRUE(open());
    Report wanted(17);
    wanted[0] = 2;
    wanted[1] = 160;
    wanted[2] = 10;
    EXPECT_EQ(hid.sendFeatureReport(), 17);
    EXPECT_EQ(scriptedHidapi::lastFeatureReport(), wanted);
    scriptedHidapi::setFeatureReport({2, 0xAB, 0x0C});
    testing::internal::CaptureStdout();
    EXPECT_EQ(hid.showFeatureReport(), 3);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "02 ab 0c \n");
}

TEST_F(HidProtocol, StringsAreReadIntoTheBuffer) {
    ASSERT_TRUE(open());
    scriptedHidapi::setDeviceText(std::wstring(400, L'x'));
    EXPECT_EQ(hid.readManufacturer(), 0);
    EXPECT_EQ(std::wstring_view(hid.lastDeviceText()).size(), 254U);
    scriptedHidapi::setDeviceText(L"R2");
    EXPECT_EQ(hid.readProduct(), 0);
    EXPECT_EQ(hid.readSerialNumber(), 0);
    EXPECT_EQ(hid.readIndexedString(), 0);
    EXPECT_EQ(std::wstring_view(hid.lastDeviceText()), L"R2");
}

TEST_F(HidProtocol, DebugEntriesLogTheirNamesFirst) {
    const LogCapture log;
    hid.hidTestProtocol();
    hid.hidActiveDfu();
    hid.hidShowEqParameter();
    EXPECT_EQ(log.texts(QtDebugMsg), (QStringList{"hidProtocol::hidTestProtocol", "hidProtocol::hidActiveDfu",
                                                  "hidProtocol::hidShowEqParameter"}));
}

TEST_F(HidProtocol, OnlyIdleAndBusyEmitTheirText) {
    QSignalSpy changes(&hid, &hidProtocol::StatusChage);
    for (int state = 0; state <= 22; ++state) {
        hid.setState(state);
        EXPECT_TRUE(hid.isRunning());
    }
    ASSERT_EQ(changes.count(), 2);
    EXPECT_EQ(changes[0][0].toString(), "Idle         ");
    EXPECT_EQ(changes[1][0].toString(), "Busy         ");
    hid.setState(hidProtocol::stateClosed);
}

TEST_F(HidProtocol, TheWalkOfAMuteDeviceEndsWithDefaults) {
    ASSERT_TRUE(open());
    for (int state = 2; state < 19; ++state) {
        ASSERT_EQ(hid.currentState(), state);
        hid.hidUpdateStatus();
    }
    EXPECT_EQ(hid.currentState(), 19);
    hid.hidUpdateStatus();
    EXPECT_EQ(hid.currentState(), 19);
    const auto written = scriptedHidapi::written(kPath);
    const std::vector<int> commands{0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x80, 0x81,
                                    0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89};
    ASSERT_EQ(written.size(), commands.size());
    for (std::size_t i = 0; i < commands.size(); ++i) {
        EXPECT_EQ(written[i][9], commands[i]) << i;
        EXPECT_EQ(written[i][7], i < 6 ? 0x00 : 0x10) << i;
    }
    const auto& spk = hid.storeOf(vexo::dsp::RecordKind::SpkEq);
    EXPECT_EQ(spk.count, 1U);
    ASSERT_EQ(spk.data.size(), 324U);
    EXPECT_EQ(spk.data[0], 10);
    EXPECT_TRUE(hid.storeOf(vexo::dsp::RecordKind::Alg).isLoaded);
    hid.closeDevice();
    EXPECT_EQ(hid.currentState(), 0);
}

TEST_F(HidProtocol, WithoutAHandleAnyStateFails) {
    for (int state = 0; state <= 22; ++state) {
        hid.setState(state);
        hid.hidUpdateStatus();
        EXPECT_EQ(hid.currentState(), 20);
    }
}

TEST_F(HidProtocol, AFailedWriteRepeatsTheStep) {
    ASSERT_TRUE(open());
    hid.setState(hidProtocol::stateLinking);
    scriptedHidapi::failWrite(kPath, true);
    hid.hidUpdateStatus();
    EXPECT_EQ(hid.currentState(), 3);
    scriptedHidapi::failWrite(kPath, false);
    hid.hidUpdateStatus();
    EXPECT_EQ(hid.currentState(), 4);
}

TEST_F(HidProtocol, EqualizerSetsAreReadWithTheirIndex) {
    ASSERT_TRUE(open());
    Report count{1, 12, 0xAA, 0x53, 0x4E, 0x44, 0x43, 0x10, 0, 4, 1, 0, 2, 0x17};
    scriptedHidapi::onWrite(kPath, [count](const Report& sent) {
        if (sent[9] == 0x84) {
            scriptedHidapi::deliver(kPath, count);
            return;
        }
        Report record{0xAA, 0x53, 0x4E, 0x44, 0x43, 0x10, 0, 5, 0x44, 1};
        record.resize(335, sent[8]);
        for (auto from = record.begin(); from != record.end();) {
            const auto size = std::min<std::ptrdiff_t>(62, record.end() - from);
            Report part{1, static_cast<std::uint8_t>(size)};
            part.insert(part.end(), from, from + size);
            scriptedHidapi::deliver(kPath, part);
            from += size;
        }
    });
    hid.setState(hidProtocol::stateGetSpkEqNums);
    hid.hidUpdateStatus();
    hid.hidUpdateStatus();
    EXPECT_EQ(hid.currentState(), 15);
    const auto& spk = hid.storeOf(vexo::dsp::RecordKind::SpkEq);
    ASSERT_EQ(spk.data.size(), 648U);
    EXPECT_EQ(spk.data[323], 0);
    EXPECT_EQ(spk.data[324], 1);
    EXPECT_EQ(spk.data[647], 1);
}

TEST_F(HidProtocol, TheWalkOfALyingDeviceEnds) {
    const Report lies[] = {{1, 255, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9},
                           {1, 0, 0xAA},
                           {1, 12, 0xAA, 0x53, 0x4E, 0x44, 0x43, 0x10, 0, 4, 0, 0, 0, 0},
                           {1, 12, 0xAA, 0x53, 0x4E, 0x44, 0x43, 0x10, 0, 4, 0xFF, 0xFF, 0, 0},
                           {1, 5, 0xAA, 0x53, 0x4E, 0x44, 0x43}};
    for (const Report& lie : lies) {
        ASSERT_TRUE(open());
        scriptedHidapi::onWrite(kPath, [&lie](const Report&) {
            for (int i = 0; i < 80; ++i) {
                scriptedHidapi::deliver(kPath, lie);
            }
        });
        for (int step = 0; step < 17; ++step) {
            hid.hidUpdateStatus();
        }
        EXPECT_EQ(hid.currentState(), 19);
    }
}

} // namespace
