#pragma once

#include "mixer/RouterLog.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Collects the router's lines, from all threads, for as long as it lives; nothing is printed meanwhile. One
/// at a time.
class RouterLogCapture {
public:
    RouterLogCapture() {
        setRouterLogSink([this](std::string_view line) {
            const std::lock_guard lock(mutex);
            collected.emplace_back(line);
        });
    }
    ~RouterLogCapture() { setRouterLogSink({}); }
    RouterLogCapture(const RouterLogCapture&) = delete;
    RouterLogCapture& operator=(const RouterLogCapture&) = delete;

    /// What was logged since the last call.
    [[nodiscard]] std::vector<std::string> take() {
        flushRouterLog();
        const std::lock_guard lock(mutex);
        return std::exchange(collected, {});
    }

    /// Everything since the last take.
    [[nodiscard]] std::vector<std::string> lines() const {
        flushRouterLog();
        const std::lock_guard lock(mutex);
        return collected;
    }

    [[nodiscard]] bool contains(const std::string& line) const {
        flushRouterLog();
        const std::lock_guard lock(mutex);
        return std::ranges::find(collected, line) != collected.end();
    }

private:
    mutable std::mutex mutex;
    std::vector<std::string> collected;
};

/// For comparisons that read well: {"...", "..."}.
using Lines = std::vector<std::string>;
