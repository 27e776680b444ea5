#include "tests/support/mixer/DriftRun.h"

#include "mixer/WaveFormat.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>

namespace {

constexpr std::uint32_t kToneFrames = 4'800; // whole waves of each tone

} // namespace

DriftRun::DriftRun(const DriftSetting& driftSetting)
    : setting(driftSetting), step(std::polar(1.0, 2.0 * std::numbers::pi * setting.toneHz / 48'000.0)),
      sourceHz(setting.sourceHz), output(2 * std::size_t{setting.periodFrames}) {
    buffers.correctDrift(setting.correct);
    store.putConfig(kSource, {.processID = kSource, .input1Enabled = true, .input2Enabled = true});
    tone.resize(2 * std::size_t{kToneFrames + setting.packetFrames});
    for (std::size_t frame = 0; frame < tone.size() / 2; ++frame) {
        const double angle = 2.0 * std::numbers::pi * setting.toneHz / 48'000.0 * static_cast<double>(frame);
        tone[2 * frame] = kHeight * static_cast<float>(std::cos(angle));
        tone[2 * frame + 1] = kHeight * static_cast<float>(std::sin(angle));
    }
    mix = [this](float* to, std::uint32_t frameCount) {
        buffers.mixBus(to, frameCount, 1);
    };
    delay = [this, ring = std::shared_ptr<InputBuffer>()]() mutable {
        if (!ring) {
            ring = buffers.getInputBuffer(kSource, 1);
        }
        constexpr std::uint32_t kFloats = InputBuffer::kFloatCount;
        return (ring->writePos + kFloats - ring->busReadPos) % kFloats / 2;
    };
    heard.shortestDelayFrames = InputBuffer::kFrameCount;
    now = setting.firstReadSeconds;
    packetEnd = setting.packetFrames / sourceHz;
    arrival = nextArrival();
}

double DriftRun::nextArrival() {
    const double late = setting.mostLateSeconds * static_cast<double>(random()) / 4294967296.0;
    return std::max({arrival, heldUntil, packetEnd + late});
}

void DriftRun::play(double seconds) {
    for (const double end = now + seconds; now < end; now += setting.periodFrames / setting.outputHz) {
        deliver(now);
        read();
    }
}

void DriftRun::pause(double seconds) {
    const double end = now + seconds;
    for (; now < end; now += setting.periodFrames / setting.outputHz) {
        read();
    }
    packetEnd = now;
    arrival = now;
}

void DriftRun::holdBack(double seconds) {
    heldUntil = now + seconds;
    arrival = std::max(arrival, heldUntil);
    play(seconds);
}

void DriftRun::setSourceHz(double hz) {
    sourceHz = hz;
}

void DriftRun::deliver(double until) {
    while (arrival <= until) {
        const std::uint64_t at = framesPlayed % kToneFrames;
        buffers.addInputData(kSource, tone.data() + 2 * at, setting.packetFrames * 8,
                             floatWaveFormat(2, 48'000));
        framesPlayed += setting.packetFrames;
        packetEnd += setting.packetFrames / sourceHz;
        arrival = nextArrival();
    }
}

void DriftRun::read() {
    const std::uint32_t readable = delay();
    heard.longestDelayFrames = std::max(heard.longestDelayFrames, readable);
    heard.shortestDelayFrames = std::min(heard.shortestDelayFrames, readable);
    mix(output.data(), setting.periodFrames);
    measure();
    if (heardBlock) {
        heardBlock(output);
    }
}

// Of a tone of constant pitch each frame is the one before it, turned by the same angle.
void DriftRun::measure() {
    constexpr double kSize = static_cast<double>(kHeight) * static_cast<double>(kHeight);
    double largest = 0.0; // squared
    double turned = 0.0;
    std::uint32_t turns = 0;
    for (std::size_t at = 0; at < output.size(); at += 2) {
        const std::complex<double> next(output[at], output[at + 1]);
        const double size = std::norm(next) / kSize;
        begun = begun || size != 0.0;
        if (begun && size == 0.0) {
            ++heard.silentFrames;
        }
        if (size == 0.0 || std::norm(lastFrame) == 0.0) {
            turnKnown = false;
        } else {
            // By hand: the library's product looks for infinity each time.
            const std::complex<double> turn(
                (next.real() * lastFrame.real() + next.imag() * lastFrame.imag()) / kSize,
                (next.imag() * lastFrame.real() - next.real() * lastFrame.imag()) / kSize);
            largest = std::max(largest, 0.25 * (size - 1.0) * (size - 1.0));
            if (turnKnown) {
                largest = std::max(largest, std::norm(turn - lastTurn));
            }
            turned += turn.imag() * step.real() - turn.real() * step.imag();
            lastTurn = turn;
            turnKnown = true;
            ++turns;
        }
        lastFrame = next;
    }
    heard.frames += output.size() / 2;
    heard.largestStep = std::max(heard.largestStep, std::sqrt(largest));
    if (turns == output.size() / 2) {
        const double speed = turned / turns / std::arg(step) * 1e6;
        heard.highestSpeed = std::max(heard.highestSpeed, speed);
        heard.lowestSpeed = std::min(heard.lowestSpeed, speed);
    }
}

DriftHeard DriftRun::take() {
    const DriftHeard taken = heard;
    heard = DriftHeard();
    heard.shortestDelayFrames = InputBuffer::kFrameCount;
    return taken;
}
