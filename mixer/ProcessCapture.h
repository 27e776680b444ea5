#pragma once

// Capture of what one process, with its child processes, sends to the sound system, whichever endpoint that
// goes to. One object for each captured process, held by AudioRouterAPI's map through a counted reference;
// never started twice. It hands each packet to PerAppInputBuffers::addInputData() with its process id as the
// source and calls updateBusLevels() after each, on threads of its body, which take no lock of the router;
// several captures may share them, and no two packets of one capture are handed over at once. The buffers
// outlive the last callback of every capture, which may come after stopCapture() and after the router has let
// go of the object.

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

    /// Prepares and starts, and waits until the system has answered. A success may still turn out to be no
    /// capture: an activation that fails on the system's own thread is no failure here. A failed result
    /// leaves nothing running, and the object is dropped. The router's thread.
    [[nodiscard]] virtual SoundResult startCapture(std::uint32_t processId, bool includeProcessTree) = 0;

    /// Stops and waits until the system has stopped. One packet may still be on its way to the buffers then.
    /// A capture that failed after its start is stopped like one that captures. kSoundNothingToStop, at
    /// once, when there is nothing to stop: it was not started, is only just starting, or was stopped before.
    /// The router's thread.
    virtual SoundResult stopCapture() = 0;
};

/// The format that a capture is opened with: what the client itself says (without a value: it could not be
/// read, and `result` says why), or kDefaultFormat. Logs the choice.
[[nodiscard]] WaveFormat chooseCaptureFormat(SoundResult result,
                                             const std::optional<WaveFormat>& clientFormat);

/// The lines of a capture, the same on every system.
void logCaptureFormat(const WaveFormat& format);
/// The system did not say its format: `result` tells why.
void logDefaultCaptureFormat(SoundResult result);
void logCapturingProcess(std::uint32_t processId);
void logCaptureStarted(std::uint32_t processId, std::uint32_t bufferFrames);
