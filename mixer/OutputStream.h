#pragma once

// The stream of one output: what stands between BusForwarder and an endpoint of the sound system.
//
// BusForwarder finds the endpoint, says which it uses, owns the thread and its running flag, and ends it. A
// stream opens the endpoint, and its run() is the body of that thread: it waits for the endpoint, asks how
// many frames fit, and lets the callback write them straight into the endpoint's memory. It logs what the
// sound system refused with logOutputFailure().

#include "mixer/AudioEndpoint.h"
#include "mixer/WaveFormat.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

/// Writes `frameCount` frames of interleaved stereo float to `output`. It neither allocates nor logs and
/// takes no lock but the mixer's own two.
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

    /// Plays until `running` is false, on the render thread that calls it: takes the thread's real-time
    /// scheduling (failing in that is no failure), starts the client (on failure: its line, and
    /// out), and from then on, at each period, gives the endpoint as many frames as it has room for. Whatever
    /// fails there goes back to waiting. At its end stops the client and gives the scheduling back. `render`
    /// is called by this thread, or by a thread of the sound system while run() waits, by one at a time, and
    /// not after run() has returned.
    virtual void run(const std::atomic<bool>& running, const RenderCallback& render) = 0;

    /// Wakes a run() that waits, so that it looks at `running` again; one that is not waiting yet will not
    /// miss it. Any thread.
    virtual void wake() = 0;

    /// Stops the endpoint's client, after the thread has been joined; harmless a second time.
    virtual void stopClient() = 0;
};

/// The format that an endpoint is opened with: its own mix format (without a value: it could not be read,
/// and `result` says why), brought to float and to two channels. The rate stays that of the endpoint; the
/// samples are always those of 48000 Hz, so another rate shifts the pitch. Without a mix format:
/// kDefaultFormat. Logs the choice.
[[nodiscard]] WaveFormat chooseOutputFormat(SoundResult result, const std::optional<WaveFormat>& mixFormat);

/// The steps of a stream that the sound system may refuse, as the lines name them.
enum class OutputStep { Activate, Initialize, GetService, GetBufferSize, EventCreate, SetEventHandle, Start };

/// Logs that the step was refused. Any thread but a render callback.
void logOutputFailure(OutputStep step, SoundResult result);
