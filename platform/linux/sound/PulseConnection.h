#pragma once

// A connection to the sound server that comes back by itself: when the server goes, or is not there yet, it
// is tried again every kRetryInterval until the object ends. It never starts a server.
//
// Belongs to the main loop whose interface it is given: all calls and events are on that loop's thread, or
// under its lock.

#include "platform/linux/sound/PulseHandles.h"

#include <chrono>
#include <functional>

class PulseConnection {
public:
    /// Between a failure of a connection, or of a stream on it, and the next attempt. The sound is to be back
    /// within 2 seconds of its server.
    static constexpr std::chrono::milliseconds kRetryInterval{500};

    struct Events {
        std::function<void(pa_context& context)> ready; ///< connected; the context is good until lost()
        std::function<void()> lost;                     ///< the connection is gone, or was refused
        /// After lost(), where it was refused: once, until the connection has been there. May be empty.
        std::function<void()> refused = nullptr;
    };

    /// The destructor disconnects; no event comes of it.
    PulseConnection(pa_mainloop_api& mainloopApi, Events connectionEvents);
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    /// The first attempt. Notifies of a refusal before it returns.
    void connect();

    /// Null while not connected.
    [[nodiscard]] pa_context* readyContext() const;

private:
    static void onState(pa_context* context, void* self);
    void handleLoss();

    pa_mainloop_api& api;
    const Events events;
    PulseContextHandle context;
    bool connected = false;
    bool toldOfRefusal = false;
    PulseTimer retry;
};
