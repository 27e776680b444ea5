#pragma once

// The sound server (PulseAudio, or PipeWire by its Pulse server) as the process sees it: a copy of its list
// of outputs, inputs and playing streams, kept up to date by the server's events.
//
// One thread, "SoundServer", runs the connection, in real time where the system grants that. Captures run on
// the same thread. The connection exists for as long as somebody holds it, and comes back by itself after a
// restart of the server. The first attempt begins in the constructor; nothing waits for a server that is not
// there.

#include "platform/linux/sound/ClientProcesses.h"
#include "platform/linux/sound/LiveMicrophone.h"
#include "platform/linux/sound/PulseConnection.h"
#include "platform/linux/sound/PulseDescriptions.h"
#include "platform/linux/sound/PulseHandles.h"
#include "platform/linux/sound/RealTimeThread.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

class PipeWireConnection;

class PulseServer {
public:
    /// Notified on the server's thread, or under its lock, of changes of the playbacks, the devices and the
    /// connection. It neither adds nor removes an observer meanwhile.
    class Observer {
    public:
        Observer() = default;
        virtual ~Observer() = default;
        Observer(const Observer&) = delete;
        Observer& operator=(const Observer&) = delete;
        virtual void playbacksChanged() {}
        /// The server came or came back, or a sink or source appeared or had something plugged into it.
        virtual void devicesCame() {}
        virtual void connectionLost() {}
    };

    /// Holds the lock of the server's thread.
    class Lock {
    public:
        explicit Lock(PulseServer& server) : mainloop(server.mainloop.get()) {
            pa_threaded_mainloop_lock(mainloop);
        }
        ~Lock() { pa_threaded_mainloop_unlock(mainloop); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pa_threaded_mainloop* mainloop;
    };

    /// The connection that is there, or a new one. Any thread.
    [[nodiscard]] static std::shared_ptr<PulseServer> shared();

    PulseServer();
    /// Takes the live microphone away, for which it waits kAnswerLimit at most, ends the connection and joins
    /// the thread.
    ~PulseServer();
    PulseServer(const PulseServer&) = delete;
    PulseServer& operator=(const PulseServer&) = delete;

    /// Whether the server's lists are known. Any thread; waits for nothing.
    [[nodiscard]] bool isReady() const { return phase == Phase::Ready; }
    /// False only until the first attempt has come to an end: its lists are known, or there is no server.
    [[nodiscard]] bool hasAnswered() const { return phase != Phase::Connecting; }

    /// noteRefusedClient() of the server that somebody holds. Any thread but the server's; the caller does
    /// not hold the lock.
    static void tellOfRefusedClient(const char* who);

    /// Copies, in the server's order, without the devices of the live microphone; empty while not connected.
    /// Any thread but the server's; the caller does not hold the lock.
    [[nodiscard]] std::vector<PulseDevice> sinks();
    [[nodiscard]] std::vector<PulseDevice> sources();
    [[nodiscard]] std::string defaultSink();
    [[nodiscard]] std::string defaultSource();
    [[nodiscard]] std::vector<PulsePlayback> playbacks();
    /// Grows with each change of the sinks and sources. Any thread.
    [[nodiscard]] std::uint64_t deviceChanges() const { return deviceChangeCount; }

    /// Makes a sink or source the server's default, and waits for the answer, at most kAnswerLimit. Not on
    /// the server's thread.
    [[nodiscard]] bool setDefaultSink(const std::string& name);
    [[nodiscard]] bool setDefaultSource(const std::string& name);

    /// From now on the server has the live microphone, until this object ends. Any thread but the server's;
    /// the caller does not hold the lock.
    void keepLiveMicrophone();

    // ---- under the lock, or on the server's thread

    void addObserver(Observer& observer) { observers.insert(&observer); }
    void removeObserver(Observer& observer) { observers.erase(&observer); }
    [[nodiscard]] const std::map<std::uint32_t, PulsePlayback>& livePlaybacks() const { return playbackMap; }
    /// Null while not connected or not yet known.
    [[nodiscard]] pa_context* readyContext() const { return known ? connection->readyContext() : nullptr; }
    /// Whether the server is PipeWire's; false until it is known.
    [[nodiscard]] bool isPipeWire() const { return onPipeWire; }
    /// PipeWire's own connection beside this one; null where there is none. Its state is notified like a
    /// change of the playbacks.
    [[nodiscard]] const std::shared_ptr<PipeWireConnection>& pipeWire() const { return pipeWireConnection; }
    /// Another connection of this process was refused. While the server itself is there, it takes no more
    /// clients: a line of the router's log says that `who` stays silent, at most one a second.
    void noteRefusedClient(const char* who);
    [[nodiscard]] pa_mainloop_api& api() const { return *pa_threaded_mainloop_get_api(mainloop.get()); }

    static constexpr std::chrono::milliseconds kAnswerLimit{500};

private:
    enum class Phase { Connecting, Ready, Absent };
    using SetDefault = pa_operation* (*)(pa_context*, const char*, pa_context_success_cb_t, void*);

    void onReady(pa_context& context);
    void onLost();
    void connectToPipeWire(std::uint32_t cookie);
    void finishListing();
    /// Writes a line, unless one about the same subject was written within the last second.
    void logRarely(const std::string& subject, const std::string& line);
    void notify(void (Observer::*change)());
    [[nodiscard]] LiveMicrophone::ServerPicture pictureForLiveMicrophone() const;
    void updateLiveMicrophone();
    void removeLiveMicrophone();
    void keepDevice(std::map<std::uint32_t, PulseDevice>& devices, PulseDevice device);
    [[nodiscard]] bool setDefault(const std::string& name, SetDefault call);

    static void onSubscribed(pa_context* context, pa_subscription_event_type_t type, std::uint32_t index,
                             void* self);
    static void onServer(pa_context* context, const pa_server_info* info, void* self);
    static void onSink(pa_context* context, const pa_sink_info* info, int end, void* self);
    static void onSource(pa_context* context, const pa_source_info* info, int end, void* self);
    static void onClient(pa_context* context, const pa_client_info* info, int end, void* self);
    static void onPlayback(pa_context* context, const pa_sink_input_info* info, int end, void* self);
    static void onPlaybacksListed(pa_context* context, const pa_sink_input_info* info, int end, void* self);

    std::unique_ptr<PulseConnection> connection;
    std::set<Observer*> observers;
    bool known = false; // all lists have come
    std::map<std::uint32_t, PulseDevice> sinkMap;
    std::map<std::uint32_t, PulseDevice> sourceMap;
    ClientProcesses clientProcesses;
    std::map<std::uint32_t, PulsePlayback> playbackMap;
    std::string defaultSinkName;
    std::string defaultSourceName;
    std::atomic<std::uint64_t> deviceChangeCount{0};
    std::optional<LiveMicrophone> liveMicrophone;
    bool onPipeWire = false;
    bool triedPipeWire = false; // since this server came
    std::shared_ptr<PipeWireConnection> pipeWireConnection;
    std::map<std::string, std::chrono::steady_clock::time_point> lastLines; // by subject
    bool wasReady = false;
    std::atomic<Phase> phase{Phase::Connecting};

    std::mutex removalMutex; // of the two below
    std::condition_variable removalDone;
    bool liveMicrophoneIsRemoved = false;

    std::optional<RealTimeThread> realTime; // of the main loop's thread
    PulseThreadedMainloopHandle mainloop;   // the first to end: its thread uses the rest
};
