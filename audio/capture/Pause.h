#pragma once

#include <chrono>
#include <functional>
#include <thread>

/// Waits on the calling thread. Every wait of the capture worker is a call of one, so that a test can count
/// the waits and need not wait itself.
using Pause = std::function<void(std::chrono::milliseconds duration)>;

/// Really waits.
inline void pauseThread(std::chrono::milliseconds duration) {
    std::this_thread::sleep_for(duration);
}
