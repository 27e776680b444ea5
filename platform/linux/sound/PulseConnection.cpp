#include "platform/linux/sound/PulseConnection.h"

#include <utility>

namespace {

PulseContextHandle makeContext(pa_mainloop_api& api) {
    constexpr const char* kApplicationName = "Vexo Deck";
    const PulsePropertyList properties(pa_proplist_new());
    pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_NAME, kApplicationName);
    return PulseContextHandle(pa_context_new_with_proplist(&api, kApplicationName, properties.get()));
}

} // namespace

PulseConnection::PulseConnection(pa_mainloop_api& mainloopApi, Events connectionEvents)
    : api(mainloopApi), events(std::move(connectionEvents)), retry(mainloopApi, [this] { connect(); }) {}

void PulseConnection::connect() {
    context.reset();
    context = makeContext(api);
    if (!context) {
        handleLoss();
        return;
    }
    pa_context_set_state_callback(context.get(), onState, this);
    if (pa_context_connect(context.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        handleLoss();
    }
}

pa_context* PulseConnection::readyContext() const {
    return context && pa_context_get_state(context.get()) == PA_CONTEXT_READY ? context.get() : nullptr;
}

void PulseConnection::onState(pa_context* changed, void* self) {
    auto* const connection = static_cast<PulseConnection*>(self);
    switch (pa_context_get_state(changed)) {
    case PA_CONTEXT_READY:
        connection->connected = true;
        connection->toldOfRefusal = false;
        connection->events.ready(*changed);
        break;
    case PA_CONTEXT_FAILED:
    case PA_CONTEXT_TERMINATED:
        connection->handleLoss();
        break;
    default:
        break;
    }
}

// Once for each attempt: a refusal shows both as a state and as a result.
void PulseConnection::handleLoss() {
    if (retry.isRunning()) {
        return;
    }
    retry.start(kRetryInterval);
    events.lost();
    if (!std::exchange(connected, false) && !std::exchange(toldOfRefusal, true) && events.refused) {
        events.refused();
    }
}
