#pragma once

#include "mixer/ProcessCapture.h"
#include "platform/linux/sound/PulseServer.h"

#include <cstdint>
#include <memory>

class PerAppInputBuffers;

/// Captures one process by recording what each of its streams, and those of its children, sends to its sink:
/// a recording of every such stream, made and ended as they come and go. What the user hears of the process
/// is not touched and no stream is moved. All packets are 48000 Hz stereo float; the server converts.
///
/// A capture stays in force while the server is away and records again when it is back. Packets are handed
/// over on the server's thread; start and stop belong to the router's.
class PulseProcessCapture final : public ProcessCapture {
public:
    PulseProcessCapture(std::shared_ptr<PulseServer> soundServer, PerAppInputBuffers& inputBuffers);
    ~PulseProcessCapture() override;

    void setBufferDuration(std::chrono::milliseconds duration) override { bufferDuration = duration; }
    /// Does not wait: a process that plays nothing yet is captured when it does, and one that has ended
    /// never.
    [[nodiscard]] SoundResult startCapture(std::uint32_t targetProcessId, bool includeProcessTree) override;
    SoundResult stopCapture() override;

private:
    class Session;

    std::shared_ptr<PulseServer> server;
    PerAppInputBuffers& buffers;
    std::chrono::milliseconds bufferDuration = kDefaultBufferDuration;
    std::unique_ptr<Session> session; // while it captures; under the server's lock
};
