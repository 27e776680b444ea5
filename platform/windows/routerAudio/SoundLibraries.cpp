#include "platform/SoundLibraries.h"

// Windows' sound interfaces write nothing.
void prepareSoundLibraries() {}
