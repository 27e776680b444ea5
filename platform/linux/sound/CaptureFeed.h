#pragma once

#include "platform/linux/sound/PulseHandles.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>

class PerAppInputBuffers;

/// Hands what one process plays to the mixer. A short silence precedes each new sound, as reserve for a late
/// packet. One packet of silence follows the end, so that the meters fall.
///
/// Belongs to the thread of its main loop. After the destructor the mixer gets nothing more.
class CaptureFeed {
public:
    /// Frames of both silences: 5 ms.
    static constexpr std::size_t kSilentFrames = 240;
    /// A process that has been silent for this long has stopped.
    static constexpr std::chrono::milliseconds kRestAfter{100};

    CaptureFeed(pa_mainloop_api& mainloopApi, PerAppInputBuffers& inputBuffers,
                std::uint32_t capturedProcess);

    /// A packet of 48000 Hz stereo float, interleaved.
    void push(std::span<const float> stereo);

private:
    void pushSilence();
    void lookForRest();

    PerAppInputBuffers& buffers;
    const std::uint32_t processId;
    std::chrono::steady_clock::time_point lastPacket;
    PulseTimer rest; // runs while packets come, and a little longer
};
