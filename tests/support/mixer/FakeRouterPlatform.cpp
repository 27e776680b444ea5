#include "tests/support/mixer/FakeRouterPlatform.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace {

const char* nameOf(EndpointFlow flow) {
    return flow == EndpointFlow::Render ? "render" : "capture";
}

class FakeSession : public SoundSession {
public:
    FakeSession(CallJournal& callJournal, const SessionEntry& answer) : journal(callJournal), entry(answer) {}
    [[nodiscard]] SessionEntry enter() override {
        journal.note("session.enter");
        return entry;
    }
    void leave() override { journal.note("session.leave"); }

private:
    CallJournal& journal;
    const SessionEntry& entry;
};

class FakeOutput : public OfflineOutputStream {
public:
    FakeOutput(std::uint32_t id, FakeRouterPlatform& owner) : busId(id), system(owner) {}
    ~FakeOutput() override {
        if (system.outputs[busId] == this) {
            system.outputs.erase(busId);
        }
    }
    FakeOutput(const FakeOutput&) = delete;
    FakeOutput& operator=(const FakeOutput&) = delete;

    [[nodiscard]] bool open(const AudioEndpoint& endpoint) override {
        note("open " + endpoint.friendlyName.value_or("?"));
        if (system.outputsThatDoNotOpen.contains(busId)) {
            return false;
        }
        // As a system does: an input cannot play.
        if (endpoint.flow == EndpointFlow::Capture) {
            logOutputFailure(OutputStep::GetService, SoundError::WrongDirection);
            return false;
        }
        system.outputs[busId] = this;
        return OfflineOutputStream::open(endpoint);
    }
    void run(const std::atomic<bool>& running, const RenderCallback& render) override {
        if (system.outputsThatDoNotStart.contains(busId)) {
            logOutputFailure(OutputStep::Start, SoundError::DeviceGone);
        } else {
            OfflineOutputStream::run(running, render);
        }
        note("ended");
    }
    void wake() override {
        note("wake");
        OfflineOutputStream::wake();
    }
    void stopClient() override {
        note("stopClient");
        OfflineOutputStream::stopClient();
    }

private:
    void note(const std::string& call) { system.journal.note("output" + std::to_string(busId) + "." + call); }

    const std::uint32_t busId;
    FakeRouterPlatform& system;
};

} // namespace

AudioEndpoint fakeEndpoint(const std::string& friendlyName, const std::string& id,
                           std::uint32_t connectorCount, EndpointFlow flow) {
    return {id, friendlyName, connectorCount, flow, nullptr};
}

void CallJournal::note(const std::string& call) {
    const std::lock_guard lock(mutex);
    calls.push_back(call);
}

std::vector<std::string> CallJournal::take() {
    const std::lock_guard lock(mutex);
    return std::exchange(calls, {});
}

std::size_t CallJournal::count(const std::string& call) {
    const std::lock_guard lock(mutex);
    return static_cast<std::size_t>(std::ranges::count(calls, call));
}

std::size_t removeThreadEnds(std::vector<std::string>& calls) {
    const auto endsWith = [](std::string_view end) {
        return [end](const std::string& call) {
            return call.ends_with(end);
        };
    };
    const auto firstStopped = std::ranges::find_if(calls, endsWith(".stopClient"));
    const auto ends = std::ranges::count_if(calls.begin(), firstStopped, endsWith(".ended"));
    std::erase_if(calls, endsWith(".ended"));
    return static_cast<std::size_t>(ends);
}

EndpointEnumeration FakeEndpoints::activeEndpoints(EndpointFlow flow) {
    return lists[flow];
}

SoundResult FakeEndpoints::probeActivation(const AudioEndpoint& endpoint) {
    const auto found = probeResults.find(endpoint.id.value_or(""));
    return found != probeResults.end() ? found->second : kSoundDone;
}

SetDefaultOutcome FakeEndpoints::setDefaultEndpoint(EndpointFlow flow, const AudioEndpoint& endpoint) {
    journal.note(std::string("setDefault ") + nameOf(flow) + " " + endpoint.id.value_or("?"));
    return setDefaultOutcome;
}

void FakeEndpoints::add(EndpointFlow flow, const AudioEndpoint& endpoint) {
    lists[flow].endpoints.push_back(std::make_shared<const AudioEndpoint>(endpoint));
}

void FakeEndpoints::addNull(EndpointFlow flow) {
    lists[flow].endpoints.push_back(nullptr);
}

void FakeEndpoints::fail(EndpointFlow flow, EnumerationStep step, SoundResult result) {
    lists[flow] = {step, result, {}};
}

void FakeEndpoints::failBothFlows(EnumerationStep step, SoundResult result) {
    fail(EndpointFlow::Render, step, result);
    fail(EndpointFlow::Capture, step, result);
}

FakeCapture::~FakeCapture() {
    journal.note("capture" + std::to_string(process) + ".released");
}

SoundResult FakeCapture::startCapture(std::uint32_t processId, bool includeProcessTree) {
    process = processId;
    journal.note("capture" + std::to_string(process) + ".start " + (includeProcessTree ? "tree" : "alone") +
                 " " + std::to_string(duration.count()) + " ms");
    const auto found = startResults.find(processId);
    return found != startResults.end() ? found->second : kSoundDone;
}

SoundResult FakeCapture::stopCapture() {
    journal.note("capture" + std::to_string(process) + ".stop");
    return stopResult;
}

FakeRouterPlatform::FakeRouterPlatform() : endpoints(std::make_shared<FakeEndpoints>(journal)) {}

RouterPlatform FakeRouterPlatform::platform() {
    RouterPlatform platform;
    platform.session = std::make_shared<FakeSession>(journal, sessionEntry);
    platform.endpoints = endpoints;
    platform.makeProcessCapture = [this](PerAppInputBuffers&) -> std::shared_ptr<ProcessCapture> {
        return capturesCanBeMade ? std::make_shared<FakeCapture>(journal, startResults, stopResult) : nullptr;
    };
    platform.makeOutputStream = [this](std::uint32_t busId) -> std::unique_ptr<OutputStream> {
        if (outputsThatThrow.contains(busId)) {
            throw std::runtime_error("no output");
        }
        return outputsThatCannotBeMade.contains(busId) ? nullptr : std::make_unique<FakeOutput>(busId, *this);
    };
    platform.correctsDrift = correctsDrift;
    platform.nameThisThread = [this](const char* name) {
        threadNames.note(name);
    };
    return platform;
}

OfflineOutputStream* FakeRouterPlatform::outputOf(std::uint32_t busId) const {
    const auto found = outputs.find(busId);
    return found != outputs.end() ? found->second : nullptr;
}
