#include "platform/linux/sound/CaptureFeed.h"

#include "mixer/PerAppInputBuffers.h"
#include "mixer/WaveFormat.h"

#include <array>

namespace {

constexpr WaveFormat kFormat = floatWaveFormat(2, kMixSampleRate);
constexpr std::array<float, 2 * CaptureFeed::kSilentFrames> kSilence{};

} // namespace

CaptureFeed::CaptureFeed(pa_mainloop_api& mainloopApi, PerAppInputBuffers& inputBuffers,
                         std::uint32_t capturedProcess)
    : buffers(inputBuffers), processId(capturedProcess), rest(mainloopApi, [this] { lookForRest(); }) {}

void CaptureFeed::push(std::span<const float> stereo) {
    const auto now = std::chrono::steady_clock::now();
    if (now - lastPacket > kRestAfter) {
        pushSilence();
    }
    lastPacket = now;
    buffers.addInputData(processId, stereo.data(), static_cast<std::uint32_t>(stereo.size_bytes()), kFormat);
    buffers.updateBusLevels();
    rest.start(kRestAfter);
}

void CaptureFeed::pushSilence() {
    buffers.addInputData(processId, kSilence.data(), sizeof(kSilence), kFormat);
}

// Looks now and then, not at every packet, whether packets still come.
void CaptureFeed::lookForRest() {
    if (std::chrono::steady_clock::now() - lastPacket < kRestAfter) {
        rest.start(kRestAfter);
        return;
    }
    pushSilence();
    buffers.updateBusLevels();
}
