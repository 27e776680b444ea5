#include "audio/capture/InputStreamSet.h"

#include "audio/capture/AudioRouterState.h"

#include <QDebug>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <stdexcept>
#include <thread>

using std::chrono::milliseconds;

namespace {

constexpr double kSameRateHz = 1.0; // rates that are nearer count as one
constexpr milliseconds kSearchPause(100);
constexpr int kSearchAttempts = 3;
constexpr milliseconds kClosePause(10);

// Marks of a device that has gone away behind PortAudio's back: only a new initialisation helps.
constexpr std::array<const char*, 3> kDeviceErrorMarks = {"Internal PortAudio error", "-10851",
                                                          "Invalid Property Value"};

std::string deviceName(const PaDeviceInfo& info) {
    return info.name != nullptr ? info.name : "";
}

bool isPreferredHost(const PaDeviceInfo& info) {
    const PaHostApiInfo* const host = Pa_GetHostApiInfo(info.hostApi);
    return host != nullptr && host->type == paWASAPI;
}

bool hasDeviceErrorMark(const std::string& text) {
    return std::ranges::any_of(kDeviceErrorMarks,
                               [&text](const char* mark) { return text.find(mark) != std::string::npos; });
}

bool reinitialisePortAudio() {
    terminatePortAudio();
    std::this_thread::sleep_for(milliseconds(100));
    PaError error = Pa_Initialize();
    if (error == paNoError) {
        return true;
    }
    qDebug().noquote().nospace() << "[Warning] Failed to reinitialize PortAudio: " << Pa_GetErrorText(error)
                                 << ", retrying...";
    std::this_thread::sleep_for(milliseconds(100));
    error = Pa_Initialize();
    if (error == paNoError) {
        return true;
    }
    qDebug().noquote() << "[Error] Unable to reinitialize PortAudio:" << Pa_GetErrorText(error);
    std::this_thread::sleep_for(milliseconds(200));
    if (Pa_Initialize() == paNoError) {
        return true;
    }
    qDebug() << "[Error] Finally unable to reinitialize PortAudio, service will stop";
    return false;
}

// The slots of the configured inputs whose device is there. An input that is left out stays configured: that
// is how a device which is gone is kept for its return.
std::vector<InputStreamSlot> findSlots(const AudioRouterConfig& config) {
    std::vector<InputStreamSlot> inputSlots;
    for (const InputDeviceRequest& request : config.inputs) {
        InputStreamSlot slot;
        slot.name = request.name;
        slot.requestedChannels = request.channels;
        slot.index = request.index;
        slot.deviceIndex = findDevice(request.name, false);
        if (slot.deviceIndex == -1) {
            qDebug().noquote() << "Input device not found:" << request.name;
            continue;
        }
        const PaDeviceInfo* const info = Pa_GetDeviceInfo(slot.deviceIndex);
        if (info == nullptr) {
            qDebug().noquote() << "Failed to get input device info:" << request.name;
            continue;
        }
        slot.channels = chosenChannels(request.channels, info->maxInputChannels);
        inputSlots.push_back(std::move(slot));
    }
    return inputSlots;
}

// What opening the slots of one rebuild has come to.
struct OpenOutcome {
    int opened = 0;
    bool deviceError = false;
};

// Opens one slot; whether it has a stream now. `rate` becomes the rate obtained, also where the device has
// given its own and then fails to open.
bool openSlot(InputStreamSlot& slot, double& rate, std::uint32_t framesPerBuffer, OpenOutcome& outcome) {
    try {
        slot.stream = openInputStream(slot, rate, framesPerBuffer);
    } catch (const std::exception& failure) {
        qDebug().noquote().nospace() << "Failed to open input stream (" << slot.name
                                     << "): " << failure.what() << " (skipping this input)";
        slot.stream = nullptr;
        slot.deviceIndex = -1;
        outcome.deviceError = outcome.deviceError || hasDeviceErrorMark(failure.what());
        return false;
    }
    if (slot.stream == nullptr) {
        return false;
    }
    ++outcome.opened;
    return true;
}

} // namespace

std::int32_t findDevice(const std::string& name, bool forOutput) {
    const std::string wanted = lowerAscii(name);
    if (wanted == "default") {
        return forOutput ? Pa_GetDefaultOutputDevice() : Pa_GetDefaultInputDevice();
    }
    const PaDeviceIndex count = Pa_GetDeviceCount();
    std::int32_t first = -1;
    for (PaDeviceIndex index = 0; index < count; ++index) {
        const PaDeviceInfo* const info = Pa_GetDeviceInfo(index);
        if (info == nullptr || (forOutput ? info->maxOutputChannels : info->maxInputChannels) < 1) {
            continue;
        }
        if (lowerAscii(deviceName(*info)).find(wanted) == std::string::npos) {
            continue;
        }
        if (isPreferredHost(*info)) {
            return index;
        }
        if (first == -1) {
            first = index;
        }
    }
    return first;
}

std::int32_t chosenChannels(std::int32_t requested, std::int32_t maxInputChannels) {
    return requested < 1 ? std::min(2, maxInputChannels) : std::min(requested, maxInputChannels);
}

std::int32_t planOutputChannels(std::vector<InputStreamSlot>& inputSlots) {
    std::int32_t maxIndex = -1;
    for (const InputStreamSlot& slot : inputSlots) {
        maxIndex = std::max(maxIndex, slot.index);
    }
    std::int32_t next = maxIndex >= 0 ? maxIndex * 2 + 2 : 0;
    std::int32_t outputChannels = next;
    for (InputStreamSlot& slot : inputSlots) {
        if (slot.index >= 0) {
            slot.baseChannel = slot.index * 2;
            outputChannels = std::max(outputChannels, slot.baseChannel + 2);
        }
    }
    for (InputStreamSlot& slot : inputSlots) {
        if (slot.index < 0) {
            slot.baseChannel = next;
            next += 2;
            outputChannels = std::max(outputChannels, slot.baseChannel + 2);
        }
    }
    return outputChannels;
}

PaStream* openInputStream(InputStreamSlot& slot, double& rate, std::uint32_t framesPerBuffer) {
    std::int32_t device = -1;
    const PaDeviceInfo* info = nullptr;
    for (int attempt = 0; attempt < kSearchAttempts; ++attempt) {
        if (attempt > 0) {
            std::this_thread::sleep_for(kSearchPause);
        }
        device = findDevice(slot.name, false);
        info = device != -1 ? Pa_GetDeviceInfo(device) : nullptr;
        if (info != nullptr && info->maxInputChannels > 0) {
            break;
        }
    }
    if (device == -1) {
        throw std::runtime_error("Unable to find input device: " + slot.name);
    }
    slot.deviceIndex = device;
    if (info == nullptr) {
        throw std::runtime_error("Unable to get input device info: " + slot.name);
    }
    if (info->maxInputChannels < 1) {
        throw std::runtime_error("Device is not a valid input device: " + slot.name);
    }
    slot.channels = chosenChannels(slot.requestedChannels, info->maxInputChannels);
    if (slot.channels < 1) {
        throw std::runtime_error("Invalid input channel count");
    }
    if (slot.channels > info->maxInputChannels) {
        throw std::runtime_error("Input device has insufficient channels");
    }

    PaStreamParameters parameters{};
    parameters.device = device;
    parameters.channelCount = slot.channels;
    parameters.sampleFormat = paFloat32;
    parameters.suggestedLatency = info->defaultLowInputLatency;
    const PaError supported = Pa_IsFormatSupported(&parameters, nullptr, rate);
    if (supported == paInvalidSampleRate) {
        qDebug().noquote().nospace() << "[Info] Device " << slot.name << " does not support sample rate "
                                     << rate << " Hz, automatically using device default sample rate "
                                     << info->defaultSampleRate << " Hz";
        rate = info->defaultSampleRate;
    } else if (supported != paFormatIsSupported) {
        qDebug().noquote() << "[Warning] Warning when checking device format:" << Pa_GetErrorText(supported);
    }

    PaStream* stream = nullptr;
    const PaError opened =
        Pa_OpenStream(&stream, &parameters, nullptr, rate, framesPerBuffer, paClipOff, nullptr, nullptr);
    if (opened != paNoError) {
        throw std::runtime_error(std::string("Failed to open input stream: ") + Pa_GetErrorText(opened) +
                                 " (device index: " + std::to_string(device) + ")");
    }
    const PaError started = Pa_StartStream(stream);
    if (started != paNoError) {
        Pa_CloseStream(stream);
        throw std::runtime_error(std::string("Failed to start input stream: ") + Pa_GetErrorText(started));
    }
    slot.buffer.assign(static_cast<std::size_t>(slot.channels) * framesPerBuffer, 0.0f);
    return stream;
}

void closeStreams(std::vector<InputStreamSlot>& inputSlots, PaStream* outputStream) {
    for (const InputStreamSlot& slot : inputSlots) {
        if (slot.stream != nullptr) {
            Pa_StopStream(slot.stream);
        }
    }
    if (outputStream != nullptr) {
        Pa_StopStream(outputStream);
    }
    std::this_thread::sleep_for(kClosePause);
    for (InputStreamSlot& slot : inputSlots) {
        if (slot.stream != nullptr) {
            Pa_CloseStream(slot.stream);
            slot.stream = nullptr;
        }
    }
    if (outputStream != nullptr) {
        Pa_CloseStream(outputStream);
    }
}

bool rebuildStreams(InputStreamSet& set, bool reinitialise) {
    closeStreams(set.inputSlots, set.outputStream);
    set.outputStream = nullptr;
    if (reinitialise && !reinitialisePortAudio()) {
        return false;
    }

    AudioRouterConfig config;
    {
        const std::lock_guard lock(set.service.mutex);
        config = set.service.config;
        set.currentRate = set.service.sampleRate;
    }
    set.service.inputMissing = !config.inputs.empty();
    set.inputSlots = findSlots(config);
    if (set.inputSlots.empty()) {
        qDebug()
            << "No available input devices (will keep running to wait for subsequent addition/replacement)";
    }
    set.outputChannels = planOutputChannels(set.inputSlots);
    set.outputDeviceIndex = -1;
    if (set.outputChannels > 0) {
        set.outputDeviceIndex = findDevice(config.outputDevice, true);
        if (set.outputDeviceIndex == -1) {
            qDebug().noquote() << "Output device not found:" << config.outputDevice
                               << "(will keep running to wait for subsequent correction)";
        }
    }

    OpenOutcome outcome;
    double rate = set.currentRate;
    // The first input sets the rate for the rest.
    if (!set.inputSlots.empty()) {
        const bool opened = openSlot(set.inputSlots.front(), rate, config.framesPerBuffer, outcome);
        if (opened && std::fabs(rate - set.currentRate) > kSameRateHz) {
            qDebug().noquote() << "[Info] Actual sample rate used:" << rate
                               << "Hz (device default sample rate)";
            set.currentRate = rate;
        }
    }
    qDebug() << "[Info] Windows platform: output stream disabled, only recording from microphone";
    for (std::size_t at = 1; at < set.inputSlots.size(); ++at) {
        InputStreamSlot& slot = set.inputSlots[at];
        double obtained = rate;
        // The last deviating input wins, while the streams before it keep running at their own rate. Kept so.
        if (openSlot(slot, obtained, config.framesPerBuffer, outcome) &&
            std::fabs(obtained - rate) > kSameRateHz) {
            qDebug().noquote().nospace()
                << "[Warning] Device " << slot.name << " using different sample rate " << obtained
                << " Hz, may not match system";
            rate = obtained;
            set.currentRate = obtained;
        }
    }
    {
        const std::lock_guard lock(set.service.mutex);
        set.service.sampleRate = rate;
    }
    set.service.inputMissing = static_cast<std::size_t>(outcome.opened) < config.inputs.size();
    // Not after a fresh start: that would be an endless cycle on a device that fails right after one.
    if (outcome.deviceError && !reinitialise) {
        qDebug()
            << "[Info] Device-related error detected, will automatically refresh device list in next loop";
        set.service.refreshRequested = true;
    }
    if (outcome.opened == 0) {
        qDebug()
            << "Currently no successfully opened input streams (will keep running to wait for subsequent "
               "addition/replacement)";
    }
    for (InputStreamSlot& slot : set.inputSlots) {
        std::ranges::fill(slot.buffer, 0.0f);
    }
    qDebug().noquote() << "Audio stream initialized, sample rate:" << rate
                       << "Hz (Windows: input only, no output stream)";
    return true;
}

void terminatePortAudio() {
    const PaError error = Pa_Terminate();
    if (error != paNoError && error != paNotInitialized) {
        qDebug().noquote() << "[Warning] Warning when terminating PortAudio:" << Pa_GetErrorText(error);
    }
}

std::vector<AudioDeviceEntry> listDevices(std::int32_t type) {
    std::vector<AudioDeviceEntry> entries;
    const PaDeviceIndex count = Pa_GetDeviceCount();
    for (PaDeviceIndex index = 0; index < count; ++index) {
        const PaDeviceInfo* const info = Pa_GetDeviceInfo(index);
        if (info == nullptr || !isPreferredHost(*info)) {
            continue;
        }
        AudioDeviceEntry entry;
        entry.isInput = info->maxInputChannels > 0;
        entry.isOutput = info->maxOutputChannels > 0;
        if ((type == 1 && !entry.isInput) || (type == 2 && !entry.isOutput)) {
            continue;
        }
        const char* const hostName = Pa_GetHostApiInfo(info->hostApi)->name;
        entry.index = index;
        entry.name = info->name != nullptr ? info->name : "(null)";
        entry.hostApi = hostName != nullptr ? hostName : "Unknown";
        entry.maxInputChannels = info->maxInputChannels;
        entry.maxOutputChannels = info->maxOutputChannels;
        entry.defaultSampleRate = info->defaultSampleRate;
        entries.push_back(std::move(entry));
    }
    return entries;
}
