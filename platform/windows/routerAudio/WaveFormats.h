#pragma once

// Between Windows' WAVEFORMATEX and the router's own records of it.

#include "mixer/RenderChannel.h"
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

[[nodiscard]] inline RenderFormat renderFormat(const WAVEFORMATEX& format) {
    return {.wave = waveFormat(format),
            .bytesPerSecond = format.nAvgBytesPerSec,
            .extraByteCount = format.cbSize};
}

[[nodiscard]] inline WAVEFORMATEX nativeFormat(const RenderFormat& format) {
    return {.wFormatTag = format.wave.formatTag,
            .nChannels = format.wave.channels,
            .nSamplesPerSec = format.wave.samplesPerSecond,
            .nAvgBytesPerSec = format.bytesPerSecond,
            .nBlockAlign = format.wave.blockAlign,
            .wBitsPerSample = format.wave.bitsPerSample,
            .cbSize = format.extraByteCount};
}
