#pragma once

#include <chrono>
#include <thread>

/// Waits until the condition holds, without an event loop; false when it does not within ten seconds.
template <typename Condition>
[[nodiscard]] bool waitFor(Condition condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
