#pragma once

#include "mixer/OutputStream.h"

#include <condition_variable>
#include <mutex>
#include <span>

/// An output stream without a clock of its own: it plays a period on demand.
class OfflineOutputStream : public OutputStream {
public:
    [[nodiscard]] bool open(const AudioEndpoint& endpoint) override;
    void run(const std::atomic<bool>& running, const RenderCallback& render) override;
    void wake() override;
    void stopClient() override;

    /// Lets the render thread write one period of output.size() / 2 frames, and waits until it has. False,
    /// and nothing written, once the output has ended. Any thread but the render thread.
    [[nodiscard]] bool renderPeriod(std::span<float> output);

private:
    std::mutex mutex;
    std::condition_variable changed;
    std::span<float> wanted;
    bool woken = false;
    bool ended = false;
};
