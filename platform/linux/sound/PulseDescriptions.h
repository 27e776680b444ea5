#pragma once

// What the sound server says of its devices, clients and streams, as the program keeps it. The texts are
// those of other programs. Plain functions for any thread.

#include "platform/linux/sound/ClientProcesses.h"

#include <cstdint>
#include <pulse/pulseaudio.h>
#include <string>

/// A sink or source, as the server describes it.
struct PulseDevice {
    std::uint32_t index = 0;
    std::string name;
    std::string description;
    std::string bus;        ///< device.bus: "pci", "usb", "bluetooth"; empty: unknown
    std::string formFactor; ///< device.form_factor: "internal", "speaker", "headset", ...
    std::string deviceApi;  ///< device.api: "bluez", ...
    bool hasAlsaCard = false;
    bool isMonitor = false; ///< what a sink plays, as a source
    bool unplugged = false; ///< nothing is plugged into its active port
    std::uint32_t portCount = 0;
    std::uint32_t channelCount = 0;
    std::uint32_t sampleRate = 0; ///< Hz

    /// Whether a source is an input to people: no sink's monitor, and something is plugged in.
    [[nodiscard]] bool isInput() const { return !isMonitor && !unplugged; }
};

/// A stream that plays, or could at once.
struct PulsePlayback {
    std::uint32_t index = 0;
    std::uint32_t processId = 0; ///< as /proc numbers it; 0: unknown
    bool paused = false;
    std::string applicationName;
    std::string iconName;
};

/// An index that is there, and properties, are needed of each.
[[nodiscard]] PulseDevice pulseDeviceOf(const pa_sink_info& sink);
[[nodiscard]] PulseDevice pulseDeviceOf(const pa_source_info& source);
/// Without the process, which ClientProcesses finds.
[[nodiscard]] PulsePlayback pulsePlaybackOf(const pa_sink_input_info& stream);

/// What a stream says of its process.
[[nodiscard]] ClientClaim streamClaimIn(const pa_proplist& properties);
/// What a client says of its process, and the server of the client.
[[nodiscard]] ClientClaim clientClaimIn(const pa_proplist& properties);

/// The path in the name of a server, "/run/user/1000/pulse/native", "unix:/..." or "{...}unix:/..."; empty
/// for a server elsewhere and for none (null).
[[nodiscard]] std::string socketPathIn(const char* server);
