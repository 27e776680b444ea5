#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>

/// Runs the event loop until the condition holds; false when it does not within the limit.
template <typename Condition>
[[nodiscard]] bool await(Condition condition, int limitMs = 10000) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > limitMs) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
        // Deferred deletes of objects made outside of a running loop.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}
