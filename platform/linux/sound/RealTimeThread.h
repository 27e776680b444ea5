#pragma once

/// Gives the calling thread real-time scheduling, from now on, if the system grants it; whether it did.
/// Threads that it starts are ordinary ones.
[[nodiscard]] bool makeThisThreadRealTime();

/// Gives the calling thread real-time scheduling for as long as this lives, if the system grants it.
class RealTimeThread {
public:
    RealTimeThread();
    ~RealTimeThread();
    RealTimeThread(const RealTimeThread&) = delete;
    RealTimeThread& operator=(const RealTimeThread&) = delete;

private:
    bool granted = false;
};
