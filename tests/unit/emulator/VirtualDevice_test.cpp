#include "emulator/VirtualDevice.h"
#include "tests/unit/emulator/TestHost.h"

namespace vexo::emulator {
namespace {

std::uint32_t upTimeOf(const LinkFrame& hello) {
    return readU32(hello.payload, 6);
}

TEST(VirtualDevice, SaysHelloEvery1024MsToAnybody) {
    TestHost host;
    host.advance(1023);
    EXPECT_TRUE(host.frames.empty());
    host.advance(1);
    ASSERT_EQ(host.frames.size(), 1U);
    // node kind 1, 500 bytes, no hops, protocol 1 and 10, up-time 1024, no rate, code 36
    EXPECT_EQ(toHex(host.frames[0].payload), "01F40100010A000400000000"
                                             "24");
    EXPECT_EQ(host.frames[0].kind, kNotification);
    EXPECT_TRUE(host.frames[0].destination.isBroadcast());
    host.advance(10240);
    EXPECT_EQ(host.framesOf(kHello).size(), 11U);
    EXPECT_EQ(upTimeOf(host.frames.back()), 11264U);
}

TEST(VirtualDevice, GreetsANewHostWithADirectedHelloAndItsLoginNotice) {
    TestHost host;
    host.sendHello();
    ASSERT_EQ(host.frames.size(), 2U);
    EXPECT_EQ(host.frames[0].messageId, kHello);
    EXPECT_EQ(host.frames[0].kind, kNotification);
    EXPECT_EQ(host.frames[0].destination, host.address);
    EXPECT_EQ(toHex(onWire(host.frames[1])), "5510040002000203011001011C000E0002030110C3");
    host.clear();
    host.sendHello();
    EXPECT_TRUE(host.frames.empty()) << "a known host is only refreshed";
}

TEST(VirtualDevice, AnswersAHelloThatAsksForItWithTheSameSequence) {
    TestHost host;
    host.login();
    host.sendFrame({.kind = kRequest,
                    .sequence = 99,
                    .source = host.address,
                    .destination = host.deviceAddress(),
                    .messageId = kHello,
                    .payload = bytes("00F40100010A00000000000024")});
    const LinkFrame answer = host.last(kHello, kResponse);
    EXPECT_EQ(answer.sequence, 99);
}

TEST(VirtualDevice, RepeatsItsLoginNoticeThreeTimesAndGivesUp) {
    TestHost host;
    for (int second = 0; second < 10; ++second) {
        host.sendHello();
        host.advance(1000);
    }
    const std::vector<LinkFrame> notices = host.framesOf(kLoginNotice);
    EXPECT_EQ(notices.size(), 4U);
    for (const LinkFrame& notice : notices) {
        EXPECT_EQ(notice, notices.front());
    }
}

TEST(VirtualDevice, StopsItsLoginNoticeWhenItIsAnswered) {
    TestHost host;
    host.login();
    host.advance(2500);
    EXPECT_TRUE(host.framesOf(kLoginNotice).empty());
}

TEST(VirtualDevice, AnswersTheHostsLoginNotice) {
    TestHost host;
    host.sendHello();
    EXPECT_EQ(host.ask(kLoginNotice, toBytes(host.deviceAddress())), "00");
    EXPECT_TRUE(host.device().link.knownHosts().at(0).login);
}

TEST(VirtualDevice, IsSilentTowardsAHostThatNeverSaidHello) {
    TestHost host;
    EXPECT_EQ(host.ask(kNameQuery, {}), "none");
    host.sendHello();
    EXPECT_NE(host.ask(kNameQuery, {}), "none");
}

TEST(VirtualDevice, ForgetsAHostAfterThreeOfItsHelloIntervals) {
    TestHost host;
    host.sendHello();
    host.advance(3071);
    EXPECT_EQ(host.device().link.knownHosts().size(), 1U);
    host.advance(1);
    EXPECT_TRUE(host.device().link.knownHosts().empty());
}

TEST(VirtualDevice, MorePatienceKeepsASlowHost) {
    TestHost host;
    host.device().link.settings.patienceIntervals = 10;
    host.sendHello();
    host.advance(10239);
    EXPECT_EQ(host.device().link.knownHosts().size(), 1U);
    host.advance(1);
    EXPECT_TRUE(host.device().link.knownHosts().empty());
}

TEST(VirtualDevice, ForgetsAHostThatLogsOut) {
    TestHost host;
    host.login();
    host.send(kRequest, kLogout, toBytes(host.address));
    EXPECT_TRUE(host.device().link.knownHosts().empty());
}

TEST(VirtualDevice, TellsNameSerialAndVersion) {
    TestHost host;
    host.login();
    // status 0, length 16 with its NUL, name, NUL, zeros up to 22 bytes
    EXPECT_EQ(host.ask(kNameQuery, {}), "00105645584F204D69786465736B2052320000000000");
    // status 0, "R2-0001"
    EXPECT_EQ(host.ask(kSerialQuery, {0}), "0052322D30303031");
    // status 0, VID 3, PID 0x1001, version 1, 7, zeros up to 18 bytes
    EXPECT_EQ(host.ask(kVersionQuery, {}), "000300000001100000010700000000000000");
}

TEST(VirtualDevice, AnswersCarryTheSequenceOfTheirRequest) {
    TestHost host;
    host.login();
    host.send(kRequest, kAttributeRead, {5}, 0xFFFF);
    EXPECT_EQ(host.last(kAttributeRead, kResponse).sequence, 0xFFFF);
}

TEST(VirtualDevice, StoresWhatIsWrittenByteForByte) {
    TestHost host;
    host.login();
    EXPECT_EQ(host.ask(kAttributeWrite, {5, 1, 31}), "0005");
    EXPECT_EQ(host.device().values().at(5), Bytes{31});
    EXPECT_EQ(host.ask(kAttributeRead, {5}), "0005011F");
    Bytes colours{10, 200};
    for (int i = 0; i < 200; ++i) {
        colours.push_back(static_cast<std::uint8_t>(i));
    }
    EXPECT_EQ(host.ask(kAttributeWrite, colours), "000A");
    EXPECT_EQ(host.device().values().at(10), Bytes(colours.begin() + 2, colours.end()));
    EXPECT_TRUE(host.framesOf(kAttributeSubscription).empty()) << "what the host wrote is not notified";
}

TEST(VirtualDevice, RefusesAttributesThatItsModelDoesNotHave) {
    TestHost mixer;
    mixer.login();
    EXPECT_EQ(mixer.ask(kAttributeWrite, {24, 1, 1}), "0118");
    EXPECT_EQ(mixer.ask(kAttributeRead, {20}), "0114");
    TestHost microphone(Model::VoxmicM40);
    microphone.login();
    EXPECT_EQ(microphone.ask(kAttributeRead, {2}), "0102");
    EXPECT_EQ(microphone.ask(kAttributeRead, {10}), "010A");
    EXPECT_EQ(microphone.ask(kAttributeWrite, {24, 1, 2}), "0018");
}

TEST(VirtualDevice, RefusesAWriteWhoseLengthDoesNotFit) {
    TestHost host;
    host.login();
    EXPECT_EQ(host.ask(kAttributeWrite, {5, 2, 31}), "0105");
    EXPECT_EQ(host.ask(kAttributeWrite, {5, 0, 31}), "0105");
    EXPECT_EQ(host.ask(kAttributeWrite, {5}), "0105");
    EXPECT_EQ(host.ask(kAttributeWrite, {}), "0100");
    EXPECT_EQ(host.device().values().at(5), Bytes{15});
}

TEST(VirtualDevice, WritesAndReadsManyAttributesAtOnce) {
    TestHost host;
    host.login();
    EXPECT_EQ(host.ask(kMultiAttributeWrite, {1, 1, 1, 5, 1, 20}), "00");
    EXPECT_EQ(host.ask(kMultiAttributeWrite, {24, 1, 1, 5, 1, 21, 99, 0}), "011863");
    EXPECT_EQ(host.ask(kMultiAttributeWrite, {5, 1, 22, 6, 9, 1}), "0106") << "the last value is cut";
    EXPECT_EQ(host.ask(kMultiAttributeRead, {2, 1, 5}), "00010101050116");
    EXPECT_EQ(host.ask(kMultiAttributeRead, {3, 1}), "01");
}

TEST(VirtualDevice, ReadsAllAttributesInOneMessage) {
    TestHost host;
    host.login();
    host.ask(kMultiAttributeRead, {0});
    const LinkFrame answer = host.last(kMultiAttributeRead, kResponse);
    std::map<std::uint8_t, Bytes> values;
    for (std::size_t at = 1; at < answer.payload.size();) {
        const std::size_t length = answer.payload.at(at + 1);
        const auto begin = answer.payload.begin() + static_cast<std::ptrdiff_t>(at + 2);
        values[answer.payload[at]] = Bytes(begin, begin + static_cast<std::ptrdiff_t>(length));
        at += 2 + length;
    }
    EXPECT_EQ(values, host.device().values());
}

TEST(VirtualDevice, NotifiesATurnedKnobOnlyToThoseWhoSubscribed) {
    TestHost host;
    host.sendHello();
    host.clear();
    EXPECT_EQ(host.device().turn(5, {20}, host.bus.timeMs()), 0U);
    host.bus.settle();
    EXPECT_TRUE(host.frames.empty());
    EXPECT_EQ(host.ask(kAttributeSubscription, {0}), "00");
    EXPECT_EQ(host.device().turn(5, {21}, host.bus.timeMs()), 1U);
    host.bus.settle();
    const LinkFrame notification = host.last(kAttributeSubscription, kNotification);
    EXPECT_EQ(toHex(notification.payload), "050115");
    EXPECT_EQ(host.ask(kAttributeSubscription, {255}), "00");
    EXPECT_EQ(host.device().turn(5, {22}, host.bus.timeMs()), 0U);
    EXPECT_EQ(host.ask(kAttributeSubscription, {7}), "01");
}

TEST(VirtualDevice, EchoesAWrittenBackgroundModeAndNoOtherValue) {
    TestHost host;
    host.login();
    host.ask(kAttributeWrite, {5, 1, 20});
    EXPECT_TRUE(host.framesOf(kAttributeSubscription).empty());
    host.ask(kAttributeWrite, {14, 1, 3});
    EXPECT_EQ(toHex(host.last(kAttributeSubscription, kNotification).payload), "0E0103");
    host.clear();
    host.ask(kMultiAttributeWrite, {19, 1, 50, 14, 1, 0});
    ASSERT_EQ(host.framesOf(kAttributeSubscription).size(), 1U);
    EXPECT_EQ(toHex(host.last(kAttributeSubscription, kNotification).payload), "0E0100");
}

TEST(VirtualDevice, CutsALongMessageAtTheHostsMaximumAndSumsTheSequences) {
    TestHost host;
    host.sendHello(8);
    host.send(kRequest, kNameQuery, {}, 100);
    const std::vector<LinkFrame> pieces = host.framesOf(kNameQuery);
    ASSERT_EQ(pieces.size(), 3U); // 22 bytes: 8, 8, 6
    EXPECT_EQ(pieces[0].kind, kFragment);
    EXPECT_EQ(pieces[0].sequence, 101);
    EXPECT_EQ(pieces[1].kind, kFragment);
    EXPECT_EQ(pieces[1].sequence, 102);
    EXPECT_EQ(pieces[2].kind, kResponse);
    EXPECT_EQ(pieces[2].sequence, 100 + 101 + 102);
    Bytes whole;
    for (const LinkFrame& piece : pieces) {
        whole.insert(whole.end(), piece.payload.begin(), piece.payload.end());
    }
    EXPECT_EQ(toHex(whole), "00105645584F204D69786465736B2052320000000000");
}

void sendPiece(TestHost& host, std::uint8_t kind, std::uint16_t sequence, const Bytes& payload) {
    host.send(kind, kAttributeWrite, payload, sequence);
}

TEST(VirtualDevice, PutsAFragmentedMessageTogether) {
    TestHost host;
    host.login();
    // Sequence 65534: the fragments wrap to 65535 and 0.
    sendPiece(host, kFragment, 65535, {17, 4});
    sendPiece(host, kFragment, 0, {1, 2});
    sendPiece(host, kRequest, static_cast<std::uint16_t>(65534 + 65535 + 0), {3, 0});
    EXPECT_EQ(host.device().values().at(17), (Bytes{1, 2, 3, 0}));
    const LinkFrame answer = host.last(kAttributeWrite, kResponse);
    EXPECT_EQ(answer.sequence, 65534);
    EXPECT_EQ(toHex(host.bus.log.frames().records.back().whole.value_or(Bytes())), "110401020300");
}

TEST(VirtualDevice, DropsAFragmentedMessageThatMissesAPiece) {
    TestHost host;
    host.login();
    sendPiece(host, kFragment, 11, {17, 4});
    sendPiece(host, kRequest, 10 + 11 + 12, {3, 0});
    EXPECT_FALSE(host.has(kAttributeWrite, kResponse));
    EXPECT_EQ(host.ask(kAttributeWrite, {5, 1, 9}), "0005") << "the next message is whole";
}

TEST(VirtualDevice, IgnoresFramesForSomebodyElse) {
    TestHost host;
    host.login();
    host.sendFrame({.kind = kRequest,
                    .sequence = 5,
                    .source = host.address,
                    .destination = {9, 9, 9},
                    .messageId = kAttributeWrite,
                    .payload = {5, 1, 1}});
    EXPECT_EQ(host.device().values().at(5), Bytes{15});
    EXPECT_TRUE(host.frames.empty());
}

TEST(VirtualDevice, MovesToAnotherAddressWhenAnOlderNodeHasItsOwn) {
    TestHost host;
    const LinkAddress former = host.deviceAddress();
    host.advance(500);
    host.address = former;
    host.sendHello(500, 100);
    EXPECT_EQ(host.deviceAddress(), former) << "a younger node has to move itself";
    host.sendHello(500, 100000);
    EXPECT_NE(host.deviceAddress(), former);
    EXPECT_EQ(host.deviceAddress().product, former.product);
    ASSERT_FALSE(host.frames.empty());
    EXPECT_EQ(host.frames.back().source, host.deviceAddress());
}

TEST(VirtualDevice, AutomaticGainSendsLevelsAndThenTheGainButNoAutoGainReport) {
    TestHost host;
    host.login();
    host.ask(kAttributeWrite, {3, 1, 1});
    for (int second = 0; second < 10; ++second) {
        EXPECT_TRUE(host.device().autoGainRuns());
        host.sendHello();
        host.advance(1000);
    }
    EXPECT_FALSE(host.device().autoGainRuns());
    const std::vector<LinkFrame> levels = host.framesOf(kGainLevel);
    EXPECT_EQ(levels.size(), 99U);
    for (const LinkFrame& level : levels) {
        ASSERT_EQ(level.payload.size(), 1U);
        EXPECT_LE(level.payload[0], 30);
    }
    const std::vector<LinkFrame> reports = host.framesOf(kAttributeSubscription);
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(toHex(reports[0].payload), "050112");
    EXPECT_EQ(host.device().values().at(3), Bytes{0});
}

TEST(VirtualDevice, AutomaticGainIsStoppedWithoutAResult) {
    TestHost host;
    host.login();
    host.ask(kAttributeWrite, {3, 1, 1});
    host.advance(500);
    host.ask(kAttributeWrite, {3, 1, 0});
    host.clear();
    host.sendHello();
    host.advance(2000);
    EXPECT_TRUE(host.framesOf(kGainLevel).empty());
    EXPECT_EQ(host.device().values().at(5), Bytes{15});
}

TEST(VirtualDevice, TheMicrophonesAutoGainIsAPlainSwitch) {
    TestHost host(Model::VoxmicT40);
    host.login();
    host.ask(kAttributeWrite, {3, 1, 1});
    EXPECT_FALSE(host.device().autoGainRuns());
    EXPECT_EQ(host.device().values().at(3), Bytes{1});
}

TEST(VirtualDevice, ThePrivateResetOfTheMixerRestoresAndNotifiesWhatWasChanged) {
    TestHost host;
    host.login();
    host.ask(kAttributeWrite, {5, 1, 30});
    host.ask(kAttributeWrite, {1, 1, 1});
    host.clear();
    host.send(kNotification, kFactoryReset, {0});
    EXPECT_TRUE(host.frames.empty()) << "only the byte 1 resets";
    host.send(kNotification, kFactoryReset, {1});
    std::vector<std::string> payloads;
    for (const LinkFrame& frame : host.framesOf(kAttributeSubscription)) {
        payloads.push_back(toHex(frame.payload));
    }
    EXPECT_EQ(payloads, (std::vector<std::string>{"010100", "05010F"}));
}

TEST(VirtualDevice, TheResetAttributeOfTheMicrophonesRestoresTheFactorysValues) {
    TestHost host(Model::VoxmicM40);
    host.login();
    host.ask(kAttributeWrite, {5, 1, 18});
    EXPECT_EQ(host.ask(kAttributeWrite, {27, 1, 1}), "001B");
    EXPECT_EQ(host.device().values().at(5), Bytes{9});
    EXPECT_EQ(host.device().values().at(27), Bytes{0});
    const std::vector<LinkFrame> reports = host.framesOf(kAttributeSubscription);
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(toHex(reports[0].payload), "050109");
}

TEST(VirtualDevice, RecordsAnUpgradeFrameWithAWrongChecksumAndDoesNotAnswerIt) {
    TestHost host(Model::VoxmicM40);
    host.login();
    EXPECT_EQ(host.ask(kUpgradeFrame, bytes("AA5500008001000000")), "none");
    EXPECT_EQ(host.bus.log.framesWith(0, kUpgradeFrame), 1U);
}

TEST(VirtualDevice, AStormComesAtItsRateWithValuesThatTheModelHas) {
    TestHost host;
    host.login();
    host.device().startStorm(300, 1000, 5, host.bus.timeMs());
    host.advance(99);
    EXPECT_EQ(host.framesOf(kAttributeSubscription).size(), 100U);
    host.advance(1000);
    const std::vector<LinkFrame> reports = host.framesOf(kAttributeSubscription);
    EXPECT_EQ(reports.size(), 300U);
    for (const LinkFrame& report : reports) {
        EXPECT_GE(report.payload.at(2), 1);
        EXPECT_LE(report.payload.at(2), 30);
    }
    EXPECT_FALSE(host.device().stormRuns());
}

TEST(VirtualDevice, WithheldAndFailedAnswers) {
    TestHost host;
    host.login();
    host.device().answers = {.name = Answering::Off,
                             .serial = Answering::Fail,
                             .version = Answering::Fail,
                             .subscribe = Answering::Off,
                             .write = Answering::Off,
                             .read = Answering::Fail};
    EXPECT_EQ(host.ask(kNameQuery, {}), "none");
    EXPECT_EQ(host.ask(kSerialQuery, {0}), "01");
    EXPECT_EQ(host.ask(kVersionQuery, {}).substr(0, 2), "01");
    EXPECT_EQ(host.ask(kAttributeSubscription, {0}), "none");
    EXPECT_EQ(host.ask(kAttributeWrite, {5, 1, 3}), "none");
    EXPECT_EQ(host.device().values().at(5), Bytes{3}) << "silent, but it takes the value";
    EXPECT_EQ(host.ask(kAttributeRead, {5}), "0105");
}

} // namespace
} // namespace vexo::emulator
