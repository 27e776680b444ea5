#include "platform/windows/system/CrashStack.h"

#include <windows.h>

void keepStackForCrash() {
    ULONG bytes = 64UL << 10U; // what the handler needs
    // Where it is refused, a report of a stack that is used up is missing.
    static_cast<void>(SetThreadStackGuarantee(&bytes));
}
