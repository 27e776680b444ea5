#pragma once

// An operating system whose answers a test sets beforehand, and that records the calls.

#include "mixer/RouterPlatform.h"
#include "tests/support/mixer/OfflineOutputStream.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

/// An active endpoint with its properties; by default real hardware.
[[nodiscard]] AudioEndpoint fakeEndpoint(const std::string& friendlyName, const std::string& id,
                                         std::uint32_t connectorCount = 1,
                                         EndpointFlow flow = EndpointFlow::Render);

/// What was asked, in order; any thread.
class CallJournal {
public:
    void note(const std::string& call);
    /// Everything since the last take.
    [[nodiscard]] std::vector<std::string> take();
    /// How often it was noted since the last take.
    [[nodiscard]] std::size_t count(const std::string& call);

private:
    std::mutex mutex;
    std::vector<std::string> calls;
};

/// Removes the ends of the outputs' threads ("output1.ended") from the calls of a stop, since their order is
/// not fixed. Returns how many of them came before the first client was stopped.
[[nodiscard]] std::size_t removeThreadEnds(std::vector<std::string>& calls);

/// Endpoints by flow. An enumeration that failed has no endpoints.
class FakeEndpoints : public AudioEndpointSystem {
public:
    explicit FakeEndpoints(CallJournal& callJournal) : journal(callJournal) {}

    [[nodiscard]] EndpointEnumeration activeEndpoints(EndpointFlow flow) override;
    [[nodiscard]] AudioEndpointPointer liveEndpoint() override { return live; }
    [[nodiscard]] std::string defaultRenderEndpointId() override { return defaultId; }
    [[nodiscard]] SoundResult probeActivation(const AudioEndpoint& endpoint) override;
    [[nodiscard]] SetDefaultOutcome setDefaultEndpoint(EndpointFlow flow,
                                                       const AudioEndpoint& endpoint) override;

    void add(EndpointFlow flow, const AudioEndpoint& endpoint);
    /// An entry that the system counts but does not hand out.
    void addNull(EndpointFlow flow);
    void fail(EndpointFlow flow, EnumerationStep step, SoundResult result = SoundError::Refused);
    void failBothFlows(EnumerationStep step, SoundResult result = SoundError::Refused);

    AudioEndpointPointer live;
    std::string defaultId;
    std::map<std::string, SoundResult> probeResults; ///< by id; kSoundDone for any other
    SetDefaultOutcome setDefaultOutcome;

private:
    CallJournal& journal;
    std::map<EndpointFlow, EndpointEnumeration> lists;
};

/// A capture that starts and stops as it is set and delivers nothing by itself.
class FakeCapture : public ProcessCapture {
public:
    FakeCapture(CallJournal& callJournal, const std::map<std::uint32_t, SoundResult>& results,
                const SoundResult& resultOfStop)
        : journal(callJournal), startResults(results), stopResult(resultOfStop) {}
    ~FakeCapture() override;
    FakeCapture(const FakeCapture&) = delete;
    FakeCapture& operator=(const FakeCapture&) = delete;

    void setBufferDuration(std::chrono::milliseconds newDuration) override { duration = newDuration; }
    [[nodiscard]] SoundResult startCapture(std::uint32_t processId, bool includeProcessTree) override;
    SoundResult stopCapture() override;

private:
    CallJournal& journal;
    const std::map<std::uint32_t, SoundResult>& startResults;
    const SoundResult& stopResult;
    std::chrono::milliseconds duration = kDefaultBufferDuration;
    std::uint32_t process = 0;
};

/// All of it. Outlives the routers on it.
class FakeRouterPlatform {
public:
    FakeRouterPlatform();

    [[nodiscard]] RouterPlatform platform();

    /// The latest output of a bus; null when none is open.
    [[nodiscard]] OfflineOutputStream* outputOf(std::uint32_t busId) const;

    CallJournal journal;
    CallJournal threadNames; ///< apart, since threads come when they come
    std::shared_ptr<FakeEndpoints> endpoints;
    SessionEntry sessionEntry = SessionEntry::Entered;
    bool capturesCanBeMade = true;
    bool correctsDrift = false;
    std::map<std::uint32_t, SoundResult>
        startResults;                    ///< of startCapture() by process; kSoundDone for any other
    SoundResult stopResult = kSoundDone; ///< of every stopCapture()
    // By bus id.
    std::set<std::uint32_t> outputsThatThrow; ///< when they are made
    std::set<std::uint32_t> outputsThatCannotBeMade;
    std::set<std::uint32_t> outputsThatDoNotOpen;  ///< open() fails, without a line
    std::set<std::uint32_t> outputsThatDoNotStart; ///< run() ends at Start
    std::map<std::uint32_t, OfflineOutputStream*> outputs;
};
