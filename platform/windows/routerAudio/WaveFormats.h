#pragma once

// Between Windows' WAVEFORMATEX and the mixer's own record of it.

#include "mixer/WaveFormat.h"

#include <mmreg.h>
#include <windows.h>

[[nodiscard]] inline WaveFormat waveFormat(const WAVEFORMATEX& format) {
    return {.formatTag = format.wFormatTag,
            .channels = format.nChannels,
            .samplesPerSecond = format.nSamplesPerSec,
            .blockAlign = format.nBlockAlign,
            .bitsPerSample = format.wBitsPerSample};
}

/// The 18 fixed bytes, with nothing behind them.
[[nodiscard]] inline WAVEFORMATEX nativeFormat(const WaveFormat& format) {
    return {.wFormatTag = format.formatTag,
            .nChannels = format.channels,
            .nSamplesPerSec = format.samplesPerSecond,
            .nAvgBytesPerSec = format.samplesPerSecond * format.blockAlign,
            .nBlockAlign = format.blockAlign,
            .wBitsPerSample = format.bitsPerSample,
            .cbSize = 0};
}

/// The fixed bytes of a client's own format, as a capture is opened with. `cbSize` is kept if it is 1 to 22
/// (22: extensible); no known format has more.
[[nodiscard]] inline WAVEFORMATEX captureFormatOf(const WAVEFORMATEX& clientFormat) {
    constexpr WORD kLargestExtraByteCount = 22;
    WAVEFORMATEX format = clientFormat;
    if (format.cbSize > kLargestExtraByteCount) {
        format.cbSize = 0;
    }
    return format;
}
