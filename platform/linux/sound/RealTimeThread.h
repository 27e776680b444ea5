#pragma once

#include "platform/linux/system/RealtimeKit.h"

#include <optional>
#include <sys/types.h>

/// Gives a thread of this process real-time scheduling for as long as this lives, if the system grants it:
/// the kernel at once, or RealtimeKit soon after. Threads that it starts are ordinary ones. May end on
/// another thread than the one that it is for, once that one has ended.
class RealTimeThread {
public:
    /// For the calling thread.
    RealTimeThread();
    /// For a thread as gettid() numbers it. Any thread.
    explicit RealTimeThread(pid_t ofThread);
    ~RealTimeThread();
    RealTimeThread(const RealTimeThread&) = delete;
    RealTimeThread& operator=(const RealTimeThread&) = delete;

private:
    const pid_t thread;
    std::optional<RealtimeKitRequest> request; // where the kernel refused
};
