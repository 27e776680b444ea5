#include "audio/capture/InputStreamSet.h"

#include "audio/capture/AudioRouterState.h"

#include <QDebug>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

using std::chrono::milliseconds;

namespace {

constexpr double kSameRateHz = 1.0; // rates that are nearer count as the same
// Before each attempt to initialise PortAudio again.
constexpr std::array kInitializePauses = {milliseconds(100), milliseconds(100), milliseconds(200)};
constexpr milliseconds kSearchPause(100);
constexpr int kSearchAttempts = 3; // of a list that is not live
constexpr milliseconds kClosePause(10);

// Marks of a device that has gone away behind PortAudio's back: only a new initialisation helps.
constexpr std::array<const char*, 3> kDeviceErrorMarks = {"Internal PortAudio error", "-10851",
                                                          "Invalid Property Value"};

bool hasDeviceErrorMark(const std::string& text) {
    return std::ranges::any_of(kDeviceErrorMarks,
                               [&text](const char* mark) { return text.find(mark) != std::string::npos; });
}

bool initialiseAgain(SoundInputs& inputs, const Pause& pause) {
    terminateInputs(inputs);
    pause(kInitializePauses[0]);
    int error = inputs.initialise();
    if (error == kInputDone) {
        return true;
    }
    qDebug().noquote().nospace() << "[Warning] Failed to reinitialize PortAudio: " << inputs.errorText(error)
                                 << ", retrying...";
    pause(kInitializePauses[1]);
    error = inputs.initialise();
    if (error == kInputDone) {
        return true;
    }
    qDebug().noquote() << "[Error] Unable to reinitialize PortAudio:" << inputs.errorText(error);
    pause(kInitializePauses[2]);
    if (inputs.initialise() == kInputDone) {
        return true;
    }
    qDebug() << "[Error] Finally unable to reinitialize PortAudio, service will stop";
    return false;
}

// The slots of the configured inputs whose device is there. An input that is left out stays configured, so
// that it comes back with its device.
std::vector<InputStreamSlot> findSlots(const SoundDeviceList& devices, const AudioRouterConfig& config) {
    std::vector<InputStreamSlot> inputSlots;
    for (const InputDeviceRequest& request : config.inputs) {
        InputStreamSlot slot;
        slot.name = request.name;
        slot.requestedChannels = request.channels;
        slot.index = request.index;
        slot.deviceIndex = findDevice(devices, request.name, false);
        if (slot.deviceIndex == -1) {
            qDebug().noquote() << "Input device not found:" << request.name;
            continue;
        }
        const SoundDeviceRecord* const record = devices.find(slot.deviceIndex);
        if (record == nullptr) {
            qDebug().noquote() << "Failed to get input device info:" << request.name;
            continue;
        }
        slot.channels = chosenChannels(request.channels, record->maxInputChannels);
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
    bool goneFromList = false; // a live list shows it at the next rebuild
};

// Opens one slot; whether it has a stream now. `rate` becomes the rate of the device where that does not
// support the wanted one, also when it then fails to open.
bool openSlot(const InputStreamSet& set, InputStreamSlot& slot, double& rate, OpenOutcome& outcome) {
    try {
        slot.stream = openInputStream(set, slot, rate);
    } catch (const std::exception& failure) {
        qDebug().noquote().nospace() << "Failed to open input stream (" << slot.name
                                     << "): " << failure.what() << " (skipping this input)";
        slot.stream.reset();
        slot.deviceIndex = -1;
        outcome.deviceError = outcome.deviceError || hasDeviceErrorMark(failure.what());
        outcome.goneFromList = outcome.goneFromList || set.inputs.isListLive();
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

std::vector<OpenInput> openInputsOf(const std::vector<InputStreamSlot>& inputSlots) {
    std::vector<OpenInput> openInputs;
    for (const InputStreamSlot& slot : inputSlots) {
        if (slot.stream != nullptr) {
            openInputs.push_back({.name = slot.name, .device = slot.deviceIndex});
        }
    }
    return openInputs;
}

// The output channels of the set, and the device that they are meant for.
void planOutput(InputStreamSet& set, const SoundDeviceList& devices, const std::string& outputDevice) {
    set.outputChannels = planOutputChannels(set.inputSlots);
    set.outputDeviceIndex = set.outputChannels > 0 ? findDevice(devices, outputDevice, true) : -1;
    if (set.outputChannels > 0 && set.outputDeviceIndex == -1) {
        qDebug().noquote() << "Output device not found:" << outputDevice
                           << "(will keep running to wait for subsequent correction)";
    }
}

// Finds the slot's device and stores its index. Throws where there is none that records.
SoundDeviceRecord findInputDevice(const InputStreamSet& set, InputStreamSlot& slot) {
    const int attempts = set.inputs.isListLive() ? 1 : kSearchAttempts;
    std::int32_t device = -1;
    std::optional<SoundDeviceRecord> record;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (attempt > 0) {
            set.service.pause(kSearchPause);
        }
        const SoundDeviceList devices = set.inputs.devices();
        device = findDevice(devices, slot.name, false);
        const SoundDeviceRecord* const found = devices.find(device);
        record = found != nullptr ? std::optional(*found) : std::nullopt;
        if (record && record->maxInputChannels > 0) {
            break;
        }
    }
    if (device == -1) {
        throw std::runtime_error("Unable to find input device: " + slot.name);
    }
    slot.deviceIndex = device;
    if (!record) {
        throw std::runtime_error("Unable to get input device info: " + slot.name);
    }
    if (record->maxInputChannels < 1) {
        throw std::runtime_error("Device is not a valid input device: " + slot.name);
    }
    return *std::move(record);
}

// The rate to open with: the wanted one, or the device's own where it does not support that.
double agreedRate(SoundInputs& inputs, const std::string& name, const SoundStreamParameters& parameters,
                  const SoundDeviceRecord& record) {
    const double wanted = parameters.sampleRate;
    const int supported = inputs.checkFormat(parameters);
    if (supported == kInputInvalidRate) {
        qDebug().noquote().nospace() << "[Info] Device " << name << " does not support sample rate " << wanted
                                     << " Hz, automatically using device default sample rate "
                                     << record.defaultSampleRate << " Hz";
        return record.defaultSampleRate;
    }
    if (supported != kInputDone) {
        qDebug().noquote() << "[Warning] Warning when checking device format:" << inputs.errorText(supported);
    }
    return wanted;
}

} // namespace

std::int32_t findDevice(const SoundDeviceList& devices, const std::string& name, bool forOutput) {
    const std::string wanted = lowerAscii(name);
    if (wanted == "default") {
        return forOutput ? devices.defaultOutput : devices.defaultInput;
    }
    std::int32_t first = -1;
    for (const SoundDeviceRecord& record : devices.records) {
        if ((forOutput ? record.maxOutputChannels : record.maxInputChannels) < 1) {
            continue;
        }
        if (lowerAscii(record.name.value_or("")).find(wanted) == std::string::npos) {
            continue;
        }
        if (record.isPreferred) {
            return record.index;
        }
        if (first == -1) {
            first = record.index;
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

std::unique_ptr<SoundInputStream> openInputStream(const InputStreamSet& set, InputStreamSlot& slot,
                                                  double& rate) {
    const SoundDeviceRecord record = findInputDevice(set, slot);
    slot.channels = chosenChannels(slot.requestedChannels, record.maxInputChannels);
    if (slot.channels < 1) {
        throw std::runtime_error("Invalid input channel count");
    }
    if (slot.channels > record.maxInputChannels) {
        throw std::runtime_error("Input device has insufficient channels");
    }
    SoundStreamParameters parameters{.device = slot.deviceIndex,
                                     .isOutput = false,
                                     .channels = slot.channels,
                                     .latency = record.lowInputLatency,
                                     .sampleRate = rate};
    rate = agreedRate(set.inputs, slot.name, parameters, record);
    parameters.sampleRate = rate;

    std::unique_ptr<SoundInputStream> stream;
    const int opened = set.inputs.open(parameters, set.framesPerBuffer, stream);
    if (opened != kInputDone) {
        throw std::runtime_error("Failed to open input stream: " + set.inputs.errorText(opened) +
                                 " (device index: " + std::to_string(slot.deviceIndex) + ")");
    }
    const int started = stream ? stream->start() : kInputDone;
    if (started != kInputDone) {
        throw std::runtime_error("Failed to start input stream: " + set.inputs.errorText(started));
    }
    slot.buffer.assign(static_cast<std::size_t>(slot.channels) * set.framesPerBuffer, 0.0f);
    return stream;
}

void closeStreams(InputStreamSet& set) {
    for (const InputStreamSlot& slot : set.inputSlots) {
        if (slot.stream) {
            slot.stream->stop();
        }
    }
    if (set.outputStream) {
        set.outputStream->stop();
    }
    if (!set.inputs.isListLive()) {
        set.service.pause(kClosePause);
    }
    for (InputStreamSlot& slot : set.inputSlots) {
        slot.stream.reset();
    }
    set.outputStream.reset();
}

bool rebuildStreams(InputStreamSet& set, bool reinitialise) {
    closeStreams(set);
    if (reinitialise && !set.inputs.isListLive() && !initialiseAgain(set.inputs, set.service.pause)) {
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
    const SoundDeviceList devices = set.inputs.devices();
    set.inputSlots = findSlots(devices, config);
    planOutput(set, devices, config.outputDevice);
    const OpenOutcome outcome = openSlots(set);
    {
        const std::lock_guard lock(set.service.mutex);
        set.service.sampleRate = outcome.rate;
        set.service.openInputs = openInputsOf(set.inputSlots);
    }
    set.service.inputMissing = static_cast<std::size_t>(outcome.opened) < config.inputs.size();
    // Not after a fresh start: a device that fails right after one would be retried for ever.
    if (outcome.deviceError && !reinitialise) {
        qDebug()
            << "[Info] Device-related error detected, will automatically refresh device list in next loop";
        set.service.refreshRequested = true;
    }
    if (outcome.goneFromList) {
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

void terminateInputs(SoundInputs& inputs) {
    const int error = inputs.terminate();
    if (error != kInputDone && error != kInputNotInitialised) {
        qDebug().noquote() << "[Warning] Warning when terminating PortAudio:" << inputs.errorText(error);
    }
}

std::vector<AudioDeviceEntry> listDevices(SoundInputs& inputs, std::int32_t type) {
    std::vector<AudioDeviceEntry> entries;
    for (const SoundDeviceRecord& record : inputs.devices().records) {
        if (!record.isPreferred) {
            continue;
        }
        AudioDeviceEntry entry;
        entry.isInput = record.maxInputChannels > 0;
        entry.isOutput = record.maxOutputChannels > 0;
        if ((type == 1 && !entry.isInput) || (type == 2 && !entry.isOutput)) {
            continue;
        }
        entry.index = record.index;
        entry.name = record.name.value_or("(null)");
        entry.hostApi = record.hostApi;
        entry.maxInputChannels = record.maxInputChannels;
        entry.maxOutputChannels = record.maxOutputChannels;
        entry.defaultSampleRate = record.defaultSampleRate;
        entries.push_back(std::move(entry));
    }
    return entries;
}
