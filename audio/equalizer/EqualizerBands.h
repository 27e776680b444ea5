#pragma once

// The twelve bands of the monitor equaliser, and how a chain is set to twelve gains.

#include "audio/equalizer/FBiquadChain.h"

#include <array>
#include <cstddef>
#include <span>

inline constexpr std::size_t kEqualizerBandCount = 12;
inline constexpr float kEqualizerBandwidthOctaves = 1.0f;
/// A band whose gain is above this, up or down, is active.
inline constexpr float kEqualizerActiveGainDb = 0.05f;

struct EqualizerBand {
    float frequencyHz;
    FBiquadType type;
};

/// The first and the last band are no shelves: any gain above the threshold, of either sign and any size,
/// switches the same high-pass or low-pass on. The low cut presets rely on it.
inline constexpr std::array<EqualizerBand, kEqualizerBandCount> kEqualizerBands{{
    {63.0f, FBiquadType::HighPass},
    {125.0f, FBiquadType::Peaking},
    {250.0f, FBiquadType::Peaking},
    {400.0f, FBiquadType::Peaking},
    {630.0f, FBiquadType::Peaking},
    {1000.0f, FBiquadType::Peaking},
    {1600.0f, FBiquadType::Peaking},
    {2500.0f, FBiquadType::Peaking},
    {4000.0f, FBiquadType::Peaking},
    {6300.0f, FBiquadType::Peaking},
    {10000.0f, FBiquadType::Peaking},
    {16000.0f, FBiquadType::LowPass},
}};

/// Enables the active bands of a chain of twelve and sets their parameters; disables the others. Gains in dB,
/// one per band, in order. The thread that runs the chain.
void applyEqualizerGains(FBiquadChain& chain, std::span<const float, kEqualizerBandCount> gainsDb);
