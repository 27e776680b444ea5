#pragma once

#include "mixer/RouterLog.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// Collects the router's lines, from all threads, for as long as it lives; nothing is printed meanwhile. One
/// at a time.
class RouterLogCapture {
public:
    RouterLogCapture() {
        setRouterLogSink([this](const std::wstring& line) {
            const std::lock_guard lock(mutex);
            collected.push_back(line);
        });
    }
    ~RouterLogCapture() { setRouterLogSink({}); }
    RouterLogCapture(const RouterLogCapture&) = delete;
    RouterLogCapture& operator=(const RouterLogCapture&) = delete;

    /// What was logged since the last call.
    [[nodiscard]] std::vector<std::wstring> take() {
        const std::lock_guard lock(mutex);
        return std::exchange(collected, {});
    }

    /// Everything since the last take.
    [[nodiscard]] std::vector<std::wstring> lines() const {
        const std::lock_guard lock(mutex);
        return collected;
    }

    [[nodiscard]] bool contains(const std::wstring& line) const {
        const std::lock_guard lock(mutex);
        return std::ranges::find(collected, line) != collected.end();
    }

private:
    mutable std::mutex mutex;
    std::vector<std::wstring> collected;
};

/// For comparisons that read well: {L"...", L"..."}.
using Lines = std::vector<std::wstring>;
