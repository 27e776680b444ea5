#pragma once

#include "mixer/WaveFormat.h"

#include <cstdint>
#include <span>
#include <vector>

/// Turns a packet of any format into interleaved stereo float.
///
/// A packet has `byteCount` / block align frames; a rest is ignored. Left is channel 0; right is channel 1,
/// or channel 0 of a mono packet; further channels are ignored. Float samples are copied as they are, always
/// as 32-bit; 16- and 32-bit PCM becomes -1.0 ... 1.0; any other format keeps its length and is silent.
/// Without channels, block align, data or one whole frame the result is empty. A sample that would lie past
/// the packet's bytes, because block align disagrees with the rest of the format, is silent.
///
/// A packet that is stereo float without gaps already, at an address where floats may lie, is its own result.
/// Any other result lies in `scratch`, which grows where needed and never shrinks, and is valid until the
/// next use of that. `data` needs no alignment. Any thread.
[[nodiscard]] std::span<const float> convertToStereoFloat(const void* data, std::uint32_t byteCount,
                                                          const WaveFormat& format,
                                                          std::vector<float>& scratch);
