#include "platform/linux/sound/PulseStream.h"

namespace {

void onRetired(pa_stream* stream, void*) {
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

void retireStream(pa_stream* stream) {
    if (stream == nullptr) {
        return;
    }
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_set_write_callback(stream, nullptr, nullptr);
    if (pa_stream_get_state(stream) == PA_STREAM_CREATING) {
        pa_stream_set_state_callback(stream, onRetired, nullptr);
        return;
    }
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
}
