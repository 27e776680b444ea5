#include "mixer/router/AudioRouterAPI.h"

#include "mixer/AppAudioConfigStore.h"
#include "mixer/EndpointClassification.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/RouterLog.h"
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

constexpr std::chrono::milliseconds kLevelPeriod = 50ms;
constexpr std::uint32_t kCaptureBufferMs = 20;
constexpr std::int64_t kHundredNsPerMs = 10'000;

bool isCapturedAsProcess(std::uint32_t processID) {
    return processID >= kFirstCapturedProcessId && processID != kBus1MasterProcessId &&
           processID != kBus2MasterProcessId;
}

// Leaves the apartment again when the start that entered it comes to nothing, whether it fails or throws.
class StartInApartment {
public:
    StartInApartment(ComApartment& comApartment, HResult entering) : com(comApartment), entered(entering) {}
    ~StartInApartment() {
        if (!kept && !failed(entered)) {
            com.uninitialize();
        }
    }
    StartInApartment(const StartInApartment&) = delete;
    StartInApartment& operator=(const StartInApartment&) = delete;

    // The start has succeeded: the shutdown leaves the apartment.
    void keep() { kept = true; }

private:
    ComApartment& com;
    const HResult entered;
    bool kept = false;
};

} // namespace

AudioRouterAPI::AudioRouterAPI(RouterPlatform routerPlatform, AppAudioConfigStore& configStore,
                               PerAppInputBuffers& inputBuffers)
    : platform(std::move(routerPlatform)), store(configStore), buffers(inputBuffers),
      forwarder(platform, inputBuffers) {}

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

bool AudioRouterAPI::startAudioRouter(const std::wstring& defaultDevice, const std::wstring& soloDevice,
                                      const std::wstring& input1Device, const std::wstring& input2Device) {
    const std::lock_guard lock(apiMutex);
    if (running) {
        return false;
    }
    comResult = platform.com->initialize();
    if (failed(comResult) && comResult != kHResultChangedMode) {
        return false;
    }
    StartInApartment apartment(*platform.com, comResult);
    // Nothing plays to the default device; it is looked up for the line that this writes.
    static_cast<void>(FindDeviceGuidByNameOrGuid(*platform.endpoints, defaultDevice, false));
    // Names of an earlier start do not hold any more.
    forwarder.setBus1Device({});
    forwarder.setBus2Device({});
    forwarder.setSoloDevice({});
    selectSoloDevice(soloDevice);
    selectInput1Device(input1Device);
    selectInput2Device(input2Device);
    if (!forwarder.start()) {
        return false;
    }
    apartment.keep();
    running = true;
    return true;
}

void AudioRouterAPI::selectSoloDevice(const std::wstring& soloDevice) {
    std::wstring guid = FindDeviceGuidByNameOrGuid(*platform.endpoints, soloDevice, false);
    if (guid.empty()) {
        guid = FindFirstRealHardwareDevice(*platform.endpoints, true);
        if (!guid.empty()) {
            routerLog(L"[INFO] Auto-selected first real hardware device for Solo output.");
        } else {
            routerLog(L"[WARNING] No real hardware device found, trying default device as fallback...");
            guid = GetDefaultDeviceGuid(*platform.endpoints);
            if (!guid.empty()) {
                routerLog(L"[INFO] Using default device for Solo output: " + guid);
            } else {
                routerLog(L"[ERROR] No devices available, Solo forwarding will be disabled.");
            }
        }
    }
    if (!guid.empty()) {
        forwarder.setSoloDevice(guid);
        routerLog(L"[INFO] Solo device GUID set: " + guid);
    }
}

void AudioRouterAPI::selectInput1Device(const std::wstring& input1Device) {
    if (input1Device.empty()) {
        return;
    }
    const std::wstring guid = FindDeviceGuidByNameOrGuid(*platform.endpoints, input1Device, true);
    if (guid.empty()) {
        routerLog(L"[WARNING] Input1 device not found: " + input1Device);
        return;
    }
    forwarder.setBus1Device(guid);
    routerLog(L"[INFO] Input1 device (name/GUID: " + input1Device + L") -> GUID: " + guid);
}

void AudioRouterAPI::selectInput2Device(const std::wstring& input2Device) {
    if (input2Device.empty()) {
        routerLog(L"[INFO] Input2 device GUID/Name is empty, Input2 forwarding will be disabled");
        return;
    }
    routerLog(L"[INFO] Searching for Input2 device: " + input2Device);
    const std::wstring guid = FindDeviceGuidByNameOrGuid(*platform.endpoints, input2Device, true);
    if (guid.empty()) {
        routerLog(L"[ERROR] Input2 device not found: " + input2Device);
        routerLog(L"[ERROR] Input2 forwarding will be disabled");
        return;
    }
    routerLog(L"[INFO] Input2 device found! (name/GUID: " + input2Device + L") -> GUID: " + guid);
    forwarder.setBus2Device(guid);
    routerLog(L"[INFO] Input2 device GUID set in BusForwarder: " + guid);
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
    HResult result = kHResultOutOfMemory;
    if (capture) {
        capture->setBufferDuration(kCaptureBufferMs * kHundredNsPerMs);
        result = capture->startCapture(processId, true);
    }
    if (failed(result)) {
        routerLog(L"[ERROR] Failed to start capture for PID: " + std::to_wstring(processId) +
                  L" (HRESULT: 0x" + hexDigits(result) + L")");
        return;
    }
    captures.emplace(processId, capture);
    routerLog(L"[INFO] Started capture for PID: " + std::to_wstring(processId));
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
        std::this_thread::sleep_for(kLevelPeriod);
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
    if (!failed(comResult) && comResult != kHResultFalse) {
        platform.com->uninitialize();
    }
    comResult = kHResultNotImplemented;
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
