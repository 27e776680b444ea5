#include "platform/linux/sound/PulseLink.h"

#include "platform/linux/sound/PulseStream.h"

#include <utility>

namespace {

// The server's sound is to be back within 2 seconds of its return.
constexpr const char* kApplicationName = "Vexo Deck";

pa_context* makeContext(pa_mainloop_api& api) {
    pa_proplist* const properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, kApplicationName);
    pa_context* const context = pa_context_new_with_proplist(&api, kApplicationName, properties);
    pa_proplist_free(properties);
    return context;
}

} // namespace

PulseLink::PulseLink(pa_mainloop_api& mainloopApi, Events linkEvents)
    : api(mainloopApi), events(std::move(linkEvents)) {}

PulseLink::~PulseLink() {
    if (retry != nullptr) {
        api.time_free(retry);
    }
    dropContext();
}

void PulseLink::connect() {
    dropContext();
    context = makeContext(api);
    if (context == nullptr) {
        handleLoss();
        return;
    }
    pa_context_set_state_callback(context, onState, this);
    if (pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        handleLoss();
    }
}

pa_context* PulseLink::readyContext() const {
    return context != nullptr && pa_context_get_state(context) == PA_CONTEXT_READY ? context : nullptr;
}

void PulseLink::onState(pa_context* context, void* self) {
    auto* const link = static_cast<PulseLink*>(self);
    switch (pa_context_get_state(context)) {
    case PA_CONTEXT_READY:
        link->events.ready(*context);
        break;
    case PA_CONTEXT_FAILED:
    case PA_CONTEXT_TERMINATED:
        link->handleLoss();
        break;
    default:
        break;
    }
}

void PulseLink::onRetry(pa_mainloop_api* api, pa_time_event* event, const timeval*, void* self) {
    auto* const link = static_cast<PulseLink*>(self);
    api->time_free(event);
    link->retry = nullptr;
    link->connect();
}

void PulseLink::dropContext() {
    if (context != nullptr) {
        pa_context_set_state_callback(context, nullptr, nullptr);
        pa_context_disconnect(context);
        pa_context_unref(context);
        context = nullptr;
    }
}

// Once for each attempt: a refusal shows both as a state and as a result.
void PulseLink::handleLoss() {
    if (retry != nullptr) {
        return;
    }
    timeval when{};
    pa_timeval_add(pa_gettimeofday(&when), kRetryInterval);
    retry = api.time_new(&api, &when, onRetry, this);
    events.lost();
}
