#include "platform/linux/sound/PulseDescriptions.h"

#include <charconv>
#include <string_view>

namespace {

std::string property(const pa_proplist& properties, const char* key) {
    const char* const value = pa_proplist_gets(&properties, key);
    return value != nullptr ? value : "";
}

std::uint32_t numberOf(const pa_proplist& properties, const char* key) {
    const std::string text = property(properties, key);
    std::uint32_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

template <typename Info>
PulseDevice deviceOf(const Info& info) {
    const pa_proplist& properties = *info.proplist;
    PulseDevice device;
    device.index = info.index;
    device.name = info.name != nullptr ? info.name : "";
    device.description = info.description != nullptr ? info.description : device.name;
    device.bus = property(properties, PA_PROP_DEVICE_BUS);
    device.formFactor = property(properties, PA_PROP_DEVICE_FORM_FACTOR);
    device.deviceApi = property(properties, PA_PROP_DEVICE_API);
    device.hasAlsaCard = pa_proplist_contains(&properties, "alsa.card") == 1;
    device.portCount = info.n_ports;
    device.channelCount = info.sample_spec.channels;
    device.sampleRate = info.sample_spec.rate;
    device.unplugged = info.active_port != nullptr && info.active_port->available == PA_PORT_AVAILABLE_NO;
    return device;
}

} // namespace

PulseDevice pulseDeviceOf(const pa_sink_info& sink) {
    return deviceOf(sink);
}

PulseDevice pulseDeviceOf(const pa_source_info& source) {
    PulseDevice device = deviceOf(source);
    device.isMonitor = source.monitor_of_sink != PA_INVALID_INDEX;
    return device;
}

PulsePlayback pulsePlaybackOf(const pa_sink_input_info& stream) {
    PulsePlayback playback;
    playback.index = stream.index;
    playback.paused = stream.corked != 0;
    playback.applicationName = property(*stream.proplist, PA_PROP_APPLICATION_NAME);
    playback.iconName = property(*stream.proplist, PA_PROP_APPLICATION_ICON_NAME);
    return playback;
}

ClientClaim streamClaimIn(const pa_proplist& properties) {
    return {.processId = numberOf(properties, PA_PROP_APPLICATION_PROCESS_ID),
            .binary = property(properties, PA_PROP_APPLICATION_PROCESS_BINARY),
            .peerProcess = 0};
}

ClientClaim clientClaimIn(const pa_proplist& properties) {
    ClientClaim claim = streamClaimIn(properties);
    // PipeWire knows who is connected to it. Of a client of its Pulse server that is the Pulse server.
    if (property(properties, "client.api") != "pipewire-pulse") {
        claim.peerProcess = numberOf(properties, "pipewire.sec.pid");
    }
    return claim;
}

std::string socketPathIn(const char* server) {
    const std::string_view name = server != nullptr ? server : "";
    const std::size_t path = name.find('/');
    return std::string(path != std::string_view::npos ? name.substr(path) : std::string_view());
}
