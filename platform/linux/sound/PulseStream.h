#pragma once

#include "mixer/Resampler.h"

#include <cstdint>
#include <pulse/pulseaudio.h>

/// All streams of the mixer, whatever the rate of their sink: the server converts.
inline constexpr pa_sample_spec kSampleSpec = {PA_SAMPLE_FLOAT32NE, kMixSampleRate, 2};
inline constexpr std::uint32_t kFrameBytes = 2 * sizeof(float);
/// Between a failure and the next try of a connection or stream.
inline constexpr pa_usec_t kRetryInterval = 500 * PA_USEC_PER_MSEC;

/// Ends a stream and lets go of it: no callback of its owner's comes any more. One that the server is only
/// just making cannot be ended yet; it is kept until it is made, or the connection goes. The main loop's
/// thread, or under its lock. Null does nothing.
void retireStream(pa_stream* stream);
