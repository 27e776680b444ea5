#pragma once

// The records of the capture service: its configuration, requested inputs, and the devices that it lists.
// Plain values. All names are 8-bit text, as in the sound system's device records.

#include <cstdint>
#include <string>
#include <vector>

/// One requested input.
struct InputDeviceRequest {
    std::string name;          ///< part of a device's name, in any case; "default" for the system's default
    std::int32_t channels = 0; ///< 0 or less: as many as the device has, at most 2
    std::int32_t index = -1;   ///< the source id under which blocks reach the mixer; -1: read, not forwarded

    bool operator==(const InputDeviceRequest&) const = default;
};

struct AudioRouterConfig {
    double sampleRate = 48000.0;         ///< Hz
    std::uint32_t framesPerBuffer = 256; ///< frames of one block
    std::string outputDevice = "VEXO Output";
    std::vector<InputDeviceRequest> inputs;
};

/// One device of the sound system's list.
struct AudioDeviceEntry {
    std::int32_t index = 0; ///< in the sound system's list
    std::string name;
    std::string hostApi;
    std::int32_t maxInputChannels = 0;
    std::int32_t maxOutputChannels = 0;
    double defaultSampleRate = 0.0; ///< Hz
    bool isInput = false;
    bool isOutput = false;
};

/// Receives every block of the input with index 0, to be changed in place, on the capture worker: interleaved
/// 32-bit float, `channels` samples a frame, rate in Hz.
using AudioBlockCallback = void (*)(float* block, std::int32_t channels, std::int32_t frames, double rate);

/// Receives the format of those blocks, on the capture worker, each time a stream of the input with index 0
/// has opened and before its first block.
using AudioPrepareCallback = void (*)(std::int32_t channels, double rate);
