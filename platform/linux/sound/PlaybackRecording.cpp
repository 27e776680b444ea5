#include "platform/linux/sound/PlaybackRecording.h"

#include "platform/linux/sound/PipeWireConnection.h"
#include "platform/linux/sound/PipeWireRecording.h"
#include "platform/linux/sound/PulseRecording.h"
#include "platform/linux/sound/PulseServer.h"

#include <utility>

PlaybackRecording::PlaybackRecording(Stream recorded) : stream(std::move(recorded)) {}

void PlaybackRecording::fail() {
    if (!failed) {
        failed = true;
        stream.onFailure();
    }
}

std::unique_ptr<PlaybackRecording> PlaybackRecording::make(Stream recorded) {
    const std::shared_ptr<PipeWireConnection>& pipeWire = recorded.server.pipeWire();
    if (pipeWire && pipeWire->state() == PipeWireConnection::State::Connecting) {
        return nullptr;
    }
    if (pipeWire && pipeWire->state() == PipeWireConnection::State::Ready) {
        return std::make_unique<PipeWireRecording>(std::move(recorded), pipeWire);
    }
    return std::make_unique<PulseRecording>(std::move(recorded));
}
