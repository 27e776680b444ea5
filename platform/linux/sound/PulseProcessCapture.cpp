#include "platform/linux/sound/PulseProcessCapture.h"

#include "mixer/WaveFormat.h"
#include "platform/linux/sound/CaptureFeed.h"
#include "platform/linux/sound/PlaybackMerge.h"
#include "platform/linux/sound/PlaybackRecording.h"
#include "platform/linux/system/ProcessInfo.h"

#include <map>
#include <memory>
#include <span>
#include <utility>

namespace {

// Two packets fill the buffer: each waits no longer than it must before the mixer has it.
constexpr std::int64_t kPacketsOfABuffer = 2;

std::uint32_t framesOf(std::chrono::milliseconds duration) {
    return static_cast<std::uint32_t>(duration.count() * kMixSampleRate / 1000);
}

} // namespace

/// From start to stop. Made, used and destroyed on the server's thread, or under its lock; its end is the end
/// of all that it had on that thread, and hands nothing more over.
class PulseProcessCapture::Session final : private PulseServer::Observer {
public:
    struct Target {
        std::uint32_t processId = 0;
        bool wholeTree = true;
    };

    Session(PulseServer& soundServer, PerAppInputBuffers& buffers, Target captured,
            std::uint32_t packetLength)
        : server(soundServer), target(captured), packetFrames(packetLength),
          feed(server.api(), buffers, target.processId),
          merge([this](std::span<const float> stereo) { feed.push(stereo); }),
          retry(server.api(), [this] { playbacksChanged(); }) {
        server.addObserver(*this);
        playbacksChanged();
    }
    ~Session() override { server.removeObserver(*this); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

private:
    void playbacksChanged() override;
    void connectionLost() override;
    [[nodiscard]] bool isTarget(const PulsePlayback& playback);
    void record(std::uint32_t playback);

    PulseServer& server;
    const Target target;
    const std::uint32_t packetFrames;
    CaptureFeed feed;
    PlaybackMerge merge;
    std::map<std::uint32_t, bool> decided; // by sink input: whether it is a target's
    PulseTimer retry;
    std::map<std::uint32_t, std::unique_ptr<PlaybackRecording>> recordings; // by sink input
};

// Brings the record streams in line with what plays.
void PulseProcessCapture::Session::playbacksChanged() {
    if (server.readyContext() == nullptr) {
        return;
    }
    const auto& playbacks = server.livePlaybacks();
    std::erase_if(decided, [&playbacks](const auto& entry) { return !playbacks.contains(entry.first); });
    for (auto at = recordings.begin(); at != recordings.end();) {
        if (!playbacks.contains(at->first) || at->second->hasFailed()) {
            merge.remove(at->first);
            at = recordings.erase(at);
        } else {
            ++at;
        }
    }
    for (const auto& [index, playback] : playbacks) {
        if (!isTarget(playback)) {
            continue;
        }
        if (!recordings.contains(index)) {
            record(index);
        }
        merge.setPaused(index, playback.paused);
    }
}

void PulseProcessCapture::Session::record(std::uint32_t playback) {
    std::unique_ptr<PlaybackRecording> recording =
        PlaybackRecording::make({.server = server,
                                 .merge = merge,
                                 .playbackIndex = playback,
                                 .packetFrames = packetFrames,
                                 .onFailure = [this] {
                                     retry.start(PulseConnection::kRetryInterval);
                                 }});
    if (recording) {
        merge.add(playback);
        recordings.emplace(playback, std::move(recording));
    }
}

void PulseProcessCapture::Session::connectionLost() {
    for (const auto& [playback, recording] : recordings) {
        merge.remove(playback);
    }
    recordings.clear();
    decided.clear();
}

// Decided once for each stream: a process does not change its parents while it plays.
bool PulseProcessCapture::Session::isTarget(const PulsePlayback& playback) {
    const auto known = decided.find(playback.index);
    if (known != decided.end()) {
        return known->second;
    }
    if (playback.processId == 0) {
        return false; // it may be said later
    }
    // Our own sound is never captured, or it would go round in circles.
    const bool own = playback.processId == ownProcess();
    const bool wanted = !own && (playback.processId == target.processId ||
                                 (target.wholeTree && isInProcessTree(playback.processId, target.processId)));
    decided.emplace(playback.index, wanted);
    return wanted;
}

PulseProcessCapture::PulseProcessCapture(std::shared_ptr<PulseServer> soundServer,
                                         PerAppInputBuffers& inputBuffers)
    : server(std::move(soundServer)), buffers(inputBuffers) {}

PulseProcessCapture::~PulseProcessCapture() {
    stopCapture();
}

SoundResult PulseProcessCapture::startCapture(std::uint32_t targetProcessId, bool includeProcessTree) {
    logCaptureFormat(floatWaveFormat(2, kMixSampleRate));
    logCapturingProcess(targetProcessId);
    logCaptureStarted(targetProcessId, framesOf(bufferDuration));
    const PulseServer::Lock lock(*server);
    session =
        std::make_unique<Session>(*server, buffers, Session::Target{targetProcessId, includeProcessTree},
                                  framesOf(bufferDuration / kPacketsOfABuffer));
    return kSoundDone;
}

SoundResult PulseProcessCapture::stopCapture() {
    const PulseServer::Lock lock(*server);
    if (!session) {
        return SoundError::NothingToStop;
    }
    session.reset();
    return kSoundDone;
}
