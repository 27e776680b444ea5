#pragma once

// COM objects that stand before the real ones of Core Audio and hand every call on, unless a test wrote down
// that it fails. They note what they were asked.

#include "mixer/AudioEndpoint.h"
#include "platform/windows/routerAudio/AudioSystemCalls.h"

#include <atomic>
#include <audioclient.h>
#include <cstdint>
#include <map>
#include <memory>
#include <mmdeviceapi.h>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>
#include <wrl/client.h>

/// What the calls of one test shall answer, and what they were given. Any thread.
class AudioScript {
public:
    /// Lets the call of this name, such as "Initialize" or "MFStartup", fail from its `nth` time on.
    void fail(const std::string& call, HRESULT result, int nth = 1);
    /// Counts a call; its failure where it shall fail.
    [[nodiscard]] std::optional<HRESULT> meet(const std::string& call);
    /// How often the call came.
    [[nodiscard]] int count(const std::string& call) const;

    /// What the devices' topology has; without a value it is that of the machine. Before the first call.
    std::optional<UINT> connectorCount;
    /// A captured process that plays nothing: its client has no packet.
    std::atomic<bool> processIsSilent{false};

    /// Whether GetMixFormat returns an extensible format where there is one, instead of the 18 fixed bytes,
    /// as a process loopback does. Before the first call.
    bool formatIsExtensible = false;

    /// Writes down what a call was given, such as "Capture, 0".
    template <typename... Values>
    void note(const std::string& call, const Values&... values) {
        std::ostringstream text;
        const char* between = "";
        ((text << between << values, between = ", "), ...);
        const std::lock_guard lock(mutex);
        arguments[call] = text.str();
    }
    /// What the last call of this name was given, numbers in decimal; of GetNextPacketSize the thread, of a
    /// capture's GetBuffer its result. Under "locked queue" and "queue of the packets" stand the queues' ids.
    [[nodiscard]] std::string given(const std::string& call) const;

    /// Of the last activation: path, type of the variant, its bytes.
    std::wstring activationPath;
    VARTYPE activationType = VT_EMPTY;
    std::vector<std::uint8_t> activationBytes;
    /// Calls of operator new on the draining thread between the packets' GetBuffer and ReleaseBuffer, one
    /// number for each packet.
    [[nodiscard]] std::vector<std::uint64_t> allocationsOfPackets() const;
    void noteAllocations(std::uint64_t allocations);

private:
    mutable std::mutex mutex;
    std::map<std::string, std::pair<HRESULT, int>> failures;
    std::map<std::string, int> counts;
    std::map<std::string, std::string> arguments;
    std::vector<std::uint64_t> allocations;
};

/// Calls of operator new on the calling thread so far.
[[nodiscard]] std::uint64_t allocationsOfThisThread();

/// Windows' calls, and the endpoints, sessions and clients that they lead to, with those that the script
/// names failing. Interfaces of several objects have names of their own: "Activate" is that of a client,
/// "Activate IDeviceTopology" and "Activate IAudioSessionManager2" are others. The choice of a default
/// endpoint is only noted.
[[nodiscard]] AudioSystemCalls scriptedCalls(const std::shared_ptr<AudioScript>& script);

/// The same, and a process loopback that is the client of a capture endpoint: it is asked without the
/// loopback flag, which only an output knows. Completion comes on a thread of its own, as with the platform.
[[nodiscard]] AudioSystemCalls callsWithProcessLoopback(const std::shared_ptr<AudioScript>& script,
                                                        const AudioEndpointPointer& microphone);

/// The endpoint with a device that hands calls on to its own.
[[nodiscard]] AudioEndpoint scriptedEndpoint(const std::shared_ptr<AudioScript>& script,
                                             const AudioEndpoint& endpoint);
