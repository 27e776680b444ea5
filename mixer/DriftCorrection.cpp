#include "mixer/DriftCorrection.h"

#include "mixer/Interpolator.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace {

constexpr std::int64_t kMillionth = (std::int64_t{1} << 32) / 1'000'000;
constexpr std::int64_t kHighestRate = 300 * kMillionth;
// For the way to the next whole frame, where a correction ends: at most a second.
constexpr std::int64_t kLastRate = 21 * kMillionth;
// Each block of frames: from 0 to the highest rate in a second.
constexpr std::int64_t kRateChange =
    kHighestRate * static_cast<std::int64_t>(Interpolator::kBlockFrames) / DelayControl::kSecondFrames;

using BlockInput = std::array<float, 2 * Interpolator::kInputFrames>;

// The frames around `base`, which counts from `start` on. Behind the last of `readable` frames it stands
// still: the ring's next frames are old ones.
void gather(const InputBuffer& ring, std::uint32_t start, std::int64_t base, std::uint32_t readable,
            BlockInput& input) {
    constexpr auto kRing = static_cast<std::int64_t>(InputBuffer::kFrameCount);
    std::int64_t frame = base - static_cast<std::int64_t>(Interpolator::kFramesBefore);
    const std::int64_t last = static_cast<std::int64_t>(readable) - 1;
    auto index = static_cast<std::uint32_t>((start + frame + kRing) % kRing);
    for (std::size_t at = 0; at < input.size(); at += 2) {
        const StereoFrame sample = ring.samples[index].load(std::memory_order_relaxed);
        input[at] = sample.left;
        input[at + 1] = sample.right;
        if (frame < last) {
            index = index + 1 < InputBuffer::kFrameCount ? index + 1 : 0;
        }
        ++frame;
    }
}

} // namespace

bool DriftCorrection::isDue(std::uint32_t readable, std::uint32_t frameCount) {
    if (frameCount == 0) {
        return false;
    }
    control.observe(readable, frameCount);
    silence = silenceBefore(readable, frameCount);
    waited = silence == frameCount;
    dry = waited || (silence == 0 && readable < frameCount); // by an exact read
    return silence != 0 || rate != 0 || offset != 0 || control.speed() != ReadSpeed::Exact;
}

// Only where there was none before.
std::uint32_t DriftCorrection::silenceBefore(std::uint32_t readable, std::uint32_t frameCount) const {
    const std::uint32_t wanted = frameCount + kFramesInHand;
    if (!dry || readable == 0 || readable >= wanted) {
        return 0;
    }
    if (readable <= kFramesInHand) {
        return waited ? 0 : frameCount; // no more has come
    }
    return wanted - readable;
}

void DriftCorrection::forget() {
    *this = DriftCorrection();
}

void DriftCorrection::beginAnew() {
    forget();
    control.forgetAndKeepAnyDelay();
}

// Moves the rate towards the one that is wanted. `onFrame`: the position is that of a frame.
void DriftCorrection::changeRate(bool onFrame) {
    std::int64_t wanted = 0;
    switch (control.speed()) {
    case ReadSpeed::Faster:
        wanted = kHighestRate;
        break;
    case ReadSpeed::Slower:
        wanted = -kHighestRate;
        break;
    case ReadSpeed::Exact:
        if (rate != 0 || !onFrame) {
            wanted = rate >= 0 ? kLastRate : -kLastRate;
        }
        break;
    }
    rate += std::clamp(wanted - rate, -kRateChange, kRateChange);
}

// As many frames as lie between the same two of the ring, each one further.
DriftCorrection::Stretch DriftCorrection::nextStretch(std::int64_t position, std::uint32_t mostFrames) const {
    Stretch next{position / kFrame, position % kFrame, rate, mostFrames, false};
    if (rate == 0) {
        return next;
    }
    if (rate < 0 && next.fraction == 0) {
        --next.base;
        next.fraction = kFrame;
    }
    const std::int64_t speed = std::abs(rate);
    const std::int64_t way = rate > 0 ? kFrame - next.fraction : next.fraction; // to a whole frame
    const std::int64_t framesToThere = (way + speed - 1) / speed;
    if (framesToThere > mostFrames) {
        return next;
    }
    next.frameCount = static_cast<std::uint32_t>(framesToThere);
    if (control.speed() == ReadSpeed::Exact && speed <= kLastRate) {
        next.rate = (rate > 0 ? way : -way) / framesToThere;
        next.landing = true;
    }
    return next;
}

void DriftCorrection::addTo(float* mix, std::uint32_t frameCount, float gain, const InputBuffer& ring,
                            std::atomic<std::uint32_t>& readPosition, std::uint32_t readable,
                            const Interpolator& interpolator) {
    const std::uint32_t start = readPosition.load(std::memory_order_relaxed) / 2; // the reader's own
    std::int64_t position = offset;                                               // from `start` on
    std::uint32_t done = silence;
    while (done < frameCount && position / kFrame < readable) {
        changeRate(position % kFrame == 0);
        const std::int64_t framesThere = readable - position / kFrame;
        const auto most = static_cast<std::uint32_t>(std::min<std::int64_t>(
            {frameCount - done, framesThere, static_cast<std::int64_t>(Interpolator::kBlockFrames)}));
        const Stretch stretch = nextStretch(position, most);
        BlockInput input;
        gather(ring, start, stretch.base, readable, input);
        std::array<float, 2 * Interpolator::kBlockFrames> block;
        interpolator.interpolate(input, static_cast<double>(stretch.fraction) / kFrame,
                                 static_cast<double>(stretch.rate) / kFrame, stretch.frameCount, block);
        float* const to = mix + 2 * std::size_t{done};
        for (std::size_t at = 0; at < 2 * std::size_t{stretch.frameCount}; ++at) {
            to[at] += gain * block[at];
        }
        done += stretch.frameCount;
        position += stretch.frameCount * (kFrame + stretch.rate);
        if (stretch.landing) {
            position = (position + kFrame / 2) / kFrame * kFrame;
            rate = 0;
        }
    }
    const std::int64_t end = readable * kFrame;
    const bool ranDry = done < frameCount || position >= end + kFrame;
    if (ranDry) {
        // What comes next is read from its first frame on.
        position = end;
        rate = 0;
    }
    dry = waited || ranDry;
    offset = position % kFrame;
    readPosition.store(static_cast<std::uint32_t>((start + position / kFrame) % InputBuffer::kFrameCount) * 2,
                       std::memory_order_release); // keeps the loads before it
}
