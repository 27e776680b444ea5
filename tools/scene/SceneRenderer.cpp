#include "tools/scene/SceneRenderer.h"

#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/WaveFormat.h"
#include "mixer/router/AudioRouterAPI.h"
#include "tests/support/mixer/OfflinePlatform.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr std::uint64_t kLevelFrames = kMixSampleRate / 20; // 50 ms

OfflinePlatform::Setting settingOf(const Scene& scene) {
    OfflinePlatform::Setting setting{scene.endpoints, scene.endpointRates, {}, scene.correctsDrift};
    for (const SceneSource& source : scene.sources) {
        setting.processFormats.emplace(source.processID, source.sound.format());
    }
    return setting;
}

// Rounded up: a packet is not there before its last frame was played.
std::uint64_t endOfPacket(const SceneSource& source, std::uint64_t packet) {
    const std::uint64_t rate = source.sound.format().samplesPerSecond;
    const std::uint64_t frames = (packet + 1) * source.packetFrames;
    const std::uint64_t length = (frames * kMixSampleRate + rate - 1) / rate;
    if (source.clockMillionths == 0) {
        return source.startFrame + length;
    }
    return source.startFrame + static_cast<std::uint64_t>(std::ceil(static_cast<double>(length) /
                                                                    (1.0 + source.clockMillionths * 1e-6)));
}

class SceneRun {
public:
    SceneRun(const Scene& wholeScene, const SceneObserver& sceneObserver)
        : scene(wholeScene), observer(sceneObserver), system(settingOf(scene)),
          router(system.platform(), store, buffers), packetsDone(scene.sources.size(), 0) {}

    RenderedScene run() {
        const SceneNames& names = scene.names;
        if (!router.startAudioRouter(names.defaultDevice, names.soloDevice, names.input1Device,
                                     names.input2Device)) {
            return {};
        }
        openOutputs();
        for (std::uint64_t from = 0; from < scene.lengthFrames; from += scene.periodFrames) {
            const std::uint64_t to = std::min(from + scene.periodFrames, scene.lengthFrames);
            applyRecords(from);
            deliverPackets(to);
            playOutputs(from, to);
            if (to / kLevelFrames > from / kLevelFrames) {
                rendered.levels.push_back({to, router.collectLevels()});
            }
        }
        router.shutdownAudioRouter();
        return std::move(rendered);
    }

private:
    void openOutputs() {
        for (const std::uint32_t busId :
             {BusForwarder::kBus1Id, BusForwarder::kBus2Id, BusForwarder::kSoloId}) {
            if (system.outputOf(busId) == nullptr) {
                continue;
            }
            const AudioEndpoint& endpoint = system.endpointOf(busId);
            rendered.outputs.push_back({busId,
                                        endpoint.friendlyName.value_or(std::string()),
                                        system.formatOf(busId).samplesPerSecond,
                                        {}});
        }
    }

    void applyRecords(std::uint64_t now) {
        for (; nextRecords < scene.records.size() && scene.records[nextRecords].atFrame <= now;
             ++nextRecords) {
            const QVariantList& configs = scene.records[nextRecords].configs;
            router.setAudioConfig(configs);
            if (observer.applied) {
                observer.applied(configs);
            }
        }
    }

    void deliverPackets(std::uint64_t now) {
        for (std::size_t index = 0; index < scene.sources.size(); ++index) {
            const SceneSource& source = scene.sources[index];
            for (;;) {
                if (endOfPacket(source, packetsDone[index]) > std::min(now, source.endFrame)) {
                    break;
                }
                deliver(source, packetsDone[index] * source.packetFrames);
                ++packetsDone[index];
            }
        }
    }

    void deliver(const SceneSource& source, std::uint64_t firstFrame) {
        const std::vector<std::byte> packet = source.sound.read(firstFrame, source.packetFrames);
        if (packet.empty()) {
            return; // the file is over
        }
        const WaveFormat& format = source.sound.format();
        const auto byteCount = static_cast<std::uint32_t>(packet.size());
        const bool captured = source.processID >= kFirstCapturedProcessId;
        if (captured) {
            const std::shared_ptr<OfflineCapture> capture = system.captureOf(source.processID);
            if (!capture || !capture->deliver(packet.data(), byteCount, format)) {
                return; // nobody listens to the process
            }
        } else {
            buffers.addInputData(source.processID, packet.data(), byteCount, format);
        }
        if (observer.delivered) {
            observer.delivered(source.processID, packet, format, captured);
        }
    }

    void playOutputs(std::uint64_t from, std::uint64_t to) {
        for (RenderedOutput& output : rendered.outputs) {
            const std::uint64_t frames =
                to * output.sampleRate / kMixSampleRate - from * output.sampleRate / kMixSampleRate;
            if (frames == 0) {
                continue;
            }
            const std::size_t before = output.stereo.size();
            output.stereo.resize(before + 2 * frames);
            const std::span<float> block = std::span(output.stereo).subspan(before);
            if (!system.outputOf(output.busId)->renderPeriod(block)) {
                output.stereo.resize(before); // it has ended, and what it played till then is all
                continue;
            }
            if (observer.played) {
                observer.played(output.busId, block);
            }
        }
    }

    const Scene& scene;
    const SceneObserver& observer;
    AppAudioConfigStore store;
    PerAppInputBuffers buffers{store};
    OfflinePlatform system;
    AudioRouterAPI router;
    RenderedScene rendered;
    std::size_t nextRecords = 0;
    std::vector<std::uint64_t> packetsDone; // of each source
};

} // namespace

RenderedScene renderScene(const Scene& scene, const SceneObserver& observer) {
    return SceneRun(scene, observer).run();
}
