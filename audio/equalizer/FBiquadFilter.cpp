#include "audio/equalizer/FBiquadFilter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace {

constexpr float kTwoPi = 6.283185f;
constexpr float kHalfLn2 = 0.3465736f; // from octaves to the argument of alpha
constexpr float kLowestFrequencyHz = 20.0f;

} // namespace

void FBiquadFilter::init(float newSampleRate, std::int32_t newChannels, FBiquadType newType,
                         float newFrequency, float newBandwidth, float newGain) {
    sampleRate = newSampleRate;
    channels = std::max(newChannels, 0);
    type = newType;
    frequency = std::max(newFrequency, kLowestFrequencyHz);
    bandwidth = newBandwidth;
    gain = newGain;
    sections.assign(static_cast<std::size_t>(channels), FBiquad());
    design();
}

void FBiquadFilter::setParameters(FBiquadType newType, float newFrequency, float newBandwidth,
                                  float newGain) {
    const float clampedFrequency = std::max(newFrequency, kLowestFrequencyHz);
    if (newType == type && clampedFrequency == newFrequency && newBandwidth == bandwidth && newGain == gain) {
        return;
    }
    type = newType;
    frequency = newFrequency;
    bandwidth = newBandwidth;
    gain = newGain;
    design();
}

void FBiquadFilter::setType(FBiquadType newType) {
    if (newType != type) {
        type = newType;
        design();
    }
}

void FBiquadFilter::setFrequency(float newFrequency) {
    newFrequency = std::max(newFrequency, 0.0f);
    if (newFrequency != frequency) {
        frequency = newFrequency;
        design();
    }
}

void FBiquadFilter::setBandwidth(float newBandwidth) {
    if (newBandwidth != bandwidth) {
        bandwidth = newBandwidth;
        design();
    }
}

void FBiquadFilter::setGain(float newGain) {
    if (newGain != gain) {
        gain = newGain;
        if (type == FBiquadType::Peaking) {
            design();
        }
    }
}

void FBiquadFilter::reset() {
    for (FBiquad& section : sections) {
        section.reset();
    }
}

void FBiquadFilter::process(const float* in, float* out) {
    for (std::size_t channel = 0; channel < sections.size(); ++channel) {
        out[channel] = enabled ? sections[channel].process(in[channel]) : in[channel];
    }
}

// The history is not touched, so that a new design in mid-stream does not click back to zero.
void FBiquadFilter::design() {
    const float w0 = kTwoPi * frequency / sampleRate;
    const float s = std::sin(w0);
    const float c = std::cos(w0);
    // Textbooks have a hyperbolic sine inside; the curves of this program are those of the sine.
    // At 0 Hz the quotient has no value, so the coefficients are no numbers.
    const float alpha =
        s == 0.0f ? std::numeric_limits<float>::quiet_NaN() : s * std::sin(kHalfLn2 * bandwidth * w0 / s);

    float b0 = 1.0f;
    float b1 = -2.0f * c;
    float b2 = 1.0f;
    float a0 = 1.0f + alpha;
    const float a1 = -2.0f * c;
    float a2 = 1.0f - alpha;
    switch (type) {
    case FBiquadType::LowPass:
        b0 = (1.0f - c) / 2.0f;
        b1 = 1.0f - c;
        b2 = (1.0f - c) / 2.0f;
        break;
    case FBiquadType::HighPass:
        b0 = (1.0f + c) / 2.0f;
        b1 = -(1.0f + c);
        b2 = (1.0f + c) / 2.0f;
        break;
    case FBiquadType::BandPass:
        b0 = alpha;
        b1 = 0.0f;
        b2 = -alpha;
        break;
    case FBiquadType::Notch:
        break;
    case FBiquadType::Peaking: {
        const auto amplitude = static_cast<float>(std::pow(10.0, static_cast<double>(gain) / 40.0));
        b0 = 1.0f + alpha * amplitude;
        b2 = 1.0f - alpha * amplitude;
        a0 = 1.0f + alpha / amplitude;
        a2 = 1.0f - alpha / amplitude;
        break;
    }
    case FBiquadType::AllPass:
        b0 = 1.0f - alpha;
        b2 = 1.0f + alpha;
        break;
    default:
        return; // no such shape: the coefficients stay
    }
    for (FBiquad& section : sections) {
        section.b0 = b0 / a0;
        section.b1 = b1 / a0;
        section.b2 = b2 / a0;
        section.a1 = a1 / a0;
        section.a2 = a2 / a0;
    }
}
