#pragma once

#include "platform/linux/sound/PulseConnection.h"
#include "platform/linux/sound/PulseHandles.h"

#include <cstddef>
#include <cstdint>
#include <pulse/pulseaudio.h>
#include <span>
#include <string>

/// What is recorded, and how: interleaved 32-bit float, converted by the server.
struct PulseInputFormat {
    std::string source;     ///< its name in the server
    std::uint32_t rate = 0; ///< Hz
    std::uint8_t channels = 0;
    std::uint32_t packetFrames = 0; ///< what the server sends at a time

    bool operator==(const PulseInputFormat&) const = default;
};

/// A record stream on one source, beside those of other programs, on a connection of its own: where streams
/// share one, PipeWire's server lets them wait for each other. It is never moved to another source, and what
/// it records of another one is not given out. The stream comes back by itself, tried again every
/// PulseConnection::kRetryInterval, for as long as the source is there.
///
/// Belongs to the main loop whose interface it is given: all calls are on that loop's thread.
class PulseInputRecording {
public:
    PulseInputRecording(pa_mainloop_api& mainloopApi, PulseInputFormat inputFormat);
    PulseInputRecording(const PulseInputRecording&) = delete;
    PulseInputRecording& operator=(const PulseInputRecording&) = delete;

    [[nodiscard]] const PulseInputFormat& format() const { return wanted; }

    /// Tells the source's index in the server, PA_INVALID_INDEX when it has gone. A source that comes back
    /// has another one.
    void follow(std::uint32_t index);
    [[nodiscard]] bool isSourceThere() const { return sourceIndex != PA_INVALID_INDEX; }

    /// What can be read. Frames that nobody has read for kLongestDelayMs are lost, the oldest first.
    [[nodiscard]] std::size_t readableFrames();
    /// Reads that many samples, at most those that are readable; what the server left out is silence. How
    /// many.
    std::size_t read(std::span<float> samples);

    static constexpr std::uint32_t kLongestDelayMs = 200;

private:
    static void onState(pa_stream* changed, void* self);
    static void onMoved(pa_stream* moved, void* self);
    void connectStream();
    void dropStream();
    void checkSource();
    void dropOldest();
    [[nodiscard]] std::size_t readableBytes() const;

    const PulseInputFormat wanted;
    std::uint32_t sourceIndex = PA_INVALID_INDEX;
    bool onItsSource = false;   // the stream records what it shall
    std::size_t readOfHead = 0; // bytes of the stream's oldest packet
    PulseConnection connection;
    PulseTimer retry;
    PulseStreamHandle stream;
};
