#pragma once

// One connection to the sound server that comes back by itself: when the server goes, or is not there yet, it
// is tried again until the link ends. The server is never started by it.
//
// Belongs to the main loop whose interface it is given: all operations and callbacks on that loop's thread,
// or under its lock.

#include <functional>
#include <pulse/pulseaudio.h>
#include <string>

class PulseLink {
public:
    struct Events {
        std::function<void(pa_context& context)> ready; ///< connected; the context is good until lost()
        std::function<void()> lost;                     ///< the connection is gone, or was refused
    };

    PulseLink(pa_mainloop_api& mainloopApi, Events linkEvents);
    /// Disconnects; no event comes of it.
    ~PulseLink();
    PulseLink(const PulseLink&) = delete;
    PulseLink& operator=(const PulseLink&) = delete;

    /// The first attempt. A refusal is told before it returns.
    void connect();

    /// Null while not connected.
    [[nodiscard]] pa_context* readyContext() const;

private:
    static void onState(pa_context* context, void* self);
    static void onRetry(pa_mainloop_api* api, pa_time_event* event, const timeval* time, void* self);
    void dropContext();
    void handleLoss();

    pa_mainloop_api& api;
    Events events;
    pa_context* context = nullptr;
    pa_time_event* retry = nullptr;
};
