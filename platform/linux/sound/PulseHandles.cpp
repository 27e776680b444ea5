#include "platform/linux/sound/PulseHandles.h"

#include <utility>

namespace {

// Ends a stream whose owner let go of it while it was being made.
void onAbandonedState(pa_stream* stream, void*) {
    switch (pa_stream_get_state(stream)) {
    case PA_STREAM_READY:
        pa_stream_disconnect(stream);
        break;
    case PA_STREAM_FAILED:
    case PA_STREAM_TERMINATED:
        pa_stream_set_state_callback(stream, nullptr, nullptr);
        pa_stream_unref(stream);
        break;
    default:
        break;
    }
}

} // namespace

void PulseRelease::operator()(pa_threaded_mainloop* mainloop) const {
    pa_threaded_mainloop_stop(mainloop);
    pa_threaded_mainloop_free(mainloop);
}

void PulseRelease::operator()(pa_context* context) const {
    pa_context_set_state_callback(context, nullptr, nullptr);
    pa_context_set_subscribe_callback(context, nullptr, nullptr);
    pa_context_disconnect(context);
    pa_context_unref(context);
}

void PulseRelease::operator()(pa_stream* stream) const {
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_set_write_callback(stream, nullptr, nullptr);
    pa_stream_set_moved_callback(stream, nullptr, nullptr);
    if (pa_stream_get_state(stream) == PA_STREAM_CREATING) {
        pa_stream_set_state_callback(stream, onAbandonedState, nullptr);
        return;
    }
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
}

PulseTimer::PulseTimer(pa_mainloop_api& mainloopApi, std::function<void()> function)
    : api(mainloopApi), expired(std::move(function)) {}

void PulseTimer::start(std::chrono::milliseconds delay) {
    if (event != nullptr) {
        return;
    }
    timeval when{};
    pa_timeval_add(pa_gettimeofday(&when), static_cast<pa_usec_t>(delay.count()) * PA_USEC_PER_MSEC);
    event = api.time_new(&api, &when, onTime, this);
}

void PulseTimer::cancel() {
    if (event != nullptr) {
        api.time_free(event);
        event = nullptr;
    }
}

void PulseTimer::onTime(pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
    auto* const timer = static_cast<PulseTimer*>(self);
    timer->cancel();
    timer->expired();
}
