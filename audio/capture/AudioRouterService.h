#pragma once

// The microphone side of the audio engine. One worker thread, "Capture", opens streams of the inputs that
// were named (SoundInputs) and reads them, block after block. The audio callback changes the blocks of the
// input with index 0 in place. Every block goes to PerAppInputBuffers, with the input's index in the place of
// a process id.
//
// All operations belong to the UI thread. They only note a request; the worker carries it out between two
// blocks, and no other thread touches a stream. There are no error codes: failures are lines of the debug
// log.
//
// A worker that ends by itself (the sound system failed to initialise, or a rebuild failed) leaves the
// service "running": requests are accepted and never honoured, and only Stop() or Restart() lead out.

#include "audio/capture/AudioRouterConfig.h"
#include "audio/capture/Pause.h"
#include "platform/SoundInputs.h"

#include <memory>
#include <string>
#include <vector>

class PerAppInputBuffers;
struct AudioRouterState;

class AudioRouterService {
public:
    /// Hands its blocks to `inputBuffers`. The worker waits by `pause`. Buffers and inputs outlive it.
    explicit AudioRouterService(PerAppInputBuffers& inputBuffers, Pause pause = pauseThread,
                                SoundInputs& soundInputs = systemSoundInputs());
    /// Stops the worker.
    ~AudioRouterService();
    AudioRouterService(const AudioRouterService&) = delete;
    AudioRouterService& operator=(const AudioRouterService&) = delete;

    /// Starts the worker with this configuration; false while running.
    [[nodiscard]] bool Start(const AudioRouterConfig& config);
    /// Ends the worker and waits for it: one block at most, or until a system whose reads cannot be woken
    /// gives up a dead device.
    /// Nothing while stopped.
    void Stop();
    /// Stops where running, and starts with the configuration as it is now.
    [[nodiscard]] bool Restart();
    [[nodiscard]] bool IsRunning() const;

    /// Requests a rate in Hz; false while stopped and for a rate of 0 or less. The request stays in force: an
    /// input that opens at another rate is rebuilt again and again until the rate that it has is requested.
    [[nodiscard]] bool SetSampleRate(double sampleRate);
    /// The rate in force, in Hz.
    [[nodiscard]] double GetSampleRate() const;

    /// Requests an input. False while stopped, and when an input of that name, ASCII letters in any case, is
    /// configured. Requests that the worker has not carried out yet are not compared.
    [[nodiscard]] bool AddInputDevice(const std::string& name, std::int32_t channels);
    [[nodiscard]] bool AddInputDevice(const std::string& name, std::int32_t channels, std::int32_t index);
    /// Requests the end of every input whose name contains this one or is contained in it. False only while
    /// stopped.
    [[nodiscard]] bool RemoveInputDevice(const std::string& name);
    /// A copy of the configured inputs.
    [[nodiscard]] std::vector<InputDeviceRequest> GetInputDevices() const;

    /// Names the output device of the channel plan; false while stopped. An empty name changes nothing.
    [[nodiscard]] bool SetOutputDevice(const std::string& name);
    [[nodiscard]] std::string GetOutputDevice() const;
    /// Requests that the worker looks for new devices. False while stopped.
    [[nodiscard]] bool RefreshDevices();
    /// Whether a configured input has no open stream: its device is not there, does not open, or is being
    /// opened.
    [[nodiscard]] bool HasMissingInput() const;
    /// Whether the name of an open input would find another device now: one that came since, and matches
    /// better. Only where the list of devices is live, and from there.
    [[nodiscard]] bool HasMisplacedInput() const;
    /// The system's preferred devices, on the caller's thread: type 1 the inputs, 2 the outputs, any other
    /// value all. Empty when the sound system fails.
    [[nodiscard]] std::vector<AudioDeviceEntry> GetDeviceList(std::int32_t type) const;

    /// Sets the function that receives the blocks of the input with index 0; null for none. Before Start().
    /// Always true.
    bool SetAudioCallback(AudioBlockCallback callback);
    /// Sets the function that receives the format of these blocks where a stream opens; null for none. Before
    /// Start().
    void SetPrepareCallback(AudioPrepareCallback callback);

private:
    void startWorker(const AudioRouterConfig& config);

    PerAppInputBuffers& buffers;
    SoundInputs& inputs;
    std::unique_ptr<AudioRouterState> state;
};
