#include "audio/capture/CaptureWorker.h"

#include "audio/capture/AudioRouterState.h"
#include "mixer/PerAppInputBuffers.h"

#include <QDebug>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <mutex>
#include <utility>

using std::chrono::milliseconds;

namespace {

constexpr double kRateToleranceHz = 1.0; // a rate that is nearer is no change
constexpr milliseconds kIdlePause(10);   // of a pass that hands nothing over
constexpr milliseconds kRetryPause(200);
constexpr milliseconds kBlockWait(50); // a request ends it earlier

// For the packet's format. Any rate above 0 can be requested, infinity too, and a device may accept it. NaN
// counts as the largest.
std::uint32_t wholeRate(double rate) {
    constexpr double kLargest = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::fmax(0.0, std::fmin(rate, kLargest)));
}

// A looser test than that of AudioRouterService::AddInputDevice(): either name may contain the other.
void removeInputs(std::vector<InputDeviceRequest>& inputs, const std::string& name) {
    const std::string wanted = lowerAscii(name);
    std::erase_if(inputs, [&wanted](const InputDeviceRequest& input) {
        const std::string configured = lowerAscii(input.name);
        return configured.find(wanted) != std::string::npos || wanted.find(configured) != std::string::npos;
    });
}

} // namespace

CaptureWorker::CaptureWorker(AudioRouterState& routerState, SoundInputs& soundInputs,
                             PerAppInputBuffers& inputBuffers)
    : service(routerState), buffers(inputBuffers), streams{routerState, soundInputs, {}, {}} {}

void CaptureWorker::run() {
    const int error = streams.inputs.initialise();
    if (error != kInputDone) {
        qDebug().noquote() << "PortAudio initialization failed:" << streams.inputs.errorText(error);
        return;
    }
    streams.currentRate = service.sampleRate;
    // A service with no working input keeps running and waits.
    static_cast<void>(rebuild(false));
    qDebug() << "Audio routing service started";

    while (service.loopActive) {
        Pass pass = honourSampleRate();
        if (pass == Pass::Read) {
            pass = honourRequests();
        }
        if (pass == Pass::Leave) {
            break;
        }
        if (pass == Pass::Read) {
            readAndHandOver();
        }
    }

    closeStreams(streams);
    terminateInputs(streams.inputs);
    qDebug() << "Audio routing service stopped";
}

// Builds all streams again, then notifies the receiver of the blocks of index 0 of their format.
bool CaptureWorker::rebuild(bool reinitialise) {
    if (!rebuildStreams(streams, reinitialise)) {
        return false;
    }
    const AudioPrepareCallback prepare = service.prepareCallback;
    const auto slot = std::ranges::find_if(
        streams.inputSlots, [](const auto& input) { return input.index == 0 && input.stream != nullptr; });
    if (prepare != nullptr && slot != streams.inputSlots.end()) {
        prepare(slot->channels, streams.currentRate);
    }
    return true;
}

// The requested rate stays in force: where a device falls back to another one, the streams are rebuilt on
// every pass until the rate that was obtained is requested. Relied upon.
CaptureWorker::Pass CaptureWorker::honourSampleRate() {
    const double wanted = service.pendingSampleRate;
    const bool differs = std::fabs(wanted - streams.currentRate) > kRateToleranceHz;
    if (!(wanted > 0.0) || !differs) {
        return Pass::Read;
    }
    qDebug().noquote() << "Sample rate change request:" << wanted << "Hz";
    {
        const std::lock_guard lock(service.mutex);
        service.sampleRate = wanted;
    }
    qDebug() << "[Info] Automatically refresh device list when changing sample rate";
    if (!rebuild(true)) {
        qDebug() << "Failed to reopen streams";
        return Pass::Leave;
    }
    if (streams.inputs.isListLive()) {
        service.pause(kRetryPause); // elsewhere the initialisation takes such a time
    }
    return Pass::Next;
}

CaptureWorker::Pass CaptureWorker::honourRequests() {
    const Requests requests = takeRequests();
    if (!requests.refresh && requests.removals.empty() && requests.outputDevice.empty()) {
        return Pass::Read;
    }
    apply(requests);
    if (!rebuild(requests.refresh)) {
        qDebug() << "Failed to reopen streams";
        return Pass::Leave;
    }
    if (!requests.additions.empty() && hasSlotToRetry()) {
        qDebug() << "[Info] After adding device, some devices still failed to open, refresh and retry again";
        service.pause(kRetryPause);
        service.refreshRequested = true;
    }
    return Pass::Next;
}

CaptureWorker::Requests CaptureWorker::takeRequests() {
    Requests requests;
    {
        const std::lock_guard lock(service.mutex);
        requests.additions.swap(service.pendingAdds);
        requests.removals.swap(service.pendingRemovals);
        requests.outputDevice.swap(service.pendingOutputDevice);
    }
    // A device that came after the initialisation may not be in the list.
    requests.refresh = service.refreshRequested.exchange(false) || !requests.additions.empty();
    return requests;
}

// Every line comes before the change that it announces.
void CaptureWorker::apply(const Requests& requests) {
    for (const InputDeviceRequest& request : requests.additions) {
        qDebug().noquote() << "Add device request:" << request.name;
    }
    if (!requests.additions.empty()) {
        qDebug() << "[Info] Automatically refresh device list when adding device";
    }
    for (const std::string& name : requests.removals) {
        qDebug().noquote() << "Remove device request:" << name;
    }
    if (!requests.outputDevice.empty()) {
        qDebug().noquote() << "Output device change request:" << requests.outputDevice;
    }
    if (requests.refresh && requests.additions.empty()) {
        qDebug() << "Device refresh request: reinitialize PortAudio to update device list";
    }

    const std::lock_guard lock(service.mutex);
    std::vector<InputDeviceRequest>& inputs = service.config.inputs;
    inputs.insert(inputs.end(), requests.additions.begin(), requests.additions.end());
    for (const std::string& name : requests.removals) {
        removeInputs(inputs, name);
    }
    if (!requests.outputDevice.empty()) {
        service.config.outputDevice = requests.outputDevice;
    }
}

bool CaptureWorker::hasSlotToRetry() const {
    return std::ranges::any_of(streams.inputSlots, [](const auto& slot) {
        return slot.stream == nullptr && slot.deviceIndex != -1;
    });
}

void CaptureWorker::readAndHandOver() {
    streams.inputs.awaitBlock(kBlockWait);
    if (streams.inputSlots.empty() || !allActive()) {
        rest();
        return;
    }
    if (!readBlocks()) {
        service.refreshRequested = true;
        rest();
        return;
    }
    handOver();
}

// Where the list is live, the wait for a block serves while there is no input, and an input that has gone is
// left out at once, so that the others are not held up.
void CaptureWorker::rest() {
    const bool allOpen =
        std::ranges::all_of(streams.inputSlots, [](const auto& slot) { return slot.stream != nullptr; });
    if (!streams.inputs.isListLive() || !allOpen) {
        service.pause(kIdlePause);
    }
}

// All or nothing: one input that could not be opened silences all, until it is rebuilt or removed.
bool CaptureWorker::allActive() const {
    for (const InputStreamSlot& slot : streams.inputSlots) {
        if (slot.stream == nullptr) {
            return false;
        }
        const int active = slot.stream->activity();
        if (active > 0) {
            continue;
        }
        if (active == 0) {
            qDebug().noquote().nospace() << "[Warning] Input stream inactive detected (" << slot.name
                                         << "), device may be disconnected";
        } else {
            qDebug().noquote().nospace() << "[Warning] Failed to check input stream status (" << slot.name
                                         << "): " << streams.inputs.errorText(active);
        }
        service.refreshRequested = true;
        return false;
    }
    return true;
}

// Nothing of the pass is handed over when one input fails.
bool CaptureWorker::readBlocks() {
    const AudioBlockCallback callback = service.audioCallback;
    const auto frames = static_cast<std::int32_t>(streams.framesPerBuffer);
    for (InputStreamSlot& slot : streams.inputSlots) {
        slot.hasBlock = slot.stream->hasBlock();
        if (!slot.hasBlock) {
            continue;
        }
        if (!readBlock(slot)) {
            return false;
        }
        if (slot.index == 0 && callback != nullptr) {
            callback(slot.buffer.data(), slot.channels, frames, streams.currentRate);
        }
    }
    return true;
}

bool CaptureWorker::readBlock(InputStreamSlot& slot) const {
    // What a host that has overflowed leaves out is silence, not the block before.
    std::ranges::fill(slot.buffer, 0.0f);
    const int active = slot.stream->activity();
    if (active == 0) {
        qDebug().noquote().nospace() << "[Warning] Input stream inactive detected before reading ("
                                     << slot.name << "), skipping this read";
        return false;
    }
    if (active < 0) {
        qDebug().noquote().nospace() << "[Warning] Failed to check input stream status before reading ("
                                     << slot.name << "): " << streams.inputs.errorText(active);
        return false;
    }
    const int read = slot.stream->read(slot.buffer.data());
    if (read != kInputDone && read != kInputOverflowed) {
        qDebug().noquote().nospace() << "Failed to read input device (" << slot.name
                                     << "): " << streams.inputs.errorText(read);
        return false;
    }
    return true;
}

void CaptureWorker::handOver() const {
    for (const InputStreamSlot& slot : streams.inputSlots) {
        if (!slot.hasBlock || slot.index < 0) {
            continue;
        }
        const WaveFormat format =
            floatWaveFormat(static_cast<std::uint16_t>(slot.channels), wholeRate(streams.currentRate));
        buffers.addInputData(static_cast<std::uint32_t>(slot.index), slot.buffer.data(),
                             static_cast<std::uint32_t>(slot.buffer.size() * sizeof(float)), format);
    }
}
