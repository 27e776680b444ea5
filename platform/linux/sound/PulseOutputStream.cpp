#include "platform/linux/sound/PulseOutputStream.h"

#include "platform/linux/sound/PulseEndpoints.h"
#include "platform/linux/sound/PulseFormat.h"
#include "platform/linux/sound/RealTimeThread.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace {

constexpr std::uint32_t kBytesPerMs = kMixSampleRate / 1000 * kFrameBytes;

// What lies between the mix and the ear, the sink's own buffer included.
constexpr std::uint32_t kLatencyMs = 30;

// The least that the server asks for at a time. Two of these and two periods of the sink fill the latency.
// PipeWire rounds the sink's period down to a power of two: the 10 ms that 5 ms would leave for it to 256
// frames, and these 11 ms to 512.
std::uint32_t requestMsOf(const pa_sink_info& sink) {
    const bool isPipeWire = sink.driver != nullptr && std::string_view(sink.driver) == "PipeWire";
    return isPipeWire ? 4 : 5;
}

// As volume controls show the stream.
const char* streamNameOf(std::uint32_t busId) {
    switch (busId) {
    case 1:
        return "Monitor mix";
    case 2:
        return "Stream mix";
    default:
        return "Solo";
    }
}

} // namespace

PulseOutputStream::PulseOutputStream(std::uint32_t busId) : bus(busId) {}

PulseOutputStream::~PulseOutputStream() {
    stopClient();
}

bool PulseOutputStream::open(const AudioEndpoint& endpoint) {
    if (endpoint.flow == EndpointFlow::Capture) {
        logOutputFailure(OutputStep::GetService, SoundError::WrongDirection);
        return false;
    }
    const auto* const device = static_cast<const PulseEndpointHandle*>(endpoint.handle.get());
    mainloop.reset(device != nullptr ? pa_mainloop_new() : nullptr);
    if (!mainloop) {
        logOutputFailure(OutputStep::Activate, SoundError::Refused);
        return false;
    }
    sinkName = device->name;
    if (device->isLiveMicrophone) {
        liveMicrophoneServer = PulseServer::shared();
        liveMicrophoneServer->keepLiveMicrophone();
    }
    static_cast<void>(chooseOutputFormat(kSoundDone, floatWaveFormat(2, kMixSampleRate)));
    return true;
}

void PulseOutputStream::run(const std::atomic<bool>& running, const RenderCallback& render) {
    const RealTimeThread realTime;
    callback = &render;
    pa_mainloop_api& api = *pa_mainloop_get_api(mainloop.get());
    retry.emplace(api, [this] { lookForSink(); });
    connection = std::make_unique<PulseConnection>(
        api, PulseConnection::Events{
                 .ready = [this](pa_context& context) { handleReady(context); },
                 .lost = [this] { dropStream(); },
                 .refused = [] { PulseServer::tellOfRefusedClient("an output"); },
             });
    connection->connect();
    while (running) {
        if (pa_mainloop_iterate(mainloop.get(), 1, nullptr) < 0) {
            break;
        }
    }
    stopClient();
    callback = nullptr;
}

void PulseOutputStream::wake() {
    if (mainloop) {
        pa_mainloop_wakeup(mainloop.get());
    }
}

void PulseOutputStream::stopClient() {
    retry.reset();
    dropStream();
    connection.reset();
}

void PulseOutputStream::handleReady(pa_context& context) {
    pa_context_set_subscribe_callback(&context, onSinkEvent, this);
    const PulseOperation started(pa_context_subscribe(&context, PA_SUBSCRIPTION_MASK_SINK, nullptr, nullptr));
    lookForSink();
}

// A sink that comes may be ours: the first of its name, or a new one behind a stream that PipeWire left alive
// and unconnected when its sink went.
void PulseOutputStream::onSinkEvent(pa_context*, pa_subscription_event_type_t type, std::uint32_t,
                                    void* self) {
    if ((type & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_NEW) {
        static_cast<PulseOutputStream*>(self)->lookForSink();
    }
}

void PulseOutputStream::lookForSink() {
    if (sinkIndex == PA_INVALID_INDEX && !isCreating()) {
        dropStream();
    }
    if (pa_context* const context = connection->readyContext()) {
        const PulseOperation started(
            pa_context_get_sink_info_by_name(context, sinkName.c_str(), onSinkFound, this));
    }
}

void PulseOutputStream::onSinkFound(pa_context*, const pa_sink_info* info, int end, void* self) {
    auto* const output = static_cast<PulseOutputStream*>(self);
    // Servers give another sink for names of their own, such as that of the default one.
    if (end == 0 && info->name == output->sinkName && info->index != output->sinkIndex &&
        !output->isCreating()) {
        output->connectStream(*info);
    }
}

bool PulseOutputStream::isCreating() const {
    return stream && pa_stream_get_state(stream.get()) == PA_STREAM_CREATING;
}

void PulseOutputStream::connectStream(const pa_sink_info& sink) {
    dropStream();
    pa_context* const context = connection->readyContext();
    if (context == nullptr) {
        return; // its return makes the stream anew
    }
    const PulsePropertyList properties(pa_proplist_new());
    // PipeWire plays on another sink where the named one is gone, unless it is told this.
    pa_proplist_sets(properties.get(), "node.dont-fallback", "true");
    stream.reset(
        pa_stream_new_with_proplist(context, streamNameOf(bus), &kSampleSpec, nullptr, properties.get()));
    if (!stream) {
        scheduleRetry();
        return;
    }
    pa_stream_set_state_callback(stream.get(), onState, this);
    pa_stream_set_moved_callback(stream.get(), onMoved, this);
    pa_stream_set_write_callback(stream.get(), onWrite, this);
    const pa_buffer_attr attributes{.maxlength = static_cast<std::uint32_t>(kOutputBufferDuration.count()) *
                                                 kBytesPerMs,
                                    .tlength = kLatencyMs * kBytesPerMs,
                                    .prebuf = 0, // starts at once, and goes on by itself after an underrun
                                    .minreq = requestMsOf(sink) * kBytesPerMs,
                                    .fragsize = kServersChoice};
    // An output stays where it is: when its sink goes, it waits for it.
    constexpr auto kFlags = static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE |
                                                           PA_STREAM_START_CORKED);
    // By its number: PipeWire gives a stream of that name in the place of the sink.
    const std::string number = std::to_string(sink.index);
    if (pa_stream_connect_playback(stream.get(), number.c_str(), &attributes, kFlags, nullptr, nullptr) < 0) {
        scheduleRetry();
    }
}

// A stream on another sink stays corked, and so unheard, until it is dropped.
void PulseOutputStream::handleStreamReady() {
    const char* const playsInto = pa_stream_get_device_name(stream.get());
    if (playsInto == nullptr || playsInto != sinkName) {
        scheduleRetry();
        return;
    }
    sinkIndex = pa_stream_get_device_index(stream.get());
    const PulseOperation started(pa_stream_cork(stream.get(), 0, nullptr, nullptr));
}

void PulseOutputStream::onMoved(pa_stream* moved, void* self) {
    auto* const output = static_cast<PulseOutputStream*>(self);
    const char* const playsInto = pa_stream_get_device_name(moved);
    if (playsInto == nullptr || playsInto != output->sinkName) {
        const PulseOperation started(pa_stream_cork(moved, 1, nullptr, nullptr));
        output->sinkIndex = PA_INVALID_INDEX;
        output->scheduleRetry();
    }
}

void PulseOutputStream::scheduleRetry() {
    if (retry) {
        retry->start(PulseConnection::kRetryInterval);
    }
}

void PulseOutputStream::dropStream() {
    stream.reset();
    sinkIndex = PA_INVALID_INDEX;
}

// A stream that failed is tried again while its sink is there; one whose sink went waits for it.
void PulseOutputStream::onState(pa_stream* changed, void* self) {
    const pa_stream_state_t state = pa_stream_get_state(changed);
    auto* const output = static_cast<PulseOutputStream*>(self);
    if (state == PA_STREAM_READY) {
        output->handleStreamReady();
    } else if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED) {
        output->sinkIndex = PA_INVALID_INDEX;
        output->scheduleRetry();
    }
}

void PulseOutputStream::onWrite(pa_stream* asking, std::size_t byteCount, void* self) {
    const auto* const output = static_cast<const PulseOutputStream*>(self);
    if (output->sinkIndex == PA_INVALID_INDEX) {
        return; // not on its own sink
    }
    const RenderCallback& render = *output->callback;
    while (byteCount >= kFrameBytes) {
        void* data = nullptr;
        std::size_t size = byteCount;
        if (pa_stream_begin_write(asking, &data, &size) < 0 || data == nullptr || size < kFrameBytes) {
            return;
        }
        const std::size_t frameCount = std::min(size, byteCount) / kFrameBytes;
        render(static_cast<float*>(data), static_cast<std::uint32_t>(frameCount));
        if (pa_stream_write(asking, data, frameCount * kFrameBytes, nullptr, 0, PA_SEEK_RELATIVE) < 0) {
            return;
        }
        byteCount -= frameCount * kFrameBytes;
    }
}
