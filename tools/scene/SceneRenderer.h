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

/// Told of each step right after it is done, on the thread of renderScene(); any member may be empty.
struct SceneObserver {
    std::function<void(const QVariantList& configs)> applied;
    /// `captured`: through a capture, which updates the bus levels after it.
    std::function<void(std::uint32_t processID, std::span<const std::byte> data, const WaveFormat& format,
                       bool captured)>
        delivered;
    std::function<void(std::uint32_t busId, std::span<const float> stereo)> played;
};

/// Runs the scene through a router of its own on a clock that knows no waiting. In each period the record
/// lists whose time has come by its start are applied, so that a list takes effect at the first period that
/// does not begin before its time; then the packets that are complete by the period's end are delivered in
/// the order of the sources; then Bus 1, Bus 2 and Solo play it, each as many frames as it lasts at the rate
/// of its endpoint. A packet of a process that the router does not capture is lost; the streams of the
/// capture service (ids below 10) always deliver. The router's lines go where they always go. Any thread, one
/// scene after the other where the lines matter; empty when the router did not start.
[[nodiscard]] RenderedScene renderScene(const Scene& scene, const SceneObserver& observer = {});
