#pragma once

// A source and an output whose clocks differ, in simulated time: packets come when the source's clock says
// so, or late, and the output asks when its own does. What is heard is measured beside an ideal resampler.

#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"

#include <complex>
#include <cstdint>
#include <functional>
#include <random>
#include <vector>

struct DriftSetting {
    double sourceHz = 48'000.0; ///< frames in a second of the output's clock
    double outputHz = 48'000.0; ///< the same for what the output asks for
    std::uint32_t packetFrames = 480;
    std::uint32_t periodFrames = 480;
    double firstReadSeconds = 0.02; ///< after the source's first frame
    double toneHz = 1'000.0;        ///< a multiple of 10
    double mostLateSeconds = 0.0;   ///< packets come late by up to this, each by another time
    bool correct = true;
};

/// What was heard since the last look.
struct DriftHeard {
    std::uint32_t longestDelayFrames = 0;  ///< written and not heard, before a read
    std::uint32_t shortestDelayFrames = 0; ///< the same, the least
    std::uint64_t silentFrames = 0;        ///< after the first that was not
    /// The largest change from one frame to the next, as a share of the tone's height, that a tone of slowly
    /// changing pitch does not have: of its height, or of its speed.
    double largestStep = 0.0;
    double highestSpeed = 0.0; ///< of the tone against its own, in millionths, over a period: the fastest
    double lowestSpeed = 0.0;  ///< and the slowest
    std::uint64_t frames = 0;
};

class DriftRun {
public:
    static constexpr std::uint32_t kSource = 20;
    static constexpr float kHeight = 0.5f; // below the limiter's knee

    explicit DriftRun(const DriftSetting& driftSetting);

    /// Goes on for that long.
    void play(double seconds);
    /// The source plays nothing for that long, and the output goes on; then the source begins with a packet.
    void pause(double seconds);
    /// For that long no packet comes; they come together at the end.
    void holdBack(double seconds);
    /// From now on the source's clock runs at this rate.
    void setSourceHz(double hz);

    /// What was heard since the last call.
    DriftHeard take();

    /// What the output plays, in place of mixBus() of Bus 1.
    std::function<void(float* output, std::uint32_t frameCount)> mix;
    /// How much is written and not heard, in place of what Bus 1 has.
    std::function<std::uint32_t()> delay;
    /// Sees each block of the output; may be empty.
    std::function<void(const std::vector<float>& block)> heardBlock;

    AppAudioConfigStore store;
    PerAppInputBuffers buffers{store};

private:
    void deliver(double until);
    void read();
    void measure();
    [[nodiscard]] double nextArrival();

    const DriftSetting setting;
    std::mt19937 random{7};
    std::vector<float> tone;   // of a second and a packet
    std::complex<double> step; // of the tone in a frame
    double sourceHz;
    double now = 0.0;       // of the output's clock, at the next read
    double packetEnd = 0.0; // when the packet that is on its way is complete
    double arrival = 0.0;   // and when it comes
    double heldUntil = 0.0;
    std::uint64_t framesPlayed = 0; // by the source
    std::vector<float> output;
    DriftHeard heard;
    std::complex<double> lastFrame; // heard
    std::complex<double> lastTurn;  // from the frame before it
    bool turnKnown = false;
    bool begun = false; // something was heard
};
