#include "platform/ThreadName.h"

#include "platform/windows/system/CrashStack.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <windows.h>

void nameThisThread(const char* name) {
    std::array<wchar_t, 64> wide{};
    // The names are plain ASCII.
    std::copy_n(name, std::min(std::strlen(name), wide.size() - 1), wide.begin());
    // Its failure leaves a thread without a name.
    static_cast<void>(SetThreadDescription(GetCurrentThread(), wide.data()));
    keepStackForCrash();
}
