#include "platform/linux/sound/RealTimeThread.h"

#include <pthread.h>
#include <sched.h>

namespace {

// The priority of the sound servers' own threads: above all ordinary work, below the kernel's threads.
constexpr int kPriority = 5;

bool setPolicy(int policy, int priority) {
    sched_param parameters{};
    parameters.sched_priority = priority;
    return pthread_setschedparam(pthread_self(), policy, &parameters) == 0;
}

} // namespace

bool makeThisThreadRealTime() {
    return setPolicy(SCHED_RR | SCHED_RESET_ON_FORK, kPriority);
}

RealTimeThread::RealTimeThread() : granted(makeThisThreadRealTime()) {}

RealTimeThread::~RealTimeThread() {
    if (granted) {
        setPolicy(SCHED_OTHER, 0);
    }
}
