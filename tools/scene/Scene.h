#pragma once

// A scene: what plays, where it goes and what is changed on the way, written down in a text file.
// docs/mixer.md describes the words. All times are counted in frames of 48000 Hz.

#include "mixer/AudioEndpoint.h"
#include "tools/scene/SceneSound.h"

#include <QString>
#include <QVariantList>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <variant>
#include <vector>

/// An application or an input stream that plays from one time to another.
struct SceneSource {
    std::uint32_t processID = 0;
    QString name;
    SceneSound sound;
    std::uint32_t packetFrames = 0; ///< at the sound's own rate
    std::uint64_t startFrame = 0;
    std::uint64_t endFrame = 0; ///< a packet that would end later is not played
    double clockMillionths = 0; ///< how much faster its clock runs than the outputs'
};

/// The complete record list as of one time.
struct SceneRecords {
    std::uint64_t atFrame = 0;
    QVariantList configs; ///< as for AudioRouterAPI::setAudioConfig()
};

/// The names that the router starts with.
struct SceneNames {
    std::string defaultDevice;
    std::string soloDevice;
    std::string input1Device;
    std::string input2Device;
};

struct Scene {
    std::uint64_t lengthFrames = 0;
    std::uint32_t periodFrames = 480; ///< what an output of 48000 Hz asks for at once
    bool correctsDrift = false;       ///< the system asks for it
    std::vector<AudioEndpoint> endpoints;
    std::map<std::string, std::uint32_t> endpointRates; ///< Hz, by endpoint id
    SceneNames names;
    std::vector<SceneSource> sources;
    std::vector<SceneRecords> records; ///< ascending
};

/// The first thing that is wrong with a scene.
struct SceneError {
    std::size_t line = 0; ///< from 1
    std::string text;
};

/// Reads a scene; sound files are looked for from `folder` on.
[[nodiscard]] std::variant<Scene, SceneError> readScene(const std::string& text,
                                                        const std::filesystem::path& folder);
