#include "platform/linux/inputs/PulseInputRecording.h"

#include "platform/linux/sound/PulseFormat.h"
#include "platform/linux/sound/PulseServer.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace {

// As volume controls show the stream.
constexpr const char* kStreamName = "Microphone";

// PipeWire's session manager leaves a stream with these where it is: neither another source in the place of
// one that is not there, nor the one that was chosen for this program earlier.
constexpr const char* kNoFallback = "node.dont-fallback";
constexpr const char* kRestoreTarget = "state.restore-target";

std::size_t frameBytes(const PulseInputFormat& format) {
    return format.channels * sizeof(float);
}

} // namespace

PulseInputRecording::PulseInputRecording(pa_mainloop_api& mainloopApi, PulseInputFormat inputFormat)
    : wanted(std::move(inputFormat)),
      connection(mainloopApi, {
                                  .ready = [this](pa_context&) { connectStream(); },
                                  .lost = [this] { dropStream(); },
                                  .refused = [] { PulseServer::tellOfRefusedClient("a microphone"); },
                              }),
      retry(mainloopApi, [this] { connectStream(); }) {
    connection.connect();
}

void PulseInputRecording::follow(std::uint32_t index) {
    if (index != sourceIndex) {
        sourceIndex = index;
        connectStream();
    }
}

void PulseInputRecording::connectStream() {
    dropStream();
    pa_context* const context = connection.readyContext();
    if (context == nullptr || !isSourceThere()) {
        return; // the return of either makes the stream anew
    }
    const PulsePropertyList properties(pa_proplist_new());
    pa_proplist_sets(properties.get(), kNoFallback, "true");
    pa_proplist_sets(properties.get(), kRestoreTarget, "false");
    const pa_sample_spec format{PA_SAMPLE_FLOAT32NE, wanted.rate, wanted.channels};
    stream.reset(pa_stream_new_with_proplist(context, kStreamName, &format, nullptr, properties.get()));
    if (!stream) {
        retry.start(PulseConnection::kRetryInterval);
        return;
    }
    pa_stream_set_state_callback(stream.get(), onState, this);
    pa_stream_set_moved_callback(stream.get(), onMoved, this);
    const auto packetBytes = static_cast<std::uint32_t>(wanted.packetFrames * frameBytes(wanted));
    const pa_buffer_attr attributes{.maxlength = kServersChoice,
                                    .tlength = kServersChoice,
                                    .prebuf = kServersChoice,
                                    .minreq = kServersChoice,
                                    .fragsize = packetBytes};
    constexpr auto kFlags = static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE);
    // By its number: PipeWire gives a stream of that name in the place of the source.
    const std::string number = std::to_string(sourceIndex);
    if (pa_stream_connect_record(stream.get(), number.c_str(), &attributes, kFlags) < 0) {
        retry.start(PulseConnection::kRetryInterval);
    }
}

void PulseInputRecording::dropStream() {
    retry.cancel();
    onItsSource = false;
    readOfHead = 0;
    stream.reset();
}

void PulseInputRecording::onState(pa_stream* changed, void* self) {
    auto* const recording = static_cast<PulseInputRecording*>(self);
    switch (pa_stream_get_state(changed)) {
    case PA_STREAM_READY:
        recording->onItsSource = true;
        recording->checkSource();
        break;
    case PA_STREAM_FAILED:
    case PA_STREAM_TERMINATED:
        recording->onItsSource = false;
        recording->retry.start(PulseConnection::kRetryInterval);
        break;
    default:
        break;
    }
}

void PulseInputRecording::onMoved(pa_stream*, void* self) {
    static_cast<PulseInputRecording*>(self)->checkSource();
}

// A server may give another source than it was asked for, or move the stream to one: it is tried again.
void PulseInputRecording::checkSource() {
    const char* const given = pa_stream_get_device_name(stream.get());
    if (given == nullptr || wanted.source != given) {
        onItsSource = false;
        retry.start(PulseConnection::kRetryInterval);
    }
}

std::size_t PulseInputRecording::readableBytes() const {
    if (!onItsSource) {
        return 0;
    }
    const std::size_t bytes = pa_stream_readable_size(stream.get());
    return bytes != static_cast<std::size_t>(-1) && bytes > readOfHead ? bytes - readOfHead : 0;
}

std::size_t PulseInputRecording::readableFrames() {
    const std::size_t longestFrames = std::size_t{wanted.rate} / 1000 * kLongestDelayMs;
    const std::size_t twoPackets = std::size_t{2} * wanted.packetFrames;
    if (readableBytes() > std::max(longestFrames, twoPackets) * frameBytes(wanted)) {
        dropOldest();
    }
    return readableBytes() / frameBytes(wanted);
}

// What is left is what a reader in time would find.
void PulseInputRecording::dropOldest() {
    const void* data = nullptr;
    std::size_t packetBytes = 0;
    while (pa_stream_peek(stream.get(), &data, &packetBytes) == 0 && packetBytes > 0 &&
           readableBytes() > packetBytes - readOfHead + wanted.packetFrames * frameBytes(wanted)) {
        pa_stream_drop(stream.get());
        readOfHead = 0;
    }
}

std::size_t PulseInputRecording::read(std::span<float> samples) {
    std::size_t done = 0;
    while (done < samples.size() && readableBytes() > 0) {
        const void* data = nullptr;
        std::size_t packetBytes = 0;
        if (pa_stream_peek(stream.get(), &data, &packetBytes) < 0 || packetBytes == 0) {
            break;
        }
        const std::size_t bytes = std::min(packetBytes - readOfHead, (samples.size() - done) * sizeof(float));
        if (data != nullptr) {
            std::memcpy(&samples[done], static_cast<const char*>(data) + readOfHead, bytes);
        } else {
            std::fill_n(&samples[done], bytes / sizeof(float), 0.0f);
        }
        done += bytes / sizeof(float);
        readOfHead += bytes;
        if (readOfHead == packetBytes) {
            pa_stream_drop(stream.get());
            readOfHead = 0;
        }
    }
    return done;
}
