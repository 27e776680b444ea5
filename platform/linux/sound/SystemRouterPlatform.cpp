#include "mixer/RouterPlatform.h"
#include "platform/ThreadName.h"
#include "platform/linux/sound/PulseEndpoints.h"
#include "platform/linux/sound/PulseOutputStream.h"
#include "platform/linux/sound/PulseProcessCapture.h"

RouterPlatform systemRouterPlatform() {
    RouterPlatform platform;
    platform.session = std::make_shared<PulseSession>();
    platform.endpoints = std::make_shared<PulseEndpoints>();
    platform.makeProcessCapture = [](PerAppInputBuffers& buffers) {
        return std::make_shared<PulseProcessCapture>(PulseServer::shared(), buffers);
    };
    platform.makeOutputStream = [](std::uint32_t busId) {
        return std::make_unique<PulseOutputStream>(busId);
    };
    platform.correctsDrift = true;
    platform.nameThisThread = nameThisThread;
    return platform;
}
