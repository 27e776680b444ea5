#pragma once

// What the router knows of an output or input of the sound system, and the few things it asks of the system
// about them. The rules, their word lists, orders and lines are in EndpointClassification.h and
// BusForwarder.h; a body behind AudioEndpointSystem only fetches.

#include "mixer/HResult.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The direction of an endpoint, with the values of Windows' EDataFlow.
enum class EndpointFlow : std::uint32_t { Render = 0, Capture = 1 };

/// One endpoint, as it was when it was fetched. What could not be read is left out, and no rule fails on it.
/// No rule looks at a container id (PKEY_Device_ContainerId): a body that reads it drops it again.
struct AudioEndpoint {
    /// The endpoint's own name in the system, called GUID throughout: on Windows what IMMDevice::GetId gives.
    std::optional<std::wstring> id;
    /// The name that a person reads: on Windows PKEY_Device_FriendlyName, when it is of type 31 and not null.
    std::optional<std::wstring> friendlyName;
    /// Connectors of the device's topology: on Windows IDeviceTopology::GetConnectorCount. More than 0 is
    /// what makes real hardware; without a topology there is no value.
    std::optional<std::uint32_t> connectorCount;
    /// What the endpoint itself says of its direction: on Windows IMMEndpoint::GetDataFlow. Without a value
    /// it counts as Render.
    std::optional<EndpointFlow> flow;
    /// Whatever the body needs to open the endpoint again: on Windows the counted IMMDevice. Shared code
    /// hands it back and does not look into it.
    std::shared_ptr<void> handle;
};

/// Null stands for an entry that the system counts but does not hand out: a null device to every rule.
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
    HResult result = kHResultOk;                     ///< of the step that failed
    std::vector<AudioEndpointPointer> endpoints;     ///< in the system's order; empty unless Done
};

/// How far making an endpoint the default came.
enum class SetDefaultStep {
    Policy, ///< failed to create the policy object (on Windows IPolicyConfig)
    Set,    ///< the policy object refused
    Done
};

struct SetDefaultOutcome {
    SetDefaultStep reached = SetDefaultStep::Done;
    HResult result = kHResultOk;
};

/// The sound system's endpoints. Called on the thread of AudioRouterAPI's start, after ComApartment's
/// initialize(), and by SetDefaultAudioDevice() on its caller's thread; one call at a time. No call waits
/// for a sound system that is not there.
class AudioEndpointSystem {
public:
    AudioEndpointSystem() = default;
    virtual ~AudioEndpointSystem() = default;
    AudioEndpointSystem(const AudioEndpointSystem&) = delete;
    AudioEndpointSystem& operator=(const AudioEndpointSystem&) = delete;

    /// The active endpoints of one direction. Creates the enumerator (on Windows IMMDeviceEnumerator, class
    /// context 23), lists (EnumAudioEndpoints, state mask 1), counts, and reads each record.
    [[nodiscard]] virtual EndpointEnumeration activeEndpoints(EndpointFlow flow) = 0;

    /// The id of the default output (render flow, console role); empty on any failure.
    [[nodiscard]] virtual std::wstring defaultRenderEndpointId() = 0;

    /// Tries whether an endpoint of the capture flow can be opened at all, and lets go of it: on Windows
    /// IMMDevice::Activate of an IAudioClient.
    [[nodiscard]] virtual HResult probeActivation(const AudioEndpoint& endpoint) = 0;

    /// Makes the endpoint the default of its direction, for the console role alone: on Windows the thirteenth
    /// method of IPolicyConfig. `endpoint` is one that activeEndpoints(flow) gave.
    [[nodiscard]] virtual SetDefaultOutcome setDefaultEndpoint(EndpointFlow flow,
                                                               const AudioEndpoint& endpoint) = 0;
};
