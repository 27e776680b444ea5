#include "audio/equalizer/FBiquadChain.h"

#include "audio/equalizer/FBiquadCascade.h"
#include "mixer/DenormalsAreZero.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr float kInitialFrequencyHz = 500.0f;
constexpr float kInitialBandwidthOctaves = 1.0f;

bool isFinite(const FBiquad& section) {
    return std::isfinite(section.x1) && std::isfinite(section.x2) && std::isfinite(section.y1) &&
           std::isfinite(section.y2);
}

} // namespace

void FBiquadChain::init(float newSampleRate, std::int32_t newFilterCount, std::int32_t newChannels) {
    filterCount = std::max(newFilterCount, 0);
    channels = std::max(newChannels, 0);
    sampleRate = newSampleRate;
    filters.assign(static_cast<std::size_t>(filterCount), FBiquadFilter());
    for (FBiquadFilter& filter : filters) {
        filter.init(sampleRate, channels, FBiquadType::Peaking, kInitialFrequencyHz, kInitialBandwidthOctaves,
                    0.0f);
    }
}

void FBiquadChain::setParameters(std::int32_t band, FBiquadType type, float frequency, float bandwidth,
                                 float gain) {
    if (FBiquadFilter* const filter = filterAt(band)) {
        filter->setParameters(type, frequency, bandwidth, gain);
    }
}

void FBiquadChain::setType(std::int32_t band, FBiquadType type) {
    if (FBiquadFilter* const filter = filterAt(band)) {
        filter->setType(type);
    }
}

void FBiquadChain::setFrequency(std::int32_t band, float frequency) {
    if (FBiquadFilter* const filter = filterAt(band)) {
        filter->setFrequency(frequency);
    }
}

void FBiquadChain::setBandwidth(std::int32_t band, float bandwidth) {
    if (FBiquadFilter* const filter = filterAt(band)) {
        filter->setBandwidth(bandwidth);
    }
}

void FBiquadChain::setGain(std::int32_t band, float gain) {
    if (FBiquadFilter* const filter = filterAt(band)) {
        filter->setGain(gain);
    }
}

void FBiquadChain::setEnabled(std::int32_t band, bool enabled) {
    if (FBiquadFilter* const filter = filterAt(band)) {
        filter->setEnabled(enabled);
    }
}

void FBiquadChain::reset(std::int32_t band) {
    if (FBiquadFilter* const filter = filterAt(band)) {
        filter->reset();
    }
}

void FBiquadChain::process(const float* in, float* out) {
    const auto channelCount = static_cast<std::size_t>(channels);
    if (channels > kMaxChannels) {
        std::copy_n(in, channelCount, out);
        return;
    }
    const DenormalsAreZero mode;
    std::array<float, kMaxChannels> frame;
    std::copy_n(in, channelCount, frame.begin());
    for (FBiquadFilter& filter : filters) {
        filter.process(frame.data(), frame.data());
    }
    std::copy_n(frame.begin(), channelCount, out);
}

void FBiquadChain::processBlock(float* block, std::size_t frameCount) {
    if (channels < 1 || channels > kMaxChannels) {
        return;
    }
    const DenormalsAreZero mode;
    FBiquadCascade cascade(static_cast<std::size_t>(channels));
    for (FBiquadFilter& filter : filters) {
        if (!filter.isEnabled()) {
            continue;
        }
        if (!cascade.append(filter.channelSections())) {
            cascade.run(block, frameCount);
            static_cast<void>(cascade.append(filter.channelSections())); // an empty one has room
        }
    }
    cascade.run(block, frameCount);
    clearNonFinite();
}

void FBiquadChain::clearNonFinite() {
    for (FBiquadFilter& filter : filters) {
        for (FBiquad& section : filter.channelSections()) {
            if (!isFinite(section)) {
                section.reset();
            }
        }
    }
}

const FBiquadFilter& FBiquadChain::filter(std::int32_t band) const {
    return filters[static_cast<std::size_t>(band)];
}

FBiquadFilter* FBiquadChain::filterAt(std::int32_t band) {
    return band >= 0 && band < filterCount ? &filters[static_cast<std::size_t>(band)] : nullptr;
}
