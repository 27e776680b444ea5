// Every call of the sound bodies that Windows may refuse, each refused in turn: what the caller gets, the
// state in which it leaves things, and the line that says so.

#include "mixer/BusForwarder.h"
#include "mixer/EndpointClassification.h"
#include "platform/windows/routerAudio/ComSession.h"
#include "platform/windows/routerAudio/CoreAudioEndpoints.h"
#include "platform/windows/routerAudio/WindowsRouterPlatform.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/windows/CaptureScene.h"
#include "tests/windows/FailureReports.h"

#include <algorithm>
#include <format>
#include <ostream>

using Microsoft::WRL::ComPtr;

namespace {

constexpr std::uint32_t kFaultyProcess = 6161;

// What an operation came to.
struct Outcome {
    std::string returned;
    std::string state;
};

struct Fault;

// One operation with one call that fails.
struct FaultRun {
    const Fault& fault;
    SoundScene& scene;
    const AudioEndpointPointer& microphone;
    std::shared_ptr<AudioScript> script;

    // Waits until the call has failed as the row wants it.
    [[nodiscard]] bool met() const;
    // Waits for the row's state.
    [[nodiscard]] bool settles(const std::function<std::string()>& state) const;
};

struct Fault {
    Outcome (*operation)(const FaultRun& run);
    const char* call; ///< as in ScriptedAudio.h
    int nth;          ///< its first call that fails
    HRESULT failure;
    const char* returned;
    const char* state;
    const char* line; ///< the beginning of a line; null: no line tells of a failure
};

bool FaultRun::met() const {
    return comesTrue([this] { return script->count(fault.call) >= fault.nth; }, std::chrono::seconds(5));
}

bool FaultRun::settles(const std::function<std::string()>& state) const {
    return comesTrue([&] { return state() == fault.state; }, std::chrono::seconds(5));
}

std::string hex(HRESULT result) {
    return std::format("0x{:x}", static_cast<std::uint32_t>(result));
}

const char* nameOf(CaptureState state) {
    constexpr const char* kNames[] = {"Uninitialized", "Error",    "Initialized", "Starting",
                                      "Capturing",     "Stopping", "Stopped"};
    return kNames[static_cast<std::size_t>(state)];
}

// ---- the operations

// Starts the capture of a process, waits for what comes of it, and stops it. The state is that before the
// stop, what the stop returned, and that after it.
Outcome capture(const FaultRun& run) {
    run.scene.addSource(kFaultyProcess);
    ComPtr<CLoopbackCapture> object = Microsoft::WRL::Make<CLoopbackCapture>(
        run.scene.buffers, callsWithProcessLoopback(run.script, run.microphone));
    Outcome outcome;
    outcome.returned = hex(object->startCapture(kFaultyProcess, true));
    const std::string wanted = std::string(run.fault.state).substr(0, std::string(run.fault.state).find(','));
    static_cast<void>(
        comesTrue([&] { return nameOf(object->captureState()) == wanted; }, std::chrono::seconds(5)));
    // Calls of the end come at the end.
    const std::string call = run.fault.call;
    if (call != "Stop" && call != "MFCancelWorkItem" && call != "MFUnlockWorkQueue" &&
        (call != "MFPutWorkItem2" || run.fault.nth == 1)) {
        static_cast<void>(run.met());
    }
    outcome.state = nameOf(object->captureState());
    const HRESULT stopped = object->stopCapture();
    outcome.state += ", stop " + hex(stopped) + ", " + nameOf(object->captureState());
    return outcome;
}

CoreAudioEndpoints endpointsOf(const FaultRun& run) {
    run.script->connectorCount = 1;
    return CoreAudioEndpoints(scriptedCalls(run.script));
}

// An id by the name of its endpoint.
std::string nameOfEndpoint(const std::string& id) {
    if (id.empty()) {
        return "nothing";
    }
    CoreAudioEndpoints endpoints(windowsAudioSystemCalls());
    for (const EndpointFlow flow : {EndpointFlow::Render, EndpointFlow::Capture}) {
        for (const AudioEndpointPointer& endpoint : endpoints.activeEndpoints(flow).endpoints) {
            if (endpoint->id == id) {
                return GetDeviceFriendlyName(endpoint.get());
            }
        }
    }
    return "an id that no endpoint has";
}

Outcome findFirst(const FaultRun& run) {
    CoreAudioEndpoints endpoints = endpointsOf(run);
    const std::string id = FindFirstRealHardwareDevice(endpoints, true);
    return {nameOfEndpoint(id), ""};
}

// The same where no endpoint has a name to go by: all with a connector are hardware then.
Outcome findFirstUnnamed(const FaultRun& run) {
    CoreAudioEndpoints endpoints = endpointsOf(run);
    const std::string id = FindFirstRealHardwareDevice(endpoints, true);
    const EndpointEnumeration all =
        CoreAudioEndpoints(windowsAudioSystemCalls()).activeEndpoints(EndpointFlow::Render);
    return {!all.endpoints.empty() && all.endpoints.front()->id == id ? "the first" : nameOfEndpoint(id), ""};
}

Outcome findByName(const FaultRun& run) {
    CoreAudioEndpoints endpoints = endpointsOf(run);
    return {nameOfEndpoint(FindDeviceGuidByNameOrGuid(endpoints, "virtual cable", true)), ""};
}

Outcome findDefault(const FaultRun& run) {
    CoreAudioEndpoints endpoints = endpointsOf(run);
    return {nameOfEndpoint(GetDefaultDeviceGuid(endpoints)), ""};
}

// On a thread that was in no apartment. The state is how often it left one.
Outcome setDefault(const FaultRun& run) {
    const AudioEndpointPointer old = endpointNamed(EndpointFlow::Render, "Old Virtual Speakers");
    if (old == nullptr) {
        return {"no such endpoint", ""};
    }
    Outcome outcome;
    std::thread([&] {
        CoreAudioEndpoints endpoints = endpointsOf(run);
        ComSession session(scriptedCalls(run.script));
        outcome.returned = SetDefaultAudioDevice(endpoints, session, *old->id, true) ? "true" : "false";
        outcome.state = "left " + std::to_string(run.script->count("CoUninitialize"));
    }).join();
    return outcome;
}

// Plays to one output, until what shall come of it has come.
Outcome play(const FaultRun& run, void (BusForwarder::*setDevice)(const std::string&),
             const std::string& device) {
    run.script->connectorCount = 1;
    const RouterPlatform platform = windowsRouterPlatform(scriptedCalls(run.script));
    BusForwarder forwarder(platform, run.scene.buffers);
    (forwarder.*setDevice)(device);
    Outcome outcome;
    outcome.returned = forwarder.start() ? "true" : "false";
    const auto state = [&]() -> std::string {
        if (run.script->count("SetEventHandle") == 0 || run.script->count("Start") == 0) {
            return "off";
        }
        return run.script->count("ReleaseBuffer") > 2 ? "plays" : "silent";
    };
    static_cast<void>(run.settles(state));
    const std::string call = run.fault.call;
    if (call != "Stop" && call != "AvRevertMmThreadCharacteristics") {
        static_cast<void>(run.met());
    }
    outcome.state = state();
    forwarder.stop();
    return outcome;
}

Outcome playBus(const FaultRun& run) {
    return play(run, &BusForwarder::setBus1Device, "virtual cable");
}

// A name that only an input has.
Outcome playToMicrophone(const FaultRun& run) {
    return play(run, &BusForwarder::setBus2Device, "cable microphone");
}

Outcome playSolo(const FaultRun& run) {
    const AudioEndpointPointer speakers = endpointNamed(EndpointFlow::Render, "Speakers");
    return play(run, &BusForwarder::setSoloDevice, GetDeviceId(speakers.get()));
}

// ---- the table

constexpr HRESULT kMemory = static_cast<HRESULT>(0x8007000E);
constexpr HRESULT kRefused = static_cast<HRESULT>(0x80070005);
constexpr HRESULT kNoInterface = static_cast<HRESULT>(0x80004002);
constexpr HRESULT kNotImplemented = static_cast<HRESULT>(0x80004001);
constexpr HRESULT kFaultInvalidated = static_cast<HRESULT>(0x88890004);
constexpr HRESULT kNoService = static_cast<HRESULT>(0x88890010);
constexpr HRESULT kNotRegistered = static_cast<HRESULT>(0x80040154);
constexpr HRESULT kChangedMode = static_cast<HRESULT>(0x80010106);

#define CAPTURE_SOURCE "platform/windows/routerAudio/LoopbackCapture.cpp "
constexpr const char* kReportedMemory = CAPTURE_SOURCE "0x8007000e";
constexpr const char* kReportedRefused = CAPTURE_SOURCE "0x80070005";
constexpr const char* kReportedNoInterface = CAPTURE_SOURCE "0x80004002";
constexpr const char* kReportedInvalidated = CAPTURE_SOURCE "0x88890004";
#undef CAPTURE_SOURCE

constexpr const char* kNotStarted = "Uninitialized, stop 0x8007139f, Uninitialized";
constexpr const char* kFailedThenStopped = "Error, stop 0x0, Stopped";
constexpr const char* kCaptured = "Capturing, stop 0x0, Stopped";

constexpr const char* kBusNotFound = "[BusForwarder] Bus1: Device not found with GUID/Name: virtual cable";
constexpr const char* kNoneReal = "[WARNING] No real hardware device found among ";
constexpr const char* kNameNotFound =
    "[FindDeviceGuidByNameOrGuid] Device not found by name/GUID: virtual cable";
constexpr const char* kDefaultNotFound = "[SetDefaultAudioDevice] Error: Device not found with GUID: {";
constexpr const char* kSoloNotFound = "[BusForwarder] Bus3: Device not found with GUID/Name: {";

const Fault kFaults[] = {
    // Capture of a process: preparing.
    {capture, "CreateEvent", 1, kMemory, "0x8007000e", kNotStarted, kReportedMemory},
    {capture, "CreateEvent", 2, kMemory, "0x8007000e", kNotStarted, kReportedMemory},
    {capture, "CreateEvent", 3, kMemory, "0x8007000e", kNotStarted, kReportedMemory},
    {capture, "MFStartup", 1, kRefused, "0x80070005", kNotStarted, kReportedRefused},
    {capture, "MFLockSharedWorkQueue", 1, kRefused, "0x80070005", kNotStarted, kReportedRefused},
    // Activating.
    {capture, "ActivateAudioInterfaceAsync", 1, kRefused, "0x80070005", kFailedThenStopped, kReportedRefused},
    {capture, "GetActivateResult", 1, kRefused, "0x0", kFailedThenStopped, kReportedRefused},
    {capture, "activation", 1, kRefused, "0x0", kFailedThenStopped, kReportedRefused},
    {capture, "QueryInterface", 1, kNoInterface, "0x0", kFailedThenStopped, kReportedNoInterface},
    {capture, "GetMixFormat", 1, kNotImplemented, "0x0", kCaptured,
     "[WARNING] GetMixFormat failed (0x80004001), using default format (48000 Hz, 32-bit float)"},
    {capture, "Initialize", 1, kFaultInvalidated, "0x0", kFailedThenStopped, kReportedInvalidated},
    {capture, "GetBufferSize", 1, kFaultInvalidated, "0x0", kFailedThenStopped, kReportedInvalidated},
    {capture, "GetService", 1, kFaultInvalidated, "0x0", kFailedThenStopped, kReportedInvalidated},
    {capture, "MFCreateAsyncResult", 1, kMemory, "0x0", kFailedThenStopped, kReportedMemory},
    {capture, "SetEventHandle", 1, kFaultInvalidated, "0x0", kFailedThenStopped, kReportedInvalidated},
    // Starting.
    {capture, "MFPutWorkItem2", 1, kRefused, "0x80070005", "Starting, stop 0x8007139f, Starting",
     kReportedRefused},
    {capture, "Start", 1, kFaultInvalidated, "0x0", kFailedThenStopped, kReportedInvalidated},
    // Packets.
    {capture, "MFPutWaitingWorkItem", 1, kMemory, "0x0", kCaptured, kReportedMemory},
    {capture, "MFPutWaitingWorkItem", 3, kMemory, "0x0", kCaptured, kReportedMemory},
    {capture, "GetNextPacketSize", 1, kFaultInvalidated, "0x0", kCaptured, nullptr},
    {capture, "GetBuffer", 1, kFaultInvalidated, "0x0", kFailedThenStopped, kReportedInvalidated},
    {capture, "ReleaseBuffer", 1, kFaultInvalidated, "0x0", kCaptured, nullptr},
    // Stopping. That the finish step cannot be queued is looked at in LoopbackCapture_test.cpp: the stop
    // waits.
    {capture, "MFPutWorkItem2", 2, kRefused, "0x0", "Capturing, stop 0x80070005, Stopping", kReportedRefused},
    {capture, "MFCancelWorkItem", 1, kRefused, "0x0", kCaptured, nullptr},
    {capture, "Stop", 1, kFaultInvalidated, "0x0", kCaptured, nullptr},
    {capture, "MFUnlockWorkQueue", 1, kRefused, "0x0", kCaptured, nullptr},

    // An output of a bus: finding the endpoint.
    {playBus, "CoCreateInstance", 1, kNotRegistered, "true", "off", kBusNotFound},
    {playBus, "EnumAudioEndpoints", 1, kNoService, "true", "off", kBusNotFound},
    {playBus, "GetCount", 1, kNoService, "true", "off", kBusNotFound},
    {playBus, "Item", 1, kNoService, "true", "off", kBusNotFound},
    {playBus, "OpenPropertyStore", 1, kRefused, "true", "off", kBusNotFound},
    {playBus, "GetValue", 1, kRefused, "true", "off", kBusNotFound},
    {playBus, "GetId", 1, kMemory, "true", "plays",
     "[BusForwarder] Bus1 using device: VEXO Virtual Cable (Output) (ClassGuid: )"},
    {playBus, "QueryInterface IMMEndpoint", 1, kNoInterface, "true", "plays", nullptr},
    {playBus, "GetDataFlow", 1, kFaultInvalidated, "true", "plays", nullptr},
    // Opening it.
    {playBus, "Activate", 1, kRefused, "true", "off", "[BusForwarder] Activate failed: 0x80070005"},
    {playBus, "GetMixFormat", 1, kNotImplemented, "true", "plays",
     "[BusForwarder] GetMixFormat failed (0x80004001), using default format (48000 Hz, 32-bit float)"},
    {playBus, "Initialize", 1, kFaultInvalidated, "true", "off",
     "[BusForwarder] Initialize failed: 0x88890004"},
    {playBus, "GetService", 1, kFaultInvalidated, "true", "off",
     "[BusForwarder] GetService failed: 0x88890004"},
    {playBus, "GetBufferSize", 1, kFaultInvalidated, "true", "off",
     "[BusForwarder] GetBufferSize failed: 0x88890004"},
    {playBus, "CreateEvent", 1, static_cast<HRESULT>(0x80070008), "true", "off",
     "[BusForwarder] Event create failed: 0x80070008"},
    {playBus, "SetEventHandle", 1, kFaultInvalidated, "true", "off",
     "[BusForwarder] SetEventHandle failed: 0x88890004"},
    // Its thread.
    {playBus, "AvSetMmThreadCharacteristicsW", 1, kRefused, "true", "plays", nullptr},
    {playBus, "AvSetMmThreadPriority", 1, kRefused, "true", "plays", nullptr},
    {playBus, "Start", 1, kFaultInvalidated, "true", "silent", "[BusForwarder] Start failed: 0x88890004"},
    {playBus, "GetCurrentPadding", 1, kFaultInvalidated, "true", "silent", nullptr},
    {playBus, "GetBuffer", 1, kFaultInvalidated, "true", "silent", nullptr},
    {playBus, "ReleaseBuffer", 1, kFaultInvalidated, "true", "plays", nullptr},
    {playBus, "Stop", 1, kFaultInvalidated, "true", "plays", nullptr},
    {playBus, "AvRevertMmThreadCharacteristics", 1, kRefused, "true", "plays", nullptr},

    // An output that only an input's name fits.
    {playToMicrophone, "Activate", 1, kRefused, "true", "off",
     "[BusForwarder] eCapture device activation failed: 0x80070005 for device: Cable Microphone, continuing "
     "search..."},
    {playToMicrophone, "Activate", 2, kRefused, "true", "off", "[BusForwarder] Activate failed: 0x80070005"},
    {playToMicrophone, "QueryInterface IMMEndpoint", 1, kNoInterface, "true", "off",
     "[BusForwarder] Bus2 using device: Cable Microphone (Output) (ClassGuid: {"},
    {playToMicrophone, "GetDataFlow", 1, kFaultInvalidated, "true", "off",
     "[BusForwarder] Bus2 using device: Cable Microphone (Output) (ClassGuid: {"},

    // Solo, whose endpoint has to be hardware.
    {playSolo, "Activate IDeviceTopology", 1, kNoInterface, "true", "off", kSoloNotFound},
    {playSolo, "GetConnectorCount", 1, kFaultInvalidated, "true", "off", kSoloNotFound},
    {playSolo, "GetId", 1, kMemory, "true", "off", kSoloNotFound},

    // The pick of the Solo endpoint.
    {findFirst, "CoCreateInstance", 1, kNotRegistered, "nothing", "",
     "[DEBUG] Failed to create device enumerator."},
    {findFirst, "EnumAudioEndpoints", 1, kNoService, "nothing", "",
     "[DEBUG] Failed to enumerate audio endpoints."},
    {findFirst, "GetCount", 1, kNoService, "nothing", "", "[DEBUG] Failed to get device count."},
    {findFirst, "Item", 1, kNoService, "nothing", "", kNoneReal},
    {findFirst, "GetId", 1, kMemory, "nothing", "", kNoneReal},
    {findFirst, "Activate IDeviceTopology", 1, kNoInterface, "nothing", "", kNoneReal},
    {findFirst, "GetConnectorCount", 1, kFaultInvalidated, "nothing", "", kNoneReal},
    {findFirst, "QueryInterface IMMEndpoint", 1, kNoInterface, "Speakers", "",
     "[INFO] Found built-in hardware device: Speakers ({"},
    {findFirst, "GetDataFlow", 1, kFaultInvalidated, "Speakers", "",
     "[INFO] Found built-in hardware device: Speakers ({"},

    {findFirstUnnamed, "OpenPropertyStore", 1, kRefused, "the first", "",
     "[INFO] Found real hardware device:  (External, {"},
    {findFirstUnnamed, "GetValue", 1, kRefused, "the first", "",
     "[INFO] Found real hardware device:  (External, {"},

    // An endpoint by its name.
    {findByName, "CoCreateInstance", 1, kNotRegistered, "nothing", "",
     "[FindDeviceGuidByNameOrGuid] Failed to create device enumerator"},
    {findByName, "EnumAudioEndpoints", 1, kNoService, "nothing", "", kNameNotFound},
    {findByName, "GetCount", 1, kNoService, "nothing", "", kNameNotFound},
    {findByName, "Item", 1, kNoService, "nothing", "", kNameNotFound},
    {findByName, "OpenPropertyStore", 1, kRefused, "nothing", "", kNameNotFound},
    {findByName, "GetValue", 1, kRefused, "nothing", "", kNameNotFound},
    {findByName, "GetId", 1, kMemory, "nothing", "",
     "[FindDeviceGuidByNameOrGuid] Found device by name: \"VEXO Virtual Cable\" -> GUID: "},
    {findByName, "Activate IDeviceTopology", 1, kNoInterface, "VEXO Virtual Cable", "", nullptr},

    // The default output.
    {findDefault, "CoCreateInstance", 1, kNotRegistered, "nothing", "", nullptr},
    {findDefault, "GetDefaultAudioEndpoint", 1, kNoService, "nothing", "", nullptr},
    {findDefault, "GetId", 1, kMemory, "nothing", "", nullptr},

    // Setting it.
    {setDefault, "CoInitializeEx", 1, kChangedMode, "true", "left 0",
     "[SetDefaultAudioDevice] Successfully set device as default: {"},
    {setDefault, "CoCreateInstance", 1, kNotRegistered, "false", "left 1",
     "[SetDefaultAudioDevice] Failed to create device enumerator: 0x80040154"},
    {setDefault, "EnumAudioEndpoints", 1, kNoService, "false", "left 1",
     "[SetDefaultAudioDevice] Failed to enumerate devices: 0x88890010"},
    {setDefault, "GetCount", 1, kNoService, "false", "left 1",
     "[SetDefaultAudioDevice] Failed to enumerate devices: 0x88890010"},
    {setDefault, "Item", 1, kNoService, "false", "left 1", kDefaultNotFound},
    {setDefault, "GetId", 1, kMemory, "false", "left 1", kDefaultNotFound},
    {setDefault, "CoCreateInstance", 2, kNotRegistered, "false", "left 1",
     "[SetDefaultAudioDevice] Failed to create IPolicyConfig: 0x80040154"},
    {setDefault, "SetDefaultEndpoint", 1, kRefused, "false", "left 1",
     "[SetDefaultAudioDevice] Failed to set default endpoint: 0x80070005"},
};

bool tellsOfAFailure(const std::string& line) {
    return std::ranges::any_of(
        std::initializer_list<const char*>{"ailed", "not found", "ERROR", "WARNING", "LoopbackCapture.cpp"},
        [&](const char* word) { return line.find(word) != std::string::npos; });
}

class SoundFaults : public CaptureFixture, public testing::WithParamInterface<Fault> {};

std::string nameOfRow(const testing::TestParamInfo<Fault>& row) {
    const std::pair<Outcome (*)(const FaultRun&), const char*> kOperations[] = {
        {capture, "Capture"},
        {playBus, "Bus"},
        {playToMicrophone, "Microphone"},
        {playSolo, "Solo"},
        {findFirst, "FindFirst"},
        {findFirstUnnamed, "FindFirstUnnamed"},
        {findByName, "FindByName"},
        {findDefault, "FindDefault"},
        {setDefault, "SetDefault"}};
    std::string name;
    for (const auto& [operation, word] : kOperations) {
        if (operation == row.param.operation) {
            name = word;
        }
    }
    name += "_";
    for (const char character : std::string(row.param.call)) {
        name += std::isalnum(static_cast<unsigned char>(character)) != 0 ? std::string(1, character) : "";
    }
    return name + "_" + std::to_string(row.param.nth);
}

// For messages about a row.
void PrintTo(const Fault& fault, std::ostream* out) {
    *out << fault.call << ", time " << fault.nth << ", fails with " << hex(fault.failure);
}

} // namespace

TEST_P(SoundFaults, GivesItsReturnItsStateAndItsLine) {
    const Fault& fault = GetParam();
    const auto script = std::make_shared<AudioScript>();
    script->fail(fault.call, fault.failure, fault.nth);
    RouterLogCapture log;
    const FailureReports reports;
    Lines lines;
    const auto collect = [&] {
        for (const Lines& more : {log.take(), FailureReports::take()}) {
            lines.insert(lines.end(), more.begin(), more.end());
        }
    };
    const auto said = [&] {
        collect();
        return fault.line == nullptr || std::ranges::any_of(lines, [&](const std::string& line) {
                   return line.starts_with(fault.line);
               });
    };

    const FaultRun run{fault, scene, microphone, script};
    const Outcome outcome = fault.operation(run);
    EXPECT_EQ(outcome.returned, fault.returned);
    EXPECT_EQ(outcome.state, fault.state);
    EXPECT_TRUE(run.met()) << "the call came " << script->count(fault.call) << " times";
    EXPECT_TRUE(comesTrue(said, std::chrono::seconds(5)));
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
        if (fault.line == nullptr) {
            EXPECT_FALSE(tellsOfAFailure(line)) << line;
        }
    }
    if (HasFailure()) {
        std::cout << text;
    }
}

INSTANTIATE_TEST_SUITE_P(EachCall, SoundFaults, testing::ValuesIn(kFaults), nameOfRow);
