#include "platform/linux/sound/RealTimeThread.h"

#include <sched.h>
#include <unistd.h>

namespace {

// The priority of the sound servers' own threads: above all ordinary work, below the kernel's threads.
constexpr int kPriority = 5;

// Threads that the thread starts are ordinary ones. An ordinary account may not take that flag away again.
bool setPolicy(pid_t thread, int policy, int priority) {
    sched_param parameters{};
    parameters.sched_priority = priority;
    return sched_setscheduler(thread, policy | SCHED_RESET_ON_FORK, &parameters) == 0;
}

} // namespace

RealTimeThread::RealTimeThread() : RealTimeThread(gettid()) {}

RealTimeThread::RealTimeThread(pid_t ofThread) : thread(ofThread) {
    if (!setPolicy(thread, SCHED_RR, kPriority)) {
        request.emplace(thread, kPriority);
    }
}

RealTimeThread::~RealTimeThread() {
    request.reset();
    if (gettid() == thread) {
        setPolicy(thread, SCHED_OTHER, 0);
    }
}
