#pragma once

// PipeWire's own connection, by which all captures record there: its Pulse server takes 64 clients in all,
// and starves the streams that share one.
//
// The library has two threads of its own. On one it reads the server's messages; on the other, in real time
// where the system grants that (RealTimeThread), the packets come. Both only leave word here: what follows
// happens on the thread of the sound server's main loop. All calls belong to that thread, or under its lock.
//
// The server's cycles may be much shorter than a packet that the mixer is to get, and the streams' packets of
// one cycle come one by one, within a millisecond or so. The main loop's thread is woken once for all of
// them, a little after the first of the recordings has such a packet.

#include "platform/linux/sound/PipeWireLibrary.h"
#include "platform/linux/sound/PulseHandles.h"
#include "platform/linux/sound/RealTimeThread.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <sys/types.h>

class PipeWireConnection {
public:
    enum class State {
        Connecting,
        Ready,
        Lost ///< for good: refused, gone, not answered within kAnswerLimit, or another server
    };
    /// Until then nothing is recorded; a server that answers at all does so within milliseconds.
    static constexpr std::chrono::milliseconds kAnswerLimit{2000};

    /// One that records over this connection.
    class Recording {
    public:
        Recording() = default;
        virtual ~Recording() = default;
        Recording(const Recording&) = delete;
        Recording& operator=(const Recording&) = delete;
        /// Hands on what came, and tells of a failure. Neither adds nor removes a recording meanwhile.
        virtual void attend() = 0;
    };

    /// Holds the lock of the library's thread: for each call of the library but those within its events. The
    /// order is the main loop's lock, then this one.
    class Lock {
    public:
        explicit Lock(PipeWireConnection& connection) : to(connection) {
            to.library.threadLoopLock(to.threadLoop.get());
        }
        ~Lock() { to.library.threadLoopUnlock(to.threadLoop.get()); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        PipeWireConnection& to;
    };

    /// Begins to connect to the server with this cookie, and waits for nothing. Null where the library is not
    /// installed or no server takes the connection. `onDecided` runs when the state changes.
    [[nodiscard]] static std::shared_ptr<PipeWireConnection>
    open(pa_mainloop_api& mainloopApi, std::uint32_t serverCookie, std::function<void()> onDecided);

    ~PipeWireConnection();
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;

    [[nodiscard]] State state() const { return decidedState; }

    void add(Recording& recording) { recordings.insert(&recording); }
    void remove(Recording& recording) { recordings.erase(&recording); }

    [[nodiscard]] const PipeWireLibrary& functions() const { return library; }
    /// Under the lock of the library's thread.
    [[nodiscard]] pw_core* core() const { return connectedCore; }

    /// Lets the main loop's thread attend to the connection and its recordings, 2 ms from now. Any thread;
    /// neither waits nor allocates.
    void signal();
    /// Samples wait in a recording: the same, or 20 ms from now where it has less than a packet as yet. On
    /// the library's thread of the packets.
    void signalData(bool hasPacket);

private:
    struct Release {
        const PipeWireLibrary* library = nullptr;
        void operator()(pw_thread_loop* owned) const { library->threadLoopDestroy(owned); }
        void operator()(pw_context* owned) const { library->contextDestroy(owned); }
    };

    // What the main loop's thread will be woken for.
    enum class Signalled : std::uint8_t { Nothing, Samples, News };

    PipeWireConnection(const PipeWireLibrary& pipeWire, pa_mainloop_api& mainloopApi,
                       std::uint32_t serverCookie, std::function<void()> onDecided);
    [[nodiscard]] bool connect();
    void signal(Signalled what, const itimerspec& delay);
    void attend();
    void decide(State state);

    static void onInfo(void* self, const pw_core_info* info);
    static void onError(void* self, std::uint32_t id, int sequence, int result, const char* message);
    static void onSignal(pa_mainloop_api* api, pa_io_event* event, int descriptor, pa_io_event_flags_t flags,
                         void* self);

    const PipeWireLibrary& library;
    pa_mainloop_api& api;
    const std::uint32_t cookie;
    const std::function<void()> notifyDecided;
    State decidedState = State::Connecting;
    std::set<Recording*> recordings;
    PulseTimer answerLimit;

    std::atomic<State> reported = State::Connecting;       // by the library's thread
    std::atomic<pid_t> dataThread = 0;                     // the thread of the packets, from the first one on
    std::optional<RealTimeThread> realTime;                // of that thread
    std::atomic<Signalled> signalled = Signalled::Nothing; // grows until attend()
    int wakeDescriptor = -1;                               // a timer
    pa_io_event* wakeEvent = nullptr;

    std::unique_ptr<pw_thread_loop, Release> threadLoop;
    std::unique_ptr<pw_context, Release> context;
    pw_core* connectedCore = nullptr; // the context's
    spa_hook coreListener{};
};
