#include "platform/SoundServerWatch.h"

// Windows' sound service is always there.
std::shared_ptr<void> watchSoundDevices(std::function<void()>) {
    return nullptr;
}
