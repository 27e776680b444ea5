#include "platform/routerAudio/RouterPlatform.h"

#include "platform/windows/routerAudio/CoreAudioEndpoints.h"
#include "platform/windows/routerAudio/LoopbackCapture.h"
#include "platform/windows/routerAudio/WasapiRenderChannel.h"
#include "platform/windows/routerAudio/WindowsComApartment.h"

RouterPlatform systemRouterPlatform() {
    const AudioSystemCalls calls = windowsAudioSystemCalls();
    return {.com = std::make_shared<WindowsComApartment>(calls),
            .endpoints = std::make_shared<CoreAudioEndpoints>(calls),
            .makeProcessCapture =
                [calls](PerAppInputBuffers& buffers) { return makeLoopbackCapture(buffers, calls); },
            .makeRenderChannel =
                [calls](std::uint32_t busId) {
                    return std::make_unique<WasapiRenderChannel>(calls, busId);
                }};
}
