#include "platform/windows/inputs/PortAudioInputs.h"

#include <portaudio.h>

static_assert(kInputDone == paNoError && kInputDone == paFormatIsSupported);
static_assert(kInputNotInitialised == paNotInitialized);
static_assert(kInputInvalidRate == paInvalidSampleRate);
static_assert(kInputOverflowed == paInputOverflowed);

namespace {

SoundDeviceRecord recordOf(PaDeviceIndex index, const PaDeviceInfo& info) {
    SoundDeviceRecord record;
    record.index = index;
    if (info.name != nullptr) {
        record.name = info.name;
    }
    const PaHostApiInfo* const host = Pa_GetHostApiInfo(info.hostApi);
    record.isPreferred = host != nullptr && host->type == paWASAPI;
    record.hostApi = host != nullptr && host->name != nullptr ? host->name : "Unknown";
    record.maxInputChannels = info.maxInputChannels;
    record.maxOutputChannels = info.maxOutputChannels;
    record.lowInputLatency = info.defaultLowInputLatency;
    record.lowOutputLatency = info.defaultLowOutputLatency;
    record.defaultSampleRate = info.defaultSampleRate;
    return record;
}

PaStreamParameters portAudioParameters(const SoundStreamParameters& parameters) {
    PaStreamParameters result{};
    result.device = parameters.device;
    result.channelCount = parameters.channels;
    result.sampleFormat = paFloat32;
    result.suggestedLatency = parameters.latency;
    return result;
}

} // namespace

class PortAudioInputs::Stream final : public SoundInputStream {
public:
    Stream(std::mutex& mutex, PaStream* opened, std::uint32_t framesPerBlock)
        : libraryMutex(mutex), handle(opened), frames(framesPerBlock) {}
    ~Stream() override {
        const std::lock_guard lock(libraryMutex);
        Pa_CloseStream(handle);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    int start() override { return Pa_StartStream(handle); }
    void stop() override { Pa_StopStream(handle); }
    int activity() override { return Pa_IsStreamActive(handle); }
    bool hasBlock() override { return true; }
    int read(float* block) override { return Pa_ReadStream(handle, block, frames); }

private:
    std::mutex& libraryMutex;
    PaStream* const handle;
    const std::uint32_t frames;
};

int PortAudioInputs::initialise() {
    const std::lock_guard lock(libraryMutex);
    return Pa_Initialize();
}

int PortAudioInputs::terminate() {
    const std::lock_guard lock(libraryMutex);
    return Pa_Terminate();
}

std::string PortAudioInputs::errorText(int error) {
    return Pa_GetErrorText(error);
}

SoundDeviceList PortAudioInputs::devices() {
    const std::lock_guard lock(libraryMutex);
    SoundDeviceList list;
    list.deviceCount = Pa_GetDeviceCount();
    for (PaDeviceIndex index = 0; index < list.deviceCount; ++index) {
        if (const PaDeviceInfo* const info = Pa_GetDeviceInfo(index)) {
            list.records.push_back(recordOf(index, *info));
        }
    }
    list.defaultInput = Pa_GetDefaultInputDevice();
    list.defaultOutput = Pa_GetDefaultOutputDevice();
    return list;
}

int PortAudioInputs::checkFormat(const SoundStreamParameters& parameters) {
    const std::lock_guard lock(libraryMutex);
    const PaStreamParameters wanted = portAudioParameters(parameters);
    return parameters.isOutput ? Pa_IsFormatSupported(nullptr, &wanted, parameters.sampleRate)
                               : Pa_IsFormatSupported(&wanted, nullptr, parameters.sampleRate);
}

int PortAudioInputs::open(const SoundStreamParameters& parameters, std::uint32_t framesPerBlock,
                          std::unique_ptr<SoundInputStream>& stream) {
    const std::lock_guard lock(libraryMutex);
    const PaStreamParameters wanted = portAudioParameters(parameters);
    PaStream* handle = nullptr;
    const PaError opened = Pa_OpenStream(&handle, &wanted, nullptr, parameters.sampleRate, framesPerBlock,
                                         paClipOff, nullptr, nullptr);
    if (opened == paNoError && handle != nullptr) {
        stream = std::make_unique<Stream>(libraryMutex, handle, framesPerBlock);
    }
    return opened;
}
