#include "mixer/BusForwarder.h"

#include "mixer/EndpointClassification.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/RouterLog.h"

#include <functional>
#include <utility>

namespace {

std::wstring lineOf(std::uint32_t busId) {
    return L"[BusForwarder] Bus" + std::to_wstring(busId);
}

const char* threadNameOf(std::uint32_t busId) {
    switch (busId) {
    case BusForwarder::kBus1Id:
        return "Mixer bus 1";
    case BusForwarder::kBus2Id:
        return "Mixer bus 2";
    default:
        return "Mixer solo";
    }
}

} // namespace

BusForwarder::BusForwarder(const RouterPlatform& routerPlatform, PerAppInputBuffers& inputBuffers)
    : platform(routerPlatform), buffers(inputBuffers) {
    for (const std::uint32_t busId : {kBus1Id, kBus2Id, kSoloId}) {
        channel(busId).busId = busId;
    }
}

BusForwarder::~BusForwarder() {
    endChannels();
}

void BusForwarder::setBus1Device(const std::wstring& deviceGuid) {
    channel(kBus1Id).deviceGuid = deviceGuid;
}

void BusForwarder::setBus2Device(const std::wstring& deviceGuid) {
    channel(kBus2Id).deviceGuid = deviceGuid;
}

void BusForwarder::setSoloDevice(const std::wstring& deviceGuid) {
    channel(kSoloId).deviceGuid = deviceGuid;
}

bool BusForwarder::start() {
    if (running) {
        return true;
    }
    try {
        openAndRunAll();
    } catch (...) {
        endChannels();
        throw;
    }
    running = true;
    return true;
}

void BusForwarder::openAndRunAll() {
    openAndRun(channel(kBus1Id));
    openAndRun(channel(kBus2Id));
    if (channel(kSoloId).deviceGuid.empty()) {
        routerLog(L"[BusForwarder] Solo device GUID is empty, Solo forwarding disabled.");
    } else if (openAndRun(channel(kSoloId))) {
        routerLog(L"[BusForwarder] Solo thread started successfully.");
    } else {
        routerLog(L"[BusForwarder] Failed to initialize Solo thread.");
    }
}

void BusForwarder::stop() {
    if (!running) {
        return;
    }
    running = false;
    endChannels();
}

void BusForwarder::endChannels() {
    for (BusChannel& bus : channels) {
        bus.running = false;
    }
    for (BusChannel& bus : channels) {
        if (bus.renderChannel) {
            bus.renderChannel->wake();
        }
    }
    for (BusChannel& bus : channels) {
        if (bus.thread.joinable()) {
            bus.thread.join();
        }
    }
    for (BusChannel& bus : channels) {
        if (bus.renderChannel) {
            bus.renderChannel->stopClient();
            bus.renderChannel.reset();
        }
    }
}

bool BusForwarder::openAndRun(BusChannel& bus) {
    if (!initBusChannel(bus)) {
        return false;
    }
    bus.running = true;
    bus.thread = std::thread(&BusForwarder::runBusChannel, this, std::ref(bus));
    return true;
}

bool BusForwarder::initBusChannel(BusChannel& bus) {
    if (bus.deviceGuid.empty()) {
        return false;
    }
    const AudioEndpointPointer endpoint = findBusEndpoint(bus.deviceGuid, bus.busId != kSoloId);
    if (!endpoint) {
        routerLog(lineOf(bus.busId) + L": Device not found with GUID/Name: " + bus.deviceGuid);
        listAvailableDevices(bus);
        return false;
    }
    const bool capture = endpoint->flow == EndpointFlow::Capture;
    routerLog(lineOf(bus.busId) + L" using device: " + GetDeviceFriendlyName(endpoint.get()) +
              (capture ? L" (Input/Microphone)" : L" (Output)") + L" (ClassGuid: " +
              GetDeviceId(endpoint.get()) + L")");
    std::unique_ptr<RenderChannel> opened = platform.makeRenderChannel(bus.busId);
    if (!opened || !opened->open(*endpoint)) {
        return false;
    }
    bus.renderChannel = std::move(opened);
    return true;
}

void BusForwarder::listAvailableDevices(const BusChannel& bus) const {
    routerLog(lineOf(bus.busId) + L": Listing all available devices for debugging...");
    for (const EndpointFlow flow : {EndpointFlow::Render, EndpointFlow::Capture}) {
        const EndpointEnumeration list = platform.endpoints->activeEndpoints(flow);
        for (const AudioEndpointPointer& endpoint : list.endpoints) {
            if (IsRealHardwareDevice(endpoint.get()) == (bus.busId == kSoloId)) {
                routerLog(L"[BusForwarder] Available device: " + GetDeviceFriendlyName(endpoint.get()) +
                          L" (GUID: " + GetDeviceId(endpoint.get()) + L")");
            }
        }
    }
}

void BusForwarder::runBusChannel(BusChannel& bus) {
    if (platform.nameThisThread) {
        platform.nameThisThread(threadNameOf(bus.busId));
    }
    RenderCallback render;
    if (bus.busId == kSoloId) {
        render = [this](float* output, std::uint32_t frameCount) {
            buffers.mixSolo(output, frameCount);
        };
    } else {
        render = [this, busId = bus.busId](float* output, std::uint32_t frameCount) {
            buffers.mixBus(output, frameCount, busId);
        };
    }
    bus.renderChannel->run(bus.running, render);
}

AudioEndpointPointer BusForwarder::findBusEndpoint(const std::wstring& target, bool virtualOnly) const {
    const std::wstring wanted = lowerCased(target);
    for (const EndpointFlow flow : {EndpointFlow::Render, EndpointFlow::Capture}) {
        const EndpointEnumeration list = platform.endpoints->activeEndpoints(flow);
        if (list.reached == EnumerationStep::Enumerator) {
            return nullptr;
        }
        for (const AudioEndpointPointer& endpoint : list.endpoints) {
            if (IsRealHardwareDevice(endpoint.get()) == virtualOnly) {
                continue;
            }
            const std::wstring name = GetDeviceFriendlyName(endpoint.get());
            const bool byGuid = lowerCased(GetDeviceId(endpoint.get())) == wanted;
            const bool byName = lowerCased(name).find(wanted) != std::wstring::npos;
            if (!byGuid && !byName) {
                continue;
            }
            if (flow == EndpointFlow::Render) {
                routerLog(L"[BusForwarder] Found device by " + std::wstring(byGuid ? L"GUID" : L"name") +
                          L": " + name);
                return endpoint;
            }
            const HResult probed = platform.endpoints->probeActivation(*endpoint);
            if (!failed(probed)) {
                routerLog(L"[BusForwarder] Found virtual input device (microphone): " + name);
                return endpoint;
            }
            routerLog(L"[BusForwarder] eCapture device activation failed: 0x" + hexDigits(probed) +
                      L" for device: " + name + L", continuing search...");
        }
    }
    return nullptr;
}
