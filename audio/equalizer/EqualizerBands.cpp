#include "audio/equalizer/EqualizerBands.h"

#include <cmath>
#include <cstdint>

void applyEqualizerGains(FBiquadChain& chain, std::span<const float, kEqualizerBandCount> gainsDb) {
    for (std::size_t index = 0; index < gainsDb.size(); ++index) {
        const auto band = static_cast<std::int32_t>(index);
        const bool active = std::fabs(gainsDb[index]) > kEqualizerActiveGainDb;
        chain.setEnabled(band, active);
        if (active) {
            chain.setParameters(band, kEqualizerBands[index].type, kEqualizerBands[index].frequencyHz,
                                kEqualizerBandwidthOctaves, gainsDb[index]);
        }
    }
}
