#pragma once

// Equaliser bands in series, over up to 8 interleaved channels. Belongs to the thread that runs it.
//
// On processors of the x86 family (DenormalsAreZero.h) every product in a section, not only its result, is
// 0.0 below the smallest normal float, so that fading sound costs no more than other. Other processors keep
// these products; the difference is far below anything audible.

#include "audio/equalizer/FBiquadFilter.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class FBiquadChain {
public:
    /// Channels of a frame that the chain can filter. A chain of more passes every frame on unfiltered.
    static constexpr std::int32_t kMaxChannels = 8;

    /// Starts again: `newFilterCount` enabled bands, each peaking at 500 Hz, one octave, 0 dB. Rate in Hz.
    /// Allocates; the other operations do not.
    void init(float newSampleRate, std::int32_t newFilterCount, std::int32_t newChannels);

    /// The setters of FBiquadFilter by band number; ignored for a band that does not exist and before init().
    void setParameters(std::int32_t band, FBiquadType type, float frequency, float bandwidth, float gain);
    void setType(std::int32_t band, FBiquadType type);
    void setFrequency(std::int32_t band, float frequency);
    void setBandwidth(std::int32_t band, float bandwidth);
    void setGain(std::int32_t band, float gain);
    void setEnabled(std::int32_t band, bool enabled);
    void reset(std::int32_t band);

    /// One frame, one float per channel, through the enabled bands in order. `in` and `out` may be the same.
    /// A NaN that comes in stays in the history until clearNonFinite().
    void process(const float* in, float* out);

    /// `frameCount` interleaved frames in place: the result and the history of process() on each and of
    /// clearNonFinite() after the last, bit for bit.
    void processBlock(float* block, std::size_t frameCount);

    /// Clears each section whose history is no longer finite (after a NaN, an infinity or an absurd sample),
    /// so that it recovers with the next frame; the others keep theirs. To be called after the last frame of
    /// a block.
    void clearNonFinite();

    [[nodiscard]] std::int32_t bandCount() const { return filterCount; }
    [[nodiscard]] std::int32_t channelCount() const { return channels; }
    [[nodiscard]] float sampleRateHz() const { return sampleRate; }
    /// `band` exists.
    [[nodiscard]] const FBiquadFilter& filter(std::int32_t band) const;

private:
    [[nodiscard]] FBiquadFilter* filterAt(std::int32_t band);

    std::int32_t filterCount = 0;
    std::int32_t channels = 0;
    std::vector<FBiquadFilter> filters;
    float sampleRate = 0.0f; // Hz
};
