#include "platform/linux/sound/PulseEndpoints.h"

#include <algorithm>

namespace {

/// UTF-8, as the server has it, to wide text; what is no UTF-8 becomes "?".
std::wstring widened(const std::string& text) {
    std::wstring wide;
    for (std::size_t at = 0; at < text.size();) {
        const auto lead = static_cast<unsigned char>(text[at]);
        const std::size_t length = lead < 0x80       ? 1
                                   : lead >> 5 == 6  ? 2
                                   : lead >> 4 == 14 ? 3
                                   : lead >> 3 == 30 ? 4
                                                     : 0;
        if (length == 0 || at + length > text.size()) {
            wide += L'?';
            ++at;
            continue;
        }
        char32_t value = length == 1 ? lead : lead & (0x7FU >> length);
        bool good = true;
        for (std::size_t next = 1; next < length; ++next) {
            const auto byte = static_cast<unsigned char>(text[at + next]);
            good = good && byte >> 6 == 2;
            value = value << 6 | (byte & 0x3F);
        }
        wide += good ? static_cast<wchar_t>(value) : L'?';
        at += good ? length : 1;
    }
    return wide;
}

const PulseEndpointHandle* handleOf(const AudioEndpoint& endpoint) {
    return static_cast<const PulseEndpointHandle*>(endpoint.handle.get());
}

AudioEndpointPointer endpointOf(const PulseDevice& device, EndpointFlow flow) {
    auto endpoint = std::make_shared<AudioEndpoint>();
    endpoint->id = pulseEndpointId(device);
    endpoint->friendlyName = widened(device.description);
    const std::uint32_t connectors = pulseConnectorCount(device);
    if (connectors > 0) {
        endpoint->connectorCount = connectors;
    }
    endpoint->flow = flow;
    endpoint->handle = std::make_shared<PulseEndpointHandle>(PulseEndpointHandle{device.name});
    return endpoint;
}

} // namespace

std::wstring pulseEndpointId(const PulseDevice& device) {
    std::wstring name = widened(device.name);
    if (device.bus == "usb") {
        return L"usb#" + name;
    }
    if (device.bus == "bluetooth" || device.deviceApi == "bluez") {
        return L"bluetooth#" + name;
    }
    if (device.bus == "pci" || device.formFactor == "internal") {
        return L"hdaudio#" + name;
    }
    return name;
}

std::uint32_t pulseConnectorCount(const PulseDevice& device) {
    const bool declared =
        !device.bus.empty() || !device.formFactor.empty() || device.hasAlsaCard || device.portCount > 0;
    return declared ? std::max(device.portCount, 1U) : 0;
}

EndpointEnumeration PulseEndpoints::activeEndpoints(EndpointFlow flow) {
    EndpointEnumeration enumeration;
    const std::shared_ptr<PulseServer> server = PulseServer::shared();
    if (!server->awaitReady()) {
        enumeration.reached = EnumerationStep::Enumerator;
        enumeration.result = kHResultServiceNotRunning;
        return enumeration;
    }
    for (const PulseDevice& device : flow == EndpointFlow::Render ? server->sinks() : server->sources()) {
        if (!device.isMonitor && !device.unplugged) {
            enumeration.endpoints.push_back(endpointOf(device, flow));
        }
    }
    return enumeration;
}

std::wstring PulseEndpoints::defaultRenderEndpointId() {
    const std::shared_ptr<PulseServer> server = PulseServer::shared();
    if (!server->awaitReady()) {
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

HResult PulseEndpoints::probeActivation(const AudioEndpoint& endpoint) {
    const std::shared_ptr<PulseServer> server = PulseServer::shared();
    const PulseEndpointHandle* const handle = handleOf(endpoint);
    if (handle == nullptr || !server->awaitReady()) {
        return kHResultServiceNotRunning;
    }
    const bool there = std::ranges::any_of(
        server->sources(), [handle](const auto& source) { return source.name == handle->name; });
    return there ? kHResultOk : kHResultDeviceInvalidated;
}

SetDefaultOutcome PulseEndpoints::setDefaultEndpoint(EndpointFlow flow, const AudioEndpoint& endpoint) {
    const std::shared_ptr<PulseServer> server = PulseServer::shared();
    const PulseEndpointHandle* const handle = handleOf(endpoint);
    if (handle == nullptr || !server->awaitReady()) {
        return {SetDefaultStep::Policy, kHResultServiceNotRunning};
    }
    const bool done = flow == EndpointFlow::Render ? server->setDefaultSink(handle->name)
                                                   : server->setDefaultSource(handle->name);
    return done ? SetDefaultOutcome{} : SetDefaultOutcome{SetDefaultStep::Set, kHResultFail};
}

HResult PulseApartment::initialize() {
    if (holders++ == 0) {
        server = PulseServer::shared();
    }
    return kHResultOk;
}

void PulseApartment::uninitialize() {
    if (holders == 0) {
        return;
    }
    --holders;
    if (holders == 0) {
        server.reset();
    }
}
