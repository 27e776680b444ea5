#include "platform/linux/sound/RealTimeThread.h"

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

namespace {

// The priority of the sound servers' own threads: above all ordinary work, below the kernel's threads.
constexpr int kPriority = 5;

// Threads that this one starts are ordinary ones. An ordinary account may not take that flag away again.
bool setPolicy(int policy, int priority) {
    sched_param parameters{};
    parameters.sched_priority = priority;
    return pthread_setschedparam(pthread_self(), policy | SCHED_RESET_ON_FORK, &parameters) == 0;
}

} // namespace

RealTimeThread::RealTimeThread() : thread(gettid()) {
    if (!setPolicy(SCHED_RR, kPriority)) {
        request.emplace(thread, kPriority);
    }
}

RealTimeThread::~RealTimeThread() {
    request.reset();
    if (gettid() == thread) {
        setPolicy(SCHED_OTHER, 0);
    }
}
