#include "platform/ThreadName.h"
#include "platform/windows/routerAudio/CoreAudioEndpoints.h"
#include "platform/windows/routerAudio/LoopbackCapture.h"
#include "platform/windows/routerAudio/WasapiRenderChannel.h"
#include "platform/windows/routerAudio/WindowsComApartment.h"
#include "platform/windows/routerAudio/WindowsRouterPlatform.h"

RouterPlatform systemRouterPlatform() {
    return windowsRouterPlatform(windowsAudioSystemCalls());
}

RouterPlatform windowsRouterPlatform(const AudioSystemCalls& calls) {
    RouterPlatform platform;
    platform.com = std::make_shared<WindowsComApartment>(calls);
    platform.endpoints = std::make_shared<CoreAudioEndpoints>(calls);
    platform.makeProcessCapture = [calls](PerAppInputBuffers& buffers) {
        return makeLoopbackCapture(buffers, calls);
    };
    platform.makeRenderChannel = [calls](std::uint32_t) {
        return std::make_unique<WasapiRenderChannel>(calls);
    };
    platform.nameThisThread = nameThisThread;
    return platform;
}
