#include "mixer/OutputStream.h"

#include "mixer/RouterLog.h"

namespace {

const char* nameOf(OutputStep step) {
    switch (step) {
    case OutputStep::Activate:
        return "Activate";
    case OutputStep::Initialize:
        return "Initialize";
    case OutputStep::GetService:
        return "GetService";
    case OutputStep::GetBufferSize:
        return "GetBufferSize";
    case OutputStep::EventCreate:
        return "Event create";
    case OutputStep::SetEventHandle:
        return "SetEventHandle";
    case OutputStep::Start:
        return "Start";
    }
    return "";
}

} // namespace

WaveFormat chooseOutputFormat(SoundResult result, const std::optional<WaveFormat>& mixFormat) {
    if (failed(result) || !mixFormat) {
        routerLog(
            "[BusForwarder] GetMixFormat failed (0x{:x}), using default format (48000 Hz, 32-bit float)",
            printedNumber(result));
        return kDefaultFormat;
    }
    WaveFormat format = *mixFormat;
    // An extensible format becomes plain float here too.
    if (format.formatTag != kWaveFormatIeeeFloat) {
        format.formatTag = kWaveFormatIeeeFloat;
        format.bitsPerSample = 32;
        format.blockAlign = static_cast<std::uint16_t>(format.channels * 4);
    }
    if (format.channels != 2) {
        format.channels = 2;
        format.blockAlign = static_cast<std::uint16_t>(2 * format.bitsPerSample / 8);
    }
    routerLog("[BusForwarder] Using device format: {} Hz, {} ch, {} bits", format.samplesPerSecond,
              format.channels, format.bitsPerSample);
    return format;
}

void logOutputFailure(OutputStep step, SoundResult result) {
    routerLog("[BusForwarder] {} failed: 0x{:x}", nameOf(step), printedNumber(result));
}
