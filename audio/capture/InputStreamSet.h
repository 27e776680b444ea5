#pragma once

// The open input streams of the capture service: how a name finds its device, how a stream is opened, and how
// the whole set is built again. Only the capture worker calls these functions, but for listDevices().

#include "audio/capture/AudioRouterConfig.h"
#include "audio/capture/Pause.h"
#include "platform/SoundInputs.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct AudioRouterState;

/// One input that was found. It lives from one rebuild to the next.
struct InputStreamSlot {
    std::string name;                         ///< as configured, not the device's full name
    std::int32_t requestedChannels = 0;       ///< 0 or less: automatic
    std::int32_t index = -1;                  ///< bus input number; -1: none
    std::int32_t deviceIndex = -1;            ///< of the system's list; -1 after a failed open
    std::unique_ptr<SoundInputStream> stream; ///< null until open, and after a failed open
    std::vector<float> buffer;                ///< one interleaved block
    bool hasBlock = false;                    ///< the buffer holds a block of this pass
    std::int32_t channels = 0;                ///< in use
    std::int32_t baseChannel = 0;             ///< first output channel of this input in the channel plan
};

/// The worker's streams, on its own stack for the life of the thread.
struct InputStreamSet {
    AudioRouterState& service;
    SoundInputs& inputs;
    std::vector<InputStreamSlot> inputSlots;
    std::unique_ptr<SoundInputStream> outputStream; ///< always null: nothing leaves through the service
    double currentRate = 0.0;                       ///< Hz
    std::int32_t outputChannels = 0;
    std::int32_t outputDeviceIndex = -1;
    std::uint32_t framesPerBuffer = 0; ///< frames of one block of the streams that are open
};

/// The index of the first device with a channel in the wanted direction whose name contains `name`, ASCII
/// letters in any case, or -1. A preferred device wins over all others; "default" is the system's default
/// device.
[[nodiscard]] std::int32_t findDevice(const SoundDeviceList& devices, const std::string& name,
                                      bool forOutput);

/// The channels that a request gets of a device with `maxInputChannels`.
[[nodiscard]] std::int32_t chosenChannels(std::int32_t requested, std::int32_t maxInputChannels);

/// Assigns two output channels to each input: an input with an index gets those from twice the index on, the
/// others follow in order. Returns the number of output channels. Nothing uses the plan yet; it is the
/// contract for a platform with an output stream.
std::int32_t planOutputChannels(std::vector<InputStreamSlot>& inputSlots);

/// Opens and starts the slot's stream, and fills its device index, channels and buffer. `rate`, in Hz, is the
/// wanted rate, and on return the rate that was obtained. Waits before it looks again for a device that is
/// not there. Throws std::runtime_error with a text.
[[nodiscard]] std::unique_ptr<SoundInputStream> openInputStream(const InputStreamSet& set,
                                                                InputStreamSlot& slot, double& rate);

/// Stops all streams, waits, and closes them. Failures are ignored.
void closeStreams(InputStreamSet& set);

/// Closes all streams and opens those of the configuration; with `reinitialise`, the sound system is
/// initialised again in between. False when it cannot be initialised any more. A set without an open stream
/// is no failure. Where the list of devices is live nothing is initialised again, and nothing waits.
[[nodiscard]] bool rebuildStreams(InputStreamSet& set, bool reinitialise);

/// Ends the use of the sound system's inputs, with a warning in the log for an error other than "not
/// initialized".
void terminateInputs(SoundInputs& inputs);

/// The preferred devices of the system, as in AudioRouterService::GetDeviceList(). Any thread.
[[nodiscard]] std::vector<AudioDeviceEntry> listDevices(SoundInputs& inputs, std::int32_t type);
