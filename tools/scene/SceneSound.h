#pragma once

#include "mixer/WaveFormat.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// What a source of a scene plays, in the bytes of its own format: a generated signal, or the bytes of a
/// file. The same frame is the same bytes whenever it is read.
class SceneSound {
public:
    enum class Kind { Sine, Noise, Constant, File };

    /// A signal in a format of 16, 24 or 32 bits. `parameter` is the frequency in Hz of a sine, the seed of
    /// noise, the value of a constant. Each channel has its peak from `levels`, the last of which holds for
    /// all further channels; there is at least one.
    SceneSound(Kind signalKind, double signalParameter, std::vector<double> channelLevels,
               const WaveFormat& waveFormat);
    /// The bytes of a file: whole frames.
    SceneSound(std::vector<std::byte> fileData, const WaveFormat& waveFormat);

    [[nodiscard]] const WaveFormat& format() const { return wave; }

    /// At most `frameCount` frames from `firstFrame` on; fewer at the end of a file. A signal has no end.
    [[nodiscard]] std::vector<std::byte> read(std::uint64_t firstFrame, std::uint32_t frameCount) const;

private:
    [[nodiscard]] double sample(std::uint64_t frame, std::uint16_t channel) const;

    Kind kind;
    double parameter = 0.0;
    std::vector<double> levels;
    std::vector<std::byte> data;
    WaveFormat wave;
};
