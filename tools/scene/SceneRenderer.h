#pragma once

#include "mixer/AppAudioConfig.h"
#include "mixer/WaveFormat.h"
#include "tools/scene/Scene.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

/// What one output played.
struct RenderedOutput {
    std::uint32_t busId = 0; ///< 1, 2, or 3 for Solo
    std::string endpointName;
    std::uint32_t sampleRate = 48000;
    std::vector<float> stereo; ///< interleaved, at that rate
};

/// What the level thread would report at one time; empty when all is silent.
struct RenderedLevels {
    std::uint64_t atFrame = 0;
    std::vector<AudioLevelInfo> levels;
};

struct RenderedScene {
    std::vector<RenderedOutput> outputs; ///< those that were opened, by bus id
    std::vector<RenderedLevels> levels;  ///< at the end of each period in which 50 ms are full
};

/// Notified of each step right after it, on the thread of renderScene(); any member may be empty.
struct SceneObserver {
    std::function<void(const QVariantList& configs)> applied;
    /// `captured`: through a capture, which updates the bus levels after it.
    std::function<void(std::uint32_t processID, std::span<const std::byte> data, const WaveFormat& format,
                       bool captured)>
        delivered;
    std::function<void(std::uint32_t busId, std::span<const float> stereo)> played;
};

/// Runs the scene through a router of its own, without waiting for real time. Each period has three steps:
/// 1. The record lists whose time is not after the period's start are applied.
/// 2. The packets that are complete by the period's end are delivered, in the order of the sources. A packet
///    of a process that the router does not capture is lost; the streams of the capture service (ids below
///    10) always deliver.
/// 3. Bus 1, Bus 2 and Solo play the period, each at the rate of its endpoint.
/// The router logs as usual. Any thread; one scene after the other where the lines matter. Empty when the
/// router did not start.
[[nodiscard]] RenderedScene renderScene(const Scene& scene, const SceneObserver& observer = {});
