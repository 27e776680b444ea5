#include "platform/linux/sound/PulseServer.h"

#include "mixer/RouterLog.h"
#include "platform/linux/sound/PipeWireConnection.h"
#include "platform/linux/sound/PulseDescriptions.h"

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <format>
#include <mutex>
#include <ranges>
#include <utility>

namespace {

constexpr std::chrono::seconds kLinePause(1); // before another line about the same subject

// The server that somebody holds.
struct Held {
    std::mutex mutex;
    std::weak_ptr<PulseServer> server;
};

Held& held() {
    static Held one;
    return one;
}

template <typename Map>
auto valuesOf(const Map& map) {
    std::vector<typename Map::mapped_type> values;
    values.reserve(map.size());
    for (const auto& [index, value] : map) {
        values.push_back(value);
    }
    return values;
}

// The answer comes to the question's own callback.
void start(pa_operation* operation) {
    const PulseOperation started(operation);
}

} // namespace

std::shared_ptr<PulseServer> PulseServer::shared() {
    const std::lock_guard lock(held().mutex);
    std::shared_ptr<PulseServer> server = held().server.lock();
    if (!server) {
        server = std::make_shared<PulseServer>();
        held().server = server;
    }
    return server;
}

void PulseServer::tellOfRefusedClient(const char* who) {
    std::shared_ptr<PulseServer> server;
    {
        const std::lock_guard lock(held().mutex);
        server = held().server.lock();
    }
    if (server) {
        const Lock lock(*server);
        server->noteRefusedClient(who);
    }
}

PulseServer::PulseServer() : mainloop(pa_threaded_mainloop_new()) {
    pa_threaded_mainloop_set_name(mainloop.get(), "SoundServer");
    connection = std::make_unique<PulseConnection>(
        api(), PulseConnection::Events{
                   .ready = [this](pa_context& context) { onReady(context); },
                   .lost = [this] { onLost(); },
               });
    // A refusal is known before anybody asks.
    connection->connect();
    // Captures live on this thread: a packet that is late is a gap, and the sound behind it stays late.
    pa_mainloop_api_once(
        &api(), [](pa_mainloop_api*, void* self) { static_cast<PulseServer*>(self)->realTime.emplace(); },
        this);
    pa_threaded_mainloop_start(mainloop.get());
}

PulseServer::~PulseServer() {
    removeLiveMicrophone();
    const Lock lock(*this);
    pipeWireConnection.reset();
    connection.reset();
}

std::vector<PulseDevice> PulseServer::sinks() {
    const Lock lock(*this);
    return valuesOf(sinkMap);
}

std::vector<PulseDevice> PulseServer::sources() {
    const Lock lock(*this);
    return valuesOf(sourceMap);
}

std::string PulseServer::defaultSink() {
    const Lock lock(*this);
    return defaultSinkName;
}

std::string PulseServer::defaultSource() {
    const Lock lock(*this);
    return defaultSourceName;
}

std::vector<PulsePlayback> PulseServer::playbacks() {
    const Lock lock(*this);
    return valuesOf(playbackMap);
}

bool PulseServer::setDefaultSink(const std::string& name) {
    return setDefault(name, pa_context_set_default_sink);
}

bool PulseServer::setDefaultSource(const std::string& name) {
    return setDefault(name, pa_context_set_default_source);
}

bool PulseServer::setDefault(const std::string& name, SetDefault call) {
    // Outlives an answer that comes too late.
    struct Answer {
        std::mutex mutex;
        std::condition_variable came;
        std::optional<bool> success;
    };
    const auto answer = std::make_shared<Answer>();
    {
        const Lock lock(*this);
        pa_context* const context = readyContext();
        if (context == nullptr) {
            return false;
        }
        // The callback's own hold on the answer.
        auto held = std::make_unique<std::shared_ptr<Answer>>(answer);
        const PulseOperation operation(call(
            context, name.c_str(),
            [](pa_context*, int success, void* data) {
                const std::unique_ptr<std::shared_ptr<Answer>> mine(
                    static_cast<std::shared_ptr<Answer>*>(data));
                const std::lock_guard answerLock((*mine)->mutex);
                (*mine)->success = success != 0;
                (*mine)->came.notify_all();
            },
            held.get()));
        if (!operation) {
            return false;
        }
        static_cast<void>(held.release());
    }
    std::unique_lock lock(answer->mutex);
    const bool came =
        answer->came.wait_for(lock, kAnswerLimit, [&answer] { return answer->success.has_value(); });
    return came && answer->success.value_or(false);
}

void PulseServer::keepLiveMicrophone() {
    const Lock lock(*this);
    if (liveMicrophone) {
        return;
    }
    liveMicrophone.emplace([this] {
        const std::lock_guard removalLock(removalMutex);
        liveMicrophoneIsRemoved = true;
        removalDone.notify_all();
    });
    if (pa_context* const context = readyContext()) {
        liveMicrophone->begin(*context, pictureForLiveMicrophone());
    }
}

void PulseServer::removeLiveMicrophone() {
    {
        const Lock lock(*this);
        if (!liveMicrophone) {
            return;
        }
        liveMicrophone->remove();
        if (liveMicrophone->isRemoved()) {
            return;
        }
    }
    std::unique_lock lock(removalMutex);
    removalDone.wait_for(lock, kAnswerLimit, [this] { return liveMicrophoneIsRemoved; });
}

LiveMicrophone::ServerPicture PulseServer::pictureForLiveMicrophone() const {
    return {
        .hasOutput = std::ranges::any_of(
            sinkMap, [](const auto& sink) { return !LiveMicrophone::isSubstitute(sink.second.name); }),
        .hasMicrophone = std::ranges::any_of(
            sourceMap,
            [](const auto& source) { return !source.second.isMonitor && !source.second.unplugged; }),
        .isPipeWire = isPipeWire(),
        .defaultSink = defaultSinkName,
        .defaultSource = defaultSourceName,
    };
}

void PulseServer::updateLiveMicrophone() {
    if (known && liveMicrophone) {
        liveMicrophone->update(pictureForLiveMicrophone());
    }
}

void PulseServer::onReady(pa_context& context) {
    clientProcesses.setServerPath(socketPathIn(pa_context_get_server(&context)));
    pa_context_set_subscribe_callback(&context, onSubscribed, this);
    start(pa_context_subscribe(
        &context,
        static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE |
                                            PA_SUBSCRIPTION_MASK_SINK_INPUT | PA_SUBSCRIPTION_MASK_CLIENT |
                                            PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_MODULE),
        nullptr, nullptr));
    // Answers come in the order of the questions; with the last one all lists are known.
    start(pa_context_get_server_info(&context, onServer, this));
    start(pa_context_get_sink_info_list(&context, onSink, this));
    start(pa_context_get_source_info_list(&context, onSource, this));
    start(pa_context_get_client_info_list(&context, onClient, this));
    start(pa_context_get_sink_input_info_list(&context, onPlaybacksListed, this));
}

void PulseServer::onLost() {
    const bool wasKnown = known;
    known = false;
    sinkMap.clear();
    sourceMap.clear();
    clientProcesses.clear();
    playbackMap.clear();
    defaultSinkName.clear();
    defaultSourceName.clear();
    if (liveMicrophone) {
        liveMicrophone->forget();
    }
    ++deviceChangeCount;
    phase = Phase::Absent;
    triedPipeWire = false;
    if (!wasKnown) {
        pipeWireConnection.reset();
        return;
    }
    for (Observer* const observer : observers) {
        observer->connectionLost();
    }
    pipeWireConnection.reset();
    logRarely("connection", "[WARNING] Sound server lost, waiting for its return");
}

// Once for each time that the server is there.
void PulseServer::connectToPipeWire(std::uint32_t cookie) {
    if (!triedPipeWire) {
        triedPipeWire = true;
        pipeWireConnection =
            PipeWireConnection::open(api(), cookie, [this] { notify(&Observer::playbacksChanged); });
    }
}

void PulseServer::finishListing() {
    known = true;
    if (wasReady) {
        logRarely("connection", "[INFO] Sound server is back");
    }
    wasReady = true;
    phase = Phase::Ready;
    if (liveMicrophone) {
        liveMicrophone->begin(*connection->readyContext(), pictureForLiveMicrophone());
    }
    notify(&Observer::playbacksChanged);
    notify(&Observer::devicesCame);
}

// A server that restarts again and again does not fill the log.
void PulseServer::logRarely(const std::string& subject, const std::string& line) {
    const auto now = std::chrono::steady_clock::now();
    const auto [last, isNew] = lastLines.try_emplace(subject, now);
    if (isNew || now - last->second >= kLinePause) {
        last->second = now;
        routerLog("{}", line);
    }
}

void PulseServer::noteRefusedClient(const char* who) {
    if (known) {
        logRarely(who, std::format("[WARNING] The sound server takes no more clients, {} stays silent", who));
    }
}

// Not of the first lists, which come one by one.
void PulseServer::notify(void (Observer::*change)()) {
    if (known) {
        for (Observer* const observer : observers) {
            (observer->*change)();
        }
    }
}

// Devices change all the time, as with every turn of a volume control. Observers are notified only of a
// device that can be used from now on.
void PulseServer::keepDevice(std::map<std::uint32_t, PulseDevice>& devices, PulseDevice device) {
    const auto before = devices.find(device.index);
    const bool wasThere = before != devices.end() && !before->second.unplugged;
    const bool came = !wasThere && !device.unplugged && !device.isMonitor;
    devices[device.index] = std::move(device);
    ++deviceChangeCount;
    updateLiveMicrophone();
    if (came) {
        notify(&Observer::devicesCame);
    }
}

void PulseServer::onSubscribed(pa_context* context, pa_subscription_event_type_t type, std::uint32_t index,
                               void* self) {
    auto* const server = static_cast<PulseServer*>(self);
    const auto facility = type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const bool removed = (type & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_REMOVE;
    switch (facility) {
    case PA_SUBSCRIPTION_EVENT_SINK:
        if (removed) {
            server->sinkMap.erase(index);
            ++server->deviceChangeCount;
            server->updateLiveMicrophone();
        } else {
            start(pa_context_get_sink_info_by_index(context, index, onSink, self));
        }
        break;
    case PA_SUBSCRIPTION_EVENT_SOURCE:
        if (removed) {
            server->sourceMap.erase(index);
            ++server->deviceChangeCount;
            server->updateLiveMicrophone();
        } else {
            start(pa_context_get_source_info_by_index(context, index, onSource, self));
        }
        break;
    case PA_SUBSCRIPTION_EVENT_CLIENT:
        if (removed) {
            server->clientProcesses.remove(index);
        } else {
            start(pa_context_get_client_info(context, index, onClient, self));
        }
        break;
    case PA_SUBSCRIPTION_EVENT_SINK_INPUT:
        if (removed) {
            server->playbackMap.erase(index);
            server->notify(&Observer::playbacksChanged);
        } else {
            start(pa_context_get_sink_input_info(context, index, onPlayback, self));
        }
        break;
    case PA_SUBSCRIPTION_EVENT_MODULE:
        if (removed && server->liveMicrophone) {
            server->liveMicrophone->noteUnloaded(index);
        }
        break;
    case PA_SUBSCRIPTION_EVENT_SERVER:
        start(pa_context_get_server_info(context, onServer, self));
        break;
    default:
        break;
    }
}

void PulseServer::onServer(pa_context*, const pa_server_info* info, void* self) {
    if (info == nullptr) {
        return;
    }
    auto* const server = static_cast<PulseServer*>(self);
    server->defaultSinkName = info->default_sink_name != nullptr ? info->default_sink_name : "";
    server->defaultSourceName = info->default_source_name != nullptr ? info->default_source_name : "";
    // "PulseAudio (on PipeWire 1.4.2)"
    server->onPipeWire =
        info->server_name != nullptr && std::strstr(info->server_name, "PipeWire") != nullptr;
    if (server->onPipeWire) {
        server->connectToPipeWire(info->cookie);
    }
    server->updateLiveMicrophone();
}

void PulseServer::onSink(pa_context*, const pa_sink_info* info, int end, void* self) {
    if (end == 0 && !LiveMicrophone::isOurs(*info->proplist)) {
        auto* const server = static_cast<PulseServer*>(self);
        server->keepDevice(server->sinkMap, pulseDeviceOf(*info));
    }
}

void PulseServer::onSource(pa_context*, const pa_source_info* info, int end, void* self) {
    if (end == 0 && !LiveMicrophone::isOurs(*info->proplist)) {
        auto* const server = static_cast<PulseServer*>(self);
        server->keepDevice(server->sourceMap, pulseDeviceOf(*info));
    }
}

void PulseServer::onClient(pa_context*, const pa_client_info* info, int end, void* self) {
    if (end != 0) {
        return;
    }
    static_cast<PulseServer*>(self)->clientProcesses.put(info->index, clientClaimIn(*info->proplist));
}

void PulseServer::onPlayback(pa_context*, const pa_sink_input_info* info, int end, void* self) {
    auto* const server = static_cast<PulseServer*>(self);
    if (end != 0) {
        server->clientProcesses.forgetRead();
        return;
    }
    PulsePlayback& playback = server->playbackMap[info->index];
    playback = pulsePlaybackOf(*info);
    playback.processId = server->clientProcesses.processOf(info->client, streamClaimIn(*info->proplist));
    server->notify(&Observer::playbacksChanged);
}

void PulseServer::onPlaybacksListed(pa_context* context, const pa_sink_input_info* info, int end,
                                    void* self) {
    onPlayback(context, info, end, self);
    if (end != 0) {
        static_cast<PulseServer*>(self)->finishListing();
    }
}
