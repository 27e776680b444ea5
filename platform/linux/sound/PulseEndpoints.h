#pragma once

#include "mixer/AudioEndpoint.h"
#include "mixer/SoundSession.h"
#include "platform/linux/sound/PulseServer.h"

#include <cstdint>
#include <memory>
#include <string>

/// What an endpoint of the sound server carries for those who open it.
struct PulseEndpointHandle {
    std::string name;              ///< of the sink or source
    bool isLiveMicrophone = false; ///< the sink is made by LiveMicrophone
};

/// The id of a device: its name in the server, behind a mark of the bus that it hangs on, in the spelling
/// that the tests of ids look for: "hdaudio#" for what is built in (device.bus "pci", or device.form_factor
/// "internal"), "usb#", "bluetooth#", and none for the rest.
[[nodiscard]] std::string pulseEndpointId(const PulseDevice& device);

/// A device has connectors where the server declares hardware for it: by device.bus, device.form_factor, an
/// ALSA card or ports. Their number is that of the ports, and at least 1.
[[nodiscard]] std::uint32_t pulseConnectorCount(const PulseDevice& device);

/// A device as an endpoint. In its texts a byte that is none of a character is a "?".
[[nodiscard]] AudioEndpointPointer pulseEndpointOf(const PulseDevice& device, EndpointFlow flow);

/// The server's sinks and sources as endpoints. Sources that only record a sink, and devices in which nothing
/// is plugged, are none; nor are those of the live microphone, which is the live endpoint.
class PulseEndpoints final : public AudioEndpointSystem {
public:
    [[nodiscard]] EndpointEnumeration activeEndpoints(EndpointFlow flow) override;
    [[nodiscard]] AudioEndpointPointer liveEndpoint() override;
    [[nodiscard]] std::string defaultRenderEndpointId() override;
    [[nodiscard]] SoundResult probeActivation(const AudioEndpoint& endpoint) override;
    [[nodiscard]] SetDefaultOutcome setDefaultEndpoint(EndpointFlow flow,
                                                       const AudioEndpoint& endpoint) override;
};

/// From enter() to leave() the process holds the connection to the sound server.
class PulseSession final : public SoundSession {
public:
    [[nodiscard]] SessionEntry enter() override;
    void leave() override;

private:
    std::uint32_t holders = 0;
    std::shared_ptr<PulseServer> server;
};
