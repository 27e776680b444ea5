#pragma once

// The endpoints of Windows Core Audio. Each question makes its own enumerator: nothing is kept between them.
// The calling thread is in COM's multithreaded apartment.
//
// An endpoint's id is what IMMDevice::GetId returns, its name PKEY_Device_FriendlyName, its connectors those
// of IDeviceTopology, its direction that of IMMEndpoint; its handle holds the IMMDevice. The default is set
// by IPolicyConfig, for the console role alone.

#include "mixer/AudioEndpoint.h"
#include "platform/windows/routerAudio/AudioSystemCalls.h"

class CoreAudioEndpoints final : public AudioEndpointSystem {
public:
    explicit CoreAudioEndpoints(AudioSystemCalls systemCalls);

    EndpointEnumeration activeEndpoints(EndpointFlow flow) override;
    std::string defaultRenderEndpointId() override;
    SoundResult probeActivation(const AudioEndpoint& endpoint) override;
    SetDefaultOutcome setDefaultEndpoint(EndpointFlow flow, const AudioEndpoint& endpoint) override;

private:
    [[nodiscard]] AudioEndpointPointer read(IMMDevice* device) const;

    const AudioSystemCalls calls;
};

/// The device that an endpoint's handle holds; null for an endpoint that has none.
[[nodiscard]] IMMDevice* deviceOf(const AudioEndpoint& endpoint);
