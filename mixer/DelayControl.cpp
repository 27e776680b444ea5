#include "mixer/DelayControl.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::int32_t kNothingSeen = std::numeric_limits<std::int32_t>::max();
// The decision comes up to three seconds late; at the highest speed that is as many frames.
constexpr std::int32_t kDecisionLag = 48;

} // namespace

void DelayControl::forget() {
    *this = DelayControl();
}

void DelayControl::forgetAndKeepAnyDelay() {
    forget();
    keepsAnyDelay = true;
}

void DelayControl::observe(std::uint32_t readable, std::uint32_t frameCount) {
    if (!playing) {
        // A source begins with its first whole block.
        if (frameCount == 0 || readable < frameCount) {
            return;
        }
        playing = true;
        least = kNothingSeen;
    }
    emptyFrames = readable == 0 ? emptyFrames + frameCount : 0;
    if (emptyFrames >= kStoppedAfter) {
        forget();
        return;
    }
    const auto left = static_cast<std::int32_t>(readable) - 2 * static_cast<std::int32_t>(frameCount);
    least = std::min(least, left);
    if (decided == ReadSpeed::Faster && left < kNeeded) {
        decided = ReadSpeed::Exact; // at once: the reader must not run dry by its own haste
    }
    delays += readable;
    ++looks;
    framesAsked += frameCount;
    if (framesAsked >= kSecondFrames) {
        endSecond();
    }
}

void DelayControl::endSecond() {
    leastLeft[seconds % kSeconds] = least;
    ++seconds;
    const auto meanDelay = static_cast<std::uint32_t>(delays / looks);
    least = kNothingSeen;
    framesAsked = 0;
    looks = 0;
    delays = 0;
    if (seconds < kSeconds) {
        return;
    }
    std::array<std::int32_t, kSeconds> sorted = leastLeft;
    std::ranges::sort(sorted);
    const std::int32_t left = sorted[kSeconds / 2];
    if (seconds == kSeconds) {
        kept =
            std::clamp(left, kLeastLearned, keepsAnyDelay ? std::max(left, kLeastLearned) : kLongestLearned);
        longestDelay = std::max(kLongestDelay, keepsAnyDelay ? meanDelay : 0);
    }
    decide(left, meanDelay);
}

void DelayControl::decide(std::int32_t left, std::uint32_t meanDelay) {
    switch (decided) {
    case ReadSpeed::Exact:
        if (left < std::max(kNeeded, kept - kSlack) && meanDelay <= longestDelay) {
            decided = ReadSpeed::Slower;
        } else if (left > kept + kSlack) {
            decided = ReadSpeed::Faster;
        }
        break;
    case ReadSpeed::Slower:
        if (left >= kept || meanDelay > longestDelay) {
            decided = ReadSpeed::Exact;
        }
        break;
    case ReadSpeed::Faster:
        if (left <= kept + kDecisionLag) {
            decided = ReadSpeed::Exact;
        }
        break;
    }
}
