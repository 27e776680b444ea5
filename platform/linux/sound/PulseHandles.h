#pragma once

// Owners of the handles that the sound server's client library returns. Each lets go of its handle when it
// ends; nothing else in this folder releases one.
//
// Every handle but a property list belongs to one main loop. Its owner is made, used and destroyed on that
// loop's thread or under its lock, before the loop ends, and not from a callback of the handle itself.

#include <chrono>
#include <functional>
#include <memory>
#include <pulse/pulseaudio.h>

struct PulseRelease {
    void operator()(pa_mainloop* mainloop) const { pa_mainloop_free(mainloop); }
    /// Stops and joins the loop's thread first, if it runs. Not on that thread, and not under its lock.
    void operator()(pa_threaded_mainloop* mainloop) const;
    void operator()(pa_proplist* properties) const { pa_proplist_free(properties); }
    /// The operation itself goes on, and its callback comes.
    void operator()(pa_operation* operation) const { pa_operation_unref(operation); }
    /// Disconnects. No callback of the context, and of operations on it, comes any more.
    void operator()(pa_context* context) const;
    /// Ends the stream; no callback of it comes any more. A stream that the server is only just making cannot
    /// be ended yet: it ends by itself when it is made, or when the connection goes.
    void operator()(pa_stream* stream) const;
};

/// The loop of a thread that runs it by itself. Empty: the library had none.
using PulseMainloopHandle = std::unique_ptr<pa_mainloop, PulseRelease>;
/// A loop with a thread of its own, whose lock other threads take.
using PulseThreadedMainloopHandle = std::unique_ptr<pa_threaded_mainloop, PulseRelease>;
/// Any thread, one at a time.
using PulsePropertyList = std::unique_ptr<pa_proplist, PulseRelease>;
/// What the server was asked. Empty: the question could not be sent. A temporary lets it run on.
using PulseOperation = std::unique_ptr<pa_operation, PulseRelease>;
using PulseContextHandle = std::unique_ptr<pa_context, PulseRelease>;
using PulseStreamHandle = std::unique_ptr<pa_stream, PulseRelease>;

/// Calls a function once, a while after each start. One that ends, or is cancelled, calls no more.
class PulseTimer {
public:
    /// `mainloopApi` outlives the timer. `function` may start and cancel this timer, and not destroy it.
    PulseTimer(pa_mainloop_api& mainloopApi, std::function<void()> function);
    ~PulseTimer() { cancel(); }
    PulseTimer(const PulseTimer&) = delete;
    PulseTimer& operator=(const PulseTimer&) = delete;

    /// One that runs already keeps its time.
    void start(std::chrono::milliseconds delay);
    void cancel();
    [[nodiscard]] bool isRunning() const { return event != nullptr; }

private:
    static void onTime(pa_mainloop_api* api, pa_time_event* event, const timeval* time, void* self);

    pa_mainloop_api& api;
    const std::function<void()> expired;
    pa_time_event* event = nullptr;
};
