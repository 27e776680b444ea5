#pragma once

// The microphone side of the audio engine. One worker thread, "Capture", opens the PortAudio input streams of
// the devices that were named, reads them in blocking mode block after block, lets the audio callback work on
// the input of index 0 in place, and hands every block to PerAppInputBuffers, with the input's index in the
// place of a process id. No sound leaves the service through PortAudio.
//
// All operations belong to one thread, the UI's. What they ask for is honoured by the worker between two
// blocks; no other thread touches a stream. There are no error codes: failures are lines of the debug log.
//
// A worker that ends by itself (PortAudio failed to initialise, or a rebuild failed) leaves the service
// "running": requests are accepted and never honoured, and only Stop() or Restart() lead out.

#include "audio/capture/AudioRouterConfig.h"
#include "audio/capture/Pause.h"

#include <memory>
#include <string>
#include <vector>

class PerAppInputBuffers;
struct AudioRouterState;

class AudioRouterService {
public:
    /// Hands its blocks to `inputBuffers`, which outlives it. The worker waits by `pause`.
    explicit AudioRouterService(PerAppInputBuffers& inputBuffers, Pause pause = pauseThread);
    /// Stops the worker.
    ~AudioRouterService();
    AudioRouterService(const AudioRouterService&) = delete;
    AudioRouterService& operator=(const AudioRouterService&) = delete;

    /// Starts the worker with this configuration; false while running.
    [[nodiscard]] bool Start(const AudioRouterConfig& config);
    /// Ends the worker and waits for it: at the latest one block later, or until PortAudio gives a dead
    /// device up. Nothing while stopped.
    void Stop();
    /// Stops where running, and starts with the configuration as it is now.
    [[nodiscard]] bool Restart();
    [[nodiscard]] bool IsRunning() const;

    /// Asks for a rate in Hz; false while stopped and for a rate of 0 or less. The wish is never forgotten:
    /// an input that gives another rate is rebuilt again and again until that rate is asked for.
    [[nodiscard]] bool SetSampleRate(double sampleRate);
    /// The rate in force, in Hz.
    [[nodiscard]] double GetSampleRate() const;

    /// Asks for an input. False while stopped, and when an input of that name, ASCII letters in any case, is
    /// configured. Inputs that are asked for and not yet honoured are not looked at.
    [[nodiscard]] bool AddInputDevice(const std::string& name, std::int32_t channels);
    [[nodiscard]] bool AddInputDevice(const std::string& name, std::int32_t channels, std::int32_t index);
    /// Asks for the end of every input whose name contains this one or is contained in it. False only while
    /// stopped.
    [[nodiscard]] bool RemoveInputDevice(const std::string& name);
    /// A copy of the configured inputs.
    [[nodiscard]] std::vector<InputDeviceRequest> GetInputDevices() const;

    /// Names the output device of the channel plan; false while stopped. An empty name asks for nothing.
    [[nodiscard]] bool SetOutputDevice(const std::string& name);
    [[nodiscard]] std::string GetOutputDevice() const;
    /// Lets the worker initialise PortAudio anew, the only way in which it sees new devices; false while
    /// stopped.
    [[nodiscard]] bool RefreshDevices();
    /// Whether a configured input has no open stream: its device is not there, does not open, or is being
    /// opened.
    [[nodiscard]] bool HasMissingInput() const;
    /// The devices of PortAudio's WASAPI host, on the caller's thread: type 1 the inputs, 2 the outputs, any
    /// other value all. Empty when PortAudio fails.
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
    std::unique_ptr<AudioRouterState> state;
};
