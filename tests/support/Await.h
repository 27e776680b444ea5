#pragma once

// The one way in which tests wait: for a condition, with a limit, never for a time. In a program that links
// Qt the event loop of the calling thread runs meanwhile; in any other the thread rests between two looks.

#include <chrono>
#include <thread>

#ifdef QT_CORE_LIB
#include <QCoreApplication>
#include <QEventLoop>
#endif

inline constexpr int kAwaitLimitMs = 10000;

/// Calls `step` until the condition holds; false when it does not within the limit. A step lets what is
/// awaited go on, for a few milliseconds at most.
template <typename Condition, typename Step>
[[nodiscard]] bool awaitStepping(Condition&& condition, Step&& step, int limitMs = kAwaitLimitMs) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        step();
    }
    return true;
}

/// Waits without an event loop, on any thread: for what another thread does.
template <typename Condition>
[[nodiscard]] bool awaitThread(Condition&& condition, int limitMs = kAwaitLimitMs) {
    return awaitStepping(
        condition, [] { std::this_thread::sleep_for(std::chrono::milliseconds(1)); }, limitMs);
}

#ifdef QT_CORE_LIB
/// Runs the event loop of the main thread until the condition holds.
template <typename Condition>
[[nodiscard]] bool await(Condition&& condition, int limitMs = kAwaitLimitMs) {
    return awaitStepping(
        condition,
        [] {
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
            // Deferred deletes of objects made outside of a running loop.
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        },
        limitMs);
}
#else
template <typename Condition>
[[nodiscard]] bool await(Condition&& condition, int limitMs = kAwaitLimitMs) {
    return awaitThread(condition, limitMs);
}
#endif
