#pragma once

#include "audio/equalizer/EqualizerBands.h"

#include <QString>

#include <array>
#include <optional>

/// The gains of a stored preset, in dB. Nothing for a text that is no object or an empty one; an object
/// without twelve values is logged. Any thread.
[[nodiscard]] std::optional<std::array<float, kEqualizerBandCount>> equalizerPresetGains(const QString& text);
