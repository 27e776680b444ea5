#include "platform/ThreadName.h"

#include "platform/linux/system/SignalStack.h"

#include <cstddef>
#include <pthread.h>
#include <string>

void nameThisThread(const char* name) {
    // The kernel's limit, without the end mark; a longer name would be refused whole.
    constexpr std::size_t kLongestName = 15;
    pthread_setname_np(pthread_self(), std::string(name).substr(0, kLongestName).c_str());
    giveSignalStack();
}
