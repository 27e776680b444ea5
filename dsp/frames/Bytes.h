#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace vexo::dsp {

using Bytes = std::span<const std::uint8_t>;
/// A HID report, its id in front.
using Report = std::vector<std::uint8_t>;

} // namespace vexo::dsp
