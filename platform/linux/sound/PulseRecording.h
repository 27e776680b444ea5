#pragma once

#include "platform/linux/sound/PlaybackRecording.h"
#include "platform/linux/sound/PulseConnection.h"
#include "platform/linux/sound/PulseHandles.h"

#include <cstddef>
#include <memory>

/// Records a playing stream by a record stream on the monitor of its sink input.
class PulseRecording final : public PlaybackRecording {
public:
    explicit PulseRecording(Stream recorded);

private:
    static void onState(pa_stream* changed, void* self);
    static void onData(pa_stream* source, std::size_t byteCount, void* self);
    void connectStream(pa_context& context);
    void pushSilence(std::size_t sampleCount);

    std::unique_ptr<PulseConnection> ownConnection;
    PulseStreamHandle monitor;
};
