#include "platform/ThreadName.h"
#include "platform/windows/routerAudio/ComSession.h"
#include "platform/windows/routerAudio/CoreAudioEndpoints.h"
#include "platform/windows/routerAudio/LoopbackCapture.h"
#include "platform/windows/routerAudio/WasapiOutputStream.h"
#include "platform/windows/routerAudio/WindowsRouterPlatform.h"

RouterPlatform systemRouterPlatform() {
    return windowsRouterPlatform(windowsAudioSystemCalls());
}

RouterPlatform windowsRouterPlatform(const AudioSystemCalls& calls) {
    RouterPlatform platform;
    platform.session = std::make_shared<ComSession>(calls);
    platform.endpoints = std::make_shared<CoreAudioEndpoints>(calls);
    platform.makeProcessCapture = [calls](PerAppInputBuffers& buffers) {
        return makeLoopbackCapture(buffers, calls);
    };
    platform.makeOutputStream = [calls](std::uint32_t) {
        return std::make_unique<WasapiOutputStream>(calls);
    };
    platform.nameThisThread = nameThisThread;
    return platform;
}
