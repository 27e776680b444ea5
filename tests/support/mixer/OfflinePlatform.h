#pragma once

// The operating system of a scene: endpoints from a list, captures that receive their packets from the scene,
// outputs that play on demand. Nothing happens by itself and no real device is touched.

#include "mixer/RouterPlatform.h"
#include "tests/support/mixer/OfflineOutputStream.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class PerAppInputBuffers;

/// Captures what it is given, as long as it runs.
class OfflineCapture : public ProcessCapture {
public:
    explicit OfflineCapture(PerAppInputBuffers& inputBuffers) : buffers(inputBuffers) {}

    void setBufferDuration(std::chrono::milliseconds newDuration) override;
    [[nodiscard]] SoundResult startCapture(std::uint32_t processId, bool includeProcessTree) override;
    SoundResult stopCapture() override;

    /// What the process plays, for the lines of the start; before it.
    void setClientFormat(const WaveFormat& format);

    /// One packet of the process's sound; dropped when the capture does not run. True if it was taken. The
    /// thread that drives the scene.
    bool deliver(const void* data, std::uint32_t byteCount, const WaveFormat& format);

private:
    PerAppInputBuffers& buffers;
    std::chrono::milliseconds duration = kDefaultBufferDuration;
    std::optional<WaveFormat> clientFormat;
    std::uint32_t source = 0;
    bool capturing = false;
};

/// Outlives every router that stands on platform(). One thread drives it; the outputs' threads are the
/// router's.
class OfflinePlatform {
public:
    struct Setting {
        /// In the order in which the system lists them; the first output is the default one.
        std::vector<AudioEndpoint> endpoints;
        /// Hz, by endpoint id; 48000 for any other.
        std::map<std::string, std::uint32_t> endpointRates;
        /// Formats of what processes play; that of a process that is missing here cannot be read.
        std::map<std::uint32_t, WaveFormat> processFormats;
        bool correctsDrift = false; ///< as RouterPlatform asks for it
    };
    explicit OfflinePlatform(Setting systemSetting);

    [[nodiscard]] RouterPlatform platform();

    /// The latest capture of the process, null when there is none any more.
    [[nodiscard]] std::shared_ptr<OfflineCapture> captureOf(std::uint32_t processId) const;

    /// The output of a bus (1, 2, or 3 for Solo), null when it was not opened. Until the router stops.
    [[nodiscard]] OfflineOutputStream* outputOf(std::uint32_t busId) const;
    /// The endpoint that the output plays to.
    [[nodiscard]] const AudioEndpoint& endpointOf(std::uint32_t busId) const;
    /// The format that the output was opened with.
    [[nodiscard]] const WaveFormat& formatOf(std::uint32_t busId) const;

private:
    class Capture;
    class Output;

    const Setting setting;
    std::vector<AudioEndpointPointer> endpoints;
    std::map<std::uint32_t, std::weak_ptr<OfflineCapture>> captures;
    struct OpenOutput {
        OfflineOutputStream* stream = nullptr;
        AudioEndpoint endpoint;
        WaveFormat format;
    };
    std::array<OpenOutput, 3> outputs; // of the buses 1, 2 and 3
};
