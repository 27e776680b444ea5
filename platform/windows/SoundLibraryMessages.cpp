#include "platform/SoundLibraryMessages.h"

// Windows' sound interfaces write nothing.
void takeSoundLibraryMessages() {}
