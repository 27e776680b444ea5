#pragma once

#include "platform/linux/sound/PulseConnection.h"
#include "platform/linux/sound/PulseHandles.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

class PlaybackMerge;
class PulseServer;

/// A record stream on the monitor of one sink input: pushes what that playback sends to its sink, as 48000 Hz
/// stereo float, to the merge under the sink input's index. Belongs to the server's thread: all calls are on
/// it, or under its lock.
class PulseRecording {
public:
    /// The server is connected. Each packet is about `packetSize` bytes long. `onFailure` runs when the
    /// stream could not be made, which may be at once, and when the server ends it, as it does when the user
    /// moves the playback to another sink; it does not destroy the recording.
    PulseRecording(PulseServer& server, PlaybackMerge& playbackMerge, std::uint32_t playbackIndex,
                   std::uint32_t packetSize, std::function<void()> onFailure);
    PulseRecording(const PulseRecording&) = delete;
    PulseRecording& operator=(const PulseRecording&) = delete;

    [[nodiscard]] bool hasFailed() const { return failed; }

private:
    static void onState(pa_stream* changed, void* self);
    static void onData(pa_stream* source, std::size_t byteCount, void* self);
    void connectStream(pa_context& context);
    void pushSilence(std::size_t sampleCount);
    void fail();

    PlaybackMerge& merge;
    const std::uint32_t playback;
    const std::uint32_t packetBytes;
    const std::function<void()> notifyFailure;
    std::unique_ptr<PulseConnection> ownConnection;
    PulseStreamHandle stream;
    bool failed = false;
};
