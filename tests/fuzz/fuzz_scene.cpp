// Fuzzes written scenes. It fails when a sanitizer reports, when a scene is taken that goes past the limits
// of its own errors, when an error names a line that is not there, and when a scene does not read the same
// twice. The sounds of a scene are read at their beginning and far behind it.

#include "mixer/AppAudioConfig.h"
#include "mixer/WaveFormat.h"
#include "tests/fuzz/FuzzInput.h"
#include "tools/scene/Scene.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

namespace {

using fuzz::require;

constexpr std::uint64_t kLongestFrames = std::uint64_t{3600} * kMixSampleRate;
constexpr std::uint32_t kReadFrames = 8;

void listen(const SceneSource& source) {
    const WaveFormat& format = source.sound.format();
    require(format.blockAlign > 0 && format.samplesPerSecond > 0, "a sound has frames");
    for (const std::uint64_t at : {std::uint64_t{0}, source.startFrame, kLongestFrames}) {
        const std::vector<std::byte> read = source.sound.read(at, kReadFrames);
        require(read.size() <= std::size_t{kReadFrames} * format.blockAlign,
                "no more is read than asked for");
        require(read.size() % format.blockAlign == 0, "whole frames are read");
        require(read == source.sound.read(at, kReadFrames), "a frame is the same whenever it is read");
    }
}

void check(const Scene& scene) {
    require(scene.lengthFrames > 0 && scene.lengthFrames <= kLongestFrames, "a scene has its length");
    require(scene.periodFrames > 0 && scene.periodFrames <= kMixSampleRate, "a period keeps its limits");
    require(scene.endpointRates.size() == scene.endpoints.size(), "each endpoint has a rate");
    for (const SceneSource& source : scene.sources) {
        require(source.processID < kBus2MasterProcessId, "a bus is no source");
        require(source.endFrame <= scene.lengthFrames, "a source ends with the scene");
        require(source.packetFrames > 0, "a packet has frames");
        listen(source);
    }
    const auto doesNotRise = [](const SceneRecords& first, const SceneRecords& second) {
        return second.atFrame <= first.atFrame;
    };
    require(std::ranges::adjacent_find(scene.records, doesNotRise) == scene.records.end(), "times rise");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    const std::filesystem::path nowhere = "/dev/null/scene";
    const std::variant<Scene, SceneError> read = readScene(text, nowhere);
    if (const auto* const error = std::get_if<SceneError>(&read)) {
        const auto lines = static_cast<std::size_t>(std::ranges::count(text, '\n')) + 1;
        require(error->line >= 1 && error->line <= lines, "an error names a line that is there");
        require(!error->text.empty(), "an error has a reason");
        return 0;
    }
    check(std::get<Scene>(read));
    const std::variant<Scene, SceneError> again = readScene(text, nowhere);
    require(again.index() == 0 &&
                std::get<Scene>(again).records.size() == std::get<Scene>(read).records.size(),
            "a text reads twice the same");
    return 0;
}
