#include "mixer/ProcessCapture.h"

#include "mixer/RouterLog.h"

WaveFormat chooseCaptureFormat(SoundResult result, const std::optional<WaveFormat>& clientFormat) {
    if (failed(result) || !clientFormat) {
        logDefaultCaptureFormat(result);
        return kDefaultFormat;
    }
    logCaptureFormat(*clientFormat);
    return *clientFormat;
}

void logCaptureFormat(const WaveFormat& format) {
    routerLog("[INFO] Capture format: {} Hz, {} ch, {} bits", format.samplesPerSecond, format.channels,
              format.bitsPerSample);
}

void logDefaultCaptureFormat(SoundResult result) {
    routerLog("[WARNING] GetMixFormat failed (0x{:x}), using default format (48000 Hz, 32-bit float)",
              printedNumber(result));
}

void logCapturingProcess(std::uint32_t processId) {
    routerLog("[INFO] Capturing from process loopback (PID: {})", processId);
}

void logCaptureStarted(std::uint32_t processId, std::uint32_t bufferFrames) {
    routerLog("[INFO] Audio capture started for PID {}, buffer size: {} frames", processId, bufferFrames);
}
