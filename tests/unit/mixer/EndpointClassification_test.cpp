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
    std::wstring verdict(const std::wstring& id, const std::wstring& name) {
        static_cast<void>(builtIn(fakeEndpoint(name, id)));
        const Lines lines = log.take();
        return lines.empty() ? std::wstring() : lines.back();
    }

    bool setDefault(const std::wstring& deviceGuid, bool isRender = true) {
        return SetDefaultAudioDevice(endpoints, *system.platform().com, deviceGuid, isRender);
    }

    RouterLogCapture log;
    FakeRouterPlatform system;
    FakeEndpoints& endpoints = *system.endpoints;
};

const std::wstring kExternal = L"[IsBuiltInDevice] Detected as EXTERNAL (USB/Bluetooth)";
const std::wstring kHdAudio = L"[IsBuiltInDevice] Detected as BUILT-IN (HDAudio/Intel Audio)";
const std::wstring kFunction = L"[IsBuiltInDevice] Detected as BUILT-IN (HDAudio Function)";
const std::wstring kSpeaker = L"[IsBuiltInDevice] Detected as BUILT-IN (Speaker name heuristic)";
const std::wstring kUnknown = L"[IsBuiltInDevice] Cannot determine, defaulting to EXTERNAL";

} // namespace

// Real hardware

TEST_F(EndpointClassification, ConnectorsMakeAnEndpointReal) {
    EXPECT_TRUE(real(fakeEndpoint(L"Headset", L"{0.0.0.00000000}.{a}", 1)));
    EXPECT_TRUE(real(fakeEndpoint(L"", L"", 7)));
}

TEST_F(EndpointClassification, NoDeviceTopologyOrNoConnectorsIsNotRealWhateverTheName) {
    AudioEndpoint endpoint = fakeEndpoint(L"Speakers (Realtek High Definition Audio)", L"{a}", 0);
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
    for (const wchar_t* const name : {L"My Virtual Out", L"CABLE Input", L"VB-Audio Point", L"VoiceMeeter In",
                                      L"Loopback 1", L"a virtual", L"cable"}) {
        EXPECT_FALSE(real(fakeEndpoint(name, L"{a}", 3))) << testing::PrintToString(std::wstring(name));
    }
}

TEST_F(EndpointClassification, LoopbackInTheIdHasNoEffect) {
    EXPECT_TRUE(real(fakeEndpoint(L"Headset", L"hdaudio\\loopback", 1)));
    EXPECT_FALSE(real(fakeEndpoint(L"Headset Loopback", L"hdaudio\\x", 1)));
}

TEST_F(EndpointClassification, SoftwareBusesInTheIdExclude) {
    EXPECT_FALSE(real(fakeEndpoint(L"Headset", L"SWD\\MMDEVAPI\\x", 1)));
    EXPECT_FALSE(real(fakeEndpoint(L"Headset", L"Root\\MEDIA", 1)));
    EXPECT_TRUE(real(fakeEndpoint(L"Headset", L"swd#root#", 1)));
}

TEST_F(EndpointClassification, AnUnreadableNameOrIdSkipsItsTestOnly) {
    AudioEndpoint endpoint = fakeEndpoint(L"x", L"x", 1);
    endpoint.friendlyName.reset();
    endpoint.id.reset();
    EXPECT_TRUE(real(endpoint));
}

TEST_F(EndpointClassification, SpeakerAndCableInTheNameIsNotReal) {
    EXPECT_FALSE(real(fakeEndpoint(L"Speaker (Virtual Cable)", L"hdaudio\\x", 1)));
    EXPECT_FALSE(real(fakeEndpoint(L"Cable Speaker", L"hdaudio\\x", 1)));
}

// Built in

TEST_F(EndpointClassification, EveryWordOfPluggedBusesInTheIdIsExternal) {
    for (const wchar_t* const id :
         {L"USB\\VID_1", L"x usb#vid", L"BTHENUM\\a", L"bthenum#a", L"Bluetooth headset"}) {
        EXPECT_EQ(verdict(id, L"Speakers"), kExternal) << testing::PrintToString(std::wstring(id));
    }
}

TEST_F(EndpointClassification, EveryWordOfBuiltInBusesInTheIdIsBuiltIn) {
    for (const wchar_t* const id : {L"HDAUDIO\\FUNC", L"hdaudio#x", L"xHdAudFuncx", L"INTELAUDIO\\x",
                                    L"intelaudio#x", L"{Realtek}", L"MSMMDEV"}) {
        EXPECT_EQ(verdict(id, L"Anything"), kHdAudio) << testing::PrintToString(std::wstring(id));
    }
}

TEST_F(EndpointClassification, FunctionNumbersInTheIdAreBuiltIn) {
    EXPECT_EQ(verdict(L"x&FUNC_01&y", L""), kFunction);
    EXPECT_EQ(verdict(L"func_02", L""), kFunction);
    EXPECT_EQ(verdict(L"func_03", L""), kUnknown);
}

TEST_F(EndpointClassification, PluggedWordsComeBeforeBuiltInWords) {
    EXPECT_EQ(verdict(L"usb#realtek#func_01", L"Speaker"), kExternal);
    EXPECT_EQ(verdict(L"hdaudio#func_01", L"Speaker"), kHdAudio);
    EXPECT_EQ(verdict(L"func_01", L"Speaker"), kFunction);
}

TEST_F(EndpointClassification, SpeakerAndRealtekInTheNameAreBuiltInByTheHeuristic) {
    const AudioEndpoint endpoint = fakeEndpoint(L"Speaker (Realtek Audio)", L"{0.0.0}.{1}");
    EXPECT_TRUE(builtIn(endpoint));
    EXPECT_EQ(log.take(), (Lines{L"[IsBuiltInDevice] Device ID: {0.0.0}.{1}", kSpeaker}));
}

TEST_F(EndpointClassification, RealtekInTheNameAloneDoesNotCount) {
    EXPECT_EQ(verdict(L"{1}", L"Headphones (Realtek Audio)"), kUnknown);
}

TEST_F(EndpointClassification, ChineseSpeakerCountsAsSpeaker) {
    EXPECT_EQ(verdict(L"{1}", L"扬声器 (Audio)"), kSpeaker);
}

TEST_F(EndpointClassification, ChineseSpeakerWithBareUsbInTheIdIsNotBuiltIn) {
    EXPECT_FALSE(builtIn(fakeEndpoint(L"扬声器 (Audio)", L"{usbdevice}")));
    EXPECT_EQ(log.take(), (Lines{L"[IsBuiltInDevice] Device ID: {usbdevice}", kUnknown}));
}

TEST_F(EndpointClassification, SpeakerHeuristicGivesWayToPluggedAndVirtualWords) {
    EXPECT_EQ(verdict(L"{bth}", L"Speaker"), kUnknown);
    EXPECT_EQ(verdict(L"{1}", L"Virtual Speaker"), kUnknown);
    EXPECT_EQ(verdict(L"{1}", L"Speaker Cable"), kUnknown);
}

TEST_F(EndpointClassification, AnUnreadableIdCannotBeDetermined) {
    AudioEndpoint endpoint = fakeEndpoint(L"Speaker", L"");
    endpoint.id.reset();
    EXPECT_FALSE(builtIn(endpoint));
    EXPECT_EQ(log.take(), (Lines{kUnknown}));
}

// The first real output

TEST_F(EndpointClassification, BuiltInOutputIsPreferredOverAnEarlierPluggedOne) {
    endpoints.add(kPlays, fakeEndpoint(L"CABLE Input", L"{v}", 0));
    endpoints.add(kPlays, fakeEndpoint(L"USB Headset", L"usb#1"));
    endpoints.add(kPlays, fakeEndpoint(L"Speakers", L"hdaudio#1"));
    endpoints.add(kPlays, fakeEndpoint(L"Speakers 2", L"hdaudio#2"));
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, true), L"hdaudio#1");
    const std::wstring third = L"[DEBUG] Device 2: Speakers (Real: YES, BuiltIn: YES, GUID: hdaudio#1, "
                               L"DeviceID: hdaudio#1)";
    EXPECT_EQ(log.take(),
              (Lines{L"[DEBUG] Enumerating 4 audio devices...", L"[IsBuiltInDevice] Device ID: {v}", kUnknown,
                     L"[DEBUG] Device 0: CABLE Input (Real: NO, BuiltIn: NO, GUID: {v}, DeviceID: {v})",
                     L"[IsBuiltInDevice] Device ID: usb#1", kExternal,
                     L"[DEBUG] Device 1: USB Headset (Real: YES, BuiltIn: NO, GUID: usb#1, DeviceID: usb#1)",
                     L"[IsBuiltInDevice] Device ID: hdaudio#1", kHdAudio, third,
                     L"[INFO] Found built-in hardware device: Speakers (hdaudio#1)"}));
}

TEST_F(EndpointClassification, WithoutABuiltInOutputTheFirstRealOneIsTakenWithoutFurtherLines) {
    endpoints.add(kPlays, fakeEndpoint(L"CABLE Input", L"{v}", 0));
    endpoints.add(kPlays, fakeEndpoint(L"USB Headset", L"usb#1"));
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, true), L"usb#1");
    const Lines lines = log.take();
    ASSERT_EQ(lines.size(), 9u);
    EXPECT_EQ(lines[7], L"[DEBUG] No built-in device found, searching for any real hardware device...");
    EXPECT_EQ(lines[8], L"[INFO] Found real hardware device: USB Headset (External, usb#1)");
}

TEST_F(EndpointClassification, WithoutPreferenceTheFirstRealOutputWinsAndEachIsLogged) {
    endpoints.add(kPlays, fakeEndpoint(L"Line", L"{v}", 0));
    endpoints.add(kPlays, fakeEndpoint(L"Speakers", L"hdaudio#1"));
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, false), L"hdaudio#1");
    EXPECT_EQ(log.take(),
              (Lines{L"[DEBUG] Enumerating 2 audio devices...", L"[IsBuiltInDevice] Device ID: {v}", kUnknown,
                     L"[DEBUG] Device 0: Line (Real: NO, BuiltIn: NO, GUID: {v})",
                     L"[IsBuiltInDevice] Device ID: hdaudio#1", kHdAudio,
                     L"[DEBUG] Device 1: Speakers (Real: YES, BuiltIn: YES, GUID: hdaudio#1)",
                     L"[INFO] Found real hardware device: Speakers (Built-in, hdaudio#1)"}));
}

TEST_F(EndpointClassification, NoActiveRenderEndpointLogsTheWarningWithACountOfZero) {
    endpoints.add(kRecords, fakeEndpoint(L"Microphone", L"hdaudio#1", 1, kRecords));
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, true), L"");
    EXPECT_EQ(log.take(),
              (Lines{L"[DEBUG] Enumerating 0 audio devices...",
                     L"[DEBUG] No built-in device found, searching for any real hardware device...",
                     L"[WARNING] No real hardware device found among 0 devices."}));
}

TEST_F(EndpointClassification, ARealOutputWithoutAnIdIsPassedOver) {
    AudioEndpoint nameless = fakeEndpoint(L"Speakers", L"");
    endpoints.add(kPlays, nameless);
    nameless.id.reset();
    endpoints.add(kPlays, nameless);
    endpoints.add(kPlays, fakeEndpoint(L"Headset", L"usb#1"));
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, true), L"usb#1");
}

TEST_F(EndpointClassification, ANullEntryIsLoggedAndCountedButNeverChosen) {
    endpoints.addNull(kPlays);
    EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, false), L"");
    EXPECT_EQ(log.take(), (Lines{L"[DEBUG] Enumerating 1 audio devices...",
                                 L"[DEBUG] Device 0:  (Real: NO, BuiltIn: NO, GUID: )",
                                 L"[WARNING] No real hardware device found among 1 devices."}));
}

TEST_F(EndpointClassification, EachStepOfAFailedEnumerationHasItsLine) {
    const std::vector<std::pair<EnumerationStep, std::wstring>> cases{
        {EnumerationStep::Enumerator, L"[DEBUG] Failed to create device enumerator."},
        {EnumerationStep::Enumeration, L"[DEBUG] Failed to enumerate audio endpoints."},
        {EnumerationStep::Count, L"[DEBUG] Failed to get device count."}};
    for (const auto& [step, line] : cases) {
        endpoints.failBothFlows(step);
        EXPECT_EQ(FindFirstRealHardwareDevice(endpoints, true), L"");
        EXPECT_EQ(log.take(), (Lines{line}));
    }
}

TEST_F(EndpointClassification, DefaultOutputComesFromTheSystemWithoutALine) {
    EXPECT_EQ(GetDefaultDeviceGuid(endpoints), L"");
    endpoints.defaultId = L"{default}";
    EXPECT_EQ(GetDefaultDeviceGuid(endpoints), L"{default}");
    EXPECT_TRUE(log.take().empty());
}

// Name or id

TEST_F(EndpointClassification, AnEmptyValueFindsNothingWithoutALine) {
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, L"", false), L"");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(EndpointClassification, ANameWithAHyphenIsGivenBackAsAnIdWithoutASearch) {
    endpoints.add(kPlays, fakeEndpoint(L"VB-Audio Point", L"{vb}", 0));
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, L"VB-Audio Point", true), L"VB-Audio Point");
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, L"{x", true), L"{x");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(EndpointClassification, FiftyCharactersAreANameAndFiftyOneAnId) {
    const std::wstring name(50, L'a');
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, name, false), L"");
    EXPECT_EQ(log.take(), (Lines{L"[FindDeviceGuidByNameOrGuid] Device not found by name/GUID: " + name}));
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, name + L"a", false), name + L"a");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(EndpointClassification, APartOfANameInAnyCaseFindsTheFirstOutputBeforeAnyInput) {
    endpoints.add(kRecords, fakeEndpoint(L"CABLE Output", L"{in}", 0, kRecords));
    endpoints.add(kPlays, fakeEndpoint(L"Speakers", L"{spk}"));
    endpoints.add(kPlays, fakeEndpoint(L"CABLE Input", L"{out}", 0));
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, L"cABLe", false), L"{out}");
    EXPECT_EQ(log.take(),
              (Lines{L"[FindDeviceGuidByNameOrGuid] Found device by name: \"CABLE Input\" -> GUID: {out}"}));
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, L"output", false), L"{in}");
}

TEST_F(EndpointClassification, VirtualOnlySkipsRealHardware) {
    endpoints.add(kPlays, fakeEndpoint(L"Stream Speakers", L"{real}"));
    endpoints.add(kPlays, fakeEndpoint(L"Stream Point", L"{virtual}", 0));
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, L"stream", true), L"{virtual}");
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, L"stream", false), L"{real}");
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, L"speakers", true), L"");
}

TEST_F(EndpointClassification, AFailedFlowIsSkippedAndAFailedEnumeratorEndsTheSearch) {
    endpoints.add(kRecords, fakeEndpoint(L"Point", L"{in}", 0, kRecords));
    endpoints.fail(kPlays, EnumerationStep::Enumeration);
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, L"point", true), L"{in}");
    static_cast<void>(log.take());
    endpoints.failBothFlows(EnumerationStep::Enumerator);
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, L"point", true), L"");
    EXPECT_EQ(log.take(), (Lines{L"[FindDeviceGuidByNameOrGuid] Failed to create device enumerator"}));
}

TEST_F(EndpointClassification, AnEnumeratorThatFailsForTheInputsAloneIsAFlowSkipped) {
    endpoints.fail(kRecords, EnumerationStep::Enumerator);
    EXPECT_EQ(FindDeviceGuidByNameOrGuid(endpoints, L"point", true), L"");
    EXPECT_EQ(log.take(), (Lines{L"[FindDeviceGuidByNameOrGuid] Device not found by name/GUID: point"}));
}

// Setting the default

TEST_F(EndpointClassification, SettingTheDefaultNeedsAnId) {
    EXPECT_FALSE(setDefault(L""));
    EXPECT_EQ(log.take(), (Lines{L"[SetDefaultAudioDevice] Error: deviceGuid is empty"}));
    EXPECT_TRUE(system.journal.take().empty());
}

TEST_F(EndpointClassification, SettingTheDefaultFindsAnIdInAnyCaseAndPartsAsTheyStand) {
    endpoints.add(kPlays, fakeEndpoint(L"Speakers", L"{ABC-1}"));
    endpoints.add(kPlays, fakeEndpoint(L"Headset", L"{abc-2}"));
    endpoints.add(kRecords, fakeEndpoint(L"Microphone", L"{abc-3}", 1, kRecords));
    EXPECT_TRUE(setDefault(L"{abc-1}"));
    EXPECT_EQ(log.take(), (Lines{L"[SetDefaultAudioDevice] Found target device: Speakers (ID: {ABC-1})",
                                 L"[SetDefaultAudioDevice] Successfully set device as default: {abc-1}"}));
    EXPECT_TRUE(setDefault(L"abc"));
    EXPECT_TRUE(setDefault(L"abc", false));
    EXPECT_EQ(system.journal.take(),
              (std::vector<std::string>{"com.initialize", "setDefault render {ABC-1}", "com.uninitialize",
                                        "com.initialize", "setDefault render {abc-2}", "com.uninitialize",
                                        "com.initialize", "setDefault capture {abc-3}", "com.uninitialize"}));
}

TEST_F(EndpointClassification, SettingTheDefaultLeavesAnApartmentThatWasEnteredBefore) {
    for (const HResult result : {kHResultFalse, kHResultChangedMode, kHResultFail}) {
        system.comResult = result;
        EXPECT_FALSE(setDefault(L"{nothing}"));
        EXPECT_EQ(system.journal.take(), (std::vector<std::string>{"com.initialize"}));
    }
    EXPECT_TRUE(log.contains(L"[SetDefaultAudioDevice] Error: Device not found with GUID: {nothing}"));
}

TEST_F(EndpointClassification, SettingTheDefaultSaysWhatFailedAndUndoesTheApartment) {
    const std::vector<std::string> undone{"com.initialize", "com.uninitialize"};
    endpoints.failBothFlows(EnumerationStep::Enumerator, hresult(0x80040154));
    EXPECT_FALSE(setDefault(L"{a}"));
    EXPECT_EQ(log.take(), (Lines{L"[SetDefaultAudioDevice] Failed to create device enumerator: 0x80040154"}));
    EXPECT_EQ(system.journal.take(), undone);
    endpoints.failBothFlows(EnumerationStep::Enumeration, hresult(0x8007000E));
    EXPECT_FALSE(setDefault(L"{a}"));
    EXPECT_EQ(log.take(), (Lines{L"[SetDefaultAudioDevice] Failed to enumerate devices: 0x8007000e"}));
    EXPECT_EQ(system.journal.take(), undone);
}

TEST_F(EndpointClassification, AMissingPolicyObjectAndARefusalHaveTheirLines) {
    endpoints.add(kPlays, fakeEndpoint(L"Speakers", L"{a}"));
    const std::wstring found = L"[SetDefaultAudioDevice] Found target device: Speakers (ID: {a})";
    endpoints.setDefaultOutcome = {SetDefaultStep::Policy, hresult(0x80040154)};
    EXPECT_FALSE(setDefault(L"{a}"));
    EXPECT_EQ(log.take(),
              (Lines{found, L"[SetDefaultAudioDevice] Failed to create IPolicyConfig: 0x80040154",
                     L"[SetDefaultAudioDevice] Note: This operation may require administrator privileges",
                     L"[SetDefaultAudioDevice] Note: Make sure polstore.dll is available on your system"}));
    endpoints.setDefaultOutcome = {SetDefaultStep::Set, hresult(0x80070005)};
    EXPECT_FALSE(setDefault(L"{a}"));
    EXPECT_EQ(log.take(), (Lines{found, L"[SetDefaultAudioDevice] Failed to set default endpoint: 0x80070005",
                                 L"[SetDefaultAudioDevice] Error code: -2147024891"}));
    EXPECT_EQ(system.journal.take().back(), "com.uninitialize");
}
