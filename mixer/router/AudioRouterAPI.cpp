#include "mixer/router/AudioRouterAPI.h"

#include "mixer/AppAudioConfigStore.h"
#include "mixer/EndpointClassification.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/RouterLog.h"
#include "mixer/SoundSession.h"
#include "mixer/router/RoutingMaps.h"

#include <QCoreApplication>
#include <QDebug>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <set>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kCaptureBuffer = 20ms;

bool isCapturedAsProcess(std::uint32_t processID) {
    return processID >= kFirstCapturedProcessId && processID != kBus1MasterProcessId &&
           processID != kBus2MasterProcessId;
}

} // namespace

AudioRouterAPI::AudioRouterAPI(RouterPlatform routerPlatform, AppAudioConfigStore& configStore,
                               PerAppInputBuffers& inputBuffers, std::chrono::milliseconds pauseOfLevels)
    : platform(std::move(routerPlatform)), store(configStore), buffers(inputBuffers),
      levelPause(pauseOfLevels), forwarder(platform, inputBuffers) {}

AudioRouterAPI::~AudioRouterAPI() {
    shutdownAudioRouter();
}

void AudioRouterAPI::initAudioRouter() {
    qDebug("[INFO] Attempting to initialize AudioRouterAPI...");
    if (startAudioRouter({}, {}, {}, {})) {
        qDebug("[INFO] AudioRouterAPI initialized successfully");
    } else {
        qCritical("[ERROR] Failed to initialize AudioRouterAPI");
    }
}

bool AudioRouterAPI::startAudioRouter(const std::string& defaultDevice, const std::string& soloDevice,
                                      const std::string& input1Device, const std::string& input2Device) {
    const std::lock_guard lock(apiMutex);
    if (running) {
        return false;
    }
    // Left again where the start fails or throws.
    SessionScope session(*platform.session, SessionScope::Undoes::EachEntry);
    sessionEntry = session.entry();
    if (sessionEntry == SessionEntry::Refused) {
        return false;
    }
    // Nothing plays to the default device; it is looked up for the line that this writes.
    static_cast<void>(FindDeviceGuidByNameOrGuid(*platform.endpoints, defaultDevice, false));
    // Names of an earlier start do not hold any more.
    forwarder.setBus1Device({});
    forwarder.setBus2Device({});
    forwarder.setBus2Endpoint(nullptr);
    forwarder.setSoloDevice({});
    selectSoloDevice(soloDevice);
    selectInput1Device(input1Device);
    selectInput2Device(input2Device);
    buffers.correctDrift(platform.correctsDrift);
    if (!forwarder.start()) {
        return false;
    }
    session.keep(); // the shutdown leaves it
    running = true;
    return true;
}

void AudioRouterAPI::selectSoloDevice(const std::string& soloDevice) {
    std::string guid = FindDeviceGuidByNameOrGuid(*platform.endpoints, soloDevice, false);
    if (guid.empty()) {
        guid = FindFirstRealHardwareDevice(*platform.endpoints, true);
        if (!guid.empty()) {
            routerLog("[INFO] Auto-selected first real hardware device for Solo output.");
        } else {
            routerLog("[WARNING] No real hardware device found, trying default device as fallback...");
            guid = GetDefaultDeviceGuid(*platform.endpoints);
            if (!guid.empty()) {
                routerLog("[INFO] Using default device for Solo output: {}", guid);
            } else {
                routerLog("[ERROR] No devices available, Solo forwarding will be disabled.");
            }
        }
    }
    if (!guid.empty()) {
        forwarder.setSoloDevice(guid);
        routerLog("[INFO] Solo device GUID set: {}", guid);
    }
}

void AudioRouterAPI::selectInput1Device(const std::string& input1Device) {
    if (input1Device.empty()) {
        return;
    }
    const std::string guid = FindDeviceGuidByNameOrGuid(*platform.endpoints, input1Device, true);
    if (guid.empty()) {
        routerLog("[WARNING] Input1 device not found: {}", input1Device);
        return;
    }
    forwarder.setBus1Device(guid);
    routerLog("[INFO] Input1 device (name/GUID: {}) -> GUID: {}", input1Device, guid);
}

void AudioRouterAPI::selectInput2Device(const std::string& input2Device) {
    if (input2Device.empty()) {
        if (const AudioEndpointPointer live = platform.endpoints->liveEndpoint()) {
            forwarder.setBus2Endpoint(live);
            routerLog("[INFO] Input2 plays into the virtual microphone: {}",
                      GetDeviceFriendlyName(live.get()));
            return;
        }
        routerLog("[INFO] Input2 device GUID/Name is empty, Input2 forwarding will be disabled");
        return;
    }
    routerLog("[INFO] Searching for Input2 device: {}", input2Device);
    const std::string guid = FindDeviceGuidByNameOrGuid(*platform.endpoints, input2Device, true);
    if (guid.empty()) {
        routerLog("[ERROR] Input2 device not found: {}", input2Device);
        routerLog("[ERROR] Input2 forwarding will be disabled");
        return;
    }
    routerLog("[INFO] Input2 device found! (name/GUID: {}) -> GUID: {}", input2Device, guid);
    forwarder.setBus2Device(guid);
    routerLog("[INFO] Input2 device GUID set in BusForwarder: {}", guid);
}

void AudioRouterAPI::setAudioConfig(const QVariantList& configs) {
    std::vector<AppAudioConfig> records;
    records.reserve(static_cast<std::size_t>(configs.size()));
    for (const QVariant& config : configs) {
        records.push_back(appAudioConfigOf(config.toMap()));
    }
    applyAudioConfigs(records);
}

bool AudioRouterAPI::applyAudioConfigs(const std::vector<AppAudioConfig>& records) {
    const std::lock_guard lock(apiMutex);
    if (!running) {
        return false;
    }
    std::set<std::uint32_t> listed;
    for (const AppAudioConfig& record : records) {
        listed.insert(record.processID);
    }
    for (auto capture = captures.begin(); capture != captures.end();) {
        const auto& [processID, object] = *capture;
        if (listed.contains(processID)) {
            ++capture;
            continue;
        }
        object->stopCapture();
        // Packets that are still under way find their source inactive.
        store.putConfig(processID, inactiveAppAudioConfig());
        capture = captures.erase(capture);
    }
    for (const std::uint32_t processID : buffers.collectProcessIds()) {
        if (!listed.contains(processID)) {
            buffers.resetProcessBuffers(processID);
        }
    }
    for (const AppAudioConfig& record : records) {
        store.putConfig(record.processID, record);
        if (isCapturedAsProcess(record.processID) && !captures.contains(record.processID)) {
            startMissingCapture(record.processID);
        }
    }
    return true;
}

void AudioRouterAPI::startMissingCapture(std::uint32_t processId) {
    const std::shared_ptr<ProcessCapture> capture = platform.makeProcessCapture(buffers);
    SoundResult result = SoundError::OutOfMemory;
    if (capture) {
        capture->setBufferDuration(kCaptureBuffer);
        result = capture->startCapture(processId, true);
    }
    if (failed(result)) {
        routerLog("[ERROR] Failed to start capture for PID: {} (HRESULT: 0x{:x})", processId,
                  printedNumber(result));
        return;
    }
    captures.emplace(processId, capture);
    routerLog("[INFO] Started capture for PID: {}", processId);
}

void AudioRouterAPI::setLevelCallback(const LevelCallback& callback) {
    if (!callback) {
        setNativeLevelCallback({});
        return;
    }
    auto reports = std::make_shared<const PostedReports>();
    const std::weak_ptr<const PostedReports> wanted = reports;
    storeLevelCallback(
        [callback, wanted](const std::vector<AudioLevelInfo>& levels) {
            QCoreApplication* const application = QCoreApplication::instance();
            if (application == nullptr) {
                return;
            }
            QTimer::singleShot(0, application, [callback, wanted, maps = levelMapsOf(levels)] {
                if (!wanted.expired()) {
                    callback(maps);
                }
            });
        },
        std::move(reports));
}

void AudioRouterAPI::setNativeLevelCallback(NativeLevelCallback callback) {
    storeLevelCallback(std::move(callback), nullptr);
}

void AudioRouterAPI::storeLevelCallback(NativeLevelCallback callback,
                                        std::shared_ptr<const PostedReports> reports) {
    const std::lock_guard lock(apiMutex);
    const bool set = callback != nullptr;
    {
        const std::lock_guard callbackLock(callbackMutex);
        levelCallback.swap(callback); // the earlier one ends outside of the lock
        postedReports = std::move(reports);
    }
    if (set && running && !levelThread.joinable()) {
        levelThread = std::thread(&AudioRouterAPI::reportLevels, this);
    }
}

void AudioRouterAPI::reportLevels() {
    if (platform.nameThisThread) {
        platform.nameThisThread("Mixer levels");
    }
    while (running) {
        NativeLevelCallback callback;
        {
            const std::lock_guard lock(callbackMutex);
            callback = levelCallback;
        }
        if (callback) {
            const std::vector<AudioLevelInfo> levels = collectLevels();
            if (!levels.empty()) {
                callback(levels);
            }
        }
        std::this_thread::sleep_for(levelPause);
    }
}

std::vector<AudioLevelInfo> AudioRouterAPI::collectLevels() const {
    std::vector<AudioLevelInfo> levels;
    for (const std::uint32_t processID : store.allProcessIds()) {
        StereoLevel level;
        if (processID == kBus1MasterProcessId) {
            level = buffers.getBus1Levels();
        } else if (processID == kBus2MasterProcessId) {
            level = buffers.getBus2Levels();
        } else {
            level = buffers.getProcessLevels(processID);
        }
        if (level != StereoLevel{}) {
            levels.push_back({processID, level.left, level.right});
        }
    }
    return levels;
}

void AudioRouterAPI::shutdownAudioRouter() {
    const std::lock_guard lock(apiMutex);
    if (!running) {
        return;
    }
    running = false;
    if (levelThread.joinable()) {
        levelThread.join();
    }
    forwarder.stop();
    for (const auto& [processID, capture] : captures) {
        capture->stopCapture();
    }
    captures.clear();
    store.clear();
    buffers.clear();
    // Kept: a thread that was in the session before stays in it once more than it entered.
    if (sessionEntry == SessionEntry::Entered) {
        platform.session->leave();
    }
    sessionEntry.reset();
    NativeLevelCallback last; // ends outside of the lock
    const std::lock_guard callbackLock(callbackMutex);
    last.swap(levelCallback);
    postedReports.reset();
}

bool AudioRouterAPI::isAudioRouterRunning() const {
    return running;
}

bool AudioRouterAPI::isSoloWorthARestart() {
    const std::lock_guard lock(apiMutex);
    if (!running || forwarder.isSoloOpen()) {
        return false;
    }
    const EndpointEnumeration list = platform.endpoints->activeEndpoints(EndpointFlow::Render);
    return std::ranges::any_of(list.endpoints, [](const AudioEndpointPointer& endpoint) {
        return IsRealHardwareDevice(endpoint.get()) && !GetDeviceId(endpoint.get()).empty();
    });
}
