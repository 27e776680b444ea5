#include "mixer/RenderChannel.h"

#include "mixer/RouterLog.h"

#include <string>

namespace {

const wchar_t* nameOf(RenderStep step) {
    switch (step) {
    case RenderStep::Activate:
        return L"Activate";
    case RenderStep::Initialize:
        return L"Initialize";
    case RenderStep::GetService:
        return L"GetService";
    case RenderStep::GetBufferSize:
        return L"GetBufferSize";
    case RenderStep::EventCreate:
        return L"Event create";
    case RenderStep::SetEventHandle:
        return L"SetEventHandle";
    case RenderStep::Start:
        return L"Start";
    }
    return L"";
}

} // namespace

RenderFormat chooseRenderFormat(HResult result, const std::optional<RenderFormat>& mixFormat) {
    if (failed(result) || !mixFormat) {
        routerLog(L"[BusForwarder] GetMixFormat failed (0x" + hexDigits(result) +
                  L"), using default format (48000 Hz, 32-bit float)");
        return kDefaultFormat;
    }
    RenderFormat format = *mixFormat;
    WaveFormat& wave = format.wave;
    // An extensible format becomes plain float here too.
    if (wave.formatTag != kWaveFormatIeeeFloat) {
        wave.formatTag = kWaveFormatIeeeFloat;
        wave.bitsPerSample = 32;
        wave.blockAlign = static_cast<std::uint16_t>(wave.channels * 4);
        format.bytesPerSecond = wave.samplesPerSecond * wave.blockAlign;
    }
    if (wave.channels != 2) {
        wave.channels = 2;
        wave.blockAlign = static_cast<std::uint16_t>(2 * wave.bitsPerSample / 8);
        format.bytesPerSecond = wave.samplesPerSecond * wave.blockAlign;
    }
    format.extraByteCount = 0;
    routerLog(L"[BusForwarder] Using device format: " + std::to_wstring(wave.samplesPerSecond) + L" Hz, " +
              std::to_wstring(wave.channels) + L" ch, " + std::to_wstring(wave.bitsPerSample) + L" bits");
    return format;
}

void logRenderFailure(RenderStep step, HResult result) {
    routerLog(L"[BusForwarder] " + std::wstring(nameOf(step)) + L" failed: 0x" + hexDigits(result));
}
