#pragma once

// The bridge's way with exceptions: none reaches the screens.

#include <QDebug>

#include <exception>

/// Runs an operation and returns its result. An exception is logged behind `message`, and `fallback` is
/// returned.
template <typename Result, typename Operation>
Result guarded(const char* message, Result fallback, const Operation& operation) {
    try {
        return operation();
    } catch (const std::exception& exception) {
        qCritical() << message << exception.what();
        return fallback;
    }
}

/// The same for an operation without a result.
template <typename Operation>
void guarded(const char* message, const Operation& operation) {
    static_cast<void>(guarded(message, false, [&operation] {
        operation();
        return true;
    }));
}
