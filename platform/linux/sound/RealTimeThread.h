#pragma once

/// Real-time scheduling of the calling thread from now on, where the system grants it; whether it did.
/// Without the grant the thread runs as it did. Threads that it starts are ordinary ones.
[[nodiscard]] bool makeThisThreadRealTime();

/// Real-time scheduling of the calling thread for as long as this lives, where the system grants it. Without
/// the grant the thread runs as it did.
class RealTimeThread {
public:
    RealTimeThread();
    ~RealTimeThread();
    RealTimeThread(const RealTimeThread&) = delete;
    RealTimeThread& operator=(const RealTimeThread&) = delete;

private:
    bool granted = false;
};
