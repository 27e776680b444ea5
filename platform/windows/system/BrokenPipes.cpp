#include "platform/BrokenPipes.h"

void outliveBrokenPipes() {}
