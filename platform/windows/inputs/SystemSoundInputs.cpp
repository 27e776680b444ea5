#include "platform/windows/inputs/PortAudioInputs.h"

SoundInputs& systemSoundInputs() {
    static PortAudioInputs inputs;
    return inputs;
}
