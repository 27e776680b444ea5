#include "emulator/CommandInterpreter.h"
#include "emulator/FriendlyText.h"
#include "tests/unit/emulator/TestHost.h"

namespace vexo::emulator {
namespace {

class Commands : public ::testing::Test {
protected:
    Json run(std::string_view line) { return interpreter.execute(line).answer; }
    std::string error(std::string_view line) {
        const Json answer = run(line);
        return answer.value("ok", true) ? "accepted: " + toLine(answer)
                                        : answer.at("error").get<std::string>();
    }

    CommandInterpreter::Wait wait(std::string_view line) {
        CommandInterpreter::Outcome outcome = interpreter.execute(line);
        EXPECT_TRUE(outcome.wait.has_value()) << line << ": " << toLine(outcome.answer);
        CommandInterpreter::Wait never;
        never.holds = [] {
            return false;
        };
        return outcome.wait.value_or(never);
    }

    TestHost host;
    CommandInterpreter interpreter{host.bus};
};

TEST_F(Commands, SetTurnsAKnobAndTellsWhoWasNotified) {
    host.login();
    EXPECT_EQ(toLine(run("set mic_gain 20")),
              R"({"ok":true,"device":"r2","attribute":"mic_gain","id":5,"bytes":"14","notified":1})");
    ASSERT_EQ(host.framesOf(kAttributeSubscription).size(), 1U) << "sent off before the answer";
    EXPECT_EQ(toLine(run("get 5")),
              R"({"ok":true,"device":"r2","attribute":"mic_gain","id":5,"bytes":"14"})");
    EXPECT_TRUE(run("set mic_gain 31").value("outOfRange", false));
}

TEST_F(Commands, ValuesAreWrittenInManyWays) {
    const auto stored = [&](std::string_view words) {
        return run("set 10 " + std::string(words)).value("bytes", "refused");
    };
    EXPECT_EQ(stored("15"), "0F");
    EXPECT_EQ(stored("0x0F -5 255"), "0FFBFF");
    EXPECT_EQ(stored("hex:00ff12 1"), "00FF1201");
    EXPECT_EQ(stored("#112233 #FF0000"), "332211000000FF00");
    for (const std::string_view wrong : {"256", "-129", "x", "hex:1", "#12", "1.5", "0x", "-", "hex:GG"}) {
        EXPECT_NE(error("set 10 " + std::string(wrong)).find("is no byte value"), std::string::npos) << wrong;
    }
}

TEST_F(Commands, ABadCommandIsExplainedAndChangesNothing) {
    EXPECT_EQ(error("dance"), "there is no command \"dance\", try help");
    EXPECT_EQ(error(""), "the command is missing");
    EXPECT_EQ(error("on m40 press"), "there is no device \"m40\"");
    EXPECT_EQ(error("set"), "ATTR is missing");
    EXPECT_EQ(error("set loudness 1"), "there is no attribute \"loudness\"");
    EXPECT_EQ(error("set 24 1"), "r2 has no attribute 24");
    EXPECT_EQ(error("set 5"), "an attribute has 1 to 255 bytes");
    EXPECT_EQ(error("unplug r2 now"), "\"now\" is one word too many");
    EXPECT_TRUE(host.bus.isPlugged(0));
    EXPECT_EQ(error("fault drop 2"), "PROBABILITY must be a number from 0 to 1, not \"2\"");
    EXPECT_EQ(error("fault drop nan"), "PROBABILITY must be a number from 0 to 1, not \"nan\"");
    EXPECT_EQ(error("fault drop 1 5"), "drop takes no amount");
    EXPECT_EQ(error("fault never 1 to-device"), "never strikes only to-host");
    EXPECT_EQ(error("fault lightning 1"), "there is no fault \"lightning\"");
    EXPECT_EQ(error("identity version 1 2 3"), "\"3\" is one word too many");
    EXPECT_EQ(host.device().identity.versionMinor, 7);
    EXPECT_EQ(error("deaf maybe"), "the last word must be on or off");
    EXPECT_EQ(error("answer hello fail"), "a hello has no failure status");
    EXPECT_EQ(error("wait rain"), "there is nothing to wait for that is called \"rain\"");
    EXPECT_EQ(error("wait value 5 3"), "value wants an attribute, its bytes and a time-out");
    EXPECT_EQ(error("storm 0 1 5"), "COUNT must be a number from 1 to 1000000, not \"0\"");
    EXPECT_EQ(run("seed x").value("usage", ""), "seed N");
}

TEST_F(Commands, OnChoosesTheDevice) {
    const std::vector<Model> models{Model::MixdeskR2, Model::VoxmicM40};
    VirtualBus two(models, 1);
    CommandInterpreter both(two);
    EXPECT_EQ(both.execute("on m40 plug").answer.value("device", ""), "m40");
    EXPECT_EQ(both.execute("plug r2").answer.value("changed", false), true);
    EXPECT_EQ(both.execute("on m40 set mic_gain 3").answer.value("device", ""), "m40");
    EXPECT_EQ(two.device(0).values().at(5), Bytes{15});
    EXPECT_EQ(two.device(1).values().at(5), Bytes{3});
    EXPECT_EQ(both.execute("on m40 get 3").answer.value("attribute", ""), "auto_gain_on");
    EXPECT_EQ(both.execute("on m40 press").answer.value("error", ""), "m40 has no function button");
}

TEST_F(Commands, PressSendsTheButtonMessage) {
    host.login();
    EXPECT_EQ(run("press").value("notified", 0), 1);
    ASSERT_EQ(host.framesOf(kButtonPressed).size(), 1U);
    EXPECT_EQ(host.framesOf(kButtonPressed)[0].kind, kNotification);
    EXPECT_EQ(host.framesOf(kButtonPressed)[0].payload, Bytes{1});
}

TEST_F(Commands, DeafTellsTheHandlesOfTheDevice) {
    std::vector<bool> told;
    VirtualBus::Listener listener;
    listener.held = [&](VirtualBus::HandleId, bool held) {
        told.push_back(held);
    };
    host.bus.setListener(std::move(listener));
    const VirtualBus::HandleId handle = host.bus.open("vexo-emulator/r2/3").value_or(0);
    ASSERT_NE(handle, 0U);
    host.bus.close(handle);
    EXPECT_EQ(run("deaf on").value("deaf", false), true);
    EXPECT_EQ(told, std::vector<bool>{true}) << "the one handle that is open";
    EXPECT_FALSE(host.bus.isDeaf(handle));
    EXPECT_TRUE(host.bus.isDeaf(host.bus.open("vexo-emulator/r2/3").value_or(0)));
    EXPECT_EQ(run("deaf off").value("deaf", true), false);
    EXPECT_EQ(told.size(), 3U);
}

TEST_F(Commands, TheEchoOfTheBackgroundModeCanBeLost) {
    host.login();
    EXPECT_EQ(run("echo off").value("echo", true), false);
    host.ask(kAttributeWrite, {kAttributeBackgroundMode, 1, 1});
    EXPECT_TRUE(host.framesOf(kAttributeSubscription).empty());
    EXPECT_EQ(run("get background_light_off").value("bytes", ""), "01");
    EXPECT_EQ(run("echo on").value("echo", false), true);
    host.ask(kAttributeWrite, {kAttributeBackgroundMode, 1, 2});
    EXPECT_EQ(toHex(host.last(kAttributeSubscription, kNotification).payload), "0E0102");
    EXPECT_EQ(error("echo"), "on or off is missing");
    EXPECT_EQ(error("echo maybe"), "the last word must be on or off");
}

TEST_F(Commands, MessagesOfAnyShapeCanBeSent) {
    host.login();
    run("send-private 0x8002 30");
    EXPECT_EQ(host.framesOf(0x8002).at(0).payload, Bytes{30});
    run("send-attribute-notification 0 1 9");
    EXPECT_EQ(host.framesOf(34).at(0).payload, (Bytes{0, 1, 9}));
    run("send-frame 1 30 hex:0005");
    EXPECT_EQ(host.framesOf(30).at(0).kind, kResponse);
    host.clear();
    run("send-raw 0x55 0x20 1 2 3");
    ASSERT_EQ(host.reports.size(), 1U);
    EXPECT_EQ(toHex(BytesView(host.reports[0]).first(10)), "01050000552001020300");
}

TEST_F(Commands, WritesReportsAndDumpTellWhatTheHostSentUntilClear) {
    host.login();
    run("clear");
    host.send(kRequest, kAttributeWrite, {5, 1, 12}, 9);
    const Json writes = run("writes");
    ASSERT_EQ(writes.at("writes").size(), 1U);
    const Json& write = writes.at("writes")[0];
    EXPECT_EQ(write.at("attribute"), "mic_gain");
    EXPECT_EQ(write.at("bytes"), "0C");
    EXPECT_EQ(write.at("status"), 0);
    EXPECT_TRUE(run("writes mute").at("writes").empty());

    const Json dump = run("dump 30");
    ASSERT_EQ(dump.at("frames").size(), 1U);
    const Json& frame = dump.at("frames")[0];
    EXPECT_EQ(frame.at("payload"), "05010C");
    EXPECT_EQ(frame.at("sequence"), 9);
    EXPECT_EQ(frame.at("source"), "01011C00");
    EXPECT_EQ(frame.at("destination"), "02030110");
    EXPECT_EQ(frame.at("message"), "attribute write");

    const Json reports = run("reports");
    ASSERT_EQ(reports.at("reports").size(), 1U);
    EXPECT_EQ(reports.at("reports")[0].at("bytes").get<std::string>().substr(0, 8), "01145510");
    EXPECT_EQ(run("reports to-host").at("reports").size(), 1U);
    EXPECT_EQ(run("reports both").at("reports").size(), 2U);

    run("clear");
    EXPECT_TRUE(run("dump").at("frames").empty());
    EXPECT_TRUE(run("writes").at("writes").empty());
    EXPECT_TRUE(run("reports both").at("reports").empty());
}

TEST_F(Commands, WaitHoldsUntilTheConditionDoes) {
    host.sendHello();
    const CommandInterpreter::Wait begun = wait("wait login 200");
    EXPECT_FALSE(interpreter.resolve(begun).has_value());
    host.advance(20);
    host.send(kRequest, kLoginNotice, toBytes(host.deviceAddress()));
    EXPECT_EQ(toLine(interpreter.resolve(begun).value_or(Json())), R"({"ok":true,"waitedMs":20})");
}

TEST_F(Commands, WaitTimesOutWithASentenceAndTheSeed) {
    const CommandInterpreter::Wait begun = wait("wait attribute mic_gain 200");
    host.advance(199);
    EXPECT_FALSE(interpreter.resolve(begun).has_value());
    host.advance(1);
    EXPECT_EQ(toLine(interpreter.resolve(begun).value_or(Json())),
              R"({"ok":false,"error":"no attribute within 200 ms","seed":1})");
}

TEST_F(Commands, EveryConditionHoldsWhenItsEventHasCome) {
    const auto holds = [&](std::string_view line) {
        return wait(line).holds();
    };
    EXPECT_TRUE(holds("wait plugged"));
    EXPECT_FALSE(holds("wait unplugged"));
    EXPECT_TRUE(holds("wait open"));
    EXPECT_FALSE(holds("wait closed"));
    EXPECT_FALSE(holds("wait ready"));
    EXPECT_FALSE(holds("wait message 1"));
    EXPECT_FALSE(holds("wait value 5 1 100"));
    EXPECT_TRUE(holds("wait storm"));
    host.login();
    EXPECT_TRUE(holds("wait login"));
    EXPECT_FALSE(holds("wait ready"));
    host.ask(kNameQuery, {});
    host.ask(kSerialQuery, {0});
    host.ask(kVersionQuery, {});
    EXPECT_TRUE(holds("wait ready"));
    EXPECT_TRUE(holds("wait message 1"));
    EXPECT_FALSE(holds("wait attribute 5"));
    host.ask(kAttributeWrite, {5, 1, 1});
    EXPECT_TRUE(holds("wait attribute 5"));
    EXPECT_TRUE(holds("wait value 5 1 100"));
    EXPECT_FALSE(holds("wait quiet 100"));
    host.advance(100);
    EXPECT_TRUE(holds("wait quiet 100"));
    run("storm 10 100 mic_gain");
    EXPECT_FALSE(holds("wait storm"));
    host.advance(100);
    EXPECT_TRUE(holds("wait storm"));
    run("clear");
    EXPECT_FALSE(holds("wait attribute 5"));
    run("unplug");
    EXPECT_TRUE(holds("wait unplugged"));
    EXPECT_TRUE(holds("wait closed"));
}

TEST_F(Commands, IdentityAndAnswersOutliveARestart) {
    run("identity name N/A");
    run("identity serial A 1");
    run("identity version 3 9");
    run("identity max-payload 40");
    run("answer serial off");
    run("reset 0");
    host.advance(1);
    host.open();
    host.sendHello();
    EXPECT_EQ(host.ask(kNameQuery, {}), "00044E2F4100" + std::string(32, '0'));
    EXPECT_EQ(host.ask(kSerialQuery, {0}), "none");
    run("answer all on");
    EXPECT_EQ(host.ask(kSerialQuery, {0}), "00412031");
    EXPECT_EQ(host.ask(kVersionQuery, {}).substr(18, 4), "0309");
    EXPECT_EQ(run("state").at("identity").at("maxPayload"), 40);
    run("identity name");
    EXPECT_EQ(host.ask(kNameQuery, {}).substr(0, 6), "000100");
}

TEST_F(Commands, PermissionIsToldAndOutlivesARestart) {
    EXPECT_EQ(run("state").at("permission"), "granted");
    EXPECT_EQ(error("permission never"), "the last word must be granted or denied");
    EXPECT_EQ(error("permission"), "granted or denied is missing");
    EXPECT_EQ(toLine(run("permission denied")), R"({"ok":true,"device":"r2","permission":"denied"})");
    run("reset 0");
    host.advance(1);
    EXPECT_EQ(run("devices").at("devices")[0].at("permission"), "denied");
    run("permission granted");
    EXPECT_EQ(run("state").at("permission"), "granted");
}

TEST_F(Commands, HelloOffMakesTheDeviceSilent) {
    run("answer hello off");
    host.sendHello();
    host.advance(5000);
    EXPECT_TRUE(host.framesOf(kHello).empty());
    run("answer hello on");
    host.advance(1100);
    EXPECT_FALSE(host.framesOf(kHello).empty());
}

TEST_F(Commands, PatienceCanBeGiven) {
    run("identity patience 40");
    host.login();
    host.advance(30000);
    EXPECT_EQ(run("state").at("hosts").size(), 1U);
    host.advance(11000);
    EXPECT_TRUE(run("state").at("hosts").empty());
}

TEST_F(Commands, AnUpTimeCanBeGiven) {
    host.advance(500);
    EXPECT_EQ(run("identity up-time 100000").at("identity").at("upTimeMs"), 100000);
}

TEST_F(Commands, FaultsAreListedCountedAndSwitchedOff) {
    host.login();
    EXPECT_EQ(toLine(run("fault late 1 20").at("faults")),
              R"([{"kind":"late","probability":1.0,"amount":20,"direction":"to-host"}])");
    run("fault drop 0.5 to-device");
    EXPECT_EQ(run("faults").at("faults").size(), 2U);
    run("fault drop 0");
    EXPECT_EQ(run("faults").at("faults").size(), 1U);
    host.ask(kNameQuery, {});
    EXPECT_EQ(run("faults").at("happened").at("late"), 1);
    EXPECT_TRUE(run("faults off").at("faults").empty());
    EXPECT_EQ(run("seed 77").at("seed"), 77);
    EXPECT_EQ(run("devices").at("seed"), 77);
}

TEST_F(Commands, StateTellsEverything) {
    host.login();
    run("set mic_gain 31");
    const Json state = run("state");
    EXPECT_EQ(state.at("usb"), "3327:9829");
    EXPECT_EQ(state.at("openHandles"), 1);
    EXPECT_EQ(state.at("hosts")[0].at("address"), "01011C00");
    EXPECT_EQ(state.at("hosts")[0].at("subscribed"), true);
    EXPECT_EQ(toLine(state.at("attributes").at("mic_gain")), R"({"id":5,"bytes":"1F","outOfRange":true})");
    EXPECT_EQ(toLine(state.at("attributes").at("mute")), R"({"id":1,"bytes":"00"})");
    EXPECT_EQ(state.at("identity").at("version"), Json({1, 7}));
    EXPECT_GT(state.at("counters").at("framesToDevice"), 0);
}

TEST_F(Commands, AnAutomaticGainCanBeMadeShort) {
    host.login();
    run("auto-gain 50 10 22");
    run("set auto_gain 1");
    host.advance(50);
    EXPECT_EQ(host.framesOf(kGainLevel).size(), 4U);
    EXPECT_EQ(run("get mic_gain").at("bytes"), "16");
}

TEST_F(Commands, AnAutomaticGainCanReportItsEndBehindTheGain) {
    host.login();
    run("auto-gain 50 10 22 end");
    run("set auto_gain 1");
    host.clear();
    host.advance(50);
    const std::vector<LinkFrame> reports = host.framesOf(kAttributeSubscription);
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_EQ(toHex(reports[0].payload), "050116");
    EXPECT_EQ(toHex(reports[1].payload), "030100");
    EXPECT_FALSE(interpreter.execute("auto-gain 50 10 22 ends").answer.at("ok").get<bool>());
    EXPECT_FALSE(interpreter.execute("auto-gain 50 10 22 end 1").answer.at("ok").get<bool>());
}

TEST_F(Commands, AnAutomaticGainCanBeLeftWithoutAnAnswer) {
    host.login();
    run("auto-gain never");
    run("set auto_gain 1");
    host.clear();
    host.advance(60000);
    EXPECT_TRUE(host.framesOf(kGainLevel).empty());
    EXPECT_TRUE(host.framesOf(kAttributeSubscription).empty());
    EXPECT_EQ(run("get mic_gain").at("bytes"), "0F");
    EXPECT_EQ(run("state").at("autoGain").at("running"), true);
    run("set auto_gain 0");
    EXPECT_EQ(run("state").at("autoGain").at("running"), false);
    EXPECT_FALSE(interpreter.execute("auto-gain never 7").answer.at("ok").get<bool>());
}

TEST_F(Commands, AnAutomaticGainAnswersAgainWhenItIsGivenTimes) {
    host.login();
    run("auto-gain never");
    run("auto-gain 50 10 22");
    run("set auto_gain 1");
    host.advance(50);
    EXPECT_EQ(run("get mic_gain").at("bytes"), "16");
}

// The device starts it: the host is notified, and writes it once more when its window is open.
TEST_F(Commands, AMeasurementOfTheDevicesOwnIsToldAndSurvivesTheHostsOwnStart) {
    host.login();
    run("auto-gain 50 10 22");
    EXPECT_EQ(run("set auto_gain 1").at("notified"), 1);
    host.advance(30);
    host.ask(kAttributeWrite, {3, 1, 1});
    host.clear();
    host.advance(50);
    const std::vector<LinkFrame> reports = host.framesOf(kAttributeSubscription);
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(toHex(reports[0].payload), "050116");
}

TEST_F(Commands, QuitIsTold) {
    EXPECT_TRUE(interpreter.execute("quit").quit);
    EXPECT_FALSE(interpreter.execute("quit now").quit);
}

TEST_F(Commands, ANameThatIsNoUtf8StillGivesJson) {
    host.device().identity.name = "\xFF\xFE";
    EXPECT_TRUE(Json::accept(toLine(run("state"))));
}

TEST_F(Commands, APersonGetsSentences) {
    EXPECT_EQ(friendlyText("get mute", run("get mute")),
              "Done.\n  device: r2\n  attribute: mute\n  id: 1\n  bytes: 00\n");
    EXPECT_EQ(friendlyText("seed", run("seed")), "Not done: N is missing.\nWrite it so: seed N\n");
    EXPECT_NE(friendlyText("help", run("help")).find("  plug [DEVICE]\n"), std::string::npos);
    EXPECT_NE(friendlyText("devices", run("devices")).find("    device r2, model r2"), std::string::npos);
    EXPECT_NE(friendlyWelcome(host.bus, "/a/socket").find("r2, a VEXO Mixdesk R2, plugged in"),
              std::string::npos);
}

// The words that the prompt's first lines set in quotes, in their order.
std::vector<std::string> recommended(const VirtualBus& bus) {
    const std::string text = friendlyWelcome(bus, "/a/socket");
    std::vector<std::string> commands;
    std::size_t from = text.find('"');
    while (from != std::string::npos) {
        const std::size_t to = text.find('"', from + 1);
        commands.push_back(text.substr(from + 1, to - from - 1));
        from = text.find('"', to + 1);
    }
    return commands;
}

TEST(Welcome, RecommendsOnlyWhatTheDeviceTakes) {
    for (const ModelInfo& model : allModels()) {
        VirtualBus bus(std::vector<Model>{model.model}, 1);
        CommandInterpreter interpreter(bus);
        std::vector<std::string> commands = recommended(bus);
        ASSERT_GE(commands.size(), 4U) << model.word;
        EXPECT_EQ(commands.front(), "plug") << model.word;
        EXPECT_EQ(commands.back(), "quit") << model.word;
        commands.pop_back(); // Ends the prompt, which is no matter of the bus.
        for (const std::string& command : commands) {
            const Json answer = interpreter.execute(command).answer;
            EXPECT_TRUE(answer.value("ok", false)) << model.word << ": " << command << ": " << toLine(answer);
            EXPECT_FALSE(answer.value("outOfRange", false)) << model.word << ": " << command;
            if (command == "plug") {
                EXPECT_NE(recommended(bus).front(), "plug") << model.word << " is plugged in already";
            }
        }
    }
}

TEST_F(Commands, TheLoaderTakesItsTimesAndReplies) {
    run("loader return 10");
    run("loader erase 20");
    run("loader program 3 5");
    run("loader version 9 8 7");
    run("loader reply cm_vcrc silent");
    const BootLoader::Settings& settings = host.device().loader->settings;
    EXPECT_EQ(settings.returnMs, 10U);
    EXPECT_EQ(settings.eraseMs, 20U);
    EXPECT_EQ(settings.programMs, 3U);
    EXPECT_EQ(settings.queueDepth, 5U);
    EXPECT_EQ(settings.version[2], 7);
    EXPECT_EQ(settings.replies.at("cm_vcrc"), BootLoader::Reply::Silent);
    EXPECT_EQ(error("loader reply cm_vcrc loud"), "a reply is right, silent, wrong, twice or long");
    EXPECT_EQ(error("loader reply vcrc long"), "the loader has no command \"vcrc\"");
    EXPECT_EQ(error("loader eraser 1"), "the loader has no \"eraser\"");
    EXPECT_EQ(error("upgrade status 1"), "r2 is no microphone");
}

TEST_F(Commands, AMixerWithoutFirmwareIsItsBootloader) {
    const CommandInterpreter::Wait boot = wait("wait boot");
    EXPECT_EQ(run("state").at("firmware").dump(),
              R"({"step":"app","received":0,"refusals":{},"version":[1,7]})");
    run("loader boot");
    host.advance(399);
    EXPECT_FALSE(boot.holds());
    host.advance(1);
    EXPECT_TRUE(boot.holds());
    EXPECT_EQ(run("state").value("usb", ""), "3327:0820");
    EXPECT_EQ(run("state").at("firmware").value("step", ""), "idle");
    EXPECT_TRUE(wait("wait upgrade idle").holds());
    EXPECT_FALSE(wait("wait flash").holds());
}

TEST_F(Commands, ACutUnplugsTheDeviceOnce) {
    EXPECT_EQ(toLine(run("cut to-device 2 100")), R"({"ok":true,"device":"r2","pending":true})");
    host.sendHello();
    EXPECT_TRUE(host.bus.isPlugged(0));
    EXPECT_FALSE(host.bus.write(host.handle, {1, 0}));
    EXPECT_FALSE(host.bus.isPlugged(0));
    host.advance(100);
    EXPECT_TRUE(host.bus.isPlugged(0));
    EXPECT_EQ(run("cut step cm_rest before").value("pending", false), true);
    EXPECT_EQ(run("cut off").value("pending", true), false);
    EXPECT_EQ(error("cut step cm_rust before"), "no device takes a step \"cm_rust\"");
    EXPECT_EQ(error("cut step cm_rest during"), "a cut is before or after the step");
    EXPECT_EQ(error("cut here"), "the first word must be to-device, to-host, step or off");
    EXPECT_NE(error("cut to-device 0"), "");
    EXPECT_FALSE(host.bus.cutIsPending(0)) << "a refused command cuts nothing";
}

TEST(MicrophoneCommands, SetTheUpgradeAndShowTheFlash) {
    TestHost host(Model::VoxmicM40);
    host.login();
    CommandInterpreter interpreter(host.bus);
    const auto run = [&](std::string_view line) {
        return interpreter.execute(line).answer;
    };
    for (const std::string_view line :
         {"upgrade status 3", "upgrade block 100", "upgrade size 3", "upgrade verdict 0", "upgrade pace 0",
          "upgrade stall off", "upgrade-ack on"}) {
        EXPECT_TRUE(run(line).value("ok", false)) << line;
    }
    const MicrophoneFlash::Settings& settings = host.device().upgrade->settings;
    EXPECT_EQ(settings.status, 3);
    EXPECT_EQ(settings.blockSize, 100);
    EXPECT_EQ(settings.imageSize, 3U);
    EXPECT_EQ(settings.verdict, std::uint8_t{0});
    EXPECT_FALSE(run("loader boot").value("ok", true));
    EXPECT_FALSE(run("upgrade block 0").value("ok", true));
    EXPECT_FALSE(run("upgrade colour 1").value("ok", true));

    host.clear();
    run("upgrade-request 0x10 2 7");
    EXPECT_EQ(toHex(BytesView(host.last(kUpgradeFrame, kNotification).payload).subspan(4)), "810700"
                                                                                            "10000000020007");

    run("upgrade status 0");
    host.send(kRequest, kUpgradeFrame, bytes("AA55C86E80010000"), 5);
    host.send(kRequest, kUpgradeFrame, bytes("AA5509D8810900000000000300010203"), 6);
    EXPECT_EQ(run("flash 1 2").value("bytes", ""), "0203") << run("state").dump();
    EXPECT_EQ(run("flash").value("size", 0), 3);
    EXPECT_TRUE(run("flash").value("confirmed", false));
    EXPECT_FALSE(run("flash 3 1").value("ok", true));
}

} // namespace
} // namespace vexo::emulator
