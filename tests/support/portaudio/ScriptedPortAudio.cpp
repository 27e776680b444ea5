#include "tests/support/portaudio/ScriptedPortAudio.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <thread>

using scriptedPortAudio::Call;
using scriptedPortAudio::Device;

namespace {

// A block takes this long, whatever its rate: tests wait for blocks, not for time.
constexpr std::chrono::microseconds kBlockTime(300);
// Long enough for another thread to come in between while a device is looked at.
constexpr std::chrono::microseconds kLookUpTime(100);
constexpr double kLowLatencySeconds = 0.008;

struct Stream {
    Device device;
    int channels = 0;
    bool active = false;
    bool open = true;
};

struct Failure {
    Call call;
    int result = 0;
    int count = -1;
    std::string device;
};

struct Machine {
    std::vector<Device> devices;
    int defaultInput = paNoDevice;
    int defaultOutput = paNoDevice;
    std::vector<Failure> failures;
    std::map<int, std::string> texts;
    std::function<void(const std::string&)> readHook;

    int initialized = 0;
    std::vector<Device> seen; ///< as of the last Pa_Initialize()
    std::vector<PaDeviceInfo> records;
    std::vector<std::unique_ptr<Stream>> streams; ///< kept after their close
    int initializations = 0;
    std::map<std::string, int> reads;
    std::map<std::string, int> activityChecks;
    std::vector<std::string> openedWith;
    std::vector<std::string> streamCalls;
};

std::mutex mutex;
Machine machine;

constexpr std::array<PaHostApiTypeId, 2> kHostApis = {paALSA, paWASAPI};

int hostApiIndex(PaHostApiTypeId type) {
    return static_cast<int>(std::ranges::find(kHostApis, type) - kHostApis.begin());
}

/// The scripted result of this call, or 0.
int scripted(Call call, const std::string& device) {
    for (Failure& failure : machine.failures) {
        if (failure.call == call && failure.count != 0 &&
            (failure.device.empty() || failure.device == device)) {
            failure.count -= failure.count > 0 ? 1 : 0;
            return failure.result;
        }
    }
    return 0;
}

bool present(const Device& device) {
    return std::ranges::any_of(machine.devices,
                               [&](const Device& other) { return other.name == device.name; });
}

bool rateFits(const Device& device, double rate) {
    return device.sampleRates.empty() ||
           std::ranges::find(device.sampleRates, rate) != device.sampleRates.end();
}

const Device* deviceAt(int index) {
    const auto at = static_cast<std::size_t>(index);
    return machine.initialized > 0 && index >= 0 && at < machine.seen.size() ? &machine.seen[at] : nullptr;
}

Stream* streamOf(PaStream* handle) {
    return static_cast<Stream*>(handle);
}

} // namespace

namespace scriptedPortAudio {

void reset() {
    const std::lock_guard lock(mutex);
    machine = Machine{};
}

void setDevices(const std::vector<Device>& devices) {
    const std::lock_guard lock(mutex);
    machine.devices = devices;
}

void setDefaultDevices(int input, int output) {
    const std::lock_guard lock(mutex);
    machine.defaultInput = input;
    machine.defaultOutput = output;
}

void fail(Call call, int result, int count, const std::string& device) {
    const std::lock_guard lock(mutex);
    machine.failures.push_back({call, result, count, device});
}

void recover(Call call) {
    const std::lock_guard lock(mutex);
    std::erase_if(machine.failures, [call](const Failure& failure) { return failure.call == call; });
}

void setErrorText(int code, const std::string& text) {
    const std::lock_guard lock(mutex);
    machine.texts[code] = text;
}

void setReadHook(const std::function<void(const std::string&)>& hook) {
    const std::lock_guard lock(mutex);
    machine.readHook = hook;
}

int initializations() {
    const std::lock_guard lock(mutex);
    return machine.initializations;
}

bool initialized() {
    const std::lock_guard lock(mutex);
    return machine.initialized > 0;
}

int opens() {
    const std::lock_guard lock(mutex);
    return static_cast<int>(machine.openedWith.size());
}

int openStreams() {
    const std::lock_guard lock(mutex);
    return static_cast<int>(
        std::ranges::count_if(machine.streams, [](const auto& stream) { return stream->open; }));
}

int reads(const std::string& device) {
    const std::lock_guard lock(mutex);
    return machine.reads[device];
}

int activityChecks(const std::string& device) {
    const std::lock_guard lock(mutex);
    return machine.activityChecks[device];
}

std::vector<std::string> openedWith() {
    const std::lock_guard lock(mutex);
    return machine.openedWith;
}

std::vector<std::string> streamCalls() {
    const std::lock_guard lock(mutex);
    return machine.streamCalls;
}

} // namespace scriptedPortAudio

// ---- the functions of PortAudio

PaError Pa_Initialize() {
    const std::lock_guard lock(mutex);
    ++machine.initializations;
    if (const int result = scripted(Call::Initialize, {}); result != 0) {
        return result;
    }
    if (machine.initialized++ > 0) {
        return paNoError;
    }
    machine.seen = machine.devices;
    machine.records.clear();
    for (const Device& device : machine.seen) {
        PaDeviceInfo record{};
        record.structVersion = 2;
        record.name = device.nullName ? nullptr : device.name.c_str();
        record.hostApi = hostApiIndex(device.hostApi);
        record.maxInputChannels = device.maxInputChannels;
        record.maxOutputChannels = device.maxOutputChannels;
        record.defaultLowInputLatency = kLowLatencySeconds;
        record.defaultLowOutputLatency = kLowLatencySeconds;
        record.defaultSampleRate = device.defaultSampleRate;
        machine.records.push_back(record);
    }
    return paNoError;
}

PaError Pa_Terminate() {
    const std::lock_guard lock(mutex);
    if (machine.initialized == 0) {
        return paNotInitialized;
    }
    if (--machine.initialized == 0) {
        machine.records = {};
        machine.seen = {};
    }
    return scripted(Call::Terminate, {});
}

const char* Pa_GetErrorText(PaError code) {
    const std::lock_guard lock(mutex);
    std::string& text = machine.texts[code];
    if (text.empty()) {
        text = "error " + std::to_string(code);
    }
    return text.c_str();
}

PaDeviceIndex Pa_GetDeviceCount() {
    const std::lock_guard lock(mutex);
    return machine.initialized > 0 ? static_cast<PaDeviceIndex>(machine.seen.size())
                                   : static_cast<PaDeviceIndex>(paNotInitialized);
}

const PaDeviceInfo* Pa_GetDeviceInfo(PaDeviceIndex index) {
    const std::lock_guard lock(mutex);
    const Device* const device = deviceAt(index);
    return device != nullptr && !device->noRecord ? &machine.records[static_cast<std::size_t>(index)]
                                                  : nullptr;
}

const PaHostApiInfo* Pa_GetHostApiInfo(PaHostApiIndex index) {
    static const std::array<PaHostApiInfo, 2> hosts = {{
        {1, paALSA, "ALSA", 0, paNoDevice, paNoDevice},
        {1, paWASAPI, "Windows WASAPI", 0, paNoDevice, paNoDevice},
    }};
    std::this_thread::sleep_for(kLookUpTime);
    const auto at = static_cast<std::size_t>(index);
    return index >= 0 && at < hosts.size() ? &hosts[at] : nullptr;
}

PaDeviceIndex Pa_GetDefaultInputDevice() {
    const std::lock_guard lock(mutex);
    return machine.defaultInput;
}

PaDeviceIndex Pa_GetDefaultOutputDevice() {
    const std::lock_guard lock(mutex);
    return machine.defaultOutput;
}

PaError Pa_IsFormatSupported(const PaStreamParameters* input, const PaStreamParameters* output, double rate) {
    const std::lock_guard lock(mutex);
    const Device* const device = deviceAt(input != nullptr ? input->device : output->device);
    if (device == nullptr) {
        return paInvalidDevice;
    }
    if (const int result = scripted(Call::IsFormatSupported, device->name); result != 0) {
        return result;
    }
    return rateFits(*device, rate) ? paFormatIsSupported : paInvalidSampleRate;
}

PaError Pa_OpenStream(PaStream** stream, const PaStreamParameters* input, const PaStreamParameters*,
                      double rate, unsigned long frames, PaStreamFlags flags, PaStreamCallback*, void*) {
    const std::lock_guard lock(mutex);
    const Device* const device = deviceAt(input->device);
    if (device == nullptr) {
        return paInvalidDevice;
    }
    std::ostringstream text;
    text << device->name << ' ' << input->channelCount << ' ' << rate << ' ' << frames << ' ' << flags << ' '
         << input->suggestedLatency;
    machine.openedWith.push_back(text.str());
    if (const int result = scripted(Call::OpenStream, device->name); result != 0) {
        return result;
    }
    if (!present(*device)) {
        return paUnanticipatedHostError;
    }
    if (!rateFits(*device, rate)) {
        return paInvalidSampleRate;
    }
    machine.streamCalls.push_back("open " + device->name);
    *stream = nullptr;
    if (!device->nullStream) {
        machine.streams.push_back(std::make_unique<Stream>(Stream{*device, input->channelCount}));
        *stream = machine.streams.back().get();
    }
    return paNoError;
}

PaError Pa_StartStream(PaStream* handle) {
    const std::lock_guard lock(mutex);
    Stream* const stream = streamOf(handle);
    if (stream == nullptr) {
        return paNoError;
    }
    machine.streamCalls.push_back("start " + stream->device.name);
    const int result = scripted(Call::StartStream, stream->device.name);
    stream->active = result == 0;
    return result;
}

PaError Pa_StopStream(PaStream* handle) {
    const std::lock_guard lock(mutex);
    Stream* const stream = streamOf(handle);
    machine.streamCalls.push_back("stop " + stream->device.name);
    stream->active = false;
    return paNoError;
}

PaError Pa_CloseStream(PaStream* handle) {
    const std::lock_guard lock(mutex);
    Stream* const stream = streamOf(handle);
    machine.streamCalls.push_back("close " + stream->device.name);
    stream->open = false;
    return paNoError;
}

PaError Pa_IsStreamActive(PaStream* handle) {
    const std::lock_guard lock(mutex);
    const Stream* const stream = streamOf(handle);
    ++machine.activityChecks[stream->device.name];
    if (const auto at =
            std::ranges::find_if(machine.failures,
                                 [&](const Failure& failure) {
                                     return failure.call == Call::IsStreamActive && failure.count != 0 &&
                                            (failure.device.empty() || failure.device == stream->device.name);
                                 });
        at != machine.failures.end()) {
        at->count -= at->count > 0 ? 1 : 0;
        return at->result; // 0 as well: not active
    }
    return stream->active && present(stream->device) ? 1 : 0;
}

PaError Pa_ReadStream(PaStream* handle, void* buffer, unsigned long frames) {
    std::function<void(const std::string&)> hook;
    Stream* const stream = streamOf(handle);
    {
        const std::lock_guard lock(mutex);
        hook = machine.readHook;
    }
    if (hook) {
        hook(stream->device.name);
    }
    std::this_thread::sleep_for(kBlockTime);
    const std::lock_guard lock(mutex);
    ++machine.reads[stream->device.name];
    const int result = scripted(Call::ReadStream, stream->device.name);
    if (result != 0 && result != paInputOverflowed) {
        return result;
    }
    auto* const samples = static_cast<float*>(buffer);
    std::fill_n(samples, frames * static_cast<unsigned long>(stream->channels), stream->device.sample);
    return result;
}
