#include "audio/equalizer/MonitorEqualizer.h"

#include <algorithm>
#include <cstddef>

void MonitorEqualizer::switchOn() {
    equalizerEnabled.store(true, std::memory_order_relaxed);
}

void MonitorEqualizer::switchOff() {
    equalizerEnabled.store(false, std::memory_order_relaxed);
    for (std::atomic<float>& gain : equalizerGains) {
        gain.store(0.0f, std::memory_order_relaxed);
    }
}

void MonitorEqualizer::setGains(std::span<const float, kEqualizerBandCount> gainsDb) {
    for (std::size_t band = 0; band < kEqualizerBandCount; ++band) {
        equalizerGains[band].store(gainsDb[band], std::memory_order_relaxed);
    }
    // Pairs with the exchange in processBlock(): who finds the mark finds these gains, or newer ones.
    filterDirty.store(true, std::memory_order_release);
}

void MonitorEqualizer::prepare(double rate, std::int32_t channels) {
    if (filterReady) {
        return;
    }
    filterChain.init(static_cast<float>(rate), static_cast<std::int32_t>(kEqualizerBandCount), channels);
    for (std::int32_t band = 0; band < filterChain.bandCount(); ++band) {
        filterChain.setEnabled(band, false);
    }
}

void MonitorEqualizer::processBlock(float* block, std::int32_t channels, std::int32_t frames) {
    if (!equalizerEnabled.load(std::memory_order_relaxed) || filterChain.bandCount() == 0) {
        return;
    }
    filterReady = true;
    // Cleared before the gains are read: a change that comes meanwhile counts for the next block. Pairs with
    // the store in setGains().
    if (filterDirty.exchange(false, std::memory_order_acquire)) {
        std::array<float, kEqualizerBandCount> gainsDb{};
        std::ranges::transform(equalizerGains, gainsDb.begin(),
                               [](const auto& gain) { return gain.load(std::memory_order_relaxed); });
        applyEqualizerGains(filterChain, gainsDb);
    }
    if (channels == filterChain.channelCount()) {
        filterChain.processBlock(block, static_cast<std::size_t>(frames));
    } else {
        processFrames(block, channels, frames);
    }
}

// Frame by frame, for a block whose channels are not the chain's.
void MonitorEqualizer::processFrames(float* block, std::int32_t channels, std::int32_t frames) {
    const std::int32_t shared = std::min(channels, filterChain.channelCount());
    if (shared < 1 || filterChain.channelCount() > FBiquadChain::kMaxChannels) {
        return;
    }
    std::array<float, FBiquadChain::kMaxChannels> frame{};
    for (std::int32_t at = 0; at < frames; ++at) {
        float* const samples = block + static_cast<std::ptrdiff_t>(at) * channels;
        frame.fill(0.0f);
        std::copy_n(samples, shared, frame.begin());
        filterChain.process(frame.data(), frame.data());
        std::copy_n(frame.begin(), shared, samples);
    }
    filterChain.clearNonFinite();
}
