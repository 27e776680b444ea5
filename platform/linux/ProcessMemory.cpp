#include "platform/ProcessMemory.h"

#include <malloc.h>

void returnFreedMemory() {
    malloc_trim(0);
}
