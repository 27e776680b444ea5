#pragma once

#include "mixer/ProcessCapture.h"
#include "platform/linux/sound/PlaybackMerge.h"
#include "platform/linux/sound/PulseServer.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <span>

class PerAppInputBuffers;

/// Captures one process by recording what each of its streams, and those of its children, sends to its sink:
/// a record stream on the monitor of every such sink input, made and ended as they come and go. What the user
/// hears of the process is not touched and no stream is moved. All packets are 48000 Hz stereo float; the
/// server converts.
///
/// The server says nothing of a process that plays no more. So that its meters and those of the buses do not
/// stand where they were, its last packet is followed by one of silence.
///
/// A capture stays in force while the server is away and records again when it is back. Packets are handed
/// over on the server's thread; start and stop belong to the router's.
class PulseProcessCapture final : public ProcessCapture, private PulseServer::Observer {
public:
    PulseProcessCapture(std::shared_ptr<PulseServer> soundServer, PerAppInputBuffers& inputBuffers);
    ~PulseProcessCapture() override;

    void setBufferDuration(std::int64_t duration) override { bufferDuration = duration; }
    /// Does not wait: a process that plays nothing yet is captured when it does, and one that has ended
    /// never.
    [[nodiscard]] HResult startCapture(std::uint32_t targetProcessId, bool includeProcessTree) override;
    HResult stopCapture() override;

private:
    class Recording;

    void playbacksChanged(PulseServer& soundServer) override;
    void connectionLost() override;
    [[nodiscard]] bool isTarget(const PulsePlayback& playback);
    void scheduleRetry();
    [[nodiscard]] pa_time_event* timeEvent(std::chrono::milliseconds delay, pa_time_event_cb_t callback);
    void forget(pa_time_event*& event);
    void awaitRest();
    void handOver(std::span<const float> stereo);

    std::shared_ptr<PulseServer> server;
    PerAppInputBuffers& buffers;
    std::int64_t bufferDuration = kDefaultBufferDuration; // 100 ns
    std::uint32_t processId = 0;
    bool wholeTree = true;
    bool capturing = false;

    // Under the server's lock from here on.
    PlaybackMerge merge;
    std::map<std::uint32_t, std::unique_ptr<Recording>> recordings; // by sink input
    std::map<std::uint32_t, bool> decided;                          // by sink input: whether it is a target's
    pa_time_event* retry = nullptr;
    pa_time_event* rest = nullptr; // while packets come, and a little longer
    std::chrono::steady_clock::time_point lastPacket;
};
