#pragma once

// The monitor equaliser: a switch, twelve gains, and the chain of filters that the blocks of the first
// microphone pass in place.
//
// Two threads share it without a lock. The UI thread sets the switch and the gains; the capture worker
// prepares the chain where a stream opens and runs the blocks. Only the worker designs filters, so that no
// coefficient is written while a block reads it.

#include "audio/equalizer/EqualizerBands.h"
#include "audio/equalizer/FBiquadChain.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <span>

class MonitorEqualizer {
public:
    // ---- the UI thread

    /// Blocks are filtered from now on, with the gains that were set last.
    void switchOn();
    /// Blocks pass untouched from now on. Sets all gains to 0 dB; the design and the history of the chain
    /// stay as they are.
    void switchOff();
    /// The gains from the next filtered block on, in dB, in the order of kEqualizerBands. Every value is used
    /// as it is.
    void setGains(std::span<const float, kEqualizerBandCount> gainsDb);

    // ---- the capture worker

    /// Makes the chain for the blocks of a stream that has just opened; `rate` in Hz. It does nothing once a
    /// block has been filtered: the rate and the channels of that block's stream stay in force, also after
    /// the stream's rate changes. Kept so. Allocates.
    void prepare(double rate, std::int32_t channels);

    /// Filters `frames` interleaved frames in place, while the equaliser is on and a stream has been
    /// prepared. Channels that the chain does not have pass untouched. Neither allocates, locks nor logs.
    void processBlock(float* block, std::int32_t channels, std::int32_t frames);

private:
    void processFrames(float* block, std::int32_t channels, std::int32_t frames);

    std::atomic<bool> equalizerEnabled{false};
    std::array<std::atomic<float>, kEqualizerBandCount> equalizerGains{}; // dB
    bool filterReady = false;            // a block has been filtered; the worker's
    std::atomic<bool> filterDirty{true}; // the gains are newer than the design
    FBiquadChain filterChain;            // the worker's
};
