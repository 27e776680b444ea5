#pragma once

// Separates real sound hardware from virtual drivers, and built-in hardware from plugged, by names, ids and
// connectors alone, and finds endpoints. The tests search lower-cased copies for lists of words; the order of
// the lists decides. Nothing is kept.
//
// The thread of the caller, within a sound session. Texts are UTF-8.

#include "mixer/AudioEndpoint.h"

#include <string>

class SoundSession;

/// Empty when it could not be read, and for a null endpoint.
[[nodiscard]] std::string GetDeviceFriendlyName(const AudioEndpoint* endpoint);
[[nodiscard]] std::string GetDeviceId(const AudioEndpoint* endpoint);

/// Whether the endpoint is hardware: no virtual driver's word in its name, no software bus in its id, and at
/// least one connector. Without a connector nothing is hardware.
[[nodiscard]] bool IsRealHardwareDevice(const AudioEndpoint* endpoint);

/// Whether the endpoint is built in; what no rule decides counts as plugged. Logs what decided.
[[nodiscard]] bool IsBuiltInDevice(const AudioEndpoint* endpoint);

/// The id of the first real output in the system's order, before that of a built-in one if `preferBuiltIn`;
/// empty when there is none. Logs each endpoint it looks at.
[[nodiscard]] std::string FindFirstRealHardwareDevice(AudioEndpointSystem& system, bool preferBuiltIn);

/// The id of the default output; empty on any failure.
[[nodiscard]] std::string GetDefaultDeviceGuid(AudioEndpointSystem& system);

/// The id of the endpoint with this name or id. A value that looks like an id (a brace, a hyphen, or more
/// than 50 characters) is returned unchanged, whether it exists or not; so is a name with a hyphen. Any other
/// value is searched as a part of a friendly name, outputs before inputs, without real hardware if
/// `virtualOnly`. Empty when nothing is found.
[[nodiscard]] std::string FindDeviceGuidByNameOrGuid(AudioEndpointSystem& system, const std::string& value,
                                                     bool virtualOnly);

/// Makes an output (`isRender`) or input the system's default for the console role. `deviceGuid` is its id,
/// in any case, or a part of it. Logs a failure and returns false.
bool SetDefaultAudioDevice(AudioEndpointSystem& system, SoundSession& session, const std::string& deviceGuid,
                           bool isRender);
