// A day of a source whose clock is 50 millionths fast or slow, in simulated time: its delay, and what is
// heard of it beside an ideal resampler. Takes some minutes; ends with 1 when a budget is missed.

#include "tests/support/mixer/DriftRun.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr double kDaySeconds = 86'400.0;
constexpr double kLongestDelayMs = 60.0;
constexpr double kLargestStepDb = -80.0;

struct Steps {
    std::uint32_t packetFrames;
    std::uint32_t periodFrames;
};

bool playDay(double millionths, const Steps& steps, double seconds) {
    DriftRun run({.sourceHz = 48'000.0 * (1.0 + millionths * 1e-6),
                  .packetFrames = steps.packetFrames,
                  .periodFrames = steps.periodFrames});
    run.play(seconds);
    const DriftHeard heard = run.take();
    const double delayMs = heard.longestDelayFrames / 48.0;
    const double stepDb = 20.0 * std::log10(heard.largestStep);
    const bool kept = delayMs <= kLongestDelayMs && heard.silentFrames == 0 && stepDb <= kLargestStepDb;
    std::printf("%+7.0f %9u %8u %8.1f %12.1f %12.1f %10llu %10.1f %11.0f %8.0f   %s\n", millionths,
                steps.packetFrames, steps.periodFrames, seconds / 3600.0, heard.shortestDelayFrames / 48.0,
                delayMs, static_cast<unsigned long long>(heard.silentFrames), stepDb, heard.lowestSpeed,
                heard.highestSpeed, kept ? "kept" : "MISSED");
    return kept;
}

} // namespace

// With an argument: that many hours in place of a day.
int main(int argc, char* argv[]) {
    const double seconds = argc > 1 ? 3600.0 * std::atof(argv[1]) : kDaySeconds;
    if (!(seconds > 0.0)) {
        std::fprintf(stderr, "usage: %s [HOURS]\n", argv[0]);
        return 2;
    }
    std::printf("%7s %9s %8s %8s %12s %12s %10s %10s %11s %8s\n", "drift", "packets", "periods", "hours",
                "least ms", "longest ms", "silent", "step dB", "slowest", "fastest");
    bool kept = true;
    for (const double millionths : {50.0, -50.0}) {
        for (const Steps& steps : {Steps{480, 240}, Steps{480, 480}}) {
            kept = playDay(millionths, steps, seconds) && kept;
        }
    }
    return kept ? 0 : 1;
}
