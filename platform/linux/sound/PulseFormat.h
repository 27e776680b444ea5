#pragma once

#include "mixer/WaveFormat.h"

#include <cstdint>
#include <pulse/pulseaudio.h>

/// All streams of the mixer, whatever the rate of their sink: the server converts.
inline constexpr pa_sample_spec kSampleSpec = {PA_SAMPLE_FLOAT32NE, kMixSampleRate, 2};
inline constexpr std::uint32_t kFrameBytes = 2 * sizeof(float);
/// Of a field of pa_buffer_attr: the server chooses.
inline constexpr auto kServersChoice = static_cast<std::uint32_t>(-1);
