#include "audio/capture/AudioRouterService.h"

#include "audio/capture/AudioRouterState.h"
#include "audio/capture/CaptureWorker.h"
#include "audio/capture/InputStreamSet.h"
#include "platform/ThreadName.h"

#include <algorithm>
#include <cstdint>
#include <utility>

AudioRouterService::AudioRouterService(PerAppInputBuffers& inputBuffers, Pause pause,
                                       SoundInputs& soundInputs)
    : buffers(inputBuffers), inputs(soundInputs), state(std::make_unique<AudioRouterState>()) {
    state->pause = std::move(pause);
    state->sampleRate = state->config.sampleRate;
}

AudioRouterService::~AudioRouterService() {
    Stop();
}

// Under the state's mutex.
void AudioRouterService::startWorker(const AudioRouterConfig& config) {
    state->config = config;
    state->sampleRate = config.sampleRate;
    state->running = true;
    state->loopActive = true;
    state->worker = std::thread([this] {
        nameThisThread("Capture");
        CaptureWorker(*state, inputs, buffers).run();
    });
}

bool AudioRouterService::Start(const AudioRouterConfig& config) {
    const std::lock_guard lock(state->mutex);
    if (state->running) {
        return false;
    }
    startWorker(config);
    return true;
}

void AudioRouterService::Stop() {
    {
        const std::lock_guard lock(state->mutex);
        if (!state->running) {
            return;
        }
        state->running = false;
        state->loopActive = false;
    }
    inputs.wake();
    if (state->worker.joinable()) {
        state->worker.join();
    }
}

bool AudioRouterService::Restart() {
    AudioRouterConfig config;
    {
        const std::lock_guard lock(state->mutex);
        config = state->config;
    }
    Stop();
    const std::lock_guard lock(state->mutex);
    if (state->running) {
        return false;
    }
    startWorker(config);
    return true;
}

bool AudioRouterService::IsRunning() const {
    const std::lock_guard lock(state->mutex);
    return state->running;
}

bool AudioRouterService::SetSampleRate(double sampleRate) {
    if (!state->running || !(sampleRate > 0.0)) {
        return false;
    }
    state->pendingSampleRate = sampleRate;
    inputs.wake();
    return true;
}

double AudioRouterService::GetSampleRate() const {
    const std::lock_guard lock(state->mutex);
    return state->sampleRate;
}

bool AudioRouterService::AddInputDevice(const std::string& name, std::int32_t channels) {
    return AddInputDevice(name, channels, -1);
}

bool AudioRouterService::AddInputDevice(const std::string& name, std::int32_t channels, std::int32_t index) {
    if (!state->running) {
        return false;
    }
    const std::string wanted = lowerAscii(name);
    const std::lock_guard lock(state->mutex);
    const bool configured = std::ranges::any_of(
        state->config.inputs, [&wanted](const auto& input) { return lowerAscii(input.name) == wanted; });
    if (configured) {
        return false;
    }
    state->pendingAdds.push_back({name, channels, index});
    inputs.wake();
    return true;
}

bool AudioRouterService::RemoveInputDevice(const std::string& name) {
    if (!state->running) {
        return false;
    }
    const std::lock_guard lock(state->mutex);
    state->pendingRemovals.push_back(name);
    inputs.wake();
    return true;
}

std::vector<InputDeviceRequest> AudioRouterService::GetInputDevices() const {
    const std::lock_guard lock(state->mutex);
    return state->config.inputs;
}

bool AudioRouterService::SetOutputDevice(const std::string& name) {
    if (!state->running) {
        return false;
    }
    const std::lock_guard lock(state->mutex);
    state->pendingOutputDevice = name;
    inputs.wake();
    return true;
}

std::string AudioRouterService::GetOutputDevice() const {
    const std::lock_guard lock(state->mutex);
    return state->config.outputDevice;
}

bool AudioRouterService::RefreshDevices() {
    if (!state->running) {
        return false;
    }
    state->refreshRequested = true;
    inputs.wake();
    return true;
}

bool AudioRouterService::HasMissingInput() const {
    return state->inputMissing;
}

bool AudioRouterService::HasMisplacedInput() const {
    if (!inputs.isListLive()) {
        return false;
    }
    const SoundDeviceList devices = inputs.devices();
    const std::lock_guard lock(state->mutex);
    return std::ranges::any_of(state->openInputs, [&devices](const OpenInput& input) {
        const std::int32_t now = findDevice(devices, input.name, false);
        return now != -1 && now != input.device;
    });
}

std::vector<AudioDeviceEntry> AudioRouterService::GetDeviceList(std::int32_t type) const {
    const bool initialiseHere = !state->running && !inputs.isListLive();
    if (initialiseHere && inputs.initialise() != kInputDone) {
        return {};
    }
    std::vector<AudioDeviceEntry> entries = listDevices(inputs, type);
    if (initialiseHere) {
        inputs.terminate();
    }
    return entries;
}

bool AudioRouterService::SetAudioCallback(AudioBlockCallback callback) {
    state->audioCallback = callback;
    return true;
}

void AudioRouterService::SetPrepareCallback(AudioPrepareCallback callback) {
    state->prepareCallback = callback;
}
