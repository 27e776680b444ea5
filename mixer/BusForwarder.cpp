#include "mixer/BusForwarder.h"

#include "mixer/EndpointClassification.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/RouterLog.h"
#include "mixer/Utf8.h"

#include <functional>
#include <utility>

namespace {

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
        outputOf(busId).busId = busId;
    }
}

BusForwarder::~BusForwarder() {
    endOutputs();
}

void BusForwarder::setBus1Device(const std::string& deviceGuid) {
    outputOf(kBus1Id).deviceGuid = deviceGuid;
}

void BusForwarder::setBus2Device(const std::string& deviceGuid) {
    outputOf(kBus2Id).deviceGuid = deviceGuid;
}

void BusForwarder::setSoloDevice(const std::string& deviceGuid) {
    outputOf(kSoloId).deviceGuid = deviceGuid;
}

void BusForwarder::setBus2Endpoint(AudioEndpointPointer endpoint) {
    outputOf(kBus2Id).endpoint = std::move(endpoint);
}

bool BusForwarder::start() {
    if (running) {
        return true;
    }
    try {
        openAndRunAll();
    } catch (...) {
        endOutputs();
        throw;
    }
    running = true;
    return true;
}

void BusForwarder::openAndRunAll() {
    openAndRun(outputOf(kBus1Id));
    openAndRun(outputOf(kBus2Id));
    if (outputOf(kSoloId).deviceGuid.empty()) {
        routerLog("[BusForwarder] Solo device GUID is empty, Solo forwarding disabled.");
    } else if (openAndRun(outputOf(kSoloId))) {
        routerLog("[BusForwarder] Solo thread started successfully.");
    } else {
        routerLog("[BusForwarder] Failed to initialize Solo thread.");
    }
}

void BusForwarder::stop() {
    if (!running) {
        return;
    }
    running = false;
    endOutputs();
}

void BusForwarder::endOutputs() {
    for (BusChannel& bus : outputs) {
        bus.running = false;
    }
    for (BusChannel& bus : outputs) {
        if (bus.stream) {
            bus.stream->wake();
        }
    }
    for (BusChannel& bus : outputs) {
        if (bus.thread.joinable()) {
            bus.thread.join();
        }
    }
    for (BusChannel& bus : outputs) {
        if (bus.stream) {
            bus.stream->stopClient();
            bus.stream.reset();
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
    AudioEndpointPointer endpoint = bus.endpoint;
    if (!endpoint && bus.deviceGuid.empty()) {
        return false;
    }
    if (!endpoint) {
        endpoint = findBusEndpoint(bus.deviceGuid, bus.busId != kSoloId);
    }
    if (!endpoint) {
        routerLog("[BusForwarder] Bus{}: Device not found with GUID/Name: {}", bus.busId, bus.deviceGuid);
        listAvailableDevices(bus);
        return false;
    }
    const bool capture = endpoint->flow == EndpointFlow::Capture;
    routerLog("[BusForwarder] Bus{} using device: {}{} (ClassGuid: {})", bus.busId,
              GetDeviceFriendlyName(endpoint.get()), capture ? " (Input/Microphone)" : " (Output)",
              GetDeviceId(endpoint.get()));
    std::unique_ptr<OutputStream> opened = platform.makeOutputStream(bus.busId);
    if (!opened || !opened->open(*endpoint)) {
        return false;
    }
    bus.stream = std::move(opened);
    return true;
}

void BusForwarder::listAvailableDevices(const BusChannel& bus) const {
    routerLog("[BusForwarder] Bus{}: Listing all available devices for debugging...", bus.busId);
    for (const EndpointFlow flow : {EndpointFlow::Render, EndpointFlow::Capture}) {
        const EndpointEnumeration list = platform.endpoints->activeEndpoints(flow);
        for (const AudioEndpointPointer& endpoint : list.endpoints) {
            if (IsRealHardwareDevice(endpoint.get()) == (bus.busId == kSoloId)) {
                routerLog("[BusForwarder] Available device: {} (GUID: {})",
                          GetDeviceFriendlyName(endpoint.get()), GetDeviceId(endpoint.get()));
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
    bus.stream->run(bus.running, render);
}

AudioEndpointPointer BusForwarder::findBusEndpoint(const std::string& target, bool virtualOnly) const {
    const std::string wanted = lowerCased(target);
    for (const EndpointFlow flow : {EndpointFlow::Render, EndpointFlow::Capture}) {
        const EndpointEnumeration list = platform.endpoints->activeEndpoints(flow);
        if (list.reached == EnumerationStep::Enumerator) {
            return nullptr;
        }
        for (const AudioEndpointPointer& endpoint : list.endpoints) {
            if (IsRealHardwareDevice(endpoint.get()) == virtualOnly) {
                continue;
            }
            const std::string name = GetDeviceFriendlyName(endpoint.get());
            const bool byGuid = lowerCased(GetDeviceId(endpoint.get())) == wanted;
            const bool byName = lowerCased(name).find(wanted) != std::string::npos;
            if (!byGuid && !byName) {
                continue;
            }
            if (flow == EndpointFlow::Render) {
                routerLog("[BusForwarder] Found device by {}: {}", byGuid ? "GUID" : "name", name);
                return endpoint;
            }
            const SoundResult probed = platform.endpoints->probeActivation(*endpoint);
            if (!failed(probed)) {
                routerLog("[BusForwarder] Found virtual input device (microphone): {}", name);
                return endpoint;
            }
            routerLog("[BusForwarder] eCapture device activation failed: 0x{:x} for device: {}, continuing "
                      "search...",
                      printedNumber(probed), name);
        }
    }
    return nullptr;
}
