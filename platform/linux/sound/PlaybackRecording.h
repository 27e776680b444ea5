#pragma once

#include <cstdint>
#include <functional>
#include <memory>

class PlaybackMerge;
class PulseServer;

/// Records one playing stream: pushes what it sends to its sink, as 48000 Hz stereo float, to a merge under
/// the stream's index. Belongs to the server's thread: all calls are on it, or under its lock. Nothing is
/// pushed after the destructor.
class PlaybackRecording {
public:
    struct Stream {
        PulseServer& server;
        PlaybackMerge& merge;
        std::uint32_t playbackIndex;
        std::uint32_t packetFrames; ///< about what a packet holds
        /// Runs when the recording could not be made, which may be at once, and when the server ends it. It
        /// does not destroy the recording.
        std::function<void()> onFailure;
    };

    explicit PlaybackRecording(Stream recorded);
    virtual ~PlaybackRecording() = default;
    PlaybackRecording(const PlaybackRecording&) = delete;
    PlaybackRecording& operator=(const PlaybackRecording&) = delete;

    [[nodiscard]] bool hasFailed() const { return failed; }

    /// Begins to record over the connection that the server is for: PipeWire's own, else Pulse's. The server
    /// is connected. Null while it is not known yet which; the observers of the playbacks are notified then.
    [[nodiscard]] static std::unique_ptr<PlaybackRecording> make(Stream recorded);

protected:
    /// Of the record stream, as the server's lists show it.
    static constexpr const char* kStreamName = "Vexo Deck capture";

    /// Once.
    void fail();

    const Stream stream;

private:
    bool failed = false;
};
