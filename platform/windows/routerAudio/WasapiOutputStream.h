#pragma once

#include "mixer/OutputStream.h"
#include "platform/windows/routerAudio/AudioSystemCalls.h"

#include <audioclient.h>
#include <wil/resource.h>
#include <wrl/client.h>

/// An output on WASAPI in shared mode, driven by the endpoint's event. The render thread runs under the
/// multimedia class scheduler's task "Pro Audio" and does not initialise COM: the client was made in the
/// multithreaded apartment.
class WasapiOutputStream final : public OutputStream {
public:
    explicit WasapiOutputStream(AudioSystemCalls systemCalls);

    [[nodiscard]] bool open(const AudioEndpoint& endpoint) override;
    void run(const std::atomic<bool>& running, const RenderCallback& render) override;
    void wake() override;
    void stopClient() override;

private:
    // One period: as many frames as the endpoint has room for.
    void renderPeriod(const RenderCallback& render);

    const AudioSystemCalls calls;
    // Signalled by the endpoint each period; closed after the client, which signals it to its end.
    wil::unique_handle event;
    Microsoft::WRL::ComPtr<IAudioClient> client;
    Microsoft::WRL::ComPtr<IAudioRenderClient> renderClient;
    UINT32 bufferFrames = 0;
};
