#pragma once

// The microphone "VEXO Live" on the sound server, which any program can choose to hear Bus 2: a sink that
// nobody but Bus 2 plays into, and a source that hears it. Both are modules of the server, and carry a mark
// by which the program knows them in the server's lists, and knows those that a killed program left behind:
// these are used again, so that who records from them is not disturbed.
//
// The server's default output and input never move to them. They have the lowest priority, which leaves two
// cases: without another output, a spare one is made beside them, as the server itself has one then; and
// PulseAudio prefers any microphone to what an output plays, so that without another microphone its default
// input is held at what the default output plays. A default that somebody has chosen is left alone.
//
// Whatever somebody else takes away of them while the program runs is made anew.
//
// All calls are on the thread of the connection's main loop, or under its lock.

#include <array>
#include <cstdint>
#include <functional>
#include <pulse/pulseaudio.h>
#include <string>

class LiveMicrophone {
public:
    static constexpr const char* kName = "VEXO Live"; ///< as people read it
    static constexpr const char* kSourceName = "vexo_live";
    static constexpr const char* kSinkName = "vexo_live_mix"; ///< what Bus 2 plays into

    /// What of the server decides; devices of ours are left out of the first two.
    struct ServerPicture {
        bool hasOutput = false;     ///< a sink, the server's own substitute for one left out
        bool hasMicrophone = false; ///< a source that is plugged in and no monitor of a sink
        bool isPipeWire = false;
        std::string defaultSink;
        std::string defaultSource;
    };

    /// Whether these are the properties of one of the devices that this class makes.
    [[nodiscard]] static bool isOurs(const pa_proplist& properties);
    /// Whether a sink of this name is what a server plays into when it has no other.
    [[nodiscard]] static bool isSubstitute(const std::string& sinkName);

    /// `onRemoved` is called when the last module is gone after remove(), or the connection with them.
    explicit LiveMicrophone(std::function<void()> onRemoved);
    LiveMicrophone(const LiveMicrophone&) = delete;
    LiveMicrophone& operator=(const LiveMicrophone&) = delete;

    /// The connection is there: finds what an earlier run left behind, and makes what is missing.
    void begin(pa_context& newContext, const ServerPicture& picture);
    /// Something of the picture has changed.
    void update(const ServerPicture& picture);
    /// A module has gone from the server: one of ours is made anew.
    void noteUnloaded(std::uint32_t moduleIndex);
    /// The connection is gone, and no answer comes any more.
    void forget();
    /// Takes everything away again; what the server is asked to make meanwhile goes, too.
    void remove();
    [[nodiscard]] bool isRemoved() const;

private:
    // One module of the server.
    struct Part {
        LiveMicrophone* owner = nullptr;
        const char* module = nullptr;
        std::string arguments;
        std::uint32_t index = PA_INVALID_INDEX;
        bool underWay = false; // it is being made or taken away
        bool refused = false;  // not asked for again on this connection
        int losses = 0;        // how often somebody else has taken it away
    };

    static void onModule(pa_context* context, const pa_module_info* info, int end, void* self);
    static void onLoaded(pa_context* context, std::uint32_t index, void* part);
    static void onUnloaded(pa_context* context, int success, void* part);
    static void onReleased(pa_context* context, int success, void* self);
    void keepModule(const pa_module_info& info);
    void reconcile();
    void makeAll();
    void removeAll();
    void want(Part& part);
    void unwant(Part& part);
    static void refuse(Part& part, const char* reason);
    void keepDefaultSource();
    void setDefaultSource(const std::string& name);
    void releaseDefaultSource();
    [[nodiscard]] bool hasParts() const;

    const std::function<void()> removed;
    pa_context* context = nullptr; // null: not connected
    bool listed = false;           // what an earlier run left behind is known
    bool removing = false;
    ServerPicture server;
    std::string heldSource; // the default input that is held; empty: none is
    bool releasing = false; // the server has not answered yet that it chooses by itself again
    Part spare;
    Part sink;
    Part source;
    const std::array<Part*, 3> parts{&source, &sink, &spare}; // in the order in which they are taken away
};
