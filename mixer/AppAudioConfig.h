#pragma once

// The records that the whole audio engine shares: the routing settings of one source, one level report, and
// the ids that name a source. Plain values, no thread of their own.

#include <cstdint>

// `processID` names a source everywhere in the audio engine: a process id, or one of these.
inline constexpr std::uint32_t kDeviceProcessId = 0;              ///< the device's own source
inline constexpr std::uint32_t kFirstCapturedProcessId = 10;      ///< below: streams of the capture service
inline constexpr std::uint32_t kBus2MasterProcessId = 0xFFFFFFFE; ///< master record of Bus 2, the live mix
inline constexpr std::uint32_t kBus1MasterProcessId = 0xFFFFFFFF; ///< master record of Bus 1, the monitor mix

/// Routing settings of one source. The initial values are those of a record that names nothing: active,
/// on no bus, at full volume. On a master record the fields are those of the whole bus.
/// Volumes are linear gains; any value is taken as it comes, negative and huge ones included.
struct AppAudioConfig {
    std::uint32_t processID = kDeviceProcessId;
    bool active = true; ///< false: every packet of the source is dropped
    bool input1Enabled = false;
    float input1Volume = 1.0f; ///< gain on Bus 1, and of the solo ring
    bool input1Muted = false;
    bool input2Enabled = false;
    float input2Volume = 1.0f; ///< gain on Bus 2
    bool input2Muted = false;
    bool solo = false; ///< feeds the solo ring; on a master record: Solo plays that whole bus

    bool operator==(const AppAudioConfig&) const = default;
};

/// The record of a source that is not, or no longer, known: all false, both volumes 1.0.
[[nodiscard]] inline AppAudioConfig inactiveAppAudioConfig() {
    AppAudioConfig config;
    config.active = false;
    return config;
}

/// A pair of meter values, linear. A source's level is at most 1.0; a bus can exceed it. From 0.0 upward, but
/// for negative volumes: they are multiplied in as they are, so that a source, or a bus whose master's volume
/// is negative, reads below 0.0.
struct StereoLevel {
    float left = 0.0f;
    float right = 0.0f;

    bool operator==(const StereoLevel&) const = default;
};

/// One level report.
struct AudioLevelInfo {
    std::uint32_t processID = 0;
    float levelLeft = 0.0f;
    float levelRight = 0.0f;

    bool operator==(const AudioLevelInfo&) const = default;
};
