#include "mixer/EndpointClassification.h"
#include "tests/support/mixer/FakeRouterPlatform.h"
#include "tests/support/mixer/RouterLogCapture.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

constexpr EndpointFlow kPlays = EndpointFlow::Render;
constexpr EndpointFlow kRecords = EndpointFlow::Capture;

class EndpointClassification : public testing::Test {
protected:
    static bool real(const AudioEndpoint& endpoint) { return IsRealHardwareDevice(&endpoint); }
    static bool builtIn(const AudioEndpoint& endpoint) { return IsBuiltInDevice(&endpoint); }

    // The last line that IsBuiltInDevice() says of an endpoint with this id and name.
    std::string verdict(const std::string& id, const std::string& name) {
        static_cast<void>(builtIn(fakeEndpoint(name, id)));
        const Lines lines = log.take();
        return lines.empty() ? std::string() : lines.back();
    }

    bool setDefault(const std::string& deviceGuid, bool isRender = true) {
        return SetDefaultAudioDevice(endpoints, *system.platform().session, deviceGuid, isRender);
    }

    RouterLogCapture log;
    FakeRouterPlatform system;
    FakeEndpoints& endpoints = *system.endpoints;
};

const std::string kExternal = "[IsBuiltInDevice] Detected as EXTERNAL (USB/Bluetooth)";
const std::string kHdAudio = "[IsBuiltInDevice] Detected as BUILT-IN (HDAudio/Intel Audio)";
const std::string kFunction = "[IsBuiltInDevice] Detected as BUILT-IN (HDAudio Function)";
const std::string kSpeaker = "[IsBuiltInDevice] Detected as BUILT-IN (Speaker name heuristic)";
const std::string kUnknown = "[IsBuiltInDevice] Cannot determine, defaulting to EXTERNAL";

} // namespace

// Real hardware

TEST_F(EndpointClassification, ConnectorsMakeAnEndpointReal) {
    EXPECT_TRUE(real(fakeEndpoint("Headset", "{0.0.0.00000000}.{a}", 1)));
    EXPECT_TRUE(real(fakeEndpoint("", "", 7)));
}

TEST_F(EndpointClassification, NoDeviceTopologyOrNoConnectorsIsNotRealWhateverTheName) {
    AudioEndpoint endpoint = fakeEndpoint("Speakers (Realtek High Definition Audio)", "{a}", 0);
    EXPECT_FALSE(real(endpoint));
    endpoint.connectorCount.reset();
    EXPECT_FALSE(real(endpoint));
}

TEST_F(EndpointClassification, NullDeviceIsNeitherRealNorBuiltIn) {
    EXPECT_FALSE(IsRealHardwareDevice(nullptr));
    EXPECT_FALSE(IsBuiltInDevice(nullptr));
    EXPECT_TRUE(log.take().empty());
}

TEST_F(EndpointClassification, WordsOfVirtualDriversInTheNameExcludeInAnyCase) {
    for (const char* const name : {"My Virtual Out", "CABLE Input", "VB-Audio Point", "VoiceMeeter In",
                                   "Loopback 1", "a virtual", "cable"}) {
        EXPECT_FALSE(real(fakeEndpoint(name, "{a}", 3))) << testing::PrintToString(std::string(name));
    }
}

TEST_F(EndpointClassification, LoopbackInTheIdHasNoEffect) {
    EXPECT_TRUE(real(fakeEndpoint("Headset", "hdaudio\\loopback", 1)));
    EXPECT_FALSE(real(fakeEndpoint("Headset Loopback", "hdaudio\\x", 1)));
}

TEST_F(EndpointClassification, SoftwareBusesInTheIdExclude) {
    EXPECT_FALSE(real(fakeEndpoint("Headset", "SWD\\MMDEVAPI\\x", 1)));
    EXPECT_FALSE(real(fakeEndpoint("Headset", "Root\\MEDIA", 1)));
    EXPECT_TRUE(real(fakeEndpoint("Headset", "swd#root#", 1)));
}

TEST_F(EndpointClassification, AnUnreadableNameOrIdSkipsItsTestOnly) {
    AudioEndpoint endpoint = fakeEndpoint("x", "x", 1);
    endpoint.friendlyName.reset();
    endpoint.id.reset();
    EXPECT_TRUE(real(endpoint));
}

TEST_F(EndpointClassification, SpeakerAndCableInTheNameIsNotReal) {
    EXPECT_FALSE(real(fakeEndpoint("Speaker (Virtual Cable)", "hdaudio\\x", 1)));
    EXPECT_FALSE(real(fakeEndpoint("Cable Speaker", "hdaudio\\x", 1)));
}

// Built in

TEST_F(EndpointClassification, EveryWordOfPluggedBusesInTheIdIsExternal) {
    for (const char* const id : {"USB\\VID_1", "x usb#vid", "BTHENUM\\a", "bthenum#a", "Bluetooth headset"}) {
        EXPECT_EQ(verdict(id, "Speakers"), kExternal) << testing::PrintToString(std::string(id));
    }
}

TEST_F(EndpointClassification, EveryWordOfBuiltInBusesInTheIdIsBuiltIn) {
    for (const char* const id : {"HDAUDIO\\FUNC", "hdaudio#x", "xHdAudFuncx", "INTELAUDIO\\x", "intelaudio#x",
                                 "{Realtek}", "MSMMDEV"}) {
        EXPECT_EQ(verdict(id, "Anything"), kHdAudio) << testing::PrintToString(std::string(id));
    }
}

TEST_F(EndpointClassification, FunctionNumbersInTheIdAreBuiltIn) {
    EXPECT_EQ(verdict("x&FUNC_01&y", ""), kFunction);
    EXPECT_EQ(verdict("func_02", ""), kFunction);
    EXPECT_EQ(verdict("func_03", ""), kUnknown);
}

TEST_F(EndpointClassification, PluggedWordsComeBeforeBuiltInWords) {
    EXPECT_EQ(verdict("usb#realtek#func_01", "Speaker"), kExternal);
    EXPECT_EQ(verdict("hdaudio#func_01", "Speaker"), kHdAudio);
    EXPECT_EQ(verdict("func_01", "Speaker"), kFunction);
}

TEST_F(EndpointClassification, SpeakerAndRealtekInTheNameAreBuiltInByTheHeuristic) {
    const AudioEndpoint endpoint = fakeEndpoint("Speaker (Realtek Audio)", "{0.0.0}.{1}");
    EXPECT_TRUE(builtIn(endpoint));
    EXPECT_EQ(log.take(), (Lines{"[IsBuiltInDevice] Device ID: {0.0.0}.{1}", kSpeaker}));
}

TEST_F(EndpointClassification, RealtekInTheNameAloneDoesNotCount) {
    EXPECT_EQ(verdict("{1}", "Headphones (Realtek Audio)"), kUnknown);
}

TEST_F(EndpointClassification, ChineseSpeakerCountsAsSpeaker) {
    EXPECT_EQ(verdict("{1}", "扬声器 (Audio)"), kSpeaker);
}

TEST_F(EndpointClassification, ChineseSpeakerWithBareUsbInTheIdIsNotBuiltIn) {
    EXPECT_FALSE(builtIn(fakeEndpoint("扬声器 (Audio)", "{usbdevice}")));
    EXPECT_EQ(log.take(), (Lines{"[IsBuiltInDevice] Device ID: {usbdevice}", kUnknown}));
}

TEST_F(EndpointClassification, SpeakerHeuristicGivesWayToPluggedAndVirtualWords) {
    EXPECT_EQ(verdict("{bth}", "Speaker"), kUnknown);
    EXPECT_EQ(verdict("{1}", "Virtual Speaker"), kUnknown);
    EXPECT_EQ(verdict("{1}", "Speaker Cable"), kUnknown);
}

TEST_F(EndpointClassification, AnUnreadableIdCannotBeDetermined) {
    AudioEndpoint endpoint = fakeEndpoint("Speaker", "");
    endpoint.id.reset();
    EXPECT_FALSE(builtIn(endpoint));
    EXPECT_EQ(log.take(), (Lines{kUnknown}));
}

// The first real output

TEST_F(EndpointClassification, BuiltInOutputIsPreferredOverAnEarlierPluggedOne) {
    endpoints.add(kPlays, fakeEndpoint("CABLE Input", "{v}", 0));
    endpoints.add(kPlays, fakeEndpoint("USB Headset", "usb#1"));
    endpoints.add(kPlays, fakeEndpoint("Speakers", "hdaudio#1"));
    endpoints.add(kPlays, fakeEndpoint("Speakers 2", "hdaudio#2"));
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, true), "hdaudio#1");
    const std::string third = "[DEBUG] Device 2: Speakers (Real: YES, BuiltIn: YES, GUID: hdaudio#1, "
                              "DeviceID: hdaudio#1)";
    EXPECT_EQ(log.take(),
              (Lines{"[DEBUG] Enumerating 4 audio devices...", "[IsBuiltInDevice] Device ID: {v}", kUnknown,
                     "[DEBUG] Device 0: CABLE Input (Real: NO, BuiltIn: NO, GUID: {v}, DeviceID: {v})",
                     "[IsBuiltInDevice] Device ID: usb#1", kExternal,
                     "[DEBUG] Device 1: USB Headset (Real: YES, BuiltIn: NO, GUID: usb#1, DeviceID: usb#1)",
                     "[IsBuiltInDevice] Device ID: hdaudio#1", kHdAudio, third,
                     "[INFO] Found built-in hardware device: Speakers (hdaudio#1)"}));
}

TEST_F(EndpointClassification, WithoutABuiltInOutputTheFirstRealOneIsTakenWithoutFurtherLines) {
    endpoints.add(kPlays, fakeEndpoint("CABLE Input", "{v}", 0));
    endpoints.add(kPlays, fakeEndpoint("USB Headset", "usb#1"));
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, true), "usb#1");
    const Lines lines = log.take();
    ASSERT_EQ(lines.size(), 9u);
    EXPECT_EQ(lines[7], "[DEBUG] No built-in device found, searching for any real hardware device...");
    EXPECT_EQ(lines[8], "[INFO] Found real hardware device: USB Headset (External, usb#1)");
}

TEST_F(EndpointClassification, WithoutPreferenceTheFirstRealOutputWinsAndEachIsLogged) {
    endpoints.add(kPlays, fakeEndpoint("Line", "{v}", 0));
    endpoints.add(kPlays, fakeEndpoint("Speakers", "hdaudio#1"));
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, false), "hdaudio#1");
    EXPECT_EQ(log.take(), (Lines{"[DEBUG] Enumerating 2 audio devices...", "[IsBuiltInDevice] Device ID: {v}",
                                 kUnknown, "[DEBUG] Device 0: Line (Real: NO, BuiltIn: NO, GUID: {v})",
                                 "[IsBuiltInDevice] Device ID: hdaudio#1", kHdAudio,
                                 "[DEBUG] Device 1: Speakers (Real: YES, BuiltIn: YES, GUID: hdaudio#1)",
                                 "[INFO] Found real hardware device: Speakers (Built-in, hdaudio#1)"}));
}

TEST_F(EndpointClassification, NoActiveRenderEndpointLogsTheWarningWithACountOfZero) {
    endpoints.add(kRecords, fakeEndpoint("Microphone", "hdaudio#1", 1, kRecords));
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, true), "");
    EXPECT_EQ(log.take(),
              (Lines{"[DEBUG] Enumerating 0 audio devices...",
                     "[DEBUG] No built-in device found, searching for any real hardware device...",
                     "[WARNING] No real hardware device found among 0 devices."}));
}

TEST_F(EndpointClassification, ARealOutputWithoutAnIdIsPassedOver) {
    AudioEndpoint nameless = fakeEndpoint("Speakers", "");
    endpoints.add(kPlays, nameless);
    nameless.id.reset();
    endpoints.add(kPlays, nameless);
    endpoints.add(kPlays, fakeEndpoint("Headset", "usb#1"));
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, true), "usb#1");
}

TEST_F(EndpointClassification, ANullEntryIsLoggedAndCountedButNeverChosen) {
    endpoints.addNull(kPlays);
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, false), "");
    EXPECT_EQ(log.take(), (Lines{"[DEBUG] Enumerating 1 audio devices...",
                                 "[DEBUG] Device 0:  (Real: NO, BuiltIn: NO, GUID: )",
                                 "[WARNING] No real hardware device found among 1 devices."}));
}

TEST_F(EndpointClassification, EachStepOfAFailedEnumerationHasItsLine) {
    const std::vector<std::pair<EnumerationStep, std::string>> cases{
        {EnumerationStep::Enumerator, "[DEBUG] Failed to create device enumerator."},
        {EnumerationStep::Enumeration, "[DEBUG] Failed to enumerate audio endpoints."},
        {EnumerationStep::Count, "[DEBUG] Failed to get device count."}};
    for (const auto& [step, line] : cases) {
        endpoints.failBothFlows(step);
        EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, true), "");
        EXPECT_EQ(log.take(), (Lines{line}));
    }
}

TEST_F(EndpointClassification, DefaultOutputComesFromTheSystemWithoutALine) {
    EXPECT_EQ(GetDefaultDeviceGuid(endpoints), "");
    endpoints.defaultId = "{default}";
    EXPECT_EQ(GetDefaultDeviceGuid(endpoints), "{default}");
    EXPECT_TRUE(log.take().empty());
}

// Name or id

TEST_F(EndpointClassification, AnEmptyValueFindsNothingWithoutALine) {
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, "", false), "");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(EndpointClassification, ANameWithAHyphenIsGivenBackAsAnIdWithoutASearch) {
    endpoints.add(kPlays, fakeEndpoint("VB-Audio Point", "{vb}", 0));
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, "VB-Audio Point", true), "VB-Audio Point");
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, "{x", true), "{x");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(EndpointClassification, FiftyCharactersAreANameAndFiftyOneAnId) {
    const std::string name(50, 'a');
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, name, false), "");
    EXPECT_EQ(log.take(), (Lines{"[FindDeviceGuidByNameOrGuid] Device not found by name/GUID: " + name}));
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, name + "a", false), name + "a");
    EXPECT_TRUE(log.take().empty());
    // Characters, not bytes.
    std::string chinese;
    for (int character = 0; character < 50; ++character) {
        chinese += "扬";
    }
    endpoints.add(kPlays, fakeEndpoint("Point " + chinese, "{c}", 0));
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, chinese, false), "{c}");
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, chinese + "扬", false), chinese + "扬");
}

TEST_F(EndpointClassification, APartOfANameInAnyCaseFindsTheFirstOutputBeforeAnyInput) {
    endpoints.add(kRecords, fakeEndpoint("CABLE Output", "{in}", 0, kRecords));
    endpoints.add(kPlays, fakeEndpoint("Speakers", "{spk}"));
    endpoints.add(kPlays, fakeEndpoint("CABLE Input", "{out}", 0));
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, "cABLe", false), "{out}");
    EXPECT_EQ(log.take(),
              (Lines{"[FindDeviceGuidByNameOrGuid] Found device by name: \"CABLE Input\" -> GUID: {out}"}));
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, "output", false), "{in}");
}

TEST_F(EndpointClassification, VirtualOnlySkipsRealHardware) {
    endpoints.add(kPlays, fakeEndpoint("Stream Speakers", "{real}"));
    endpoints.add(kPlays, fakeEndpoint("Stream Point", "{virtual}", 0));
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, "stream", true), "{virtual}");
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, "stream", false), "{real}");
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, "speakers", true), "");
}

TEST_F(EndpointClassification, AFailedFlowIsSkippedAndAFailedEnumeratorEndsTheSearch) {
    endpoints.add(kRecords, fakeEndpoint("Point", "{in}", 0, kRecords));
    endpoints.fail(kPlays, EnumerationStep::Enumeration);
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, "point", true), "{in}");
    static_cast<void>(log.take());
    endpoints.failBothFlows(EnumerationStep::Enumerator);
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, "point", true), "");
    EXPECT_EQ(log.take(), (Lines{"[FindDeviceGuidByNameOrGuid] Failed to create device enumerator"}));
}

TEST_F(EndpointClassification, AnEnumeratorThatFailsForTheInputsAloneIsAFlowSkipped) {
    endpoints.fail(kRecords, EnumerationStep::Enumerator);
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, "point", true), "");
    EXPECT_EQ(log.take(), (Lines{"[FindDeviceGuidByNameOrGuid] Device not found by name/GUID: point"}));
}

// Setting the default

TEST_F(EndpointClassification, SettingTheDefaultNeedsAnId) {
    EXPECT_FALSE(setDefault(""));
    EXPECT_EQ(log.take(), (Lines{"[SetDefaultAudioDevice] Error: deviceGuid is empty"}));
    EXPECT_TRUE(system.journal.take().empty());
}

TEST_F(EndpointClassification, SettingTheDefaultFindsAnIdInAnyCaseAndPartsAsTheyStand) {
    endpoints.add(kPlays, fakeEndpoint("Speakers", "{ABC-1}"));
    endpoints.add(kPlays, fakeEndpoint("Headset", "{abc-2}"));
    endpoints.add(kRecords, fakeEndpoint("Microphone", "{abc-3}", 1, kRecords));
    EXPECT_TRUE(setDefault("{abc-1}"));
    EXPECT_EQ(log.take(), (Lines{"[SetDefaultAudioDevice] Found target device: Speakers (ID: {ABC-1})",
                                 "[SetDefaultAudioDevice] Successfully set device as default: {abc-1}"}));
    EXPECT_TRUE(setDefault("abc"));
    EXPECT_TRUE(setDefault("abc", false));
    EXPECT_EQ(system.journal.take(),
              (std::vector<std::string>{"session.enter", "setDefault render {ABC-1}", "session.leave",
                                        "session.enter", "setDefault render {abc-2}", "session.leave",
                                        "session.enter", "setDefault capture {abc-3}", "session.leave"}));
}

TEST_F(EndpointClassification, SettingTheDefaultStaysInASessionThatWasEnteredBefore) {
    for (const SessionEntry entry : {SessionEntry::Again, SessionEntry::Foreign, SessionEntry::Refused}) {
        system.sessionEntry = entry;
        EXPECT_FALSE(setDefault("{nothing}"));
        EXPECT_EQ(system.journal.take(), (std::vector<std::string>{"session.enter"}));
    }
    EXPECT_TRUE(log.contains("[SetDefaultAudioDevice] Error: Device not found with GUID: {nothing}"));
}

TEST_F(EndpointClassification, SettingTheDefaultLogsWhatFailedAndLeavesTheSession) {
    const std::vector<std::string> undone{"session.enter", "session.leave"};
    endpoints.failBothFlows(EnumerationStep::Enumerator, SoundResult{SoundError::Refused, 0x80040154});
    EXPECT_FALSE(setDefault("{a}"));
    EXPECT_EQ(log.take(), (Lines{"[SetDefaultAudioDevice] Failed to create device enumerator: 0x80040154"}));
    EXPECT_EQ(system.journal.take(), undone);
    endpoints.failBothFlows(EnumerationStep::Enumeration, SoundResult{SoundError::Refused, 0x8007000E});
    EXPECT_FALSE(setDefault("{a}"));
    EXPECT_EQ(log.take(), (Lines{"[SetDefaultAudioDevice] Failed to enumerate devices: 0x8007000e"}));
    EXPECT_EQ(system.journal.take(), undone);
}

TEST_F(EndpointClassification, AMissingPolicyObjectAndARefusalHaveTheirLines) {
    endpoints.add(kPlays, fakeEndpoint("Speakers", "{a}"));
    const std::string found = "[SetDefaultAudioDevice] Found target device: Speakers (ID: {a})";
    endpoints.setDefaultOutcome = {SetDefaultStep::Policy, SoundResult{SoundError::Refused, 0x80040154}};
    EXPECT_FALSE(setDefault("{a}"));
    EXPECT_EQ(log.take(),
              (Lines{found, "[SetDefaultAudioDevice] Failed to create IPolicyConfig: 0x80040154",
                     "[SetDefaultAudioDevice] Note: This operation may require administrator privileges",
                     "[SetDefaultAudioDevice] Note: Make sure polstore.dll is available on your system"}));
    endpoints.setDefaultOutcome = {SetDefaultStep::Set, SoundResult{SoundError::Refused, 0x80070005}};
    EXPECT_FALSE(setDefault("{a}"));
    EXPECT_EQ(log.take(), (Lines{found, "[SetDefaultAudioDevice] Failed to set default endpoint: 0x80070005",
                                 "[SetDefaultAudioDevice] Error code: -2147024891"}));
    EXPECT_EQ(system.journal.take().back(), "session.leave");
}
