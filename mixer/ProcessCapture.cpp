#include "mixer/ProcessCapture.h"

#include "mixer/RouterLog.h"

#include <string>

namespace {

// Of a WAVEFORMATEXTENSIBLE: no format known to the system carries more.
constexpr std::uint16_t kLargestExtraByteCount = 22;

} // namespace

RenderFormat chooseCaptureFormat(HResult result, const std::optional<RenderFormat>& clientFormat) {
    if (failed(result) || !clientFormat) {
        logDefaultCaptureFormat(result);
        return kDefaultFormat;
    }
    RenderFormat format = *clientFormat;
    if (format.extraByteCount > kLargestExtraByteCount) {
        format.extraByteCount = 0;
    }
    logCaptureFormat(format.wave);
    return format;
}

void logCaptureFormat(const WaveFormat& format) {
    routerLog(L"[INFO] Capture format: " + std::to_wstring(format.samplesPerSecond) + L" Hz, " +
              std::to_wstring(format.channels) + L" ch, " + std::to_wstring(format.bitsPerSample) + L" bits");
}

void logDefaultCaptureFormat(HResult result) {
    routerLog(L"[WARNING] GetMixFormat failed (0x" + hexDigits(result) +
              L"), using default format (48000 Hz, 32-bit float)");
}

void logCapturingProcess(std::uint32_t processId) {
    routerLog(L"[INFO] Capturing from process loopback (PID: " + std::to_wstring(processId) + L")");
}

void logCaptureStarted(std::uint32_t processId, std::uint32_t bufferFrames) {
    routerLog(L"[INFO] Audio capture started for PID " + std::to_wstring(processId) + L", buffer size: " +
              std::to_wstring(bufferFrames) + L" frames");
}
