#include "platform/linux/sound/PulseRecording.h"

#include "platform/linux/sound/PlaybackMerge.h"
#include "platform/linux/sound/PulseFormat.h"
#include "platform/linux/sound/PulseServer.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace {

constexpr std::array<float, 480> kGap{};

} // namespace

PulseRecording::PulseRecording(Stream recorded) : PlaybackRecording(std::move(recorded)) {
    PulseServer& server = stream.server;
    if (!server.isPipeWire()) {
        connectStream(*server.readyContext());
        return;
    }
    // PipeWire's Pulse server sends nothing of a client's stream while something else still waits for that
    // client: many streams of one connection starve each other. PulseAudio itself does not, and counts
    // connections.
    ownConnection = std::make_unique<PulseConnection>(
        server.api(), PulseConnection::Events{
                          .ready = [this](pa_context& context) { connectStream(context); },
                          .lost = [this] { monitor.reset(); },
                          .refused = [&server] { server.noteRefusedClient("an application"); },
                      });
    ownConnection->connect();
}

void PulseRecording::connectStream(pa_context& context) {
    const PulsePropertyList properties(pa_proplist_new());
    pa_proplist_sets(properties.get(), PA_PROP_MEDIA_NAME, kStreamName);
    // Kept out of the volume controls' lists of recorders.
    pa_proplist_sets(properties.get(), PA_PROP_MEDIA_ROLE, "filter");
    monitor.reset(
        pa_stream_new_with_proplist(&context, kStreamName, &kSampleSpec, nullptr, properties.get()));
    if (!monitor) {
        fail();
        return;
    }
    pa_stream_set_state_callback(monitor.get(), onState, this);
    pa_stream_set_read_callback(monitor.get(), onData, this);
    const pa_buffer_attr attributes{.maxlength = kServersChoice,
                                    .tlength = kServersChoice,
                                    .prebuf = kServersChoice,
                                    .minreq = kServersChoice,
                                    .fragsize = stream.packetFrames * kFrameBytes};
    constexpr auto kFlags =
        static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_INHIBIT_AUTO_SUSPEND);
    if (pa_stream_set_monitor_stream(monitor.get(), stream.playbackIndex) < 0 ||
        pa_stream_connect_record(monitor.get(), nullptr, &attributes, kFlags) < 0) {
        fail();
    }
}

void PulseRecording::onState(pa_stream* changed, void* self) {
    const pa_stream_state_t state = pa_stream_get_state(changed);
    if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED) {
        static_cast<PulseRecording*>(self)->fail();
    }
}

void PulseRecording::onData(pa_stream* source, std::size_t, void* self) {
    auto* const recording = static_cast<PulseRecording*>(self);
    const void* data = nullptr;
    std::size_t byteCount = 0;
    while (pa_stream_peek(source, &data, &byteCount) == 0 && byteCount > 0) {
        const std::size_t sampleCount = byteCount / sizeof(float);
        if (data != nullptr) {
            recording->stream.merge.push(recording->stream.playbackIndex,
                                         {static_cast<const float*>(data), sampleCount});
        } else {
            recording->pushSilence(sampleCount);
        }
        pa_stream_drop(source);
    }
}

// A gap in what the server recorded keeps its length.
void PulseRecording::pushSilence(std::size_t sampleCount) {
    while (sampleCount > 0) {
        const std::size_t count = std::min(sampleCount, kGap.size());
        stream.merge.push(stream.playbackIndex, std::span(kGap).first(count));
        sampleCount -= count;
    }
}
