#pragma once

// The endpoints of Windows Core Audio. Each question makes its own enumerator: nothing is kept between them.
// The calling thread has COM initialised for the multithreaded model.

#include "mixer/AudioEndpoint.h"
#include "platform/windows/routerAudio/AudioSystemCalls.h"

class CoreAudioEndpoints final : public AudioEndpointSystem {
public:
    explicit CoreAudioEndpoints(AudioSystemCalls systemCalls);

    EndpointEnumeration activeEndpoints(EndpointFlow flow) override;
    std::wstring defaultRenderEndpointId() override;
    HResult probeActivation(const AudioEndpoint& endpoint) override;
    SetDefaultOutcome setDefaultEndpoint(EndpointFlow flow, const AudioEndpoint& endpoint) override;

private:
    [[nodiscard]] AudioEndpointPointer read(IMMDevice* device) const;

    const AudioSystemCalls calls;
};

/// The device that an endpoint's handle holds; null for an endpoint that has none.
[[nodiscard]] IMMDevice* deviceOf(const AudioEndpoint& endpoint);
