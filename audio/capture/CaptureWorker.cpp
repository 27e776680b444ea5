#include "audio/capture/CaptureWorker.h"

#include "audio/capture/AudioRouterState.h"
#include "mixer/PerAppInputBuffers.h"

#include <QDebug>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <thread>
#include <utility>

using std::chrono::milliseconds;

namespace {

constexpr double kRateToleranceHz = 1.0; // a wish that is nearer is no change
constexpr milliseconds kIdlePause(10);
constexpr milliseconds kRetryPause(200);

void idle() {
    std::this_thread::sleep_for(kIdlePause);
}

// For the packet's format. Any rate above 0 can be asked for, infinity too, and a device may take it; one
// that is no number counts as the largest.
std::uint32_t wholeRate(double rate) {
    constexpr double kLargest = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::fmax(0.0, std::fmin(rate, kLargest)));
}

} // namespace

CaptureWorker::CaptureWorker(AudioRouterState& routerState, PerAppInputBuffers& inputBuffers)
    : service(routerState), buffers(inputBuffers), streams{routerState, {}, nullptr, 0.0, 0, -1} {}

void CaptureWorker::run() {
    const PaError error = Pa_Initialize();
    if (error != paNoError) {
        qDebug().noquote() << "PortAudio initialization failed:" << Pa_GetErrorText(error);
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

    closeStreams(streams.inputSlots, streams.outputStream);
    terminatePortAudio();
    qDebug() << "Audio routing service stopped";
}

// Builds the streams anew, and notifies the one who works on the blocks of index 0 of their format.
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

// The wish stays: where a device falls back to another rate the streams are rebuilt on every pass, until the
// rate that was obtained is asked for. Relied upon.
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
    return Pass::Next;
}

CaptureWorker::Pass CaptureWorker::honourRequests() {
    std::vector<InputDeviceRequest> additions;
    {
        const std::lock_guard lock(service.mutex);
        additions.swap(service.pendingAdds);
        service.config.inputs.insert(service.config.inputs.end(), additions.begin(), additions.end());
    }
    for (const InputDeviceRequest& request : additions) {
        qDebug().noquote() << "Add device request:" << request.name;
    }
    const bool added = !additions.empty();
    bool changed = added;
    bool refresh = false;
    if (added) {
        // A device that was plugged in after Pa_Initialize is not in PortAudio's list.
        qDebug() << "[Info] Automatically refresh device list when adding device";
        refresh = true;
        service.refreshRequested = false;
    }

    std::vector<std::string> removals;
    std::string output;
    {
        const std::lock_guard lock(service.mutex);
        removals.swap(service.pendingRemovals);
        output = std::exchange(service.pendingOutputDevice, {});
    }
    if (!removals.empty()) {
        removeInputs(removals);
        changed = true;
    }
    if (!output.empty()) {
        qDebug().noquote() << "Output device change request:" << output;
        const std::lock_guard lock(service.mutex);
        service.config.outputDevice = output;
        changed = true;
    }
    if (!refresh && service.refreshRequested.exchange(false)) {
        qDebug() << "Device refresh request: reinitialize PortAudio to update device list";
        refresh = true;
        changed = true;
    }
    if (!changed) {
        return Pass::Read;
    }

    if (!rebuild(refresh)) {
        qDebug() << "Failed to reopen streams";
        return Pass::Leave;
    }
    if (added && hasSlotToRetry()) {
        qDebug() << "[Info] After adding device, some devices still failed to open, refresh and retry again";
        std::this_thread::sleep_for(kRetryPause);
        service.refreshRequested = true;
    }
    return Pass::Next;
}

// A looser test than that of AudioRouterService::AddInputDevice(): either name may hold the other.
void CaptureWorker::removeInputs(const std::vector<std::string>& names) {
    const std::lock_guard lock(service.mutex);
    for (const std::string& name : names) {
        qDebug().noquote() << "Remove device request:" << name;
        const std::string wanted = lowerAscii(name);
        std::erase_if(service.config.inputs, [&wanted](const InputDeviceRequest& input) {
            const std::string configured = lowerAscii(input.name);
            return configured.find(wanted) != std::string::npos ||
                   wanted.find(configured) != std::string::npos;
        });
    }
}

bool CaptureWorker::hasSlotToRetry() const {
    return std::ranges::any_of(streams.inputSlots, [](const auto& slot) {
        return slot.stream == nullptr && slot.deviceIndex != -1;
    });
}

void CaptureWorker::readAndHandOver() {
    {
        const std::lock_guard lock(service.mutex);
        config = service.config;
    }
    inputSlots = streams.inputSlots;
    if (inputSlots.empty() || !allActive()) {
        idle();
        return;
    }
    if (!readBlocks()) {
        {
            const std::lock_guard lock(service.mutex);
            service.refreshRequested = true;
        }
        idle();
        return;
    }
    handOver();
}

// All or nothing: one input that could not be opened silences all, until it is rebuilt or removed.
bool CaptureWorker::allActive() {
    for (const InputStreamSlot& slot : inputSlots) {
        if (slot.stream == nullptr) {
            return false;
        }
        const PaError active = Pa_IsStreamActive(slot.stream);
        if (active > 0) {
            continue;
        }
        if (active == 0) {
            qDebug().noquote().nospace() << "[Warning] Input stream inactive detected (" << slot.name
                                         << "), device may be disconnected";
        } else {
            qDebug().noquote().nospace() << "[Warning] Failed to check input stream status (" << slot.name
                                         << "): " << Pa_GetErrorText(active);
        }
        const std::lock_guard lock(service.mutex);
        service.refreshRequested = true;
        return false;
    }
    return true;
}

// Nothing of the pass is handed over when one input fails.
bool CaptureWorker::readBlocks() {
    for (InputStreamSlot& slot : inputSlots) {
        if (slot.stream == nullptr) {
            continue;
        }
        if (!readBlock(slot)) {
            return false;
        }
        if (slot.index == 0) {
            if (const AudioBlockCallback callback = service.audioCallback) {
                callback(slot.buffer.data(), slot.channels, static_cast<std::int32_t>(config.framesPerBuffer),
                         streams.currentRate);
            }
        }
    }
    return true;
}

bool CaptureWorker::readBlock(InputStreamSlot& slot) {
    slot.buffer.assign(static_cast<std::size_t>(slot.channels) * config.framesPerBuffer, 0.0f);
    const PaError active = Pa_IsStreamActive(slot.stream);
    if (active == 0) {
        qDebug().noquote().nospace() << "[Warning] Input stream inactive detected before reading ("
                                     << slot.name << "), skipping this read";
        return false;
    }
    if (active < 0) {
        qDebug().noquote().nospace() << "[Warning] Failed to check input stream status before reading ("
                                     << slot.name << "): " << Pa_GetErrorText(active);
        return false;
    }
    const PaError read = Pa_ReadStream(slot.stream, slot.buffer.data(), config.framesPerBuffer);
    if (read != paNoError && read != paInputOverflowed) {
        qDebug().noquote().nospace() << "Failed to read input device (" << slot.name
                                     << "): " << Pa_GetErrorText(read);
        return false;
    }
    return true;
}

void CaptureWorker::handOver() const {
    for (const InputStreamSlot& slot : inputSlots) {
        if (slot.stream == nullptr || slot.buffer.empty() || slot.index < 0) {
            continue;
        }
        const WaveFormat format =
            floatWaveFormat(static_cast<std::uint16_t>(slot.channels), wholeRate(streams.currentRate));
        buffers.addInputData(static_cast<std::uint32_t>(slot.index), slot.buffer.data(),
                             static_cast<std::uint32_t>(slot.buffer.size() * sizeof(float)), format);
    }
}
