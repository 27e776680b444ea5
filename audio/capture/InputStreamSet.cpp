#include "audio/capture/InputStreamSet.h"

#include "audio/capture/AudioRouterState.h"

#include <QDebug>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <mutex>
#include <stdexcept>
#include <utility>

using std::chrono::milliseconds;

namespace {

constexpr double kSameRateHz = 1.0; // rates that are nearer count as the same
// Before each attempt to initialise PortAudio again.
constexpr std::array kInitializePauses = {milliseconds(100), milliseconds(100), milliseconds(200)};
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

bool reinitialisePortAudio(const Pause& pause) {
    terminatePortAudio();
    pause(kInitializePauses[0]);
    PaError error = Pa_Initialize();
    if (error == paNoError) {
        return true;
    }
    qDebug().noquote().nospace() << "[Warning] Failed to reinitialize PortAudio: " << Pa_GetErrorText(error)
                                 << ", retrying...";
    pause(kInitializePauses[1]);
    error = Pa_Initialize();
    if (error == paNoError) {
        return true;
    }
    qDebug().noquote() << "[Error] Unable to reinitialize PortAudio:" << Pa_GetErrorText(error);
    pause(kInitializePauses[2]);
    if (Pa_Initialize() == paNoError) {
        return true;
    }
    qDebug() << "[Error] Finally unable to reinitialize PortAudio, service will stop";
    return false;
}

// The slots of the configured inputs whose device is there. An input that is left out stays configured, so
// that it comes back with its device.
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
    if (inputSlots.empty()) {
        qDebug()
            << "No available input devices (will keep running to wait for subsequent addition/replacement)";
    }
    return inputSlots;
}

// The result of opening the slots of one rebuild.
struct OpenOutcome {
    double rate = 0.0; // Hz, for the service
    int opened = 0;
    bool deviceError = false;
};

// Opens one slot; whether it has a stream now. `rate` becomes the rate of the device where that does not
// support the wanted one, also when it then fails to open.
bool openSlot(const InputStreamSet& set, InputStreamSlot& slot, double& rate, OpenOutcome& outcome) {
    try {
        slot.stream = openInputStream(slot, rate, set.framesPerBuffer, set.service.pause);
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

OpenOutcome openSlots(InputStreamSet& set) {
    OpenOutcome outcome{.rate = set.currentRate};
    // The first input sets the rate for the rest.
    if (!set.inputSlots.empty() && openSlot(set, set.inputSlots.front(), outcome.rate, outcome) &&
        std::fabs(outcome.rate - set.currentRate) > kSameRateHz) {
        qDebug().noquote() << "[Info] Actual sample rate used:" << outcome.rate
                           << "Hz (device default sample rate)";
        set.currentRate = outcome.rate;
    }
    qDebug() << "[Info] Windows platform: output stream disabled, only recording from microphone";
    for (std::size_t at = 1; at < set.inputSlots.size(); ++at) {
        InputStreamSlot& slot = set.inputSlots[at];
        double obtained = outcome.rate;
        // The last deviating input wins, while the streams before it keep running at their own rate. Kept so.
        if (openSlot(set, slot, obtained, outcome) && std::fabs(obtained - outcome.rate) > kSameRateHz) {
            qDebug().noquote().nospace()
                << "[Warning] Device " << slot.name << " using different sample rate " << obtained
                << " Hz, may not match system";
            outcome.rate = obtained;
            set.currentRate = obtained;
        }
    }
    return outcome;
}

// The output channels of the set, and the device that they are meant for.
void planOutput(InputStreamSet& set, const std::string& outputDevice) {
    set.outputChannels = planOutputChannels(set.inputSlots);
    set.outputDeviceIndex = set.outputChannels > 0 ? findDevice(outputDevice, true) : -1;
    if (set.outputChannels > 0 && set.outputDeviceIndex == -1) {
        qDebug().noquote() << "Output device not found:" << outputDevice
                           << "(will keep running to wait for subsequent correction)";
    }
}

// Finds the slot's device and stores its index. Throws where there is none that records.
const PaDeviceInfo& findInputDevice(InputStreamSlot& slot, const Pause& pause) {
    std::int32_t device = -1;
    const PaDeviceInfo* info = nullptr;
    for (int attempt = 0; attempt < kSearchAttempts; ++attempt) {
        if (attempt > 0) {
            pause(kSearchPause);
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
    return *info;
}

// The rate to open with: the wanted one, or the device's own where it does not support that.
double agreedRate(const std::string& name, const PaStreamParameters& parameters, const PaDeviceInfo& info,
                  double wanted) {
    const PaError supported = Pa_IsFormatSupported(&parameters, nullptr, wanted);
    if (supported == paInvalidSampleRate) {
        qDebug().noquote().nospace() << "[Info] Device " << name << " does not support sample rate " << wanted
                                     << " Hz, automatically using device default sample rate "
                                     << info.defaultSampleRate << " Hz";
        return info.defaultSampleRate;
    }
    if (supported != paFormatIsSupported) {
        qDebug().noquote() << "[Warning] Warning when checking device format:" << Pa_GetErrorText(supported);
    }
    return wanted;
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

PaStream* openInputStream(InputStreamSlot& slot, double& rate, std::uint32_t framesPerBuffer,
                          const Pause& pause) {
    const PaDeviceInfo& info = findInputDevice(slot, pause);
    slot.channels = chosenChannels(slot.requestedChannels, info.maxInputChannels);
    if (slot.channels < 1) {
        throw std::runtime_error("Invalid input channel count");
    }
    if (slot.channels > info.maxInputChannels) {
        throw std::runtime_error("Input device has insufficient channels");
    }
    PaStreamParameters parameters{};
    parameters.device = slot.deviceIndex;
    parameters.channelCount = slot.channels;
    parameters.sampleFormat = paFloat32;
    parameters.suggestedLatency = info.defaultLowInputLatency;
    rate = agreedRate(slot.name, parameters, info, rate);

    PaStream* stream = nullptr;
    const PaError opened =
        Pa_OpenStream(&stream, &parameters, nullptr, rate, framesPerBuffer, paClipOff, nullptr, nullptr);
    if (opened != paNoError) {
        throw std::runtime_error(std::string("Failed to open input stream: ") + Pa_GetErrorText(opened) +
                                 " (device index: " + std::to_string(slot.deviceIndex) + ")");
    }
    const PaError started = Pa_StartStream(stream);
    if (started != paNoError) {
        Pa_CloseStream(stream);
        throw std::runtime_error(std::string("Failed to start input stream: ") + Pa_GetErrorText(started));
    }
    slot.buffer.assign(static_cast<std::size_t>(slot.channels) * framesPerBuffer, 0.0f);
    return stream;
}

void closeStreams(std::vector<InputStreamSlot>& inputSlots, PaStream* outputStream, const Pause& pause) {
    for (const InputStreamSlot& slot : inputSlots) {
        if (slot.stream != nullptr) {
            Pa_StopStream(slot.stream);
        }
    }
    if (outputStream != nullptr) {
        Pa_StopStream(outputStream);
    }
    pause(kClosePause);
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
    closeStreams(set.inputSlots, set.outputStream, set.service.pause);
    set.outputStream = nullptr;
    if (reinitialise && !reinitialisePortAudio(set.service.pause)) {
        return false;
    }

    AudioRouterConfig config;
    {
        const std::lock_guard lock(set.service.mutex);
        config = set.service.config;
        set.currentRate = set.service.sampleRate;
    }
    set.framesPerBuffer = config.framesPerBuffer;
    set.service.inputMissing = !config.inputs.empty();
    set.inputSlots = findSlots(config);
    planOutput(set, config.outputDevice);
    const OpenOutcome outcome = openSlots(set);
    {
        const std::lock_guard lock(set.service.mutex);
        set.service.sampleRate = outcome.rate;
    }
    set.service.inputMissing = static_cast<std::size_t>(outcome.opened) < config.inputs.size();
    // Not after a fresh start: a device that fails right after one would be retried for ever.
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
    qDebug().noquote() << "Audio stream initialized, sample rate:" << outcome.rate
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
