#pragma once

// The stream of one output, between BusForwarder and an endpoint of the sound system.
//
// BusForwarder finds the endpoint, logs its choice, and owns the thread and its running flag. The stream
// opens the endpoint, and its run() is the body of that thread: it waits for the endpoint, asks how many
// frames fit, and lets the callback write them straight into the endpoint's memory. It logs what the sound
// system refuses with logOutputFailure().

#include "mixer/AudioEndpoint.h"
#include "mixer/WaveFormat.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

/// Writes `frameCount` frames of interleaved stereo float to `output`. Neither allocates nor logs, and takes
/// only the two locks of the mixer.
using RenderCallback = std::function<void(float* output, std::uint32_t frameCount)>;

/// Length of an endpoint's buffer.
inline constexpr std::chrono::milliseconds kOutputBufferDuration{150};

class OutputStream {
public:
    OutputStream() = default;
    virtual ~OutputStream() = default;
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

    /// Opens the endpoint for kOutputBufferDuration in the format of chooseOutputFormat(), and does not play
    /// yet. False, with the line of the step that failed; an endpoint of the capture flow fails at
    /// GetService. The thread of AudioRouterAPI's start, once.
    [[nodiscard]] virtual bool open(const AudioEndpoint& endpoint) = 0;

    /// Plays until `running` is false, on the render thread that calls it. Takes real-time scheduling for the
    /// thread where it is granted, starts the client (logs a failure and returns), and at each period writes
    /// as many frames as the endpoint has room for. A period that fails is skipped. At its end it stops the
    /// client and restores the scheduling. `render` is called on this thread, or on one of the sound system
    /// while run() waits: on one at a time, and not after run() has returned.
    virtual void run(const std::atomic<bool>& running, const RenderCallback& render) = 0;

    /// Wakes a run() that waits, so that it looks at `running` again. A call before the wait is not lost. Any
    /// thread.
    virtual void wake() = 0;

    /// Stops the endpoint's client, after the thread has been joined. May be called again.
    virtual void stopClient() = 0;
};

/// The format that an endpoint is opened with: its own mix format, changed to float and two channels, or
/// kDefaultFormat where it could not be read, for the reason in `result`. The rate stays that of the
/// endpoint, while the samples are always those of 48000 Hz: another rate shifts the pitch. Logs the choice.
[[nodiscard]] WaveFormat chooseOutputFormat(SoundResult result, const std::optional<WaveFormat>& mixFormat);

/// The steps of a stream that the sound system may refuse, as the lines name them.
enum class OutputStep { Activate, Initialize, GetService, GetBufferSize, EventCreate, SetEventHandle, Start };

/// Logs that the step was refused. Any thread but a render callback.
void logOutputFailure(OutputStep step, SoundResult result);
