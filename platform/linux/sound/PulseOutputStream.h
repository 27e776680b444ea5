#pragma once

#include "mixer/OutputStream.h"
#include "platform/linux/sound/PulseConnection.h"
#include "platform/linux/sound/PulseHandles.h"
#include "platform/linux/sound/PulseServer.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/// Plays into a sink of the sound server, by a connection and a main loop of its own that run on the render
/// thread. The server asks for frames, and the callback writes them into the server's own memory. The stream
/// is 48000 Hz stereo float on every sink; the server converts. When the server or the sink goes, the stream
/// is made anew as soon as it is back. Meanwhile nothing is heard elsewhere: a stream begins to play when it
/// is found on its own sink.
class PulseOutputStream final : public OutputStream {
public:
    /// `busId` names the stream.
    explicit PulseOutputStream(std::uint32_t busId);
    ~PulseOutputStream() override;

    [[nodiscard]] bool open(const AudioEndpoint& endpoint) override;
    void run(const std::atomic<bool>& running, const RenderCallback& render) override;
    void wake() override;
    void stopClient() override;

private:
    static void onState(pa_stream* changed, void* self);
    static void onMoved(pa_stream* moved, void* self);
    static void onWrite(pa_stream* asking, std::size_t byteCount, void* self);
    static void onSinkEvent(pa_context* context, pa_subscription_event_type_t type, std::uint32_t index,
                            void* self);
    static void onSinkFound(pa_context* context, const pa_sink_info* info, int end, void* self);
    void handleReady(pa_context& context);
    void lookForSink();
    void connectStream(const pa_sink_info& sink);
    [[nodiscard]] bool isCreating() const;
    void handleStreamReady();
    void dropStream();
    void scheduleRetry();

    const std::uint32_t bus;
    std::string sinkName;
    std::shared_ptr<PulseServer> liveMicrophoneServer; // where the sink is that of the live microphone
    PulseMainloopHandle mainloop;
    // While run() is on, on its thread.
    std::unique_ptr<PulseConnection> connection;
    PulseStreamHandle stream;
    std::uint32_t sinkIndex = PA_INVALID_INDEX; // of the sink that the stream plays into
    std::optional<PulseTimer> retry;
    const RenderCallback* callback = nullptr;
};
