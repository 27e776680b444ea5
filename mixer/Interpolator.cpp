#include "mixer/Interpolator.h"

#include "mixer/InputBuffer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace {

// Kaiser's window: how steep the pass band ends against how much is left beyond.
constexpr double kWindowShape = 10.0;

// The modified Bessel function of the first kind, order 0.
double bessel(double x) {
    double sum = 1.0;
    double term = 1.0;
    for (int k = 1; term > 1e-18 * sum; ++k) {
        term *= (x / (2.0 * k)) * (x / (2.0 * k));
        sum += term;
    }
    return sum;
}

double windowedSinc(double offset) {
    if (offset == 0.0) {
        return 1.0;
    }
    if (offset == std::nearbyint(offset)) {
        return 0.0; // exactly, so that a frame's own value is left alone
    }
    constexpr double kHalf = Interpolator::kTaps / 2.0;
    const double inWindow = std::max(0.0, 1.0 - offset * offset / (kHalf * kHalf));
    const double angle = std::numbers::pi * offset;
    return std::sin(angle) / angle * bessel(kWindowShape * std::sqrt(inWindow)) / bessel(kWindowShape);
}

} // namespace

Interpolator::Interpolator() {
    for (std::size_t phase = 0; phase <= kPhases; ++phase) {
        const double fraction = static_cast<double>(phase) / kPhases;
        std::array<double, kTaps> exact;
        double sum = 0.0;
        for (std::size_t tap = 0; tap < kTaps; ++tap) {
            exact[tap] = windowedSinc(static_cast<double>(tap) - kFramesBefore - fraction);
            sum += exact[tap];
        }
        // A constant keeps its value at each phase.
        std::ranges::transform(exact, table[phase].begin(),
                               [sum](double weight) { return static_cast<float>(weight / sum); });
    }
}

Interpolator::Weights Interpolator::weightsAt(double fraction) const {
    const double position = fraction * kPhases;
    const std::size_t phase = std::min(static_cast<std::size_t>(position), kPhases - 1);
    const auto way = static_cast<float>(position - static_cast<double>(phase));
    Weights weights;
    for (std::size_t tap = 0; tap < kTaps; ++tap) {
        const float here = table[phase][tap];
        weights[tap] = here + way * (table[phase + 1][tap] - here);
    }
    return weights;
}

void Interpolator::interpolate(std::span<const float, 2 * kInputFrames> input, double fraction, double drift,
                               std::size_t frameCount, std::span<float, 2 * kBlockFrames> output) const {
    // The weights of so few positions lie on a straight line: those of the first, and their change per frame.
    const Weights weights = weightsAt(fraction);
    Weights changes{};
    if (frameCount > 1) {
        const auto steps = static_cast<double>(frameCount - 1);
        const Weights last = weightsAt(fraction + steps * drift);
        for (std::size_t tap = 0; tap < kTaps; ++tap) {
            changes[tap] = (last[tap] - weights[tap]) / static_cast<float>(steps);
        }
    }
    constexpr std::size_t kPairs = 4; // that the processor's registers hold twice
    static_assert(kBlockFrames % (2 * kPairs) == 0);
    for (std::size_t from = 0; from < kBlockFrames; from += 2 * kPairs) {
        FramePair first[kPairs]{};
        FramePair change[kPairs]{};
        for (std::size_t tap = 0; tap < kTaps; ++tap) {
            for (std::size_t pair = 0; pair < kPairs; ++pair) {
                FramePair frames;
                std::memcpy(&frames, input.data() + 2 * (from + tap + 2 * pair), sizeof(frames));
                first[pair] += weights[tap] * frames;
                change[pair] += changes[tap] * frames;
            }
        }
        for (std::size_t pair = 0; pair < kPairs; ++pair) {
            const auto frame = static_cast<float>(from + 2 * pair);
            const FramePair number{frame, frame, frame + 1.0f, frame + 1.0f};
            const FramePair values = first[pair] + number * change[pair];
            std::memcpy(output.data() + 2 * (from + 2 * pair), &values, sizeof(values));
        }
    }
}
