#include "tests/support/mixer/OfflineOutputStream.h"

bool OfflineOutputStream::open(const AudioEndpoint& /*endpoint*/) {
    return true;
}

void OfflineOutputStream::run(const std::atomic<bool>& running, const RenderCallback& render) {
    std::unique_lock lock(mutex);
    while (running) {
        changed.wait(lock, [this] { return woken || !wanted.empty(); });
        woken = false;
        if (!wanted.empty()) {
            render(wanted.data(), static_cast<std::uint32_t>(wanted.size() / 2));
            wanted = {};
            changed.notify_all();
        }
    }
    ended = true;
    changed.notify_all();
}

void OfflineOutputStream::wake() {
    const std::lock_guard lock(mutex);
    woken = true;
    changed.notify_all();
}

void OfflineOutputStream::stopClient() {}

bool OfflineOutputStream::renderPeriod(std::span<float> output) {
    std::unique_lock lock(mutex);
    if (ended) {
        return false;
    }
    wanted = output;
    changed.notify_all();
    changed.wait(lock, [this] { return wanted.empty() || ended; });
    const bool written = wanted.empty();
    wanted = {};
    return written;
}
