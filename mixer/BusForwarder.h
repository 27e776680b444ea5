#pragma once

// Plays the mix on up to three outputs: Bus 1, Bus 2 and Solo. Each has a render thread of its own, on which
// PerAppInputBuffers writes straight into the endpoint's buffer. The buses open virtual endpoints only, Solo
// real hardware only. An output exists when an endpoint was named for it and could be opened; it does not
// move to another one later. Each router has one forwarder.

#include "mixer/RouterPlatform.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

class PerAppInputBuffers;

class BusForwarder {
public:
    static constexpr std::uint32_t kBus1Id = 1;
    static constexpr std::uint32_t kBus2Id = 2;
    static constexpr std::uint32_t kSoloId = 3;

    /// `routerPlatform` and `inputBuffers` outlive the forwarder.
    BusForwarder(const RouterPlatform& routerPlatform, PerAppInputBuffers& inputBuffers);
    /// Ends the threads that still live.
    ~BusForwarder();
    BusForwarder(const BusForwarder&) = delete;
    BusForwarder& operator=(const BusForwarder&) = delete;

    /// A part of a friendly name, or an id; empty: the output is off. Before start().
    void setBus1Device(const std::string& deviceGuid);
    void setBus2Device(const std::string& deviceGuid);
    void setSoloDevice(const std::string& deviceGuid);
    /// An endpoint that is known already and not searched for; null: the one of setBus2Device(). Before
    /// start().
    void setBus2Endpoint(AudioEndpointPointer endpoint);

    /// Opens the named outputs and starts their threads. Always true: an output that fails is logged and
    /// stays off. Throws when memory or threads run out, after it has ended the outputs that ran already.
    [[nodiscard]] bool start();

    /// Whether the Solo output could be opened. Not during start() and stop().
    [[nodiscard]] bool isSoloOpen() const { return outputs[kSoloId - 1].stream != nullptr; }

    /// Ends the threads, each after at most one more period.
    void stop();

private:
    // One output. The name is given: elsewhere a channel is left or right.
    struct BusChannel {
        std::uint32_t busId = 0;
        std::string deviceGuid;
        AudioEndpointPointer endpoint; // null: searched for by deviceGuid
        std::atomic<bool> running{false};
        std::unique_ptr<OutputStream> stream; // null: not opened
        std::thread thread;
    };

    BusChannel& outputOf(std::uint32_t busId) { return outputs[busId - 1]; }
    void openAndRunAll();
    bool openAndRun(BusChannel& bus);
    // Ends all outputs, whatever state each is in.
    void endOutputs();
    // Finds and opens the endpoint of one output. Logs a failure and returns false.
    [[nodiscard]] bool initBusChannel(BusChannel& bus);
    void listAvailableDevices(const BusChannel& bus) const;
    // The body of a render thread.
    void runBusChannel(BusChannel& bus);
    // The first endpoint whose id is `target` or whose friendly name contains it, outputs before inputs. Null
    // when there is none.
    [[nodiscard]] AudioEndpointPointer findBusEndpoint(const std::string& target, bool virtualOnly) const;

    const RouterPlatform& platform;
    PerAppInputBuffers& buffers;
    std::atomic<bool> running{false};
    std::array<BusChannel, 3> outputs; // in the order of their ids
};
