#include "platform/linux/sound/PulseProcessCapture.h"

#include "mixer/PerAppInputBuffers.h"
#include "mixer/Resampler.h"
#include "platform/linux/sound/PulseStream.h"
#include "platform/linux/system/ProcessInfo.h"

#include <algorithm>
#include <array>
#include <unistd.h>
#include <utility>

namespace {

constexpr WaveFormat kFormat = floatWaveFormat(2, kMixSampleRate);
constexpr std::int64_t kUnitsPerSecond = 10'000'000; // of 100 ns
// A stream that the server ended, as it does when the user moves the playback to another sink.
constexpr std::chrono::milliseconds kMovedStreamInterval(500);
// Sound that begins, or begins again, goes out behind a little silence: the render thread then has something
// in hand when a packet is late.
constexpr std::chrono::milliseconds kRestAfter(100);
constexpr std::size_t kHeadStartFrames = 240; // 5 ms

constexpr std::array<float, 2 * kHeadStartFrames> kSilence{};

// Two packets fill the buffer: each waits no longer than it must before the mixer has it.
constexpr std::int64_t kPacketsOfABuffer = 2;

std::uint32_t bytesOf(std::int64_t duration) {
    return static_cast<std::uint32_t>(duration * kMixSampleRate / kUnitsPerSecond *
                                      static_cast<std::int64_t>(kFrameBytes));
}

} // namespace

/// One record stream.
class PulseProcessCapture::Recording {
public:
    /// `shared` is the server's connection. It is good for as long as this lives.
    Recording(PulseProcessCapture& capture, pa_context& shared, std::uint32_t sinkInput)
        : owner(capture), playback(sinkInput) {
        if (!owner.server->isPipeWire()) {
            connectStream(shared);
            return;
        }
        // Its Pulse server sends nothing of a client's stream while something else still waits for that
        // client: many streams of one connection starve each other. PulseAudio itself does not, and counts
        // connections.
        ownLink = std::make_unique<PulseLink>(
            owner.server->api(), PulseLink::Events{[this](pa_context& context) { connectStream(context); },
                                                   [this] {
                                                       dropStream();
                                                   }});
        ownLink->connect();
    }

    ~Recording() { dropStream(); }
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    [[nodiscard]] bool hasFailed() const { return failed; }

private:
    void connectStream(pa_context& context) {
        dropStream();
        pa_proplist* const properties = pa_proplist_new();
        pa_proplist_sets(properties, PA_PROP_MEDIA_NAME, "Vexo Deck capture");
        // Kept out of the volume controls' lists of recorders.
        pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, "filter");
        stream =
            pa_stream_new_with_proplist(&context, "Vexo Deck capture", &kSampleSpec, nullptr, properties);
        pa_proplist_free(properties);
        if (stream == nullptr) {
            fail();
            return;
        }
        pa_stream_set_state_callback(stream, onState, this);
        pa_stream_set_read_callback(stream, onData, this);
        pa_buffer_attr attributes;
        attributes.maxlength = static_cast<std::uint32_t>(-1);
        attributes.tlength = static_cast<std::uint32_t>(-1);
        attributes.prebuf = static_cast<std::uint32_t>(-1);
        attributes.minreq = static_cast<std::uint32_t>(-1);
        attributes.fragsize = bytesOf(owner.bufferDuration / kPacketsOfABuffer);
        if (pa_stream_set_monitor_stream(stream, playback) < 0 ||
            pa_stream_connect_record(stream, nullptr, &attributes,
                                     static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY |
                                                                    PA_STREAM_DONT_INHIBIT_AUTO_SUSPEND)) <
                0) {
            fail();
        }
    }

    void dropStream() {
        retireStream(stream);
        stream = nullptr;
    }

    // The owner makes another one, outside of this one's callbacks.
    void fail() {
        failed = true;
        owner.scheduleRetry();
    }

    static void onState(pa_stream* changed, void* self) {
        const pa_stream_state_t state = pa_stream_get_state(changed);
        if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED) {
            static_cast<Recording*>(self)->fail();
        }
    }

    static void onData(pa_stream* source, std::size_t, void* self) {
        auto* const recording = static_cast<Recording*>(self);
        const void* data = nullptr;
        std::size_t byteCount = 0;
        while (pa_stream_peek(source, &data, &byteCount) == 0 && byteCount > 0) {
            const std::size_t sampleCount = byteCount / sizeof(float);
            if (data != nullptr) {
                recording->owner.merge.push(recording->playback,
                                            {static_cast<const float*>(data), sampleCount});
            } else {
                recording->pushSilence(sampleCount);
            }
            pa_stream_drop(source);
        }
    }

    // A gap in what the server recorded keeps its length.
    void pushSilence(std::size_t sampleCount) {
        while (sampleCount > 0) {
            const std::size_t count = std::min(sampleCount, kSilence.size());
            owner.merge.push(playback, std::span(kSilence).first(count));
            sampleCount -= count;
        }
    }

    PulseProcessCapture& owner;
    const std::uint32_t playback;
    std::unique_ptr<PulseLink> ownLink;
    pa_stream* stream = nullptr;
    bool failed = false;
};

PulseProcessCapture::PulseProcessCapture(std::shared_ptr<PulseServer> soundServer,
                                         PerAppInputBuffers& inputBuffers)
    : server(std::move(soundServer)), buffers(inputBuffers),
      merge([this](std::span<const float> stereo) { handOver(stereo); }) {}

PulseProcessCapture::~PulseProcessCapture() {
    stopCapture();
}

HResult PulseProcessCapture::startCapture(std::uint32_t targetProcessId, bool includeProcessTree) {
    processId = targetProcessId;
    wholeTree = includeProcessTree;
    logCaptureFormat(floatWaveFormat(2, kMixSampleRate));
    logCapturingProcess(processId);
    logCaptureStarted(processId, static_cast<std::uint32_t>(bytesOf(bufferDuration) / kFrameBytes));
    const PulseServer::Lock lock(*server);
    capturing = true;
    server->addObserver(*this);
    playbacksChanged(*server);
    return kHResultOk;
}

HResult PulseProcessCapture::stopCapture() {
    const PulseServer::Lock lock(*server);
    if (!capturing) {
        return kHResultInvalidState;
    }
    capturing = false;
    server->removeObserver(*this);
    // Before the timers: what streams waited with is handed on here, and each packet may start one.
    connectionLost();
    forget(retry);
    forget(rest);
    return kHResultOk;
}

// Brings the record streams in line with what plays.
void PulseProcessCapture::playbacksChanged(PulseServer& soundServer) {
    pa_context* const context = soundServer.readyContext();
    if (context == nullptr) {
        return;
    }
    const auto& playbacks = soundServer.livePlaybacks();
    std::erase_if(decided, [&playbacks](const auto& entry) { return !playbacks.contains(entry.first); });
    for (auto at = recordings.begin(); at != recordings.end();) {
        if (!playbacks.contains(at->first) || at->second->hasFailed()) {
            merge.remove(at->first);
            at = recordings.erase(at);
        } else {
            ++at;
        }
    }
    for (const auto& [index, playback] : playbacks) {
        if (!isTarget(playback)) {
            continue;
        }
        if (!recordings.contains(index)) {
            merge.add(index);
            recordings.emplace(index, std::make_unique<Recording>(*this, *context, index));
        }
        merge.setPaused(index, playback.paused);
    }
}

void PulseProcessCapture::connectionLost() {
    for (const auto& [index, recording] : recordings) {
        merge.remove(index);
    }
    recordings.clear();
    decided.clear();
}

// Decided once for each stream: a process does not change its parents while it plays.
bool PulseProcessCapture::isTarget(const PulsePlayback& playback) {
    const auto known = decided.find(playback.index);
    if (known != decided.end()) {
        return known->second;
    }
    if (playback.processId == 0) {
        return false; // it may be said later
    }
    // Our own sound is never captured, or it would go round in circles.
    const bool own = playback.processId == static_cast<std::uint32_t>(getpid());
    const bool target = !own && (playback.processId == processId ||
                                 (wholeTree && isInProcessTree(playback.processId, processId)));
    decided.emplace(playback.index, target);
    return target;
}

// A failed stream is let go of outside of its own callback.
void PulseProcessCapture::scheduleRetry() {
    if (retry != nullptr) {
        return;
    }
    retry = timeEvent(kMovedStreamInterval, [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
        auto* const capture = static_cast<PulseProcessCapture*>(self);
        capture->forget(capture->retry);
        capture->playbacksChanged(*capture->server);
    });
}

pa_time_event* PulseProcessCapture::timeEvent(std::chrono::milliseconds delay, pa_time_event_cb_t callback) {
    timeval when{};
    pa_timeval_add(pa_gettimeofday(&when), static_cast<pa_usec_t>(delay.count()) * PA_USEC_PER_MSEC);
    return server->api().time_new(&server->api(), &when, callback, this);
}

void PulseProcessCapture::forget(pa_time_event*& event) {
    if (event != nullptr) {
        server->api().time_free(event);
        event = nullptr;
    }
}

// Looks now and then, not at every packet, whether packets still come.
void PulseProcessCapture::awaitRest() {
    rest = timeEvent(kRestAfter, [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
        auto* const capture = static_cast<PulseProcessCapture*>(self);
        capture->forget(capture->rest);
        if (std::chrono::steady_clock::now() - capture->lastPacket < kRestAfter) {
            capture->awaitRest();
            return;
        }
        capture->buffers.addInputData(capture->processId, kSilence.data(), sizeof(kSilence), kFormat);
        capture->buffers.updateBusLevels();
    });
}

void PulseProcessCapture::handOver(std::span<const float> stereo) {
    const auto now = std::chrono::steady_clock::now();
    if (now - lastPacket > kRestAfter) {
        buffers.addInputData(processId, kSilence.data(), sizeof(kSilence), kFormat);
    }
    lastPacket = now;
    buffers.addInputData(processId, stereo.data(), static_cast<std::uint32_t>(stereo.size_bytes()), kFormat);
    buffers.updateBusLevels();
    if (rest == nullptr) {
        awaitRest();
    }
}
