#pragma once

// What the router knows of an output or input of the sound system, and what it asks the system about them.
// The rules, with their word lists, orders and lines, are in EndpointClassification.h and BusForwarder.h; a
// body of AudioEndpointSystem only fetches.

#include "mixer/SoundResult.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The direction of an endpoint: an output, or an input.
enum class EndpointFlow { Render, Capture };

/// One endpoint, as it was when it was fetched. What could not be read is left out, and no rule fails on it.
/// Texts are UTF-8.
struct AudioEndpoint {
    /// The endpoint's own name in the system, called GUID throughout.
    std::optional<std::string> id;
    /// The name that a person reads.
    std::optional<std::string> friendlyName;
    /// Connectors of the device: real hardware has at least one. Without a value they are not known.
    std::optional<std::uint32_t> connectorCount;
    /// The endpoint's own direction. Without a value it counts as Render.
    std::optional<EndpointFlow> flow;
    /// What the body needs to open the endpoint. Shared code does not look into it.
    std::shared_ptr<void> handle;
};

/// Null for an entry that the system counts but does not return; to every rule it is a null device.
using AudioEndpointPointer = std::shared_ptr<const AudioEndpoint>;

/// How far listing endpoints came.
enum class EnumerationStep {
    Enumerator,  ///< failed to create the enumerator: no sound system
    Enumeration, ///< failed to list the flow's endpoints
    Count,       ///< failed to read their number
    Done
};

struct EndpointEnumeration {
    EnumerationStep reached = EnumerationStep::Done; ///< the step that failed, or Done
    SoundResult result = kSoundDone;                 ///< of the step that failed
    std::vector<AudioEndpointPointer> endpoints;     ///< in the system's order; empty unless Done
};

/// How far making an endpoint the default came.
enum class SetDefaultStep {
    Policy, ///< the system has no way to set it
    Set,    ///< the system refused
    Done
};

struct SetDefaultOutcome {
    SetDefaultStep reached = SetDefaultStep::Done;
    SoundResult result = kSoundDone;
};

/// The sound system's endpoints. Called on the thread of AudioRouterAPI's start, within its SoundSession, and
/// by SetDefaultAudioDevice() on its caller's thread; one call at a time. No call waits for a sound system
/// that is not there.
class AudioEndpointSystem {
public:
    AudioEndpointSystem() = default;
    virtual ~AudioEndpointSystem() = default;
    AudioEndpointSystem(const AudioEndpointSystem&) = delete;
    AudioEndpointSystem& operator=(const AudioEndpointSystem&) = delete;

    /// The active endpoints of one direction, each with its record.
    [[nodiscard]] virtual EndpointEnumeration activeEndpoints(EndpointFlow flow) = 0;

    /// The endpoint that Bus 2 plays into where no other is named: what is played into it is heard by other
    /// programs as a microphone. Null where the system has none. It is none of activeEndpoints(), and its
    /// output stream waits for the sound system by itself.
    [[nodiscard]] virtual AudioEndpointPointer liveEndpoint() { return nullptr; }

    /// The id of the default output; empty on any failure.
    [[nodiscard]] virtual std::string defaultRenderEndpointId() = 0;

    /// Tries whether an endpoint of the capture flow can be opened, and closes it again.
    [[nodiscard]] virtual SoundResult probeActivation(const AudioEndpoint& endpoint) = 0;

    /// Makes the endpoint the default of its direction, for the console role alone where a system has
    /// roles. `endpoint` is one that activeEndpoints(flow) returned.
    [[nodiscard]] virtual SetDefaultOutcome setDefaultEndpoint(EndpointFlow flow,
                                                               const AudioEndpoint& endpoint) = 0;
};
