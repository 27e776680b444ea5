#pragma once

#include <cstdint>
#include <functional>
#include <portaudio.h>
#include <string>
#include <vector>

/// A PortAudio with devices under a test's control: the functions of the real one, so that what is linked
/// against PortAudio uses these devices unchanged. As with the real one, the records of devices are freed
/// when it is terminated. One in a process; reset() before each test, while no stream is open. Any thread.
namespace scriptedPortAudio {

struct Device {
    std::string name;
    bool nullName = false; ///< the record has no name
    bool noRecord = false; ///< Pa_GetDeviceInfo() returns null for it
    PaHostApiTypeId hostApi = paALSA;
    int maxInputChannels = 2;
    int maxOutputChannels = 0;
    double defaultSampleRate = 48000.0; ///< Hz
    std::vector<double> sampleRates;    ///< Hz; empty: all
    float sample = 0.5f;                ///< what every read block is made of
    bool nullStream = false;            ///< Pa_OpenStream() succeeds without a handle
};

/// The functions that can be made to fail.
enum class Call {
    Initialize,
    Terminate,
    IsFormatSupported,
    OpenStream,
    StartStream,
    IsStreamActive,
    ReadStream
};

/// Forgets devices, failures, texts and counts.
void reset();
/// The machine's devices. A program sees them from its next Pa_Initialize() on; streams of a device that is
/// no longer there become inactive.
void setDevices(const std::vector<Device>& devices);
void setDefaultDevices(int input, int output);

/// The next `count` calls return `result`; those of a device when `device` is not empty. -1: for ever.
void fail(Call call, int result, int count = -1, const std::string& device = {});
/// Calls behave again.
void recover(Call call);
/// The text that Pa_GetErrorText() returns for a code.
void setErrorText(int code, const std::string& text);
/// Runs before every Pa_ReadStream(), with the device's name, on the reader's thread.
void setReadHook(const std::function<void(const std::string&)>& hook);

[[nodiscard]] int initializations();
[[nodiscard]] bool initialized();
[[nodiscard]] int opens();
[[nodiscard]] int openStreams();
[[nodiscard]] int reads(const std::string& device);
/// Calls of Pa_IsStreamActive() for a device's streams.
[[nodiscard]] int activityChecks(const std::string& device);
/// The parameters of every Pa_OpenStream() so far: "NAME channels rate frames flags latency".
[[nodiscard]] std::vector<std::string> openedWith();
/// The names of all calls on streams, oldest first: "open NAME", "start NAME", "stop NAME", "close NAME".
[[nodiscard]] std::vector<std::string> streamCalls();

} // namespace scriptedPortAudio
