// Fuzzes what the sound server says of devices, clients and streams: property lists, names and ports, in
// which other programs have their say. It fails when a sanitizer reports, when a device's id is no text, when
// a process is taken that no property names, and when the same device gets another id or class.

#include "mixer/EndpointClassification.h"
#include "mixer/RouterLog.h"
#include "mixer/Utf8.h"
#include "platform/linux/sound/PulseDescriptions.h"
#include "platform/linux/sound/PulseEndpoints.h"
#include "platform/linux/sound/PulseHandles.h"
#include "tests/fuzz/FuzzInput.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace {

using fuzz::Input;
using fuzz::require;

bool isText(std::string_view text) {
    while (!text.empty()) {
        const Utf8Character character = firstCharacter(text);
        if (character.value == Utf8Character::kInvalid) {
            return false;
        }
        text.remove_prefix(character.byteCount);
    }
    return true;
}

void requireText(const std::optional<std::string>& text, const char* what) {
    require(text && isText(*text), what);
}

// "key=value", with the first byte of a line for a key that the program reads.
PulsePropertyList propertiesOf(Input& input) {
    constexpr std::array<const char*, 9> kKeys{PA_PROP_DEVICE_BUS,
                                               PA_PROP_DEVICE_FORM_FACTOR,
                                               PA_PROP_DEVICE_API,
                                               "alsa.card",
                                               PA_PROP_APPLICATION_NAME,
                                               PA_PROP_APPLICATION_ICON_NAME,
                                               PA_PROP_APPLICATION_PROCESS_ID,
                                               PA_PROP_APPLICATION_PROCESS_BINARY,
                                               "pipewire.sec.pid"};
    PulsePropertyList properties(pa_proplist_new());
    for (std::uint8_t count = input.byte() % 10; count > 0 && !input.isOver(); --count) {
        const std::uint8_t key = input.byte();
        const std::string value = input.line();
        pa_proplist_sets(properties.get(), kKeys[key % kKeys.size()], value.c_str());
    }
    return properties;
}

void readDevice(const PulseDevice& device, EndpointFlow flow) {
    const AudioEndpointPointer endpoint = pulseEndpointOf(device, flow);
    requireText(endpoint->id, "an id is a text");
    requireText(endpoint->friendlyName, "a name is a text");
    require(endpoint->connectorCount.value_or(1) > 0, "connectors that are known are there");
    const AudioEndpointPointer again = pulseEndpointOf(device, flow);
    require(again->id == endpoint->id && again->friendlyName == endpoint->friendlyName,
            "a device keeps its id");
    require(IsBuiltInDevice(endpoint.get()) == IsBuiltInDevice(again.get()) &&
                IsRealHardwareDevice(endpoint.get()) == IsRealHardwareDevice(again.get()),
            "a device keeps its class");
}

void readClaims(const pa_proplist& properties) {
    const auto says = [&properties](const char* key, std::uint32_t process) {
        const char* const value = pa_proplist_gets(&properties, key);
        return process == 0 || (value != nullptr && std::string_view(value).find(std::to_string(process)) !=
                                                        std::string_view::npos);
    };
    const ClientClaim stream = streamClaimIn(properties);
    require(stream.peerProcess == 0, "a stream is not vouched for");
    require(says(PA_PROP_APPLICATION_PROCESS_ID, stream.processId), "a client names its process");
    const ClientClaim client = clientClaimIn(properties);
    require(client.processId == stream.processId && client.binary == stream.binary, "both say the same");
    require(says("pipewire.sec.pid", client.peerProcess), "the server names a client's process");
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's own name
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setRouterLogSink([](std::string_view) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    const std::uint8_t switches = input.byte();
    const PulsePropertyList properties = propertiesOf(input);
    const std::string name = input.line();
    const std::string description = input.line();
    pa_sink_port_info port{};
    port.available = (switches & 1U) != 0 ? PA_PORT_AVAILABLE_NO : PA_PORT_AVAILABLE_YES;
    pa_sink_info sink{};
    sink.name = (switches & 2U) != 0 ? nullptr : name.c_str();
    sink.description = (switches & 4U) != 0 ? nullptr : description.c_str();
    sink.active_port = (switches & 8U) != 0 ? nullptr : &port;
    sink.n_ports = switches >> 4U & 3U;
    sink.proplist = properties.get();
    readDevice(pulseDeviceOf(sink), EndpointFlow::Render);
    pa_source_info source{};
    source.name = sink.name;
    source.description = sink.description;
    source.proplist = properties.get();
    source.monitor_of_sink = (switches & 64U) != 0 ? PA_INVALID_INDEX : 3;
    readDevice(pulseDeviceOf(source), EndpointFlow::Capture);
    require(pulseDeviceOf(source).isMonitor == ((switches & 64U) == 0), "a monitor is known");

    pa_sink_input_info stream{};
    stream.proplist = properties.get();
    require(pulsePlaybackOf(stream).processId == 0, "a stream's process is to be found");
    readClaims(*properties);
    const std::string server = name.substr(0, name.find('\0'));
    const std::string path = socketPathIn(server.c_str());
    require(path.empty() || (path.front() == '/' && server.ends_with(path)),
            "a path stands in its server's name");
    return 0;
}
