#pragma once

/// Sets real-time scheduling for the calling thread, from now on. Returns whether the system granted it.
/// Threads that it starts are ordinary ones.
[[nodiscard]] bool makeThisThreadRealTime();

/// Sets real-time scheduling for the calling thread for as long as this lives, if the system grants it.
class RealTimeThread {
public:
    RealTimeThread();
    ~RealTimeThread();
    RealTimeThread(const RealTimeThread&) = delete;
    RealTimeThread& operator=(const RealTimeThread&) = delete;

private:
    bool granted = false;
};
