#pragma once

#include "platform/routerAudio/AppAudioConfig.h"
#include "platform/routerAudio/WaveFormat.h"
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
    std::wstring endpointName;
    std::uint32_t sampleRate = 48000;
    std::vector<float> stereo;
};

/// What the level thread would have reported at one time.
struct RenderedLevels {
    std::uint64_t atFrame = 0;
    std::vector<AudioLevelInfo> levels;
};

struct RenderedScene {
    std::vector<RenderedOutput> outputs; ///< those that were opened, by bus id
    std::vector<RenderedLevels> levels;  ///< every 50 ms
};

/// Told of each step at the moment it is done; any member may be empty.
struct SceneObserver {
    std::function<void(const QVariantList& configs)> applied;
    /// `captured`: through a capture, which updates the bus levels after it.
    std::function<void(std::uint32_t processID, std::span<const std::byte> data, const WaveFormat& format,
                       bool captured)>
        delivered;
    std::function<void(std::uint32_t busId, std::span<const float> stereo)> played;
};

/// Runs the scene through a router of its own on a clock that knows no waiting: at each period the record
/// lists whose time has come are applied, then the packets that are complete by its end are delivered in the
/// order of the sources, then Bus 1, Bus 2 and Solo play it. A process is heard while the router captures it;
/// the streams of the capture service (ids below 10) always deliver. The router's lines go where they always
/// go.
[[nodiscard]] RenderedScene renderScene(const Scene& scene, const SceneObserver& observer = {});
