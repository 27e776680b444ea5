#include "platform/ThreadName.h"
#include "platform/linux/routerAudio/PulseEndpoints.h"
#include "platform/linux/routerAudio/PulseProcessCapture.h"
#include "platform/linux/routerAudio/PulseRenderChannel.h"
#include "platform/routerAudio/RouterPlatform.h"

RouterPlatform systemRouterPlatform() {
    RouterPlatform platform;
    platform.com = std::make_shared<PulseApartment>();
    platform.endpoints = std::make_shared<PulseEndpoints>();
    platform.makeProcessCapture = [](PerAppInputBuffers& buffers) {
        return std::make_shared<PulseProcessCapture>(PulseServer::shared(), buffers);
    };
    platform.makeRenderChannel = [](std::uint32_t busId) {
        return std::make_unique<PulseRenderChannel>(busId);
    };
    platform.nameThisThread = nameThisThread;
    return platform;
}
