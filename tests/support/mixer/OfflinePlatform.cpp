#include "tests/support/mixer/OfflinePlatform.h"

#include "mixer/PerAppInputBuffers.h"
#include "mixer/WaveFormat.h"

#include <functional>
#include <utility>

namespace {

class OfflineSession : public SoundSession {
public:
    [[nodiscard]] SessionEntry enter() override { return SessionEntry::Entered; }
    void leave() override {}
};

class ListedEndpoints : public AudioEndpointSystem {
public:
    explicit ListedEndpoints(const std::vector<AudioEndpointPointer>& all) : endpoints(all) {}

    [[nodiscard]] EndpointEnumeration activeEndpoints(EndpointFlow flow) override {
        EndpointEnumeration list;
        for (const AudioEndpointPointer& endpoint : endpoints) {
            if (endpoint->flow == flow) {
                list.endpoints.push_back(endpoint);
            }
        }
        return list;
    }

    [[nodiscard]] std::string defaultRenderEndpointId() override {
        const EndpointEnumeration list = activeEndpoints(EndpointFlow::Render);
        return list.endpoints.empty() ? std::string() : list.endpoints.front()->id.value_or(std::string());
    }

    [[nodiscard]] SoundResult probeActivation(const AudioEndpoint& /*endpoint*/) override {
        return kSoundDone;
    }

    [[nodiscard]] SetDefaultOutcome setDefaultEndpoint(EndpointFlow /*flow*/,
                                                       const AudioEndpoint& /*endpoint*/) override {
        return {SetDefaultStep::Set, SoundError::NotSupported};
    }

private:
    const std::vector<AudioEndpointPointer>& endpoints;
};

} // namespace

void OfflineCapture::setBufferDuration(std::chrono::milliseconds newDuration) {
    duration = newDuration;
}

void OfflineCapture::setClientFormat(const WaveFormat& format) {
    clientFormat = format;
}

SoundResult OfflineCapture::startCapture(std::uint32_t processId, bool /*includeProcessTree*/) {
    source = processId;
    // Without a format the client behaves as one that has no call to ask for it.
    const WaveFormat format =
        chooseCaptureFormat(clientFormat ? kSoundDone : SoundError::NotSupported, clientFormat);
    logCapturingProcess(processId);
    logCaptureStarted(processId,
                      static_cast<std::uint32_t>(duration.count() * format.samplesPerSecond / 1000));
    capturing = true;
    return kSoundDone;
}

SoundResult OfflineCapture::stopCapture() {
    return std::exchange(capturing, false) ? kSoundDone : SoundError::NothingToStop;
}

bool OfflineCapture::deliver(const void* data, std::uint32_t byteCount, const WaveFormat& format) {
    if (!capturing) {
        return false;
    }
    buffers.addInputData(source, data, byteCount, format);
    buffers.updateBusLevels();
    return true;
}

// Tells the platform which process it captures.
class OfflinePlatform::Capture : public OfflineCapture, public std::enable_shared_from_this<Capture> {
public:
    Capture(PerAppInputBuffers& inputBuffers, OfflinePlatform& system)
        : OfflineCapture(inputBuffers), owner(system) {}

    [[nodiscard]] SoundResult startCapture(std::uint32_t processId, bool includeProcessTree) override {
        owner.captures[processId] = weak_from_this();
        const auto format = owner.setting.processFormats.find(processId);
        if (format != owner.setting.processFormats.end()) {
            setClientFormat(format->second);
        }
        return OfflineCapture::startCapture(processId, includeProcessTree);
    }

private:
    OfflinePlatform& owner;
};

// Tells the platform what it plays to, and when it is gone.
class OfflinePlatform::Output : public OfflineOutputStream {
public:
    Output(std::uint32_t busId, OfflinePlatform& system)
        : setting(system.setting), entry(system.outputs.at(busId - 1)) {}
    ~Output() override { entry.stream = nullptr; }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    [[nodiscard]] bool open(const AudioEndpoint& endpoint) override {
        const auto rate = setting.endpointRates.find(endpoint.id.value_or(std::string()));
        entry.format = chooseOutputFormat(
            kSoundDone,
            floatWaveFormat(2, rate != setting.endpointRates.end() ? rate->second : kMixSampleRate));
        // As a system does: an input cannot play.
        if (endpoint.flow == EndpointFlow::Capture) {
            logOutputFailure(OutputStep::GetService, SoundError::WrongDirection);
            return false;
        }
        entry.stream = this;
        entry.endpoint = endpoint;
        return OfflineOutputStream::open(endpoint);
    }

private:
    const Setting& setting;
    OpenOutput& entry;
};

OfflinePlatform::OfflinePlatform(Setting systemSetting) : setting(std::move(systemSetting)) {
    for (const AudioEndpoint& endpoint : setting.endpoints) {
        endpoints.push_back(std::make_shared<const AudioEndpoint>(endpoint));
    }
}

RouterPlatform OfflinePlatform::platform() {
    RouterPlatform platform;
    platform.session = std::make_shared<OfflineSession>();
    platform.correctsDrift = setting.correctsDrift;
    platform.endpoints = std::make_shared<ListedEndpoints>(endpoints);
    platform.makeProcessCapture = [this](PerAppInputBuffers& buffers) -> std::shared_ptr<ProcessCapture> {
        return std::make_shared<Capture>(buffers, *this);
    };
    platform.makeOutputStream = [this](std::uint32_t busId) -> std::unique_ptr<OutputStream> {
        return std::make_unique<Output>(busId, *this);
    };
    return platform;
}

std::shared_ptr<OfflineCapture> OfflinePlatform::captureOf(std::uint32_t processId) const {
    const auto found = captures.find(processId);
    return found != captures.end() ? found->second.lock() : nullptr;
}

OfflineOutputStream* OfflinePlatform::outputOf(std::uint32_t busId) const {
    return outputs.at(busId - 1).stream;
}

const AudioEndpoint& OfflinePlatform::endpointOf(std::uint32_t busId) const {
    return outputs.at(busId - 1).endpoint;
}

const WaveFormat& OfflinePlatform::formatOf(std::uint32_t busId) const {
    return outputs.at(busId - 1).format;
}
