#pragma once

#include "platform/linux/system/RealtimeKit.h"

#include <optional>

/// Gives the thread that makes it real-time scheduling for as long as this lives, if the system grants it:
/// the kernel at once, or RealtimeKit soon after. Threads that it starts are ordinary ones. May end on
/// another thread, once that one has ended.
class RealTimeThread {
public:
    RealTimeThread();
    ~RealTimeThread();
    RealTimeThread(const RealTimeThread&) = delete;
    RealTimeThread& operator=(const RealTimeThread&) = delete;

private:
    const pid_t thread;
    std::optional<RealtimeKitRequest> request; // where the kernel refused
};
