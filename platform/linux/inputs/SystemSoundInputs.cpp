#include "platform/linux/inputs/PulseInputs.h"

SoundInputs& systemSoundInputs() {
    static PulseInputs inputs;
    return inputs;
}
