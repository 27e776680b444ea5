#pragma once

// The equaliser as it is defined: section by section, sample by sample. What the block kernel is compared
// with bit for bit, and what its benchmark measures against.

#include <cmath>
#include <cstddef>
#include <vector>

namespace reference {

struct Section {
    float b0 = 1.0f, b1 = 0.0f, b2 = 0.0f, a1 = 0.0f, a2 = 0.0f;
    float x1 = 0.0f, x2 = 0.0f, y1 = 0.0f, y2 = 0.0f;

    float step(float x) {
        float y = b0 * x + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2;
        if (y > -1.1754944e-38f && y < 1.1754944e-38f) {
            y = 0.0f;
        }
        x2 = x1;
        x1 = x;
        y2 = y1;
        y1 = y;
        return y;
    }
};

struct Band {
    std::vector<Section> sections; // one per channel
    bool enabled = true;
};

/// Type 0 low-pass, 1 high-pass, 2 band-pass, 3 notch, 4 peaking, 5 all-pass.
inline void design(Band& band, int type, float frequency, float bandwidth, float gain, float sampleRate) {
    const float w0 = 6.283185f * frequency / sampleRate;
    const float s = std::sin(w0);
    const float c = std::cos(w0);
    const float alpha = s * std::sin(0.3465736f * bandwidth * w0 / s);
    const auto A = static_cast<float>(std::pow(10.0, static_cast<double>(gain) / 40.0));
    const float b0s[] = {(1 - c) / 2, (1 + c) / 2, alpha, 1, 1 + alpha * A, 1 - alpha};
    const float b1s[] = {1 - c, -(1 + c), 0, -2 * c, -2 * c, -2 * c};
    const float b2s[] = {(1 - c) / 2, (1 + c) / 2, -alpha, 1, 1 - alpha * A, 1 + alpha};
    const float a0 = type == 4 ? 1 + alpha / A : 1 + alpha;
    const float a1 = -2 * c;
    const float a2 = type == 4 ? 1 - alpha / A : 1 - alpha;
    for (Section& section : band.sections) {
        section.b0 = b0s[type] / a0;
        section.b1 = b1s[type] / a0;
        section.b2 = b2s[type] / a0;
        section.a1 = a1 / a0;
        section.a2 = a2 / a0;
    }
}

/// Interleaved frames in place, frame by frame through all bands.
inline void process(std::vector<Band>& bands, float* block, std::size_t frameCount, std::size_t channels) {
    for (std::size_t frame = 0; frame < frameCount; ++frame) {
        for (Band& band : bands) {
            if (!band.enabled) {
                continue;
            }
            for (std::size_t channel = 0; channel < channels; ++channel) {
                float& sample = block[frame * channels + channel];
                sample = band.sections[channel].step(sample);
            }
        }
    }
}

} // namespace reference
