#include "platform/linux/sound/PipeWireRecording.h"

#include "mixer/WaveFormat.h"
#include "platform/linux/sound/PlaybackMerge.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <spa/param/audio/format-utils.h>
#include <spa/utils/dict.h>
#include <span>
#include <string>
#include <utility>

namespace {

pw_properties* propertiesOf(const PipeWireLibrary& library, const char* name, std::uint32_t playbackIndex,
                            std::uint32_t packetFrames) {
    // The Pulse server's index of a stream is the serial number of its node.
    const std::string target = std::to_string(playbackIndex);
    // PipeWire rounds down to a power of two: 480 would be 256, and its whole graph would run twice as often.
    const std::string latency =
        std::to_string(std::bit_ceil(packetFrames)) + "/" + std::to_string(kMixSampleRate);
    const auto items = std::to_array<spa_dict_item>({
        {PW_KEY_MEDIA_TYPE, "Audio"},
        {PW_KEY_MEDIA_CATEGORY, "Capture"},
        // Kept out of the volume controls' lists of recorders.
        {PW_KEY_MEDIA_ROLE, "filter"},
        {PW_KEY_MEDIA_NAME, name},
        {PW_KEY_NODE_NAME, name},
        {PW_KEY_TARGET_OBJECT, target.c_str()},
        {PW_KEY_NODE_LATENCY, latency.c_str()},
        // A node that goes, or is not known yet, is waited for and not replaced by a microphone, and neither
        // a volume nor a target that was once set for a recorder of this program is applied.
        {"node.dont-fallback", "true"},
        {"node.linger", "true"},
        {"node.dont-move", "true"},
        {"state.restore-props", "false"},
        {"state.restore-target", "false"},
        // What is paused does not run for being recorded.
        {PW_KEY_NODE_PASSIVE, "true"},
    });
    const spa_dict properties{
        .flags = 0, .n_items = static_cast<std::uint32_t>(items.size()), .items = items.data()};
    return library.propertiesNewDict(&properties);
}

spa_audio_info_raw stereoFloat() {
    spa_audio_info_raw info{};
    info.format = SPA_AUDIO_FORMAT_F32;
    info.rate = kMixSampleRate;
    info.channels = 2;
    info.position[0] = SPA_AUDIO_CHANNEL_FL;
    info.position[1] = SPA_AUDIO_CHANNEL_FR;
    return info;
}

std::span<const float> samplesOf(const pw_buffer& buffer) {
    const spa_data& data = buffer.buffer->datas[0];
    if (data.data == nullptr) {
        return {};
    }
    const std::uint32_t offset = std::min(data.chunk->offset, data.maxsize);
    const std::uint32_t size = std::min(data.chunk->size, data.maxsize - offset);
    const auto* const first = static_cast<const std::byte*>(data.data) + offset;
    return {reinterpret_cast<const float*>(first), size / sizeof(float)};
}

} // namespace

PipeWireRecording::PipeWireRecording(Stream recorded, std::shared_ptr<PipeWireConnection> over)
    : PlaybackRecording(std::move(recorded)), connection(std::move(over)) {
    connection->add(*this);
    if (!connect()) {
        fail();
    }
}

PipeWireRecording::~PipeWireRecording() {
    connection->remove(*this);
    if (source != nullptr) {
        const PipeWireConnection::Lock lock(*connection);
        connection->functions().streamDestroy(source);
    }
}

bool PipeWireRecording::connect() {
    static constexpr pw_stream_events kEvents = [] {
        pw_stream_events events{};
        events.version = PW_VERSION_STREAM_EVENTS;
        events.state_changed = onState;
        events.process = onProcess;
        return events;
    }();
    const PipeWireLibrary& library = connection->functions();
    const PipeWireConnection::Lock lock(*connection);
    source = library.streamNew(connection->core(), kStreamName,
                               propertiesOf(library, kStreamName, stream.playbackIndex, stream.packetFrames));
    if (source == nullptr) {
        return false;
    }
    library.streamAddListener(source, &listener, &kEvents, this);
    std::array<std::byte, 1024> storage;
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, storage.data(), static_cast<std::uint32_t>(storage.size()));
    const spa_audio_info_raw format = stereoFloat();
    const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
    constexpr auto kFlags =
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS |
                                     PW_STREAM_FLAG_DONT_RECONNECT | PW_STREAM_FLAG_RT_PROCESS);
    return library.streamConnect(source, PW_DIRECTION_INPUT, PW_ID_ANY, kFlags, &parameter, 1) == 0;
}

void PipeWireRecording::attend() {
    samples.drain([this](std::span<const float> stereo) { stream.merge.push(stream.playbackIndex, stereo); });
    if (ended || connection->state() == PipeWireConnection::State::Lost) {
        fail();
    }
}

void PipeWireRecording::onState(void* self, pw_stream_state before, pw_stream_state now, const char*) {
    const bool lost = now == PW_STREAM_STATE_UNCONNECTED && before != PW_STREAM_STATE_UNCONNECTED;
    if (lost || now == PW_STREAM_STATE_ERROR) {
        auto* const recording = static_cast<PipeWireRecording*>(self);
        recording->ended = true;
        recording->connection->signal();
    }
}

void PipeWireRecording::onProcess(void* self) {
    auto* const recording = static_cast<PipeWireRecording*>(self);
    const PipeWireLibrary& library = recording->connection->functions();
    while (pw_buffer* const buffer = library.streamDequeueBuffer(recording->source)) {
        recording->samples.push(samplesOf(*buffer));
        library.streamQueueBuffer(recording->source, buffer);
    }
    recording->connection->signalData(recording->samples.size() >=
                                      std::size_t{2} * recording->stream.packetFrames);
}
