#include "platform/ProcessMemory.h"

#include <windows.h>

void returnFreedMemory() {
    HeapCompact(GetProcessHeap(), 0);
}
