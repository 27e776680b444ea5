#pragma once

// The router distributes the sound of single applications, and of the input streams of the capture service,
// to two buses and a solo path. A source is named by its `processID` (see AppAudioConfig.h). Records decide
// what is captured and where it plays; only applyAudioConfigs() starts and stops captures.
//
// One mutex, the API lock, serialises start, apply and shutdown, and is held across the waits for captures
// that start and stop. Locks are taken in this order: API lock, then the lock of PerAppInputBuffers or of
// AppAudioConfigStore; captures and render threads never take the API lock. A thread of its own reads the
// meters every 50 ms.

#include "mixer/AppAudioConfig.h"
#include "mixer/BusForwarder.h"
#include "mixer/RouterPlatform.h"

#include <QVariantList>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

class AppAudioConfigStore;
class PerAppInputBuffers;

class AudioRouterAPI {
public:
    using LevelCallback = std::function<void(const QVariantList& levels)>;
    using NativeLevelCallback = std::function<void(const std::vector<AudioLevelInfo>& levels)>;

    /// The router of the process, on the bodies of the operating system; made at first use and alive to the
    /// process's end.
    static AudioRouterAPI& instance();

    /// What the level thread rests between two reports.
    static constexpr std::chrono::milliseconds kLevelPause{50};

    /// A router on the given bodies. `store` is the one that `buffers` reads; both outlive the router.
    AudioRouterAPI(RouterPlatform routerPlatform, AppAudioConfigStore& configStore,
                   PerAppInputBuffers& inputBuffers, std::chrono::milliseconds pauseOfLevels = kLevelPause);
    /// Shuts down.
    ~AudioRouterAPI();
    AudioRouterAPI(const AudioRouterAPI&) = delete;
    AudioRouterAPI& operator=(const AudioRouterAPI&) = delete;

    /// Starts with no names: Solo on the first real output, Bus 2 in the system's live endpoint where there
    /// is one, Bus 1 not forwarded. The outcome is only logged, to the Qt logger.
    void initAudioRouter();

    /// Finds the endpoints, each given as a name, an id or empty, and starts forwarding. True once the router
    /// runs, even without an output. False, and nothing changed, if it runs already or the sound session is
    /// refused.
    [[nodiscard]] bool startAudioRouter(const std::string& defaultDevice, const std::string& soloDevice,
                                        const std::string& input1Device, const std::string& input2Device);

    /// The complete state of the user interface: one map for each source, with the keys "processID", "solo",
    /// "input1" and "input2", the last two maps with "enabled", "volume" and "muted". Any key may be missing,
    /// any other is ignored; a source that is left out is gone. Blocks while captures start and stop. The UI
    /// thread.
    void setAudioConfig(const QVariantList& configs);

    /// The same for records. False, and nothing remembered, while the router does not run; true otherwise,
    /// captures that did not start included: they are tried again at the next call.
    bool applyAudioConfigs(const std::vector<AppAudioConfig>& records);

    /// Registers the callback that receives the levels on the UI thread, as maps with the keys "processID",
    /// "levelLeft" and "levelRight"; see setNativeLevelCallback(). A posted report that has not run yet is
    /// dropped once the router has shut down or another callback is registered. Without an application object
    /// there are no reports; it must outlive the router's run. The UI thread, so that no report runs
    /// meanwhile.
    void setLevelCallback(const LevelCallback& callback);

    /// Registers the callback that receives the levels on the level thread, in place of an earlier one; an
    /// empty one pauses the reports. The thread starts with the first callback that is registered while the
    /// router runs, and ends at the shutdown. Exactly silent sources are left out, and an empty list is not
    /// reported. A report under way may still reach the earlier callback. The callback may not call start,
    /// apply, shutdown or this function. Any thread but the level thread.
    void setNativeLevelCallback(NativeLevelCallback callback);

    /// What the level thread reports at this moment. Any thread.
    [[nodiscard]] std::vector<AudioLevelInfo> collectLevels() const;

    /// Ends the level thread, the outputs and the captures, in this order, and removes all records, sources
    /// and the level callback. Does nothing while stopped. The thread that started the router, which is the
    /// UI thread where setLevelCallback() is used: no report runs after the return.
    void shutdownAudioRouter();

    /// Any thread.
    [[nodiscard]] bool isAudioRouterRunning() const;

    /// Whether the router runs without a Solo output, but a shutdown and another start would open one. The
    /// thread that started the router.
    [[nodiscard]] bool isSoloWorthARestart();

private:
    // Alive while posted reports may run: they hold it weakly.
    struct PostedReports {};

    void selectSoloDevice(const std::string& soloDevice);
    void selectInput1Device(const std::string& input1Device);
    void selectInput2Device(const std::string& input2Device);
    void startMissingCapture(std::uint32_t processId);
    void storeLevelCallback(NativeLevelCallback callback, std::shared_ptr<const PostedReports> reports);
    // The body of the level thread.
    void reportLevels();

    const RouterPlatform platform;
    AppAudioConfigStore& store;
    PerAppInputBuffers& buffers;
    const std::chrono::milliseconds levelPause;
    BusForwarder forwarder;

    std::mutex apiMutex;
    std::atomic<bool> running{false};
    std::optional<SessionEntry> sessionEntry; // none while stopped
    std::map<std::uint32_t, std::shared_ptr<ProcessCapture>> captures;
    std::thread levelThread;
    std::mutex callbackMutex; // of the two below; taken inside the API lock, and by the level thread
    NativeLevelCallback levelCallback;
    std::shared_ptr<const PostedReports> postedReports;
};
