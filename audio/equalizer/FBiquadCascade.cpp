#include "audio/equalizer/FBiquadCascade.h"

#include <algorithm>

bool FBiquadCascade::append(std::vector<FBiquad>& sections) {
    if (laneCount + channels > kMaxLanes) {
        return false;
    }
    for (FBiquad& section : sections) {
        targets[laneCount] = &section;
        b0[laneCount] = section.b0;
        b1[laneCount] = section.b1;
        b2[laneCount] = section.b2;
        a1[laneCount] = section.a1;
        a2[laneCount] = section.a2;
        x1[laneCount] = section.x1;
        x2[laneCount] = section.x2;
        y1[laneCount] = section.y1;
        y2[laneCount] = section.y2;
        ++laneCount;
    }
    return true;
}

// One step of some lanes, from the last to the first: a lane's input is the last output of the band before.
void FBiquadCascade::step(const float* in, std::size_t firstLane, std::size_t endLane) {
    for (std::size_t lane = endLane; lane-- > firstLane;) {
        const float x = lane < channels ? in[lane] : y1[lane - channels];
        const float y = FBiquad::flushed(b0[lane] * x + b1[lane] * x1[lane] + b2[lane] * x2[lane] -
                                         a1[lane] * y1[lane] - a2[lane] * y2[lane]);
        x2[lane] = x1[lane];
        x1[lane] = x;
        y2[lane] = y1[lane];
        y1[lane] = y;
    }
}

// One step of all lanes, and of the idle ones that fill the last group; they stay at zero or are never read.
template <std::size_t kLanes>
void FBiquadCascade::stepAll(const float* in) {
    alignas(32) std::array<float, kLanes + 8> x;
    std::copy_n(in, channels, x.begin());
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
        x[lane + channels] = y1[lane];
    }
    alignas(32) std::array<float, kLanes> y;
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
        y[lane] = FBiquad::flushed(b0[lane] * x[lane] + b1[lane] * x1[lane] + b2[lane] * x2[lane] -
                                   a1[lane] * y1[lane] - a2[lane] * y2[lane]);
    }
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
        x2[lane] = x1[lane];
        x1[lane] = x[lane];
        y2[lane] = y1[lane];
        y1[lane] = y[lane];
    }
}

template <std::size_t kLanes>
void FBiquadCascade::runAligned(float* block, std::size_t frameCount) {
    const std::size_t bands = laneCount / channels;
    const std::size_t delay = bands - 1; // frames by which the last band is behind
    for (std::size_t now = 0; now < frameCount + delay; ++now) {
        const float* const in = block + std::min(now, frameCount - 1) * channels;
        if (now >= delay && now < frameCount) {
            stepAll<kLanes>(in);
        } else {
            // Bands whose frame lies inside the block.
            const std::size_t firstBand = now < frameCount ? 0 : now - frameCount + 1;
            const std::size_t endBand = std::min(now + 1, bands);
            step(in, firstBand * channels, endBand * channels);
        }
        if (now >= delay) {
            std::copy_n(y1.begin() + static_cast<std::ptrdiff_t>(laneCount - channels), channels,
                        block + (now - delay) * channels);
        }
    }
}

void FBiquadCascade::run(float* block, std::size_t frameCount) {
    if (laneCount == 0 || frameCount == 0) {
        laneCount = 0;
        return;
    }
    switch ((laneCount + 7) / 8) {
    case 1:
        runAligned<8>(block, frameCount);
        break;
    case 2:
        runAligned<16>(block, frameCount);
        break;
    case 3:
        runAligned<24>(block, frameCount);
        break;
    default:
        runAligned<32>(block, frameCount);
        break;
    }
    for (std::size_t lane = 0; lane < laneCount; ++lane) {
        FBiquad& section = *targets[lane];
        section.x1 = x1[lane];
        section.x2 = x2[lane];
        section.y1 = y1[lane];
        section.y2 = y2[lane];
    }
    laneCount = 0;
}
