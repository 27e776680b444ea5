#include "platform/linux/inputs/PulseInputs.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <string>
#include <utility>

using std::chrono::steady_clock;

namespace {

constexpr int kNoLoop = -1;
constexpr std::chrono::microseconds kLongestPoll(1'000'000); // in what the loop takes for it

// Sources and sinks are counted apart: an index of the list is even for a source, and odd for a sink.
std::int32_t listIndexOf(const PulseDevice& device, bool isSink) {
    constexpr std::uint32_t kPositive = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>((device.index * 2 + (isSink ? 1 : 0)) & kPositive);
}

std::vector<PulseDevice> shortestFirst(std::vector<PulseDevice> devices) {
    std::ranges::stable_sort(devices, {},
                             [](const PulseDevice& device) { return device.description.size(); });
    return devices;
}

SoundDeviceRecord recordOf(const PulseDevice& device, bool isSink) {
    SoundDeviceRecord record;
    record.index = listIndexOf(device, isSink);
    record.name = device.description;
    record.isPreferred = true;
    record.hostApi = "PulseAudio";
    (isSink ? record.maxOutputChannels : record.maxInputChannels) =
        static_cast<std::int32_t>(device.channelCount);
    record.defaultSampleRate = device.sampleRate;
    return record;
}

} // namespace

class PulseInputs::Stream final : public SoundInputStream {
public:
    Stream(std::shared_ptr<PulseInputRecording> inputRecording, std::uint32_t framesPerBlock)
        : recording(std::move(inputRecording)), frames(framesPerBlock) {}

    int start() override { return kInputDone; }
    void stop() override {}
    int activity() override { return recording->isSourceThere() ? 1 : 0; }
    bool hasBlock() override { return recording->readableFrames() >= frames; }
    int read(float* block) override {
        recording->read({block, std::size_t{frames} * recording->format().channels});
        return kInputDone;
    }

private:
    const std::shared_ptr<PulseInputRecording> recording;
    const std::uint32_t frames;
};

PulseInputs::PulseInputs() : mainloop(pa_mainloop_new()) {}

int PulseInputs::initialise() {
    if (!mainloop) {
        return kNoLoop;
    }
    server = PulseServer::shared();
    followedChanges = server->deviceChanges();
    return kInputDone;
}

int PulseInputs::terminate() {
    if (!server) {
        return kInputNotInitialised;
    }
    recordings.clear();
    server.reset();
    realTime.reset();
    return kInputDone;
}

std::string PulseInputs::errorText(int error) {
    switch (error) {
    case kInputDone:
        return "Success";
    case kInputNotInitialised:
        return "Not initialized";
    case kInputInvalidRate:
        return "Invalid sample rate";
    default:
        return "No main loop for the sound server";
    }
}

SoundDeviceList PulseInputs::devices() {
    const std::shared_ptr<PulseServer> current = PulseServer::shared();
    SoundDeviceList list;
    const std::string defaultSource = current->defaultSource();
    for (const PulseDevice& source : shortestFirst(current->sources())) {
        if (!source.isInput()) {
            continue;
        }
        list.records.push_back(recordOf(source, false));
        if (source.name == defaultSource) {
            list.defaultInput = list.records.back().index;
        }
    }
    const std::string defaultSink = current->defaultSink();
    for (const PulseDevice& sink : shortestFirst(current->sinks())) {
        list.records.push_back(recordOf(sink, true));
        if (sink.name == defaultSink) {
            list.defaultOutput = list.records.back().index;
        }
    }
    list.deviceCount = static_cast<std::int32_t>(list.records.size());
    return list;
}

// The server converts: any rate that it can express will do.
int PulseInputs::checkFormat(const SoundStreamParameters& parameters) {
    const double rate = parameters.sampleRate;
    const bool valid = rate >= 1.0 && rate <= static_cast<double>(PA_RATE_MAX);
    return valid ? kInputDone : kInputInvalidRate;
}

// A source that has gone since it was listed gives a stream that is not active: the service leaves it out.
int PulseInputs::open(const SoundStreamParameters& parameters, std::uint32_t framesPerBlock,
                      std::unique_ptr<SoundInputStream>& stream) {
    const std::vector<PulseDevice> sources = server->sources();
    const auto source = std::ranges::find_if(sources, [&parameters](const PulseDevice& device) {
        return listIndexOf(device, false) == parameters.device;
    });
    const bool there = source != sources.end() && source->isInput();
    const PulseInputFormat format{.source = there ? source->name : std::string(),
                                  .rate = static_cast<std::uint32_t>(parameters.sampleRate),
                                  .channels = static_cast<std::uint8_t>(parameters.channels),
                                  .packetFrames = framesPerBlock};
    const auto free = std::ranges::find_if(recordings, [&format](const auto& recording) {
        return recording.use_count() == 1 && recording->format() == format;
    });
    const std::shared_ptr<PulseInputRecording> recording =
        free != recordings.end() ? *free
                                 : recordings.emplace_back(std::make_shared<PulseInputRecording>(
                                       *pa_mainloop_get_api(mainloop.get()), format));
    recording->follow(there ? source->index : PA_INVALID_INDEX);
    stream = std::make_unique<Stream>(recording, framesPerBlock);
    return kInputDone;
}

void PulseInputs::awaitBlock(std::chrono::milliseconds limit) {
    if (!realTime) {
        realTime.emplace(); // a block that is read late leaves a gap
    }
    std::erase_if(recordings, [](const auto& recording) { return recording.use_count() == 1; });
    const auto end = steady_clock::now() + limit;
    // What is due is done in any case, or a reader that always finds a block would never hear of a failure.
    static_cast<void>(pa_mainloop_iterate(mainloop.get(), 0, nullptr));
    while (!hasNews() && !woken.exchange(false)) {
        const std::chrono::microseconds left =
            std::min(std::chrono::ceil<std::chrono::microseconds>(end - steady_clock::now()), kLongestPoll);
        if (left.count() <= 0 || pa_mainloop_prepare(mainloop.get(), static_cast<int>(left.count())) < 0) {
            return;
        }
        if (pa_mainloop_poll(mainloop.get()) < 0) {
            return;
        }
        pa_mainloop_dispatch(mainloop.get());
    }
}

void PulseInputs::wake() {
    woken = true;
    pa_mainloop_wakeup(mainloop.get());
}

// Whether a stream has a block, or has lost its source.
bool PulseInputs::hasNews() {
    followSources();
    return std::ranges::any_of(recordings, [](const auto& recording) {
        return !recording->isSourceThere() || recording->readableFrames() >= recording->format().packetFrames;
    });
}

void PulseInputs::followSources() {
    const std::uint64_t changes = server->deviceChanges();
    if (changes == followedChanges) {
        return;
    }
    followedChanges = changes;
    const std::vector<PulseDevice> sources = server->sources();
    for (const auto& recording : recordings) {
        const auto source = std::ranges::find_if(sources, [&recording](const PulseDevice& device) {
            return device.isInput() && device.name == recording->format().source;
        });
        recording->follow(source != sources.end() ? source->index : PA_INVALID_INDEX);
    }
}
