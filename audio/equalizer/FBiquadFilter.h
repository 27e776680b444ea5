#pragma once

// One equaliser band across all channels. Belongs to the thread that runs it: parameters are set between two
// frames, never from another thread.

#include "audio/equalizer/FBiquad.h"

#include <cstdint>
#include <vector>

enum class FBiquadType : std::int32_t {
    LowPass = 0,
    HighPass = 1,
    BandPass = 2,
    Notch = 3,
    Peaking = 4,
    AllPass = 5,
};

class FBiquadFilter {
public:
    FBiquadFilter() = default;
    FBiquadFilter(const FBiquadFilter&) = default;
    FBiquadFilter(FBiquadFilter&&) = default;
    FBiquadFilter& operator=(const FBiquadFilter&) = default;
    FBiquadFilter& operator=(FBiquadFilter&&) = default;
    virtual ~FBiquadFilter() = default;

    /// Starts again with cleared sections, one per channel (none for a count below 1). Frequency in Hz, at
    /// least 20.0; bandwidth in octaves; gain in dB, which only Peaking looks at.
    void init(float newSampleRate, std::int32_t newChannels, FBiquadType newType, float newFrequency,
              float newBandwidth, float newGain);

    /// Sets all four and designs. It does nothing when type, bandwidth and gain are as before and the
    /// frequency is 20.0 or more. So a new frequency alone changes nothing, while one below 20.0 always
    /// counts as a change and is stored unclamped. Kept so.
    void setParameters(FBiquadType newType, float newFrequency, float newBandwidth, float newGain);

    /// Each of these designs when the value differs; the frequency is at least 0.0 here.
    void setType(FBiquadType newType);
    void setFrequency(float newFrequency);
    void setBandwidth(float newBandwidth);
    /// Designs only as Peaking; other shapes keep the value for later.
    void setGain(float newGain);
    /// A disabled band passes its input on and keeps its history.
    void setEnabled(bool newEnabled) { enabled = newEnabled; }

    /// Clears the history of every section.
    void reset();

    /// One frame, one float per channel. `in` and `out` may be the same.
    void process(const float* in, float* out);

    [[nodiscard]] bool isEnabled() const { return enabled; }
    [[nodiscard]] FBiquadType filterType() const { return type; }
    [[nodiscard]] float frequencyHz() const { return frequency; }
    [[nodiscard]] float bandwidthOctaves() const { return bandwidth; }
    [[nodiscard]] float gainDb() const { return gain; }
    /// The coefficients are the same in all of them.
    [[nodiscard]] const std::vector<FBiquad>& channelSections() const { return sections; }
    [[nodiscard]] std::vector<FBiquad>& channelSections() { return sections; }

private:
    void design();

    FBiquadType type = FBiquadType::Peaking;
    std::vector<FBiquad> sections;
    float sampleRate = 0.0f; // Hz
    std::int32_t channels = 0;
    float frequency = 0.0f; // Hz
    float bandwidth = 0.0f; // octaves
    float gain = 0.0f;      // dB
    bool enabled = true;
};
