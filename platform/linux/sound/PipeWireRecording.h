#pragma once

#include "platform/linux/sound/PipeWireConnection.h"
#include "platform/linux/sound/PlaybackRecording.h"
#include "platform/linux/sound/SampleQueue.h"

#include <atomic>
#include <memory>

/// Records a playing stream of PipeWire by a stream of its own that is linked to that node alone. When the
/// node goes, it hears nothing more; it never hears another one.
class PipeWireRecording final : public PlaybackRecording, private PipeWireConnection::Recording {
public:
    /// The connection is ready.
    PipeWireRecording(Stream recorded, std::shared_ptr<PipeWireConnection> over);
    ~PipeWireRecording() override;

private:
    [[nodiscard]] bool connect();
    void attend() override;

    static void onState(void* self, pw_stream_state before, pw_stream_state now, const char* error);
    static void onProcess(void* self);

    const std::shared_ptr<PipeWireConnection> connection;
    pw_stream* source = nullptr;
    spa_hook listener{};
    SampleQueue samples;             // written by the library's real-time thread
    std::atomic<bool> ended = false; // by the library's thread
};
