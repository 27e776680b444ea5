#include "platform/SoundServerWatch.h"

std::shared_ptr<void> holdSoundServer() {
    return nullptr;
}

bool soundDevicesKnown() {
    return true;
}

// Windows' sound service is always there. Other systems keep the function.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
std::shared_ptr<void> watchSoundDevices(std::function<void()>) {
    return nullptr;
}
