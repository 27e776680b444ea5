#include "platform/linux/sound/PulseEndpoints.h"

#include "mixer/Utf8.h"
#include "platform/linux/sound/LiveMicrophone.h"

#include <algorithm>
#include <string_view>

namespace {

/// The server's text; what is no UTF-8 becomes "?".
std::string validText(std::string_view text) {
    std::string valid;
    while (!text.empty()) {
        const Utf8Character character = firstCharacter(text);
        valid += character.value == Utf8Character::kInvalid ? "?" : text.substr(0, character.byteCount);
        text.remove_prefix(character.byteCount);
    }
    return valid;
}

const PulseEndpointHandle* handleOf(const AudioEndpoint& endpoint) {
    return static_cast<const PulseEndpointHandle*>(endpoint.handle.get());
}

} // namespace

std::string pulseEndpointId(const PulseDevice& device) {
    std::string name = validText(device.name);
    if (device.bus == "usb") {
        return "usb#" + name;
    }
    if (device.bus == "bluetooth" || device.deviceApi == "bluez") {
        return "bluetooth#" + name;
    }
    if (device.bus == "pci" || device.formFactor == "internal") {
        return "hdaudio#" + name;
    }
    return name;
}

std::uint32_t pulseConnectorCount(const PulseDevice& device) {
    const bool declared =
        !device.bus.empty() || !device.formFactor.empty() || device.hasAlsaCard || device.portCount > 0;
    return declared ? std::max(device.portCount, 1U) : 0;
}

AudioEndpointPointer pulseEndpointOf(const PulseDevice& device, EndpointFlow flow) {
    auto endpoint = std::make_shared<AudioEndpoint>();
    endpoint->id = pulseEndpointId(device);
    endpoint->friendlyName = validText(device.description);
    const std::uint32_t connectors = pulseConnectorCount(device);
    if (connectors > 0) {
        endpoint->connectorCount = connectors;
    }
    endpoint->flow = flow;
    endpoint->handle = std::make_shared<PulseEndpointHandle>(PulseEndpointHandle{device.name, false});
    return endpoint;
}

EndpointEnumeration PulseEndpoints::activeEndpoints(EndpointFlow flow) {
    EndpointEnumeration enumeration;
    const std::shared_ptr<PulseServer> server = PulseServer::shared();
    if (!server->isReady()) {
        enumeration.reached = EnumerationStep::Enumerator;
        enumeration.result = SoundError::NoServer;
        return enumeration;
    }
    for (const PulseDevice& device : flow == EndpointFlow::Render ? server->sinks() : server->sources()) {
        if (!device.isMonitor && !device.unplugged) {
            enumeration.endpoints.push_back(pulseEndpointOf(device, flow));
        }
    }
    return enumeration;
}

AudioEndpointPointer PulseEndpoints::liveEndpoint() {
    auto endpoint = std::make_shared<AudioEndpoint>();
    endpoint->id = LiveMicrophone::kSinkName;
    endpoint->friendlyName = LiveMicrophone::kName;
    endpoint->flow = EndpointFlow::Render;
    endpoint->handle =
        std::make_shared<PulseEndpointHandle>(PulseEndpointHandle{LiveMicrophone::kSinkName, true});
    return endpoint;
}

std::string PulseEndpoints::defaultRenderEndpointId() {
    const std::shared_ptr<PulseServer> server = PulseServer::shared();
    if (!server->isReady()) {
        return {};
    }
    const std::string name = server->defaultSink();
    for (const PulseDevice& device : server->sinks()) {
        if (device.name == name) {
            return pulseEndpointId(device);
        }
    }
    return {};
}

SoundResult PulseEndpoints::probeActivation(const AudioEndpoint& endpoint) {
    const std::shared_ptr<PulseServer> server = PulseServer::shared();
    const PulseEndpointHandle* const handle = handleOf(endpoint);
    if (handle == nullptr || !server->isReady()) {
        return SoundError::NoServer;
    }
    const bool there = std::ranges::any_of(
        server->sources(), [handle](const auto& source) { return source.name == handle->name; });
    return there ? kSoundDone : SoundError::DeviceGone;
}

SetDefaultOutcome PulseEndpoints::setDefaultEndpoint(EndpointFlow flow, const AudioEndpoint& endpoint) {
    const std::shared_ptr<PulseServer> server = PulseServer::shared();
    const PulseEndpointHandle* const handle = handleOf(endpoint);
    if (handle == nullptr || !server->isReady()) {
        return {SetDefaultStep::Policy, SoundError::NoServer};
    }
    const bool done = flow == EndpointFlow::Render ? server->setDefaultSink(handle->name)
                                                   : server->setDefaultSource(handle->name);
    return done ? SetDefaultOutcome{} : SetDefaultOutcome{SetDefaultStep::Set, SoundError::Refused};
}

SessionEntry PulseSession::enter() {
    if (holders++ == 0) {
        server = PulseServer::shared();
    }
    return SessionEntry::Entered;
}

void PulseSession::leave() {
    if (holders == 0) {
        return;
    }
    --holders;
    if (holders == 0) {
        server.reset();
    }
}
