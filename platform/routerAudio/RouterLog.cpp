#include "platform/routerAudio/RouterLog.h"

#include <iostream>
#include <mutex>

void routerLog(const std::wstring& line) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::wcout << line + L"\n" << std::flush;
    // A name that the output's encoding cannot express must not silence the lines after it.
    std::wcout.clear();
}
