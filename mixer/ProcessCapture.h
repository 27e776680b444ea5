#pragma once

// Captures what one process, with its child processes, plays, on whichever endpoint. AudioRouterAPI holds one
// object for each captured process, and starts it once.
//
// A capture passes each packet to PerAppInputBuffers::addInputData(), with its process id as the source, and
// then calls updateBusLevels(). It does so on threads of its body, which take no lock of the router. Several
// captures may share a thread; two packets of one capture are never passed at once. The last packet may come
// after stopCapture(), and after the router has released the object, so the buffers outlive all captures.

#include "mixer/SoundResult.h"
#include "mixer/WaveFormat.h"

#include <chrono>
#include <cstdint>
#include <optional>

class ProcessCapture {
public:
    /// What setBufferDuration() replaces.
    static constexpr std::chrono::milliseconds kDefaultBufferDuration{50};

    ProcessCapture() = default;
    virtual ~ProcessCapture() = default;
    ProcessCapture(const ProcessCapture&) = delete;
    ProcessCapture& operator=(const ProcessCapture&) = delete;

    /// Length of the capture's buffer. Before startCapture().
    virtual void setBufferDuration(std::chrono::milliseconds duration) = 0;

    /// Prepares and starts, and waits until the system has answered. An activation that fails on the system's
    /// own thread is no failure here: the capture then stays silent. After a failed result nothing runs, and
    /// the router releases the object. The router's thread.
    [[nodiscard]] virtual SoundResult startCapture(std::uint32_t processId, bool includeProcessTree) = 0;

    /// Stops and waits until the system has stopped. One packet may still be on its way to the buffers then.
    /// A capture that failed after its start is stopped like any other. Returns SoundError::NothingToStop at
    /// once when the capture was not started, is only just starting, or was stopped before. The router's
    /// thread.
    virtual SoundResult stopCapture() = 0;
};

/// The format that a capture is opened with: that of the client, or kDefaultFormat where it could not be
/// read, for the reason in `result`. Logs the choice.
[[nodiscard]] WaveFormat chooseCaptureFormat(SoundResult result,
                                             const std::optional<WaveFormat>& clientFormat);

/// The lines of a capture, the same on every system.
void logCaptureFormat(const WaveFormat& format);
/// `result`: why the client's format could not be read.
void logDefaultCaptureFormat(SoundResult result);
void logCapturingProcess(std::uint32_t processId);
void logCaptureStarted(std::uint32_t processId, std::uint32_t bufferFrames);
