#pragma once

#include "audio/capture/AudioRouterConfig.h"
#include "audio/capture/InputStreamSet.h"

#include <string>
#include <vector>

class PerAppInputBuffers;
struct AudioRouterState;

/// The capture service's worker: honours requests and reads blocks, pass after pass, until the service stops
/// or its streams cannot be rebuilt. Lives on the worker's own stack.
class CaptureWorker {
public:
    CaptureWorker(AudioRouterState& routerState, PerAppInputBuffers& inputBuffers);

    /// The thread's body.
    void run();

private:
    /// What a pass goes on with.
    enum class Pass { Next, Read, Leave };

    [[nodiscard]] bool rebuild(bool reinitialise);
    [[nodiscard]] Pass honourSampleRate();
    [[nodiscard]] Pass honourRequests();
    void removeInputs(const std::vector<std::string>& names);
    [[nodiscard]] bool hasSlotToRetry() const;
    void readAndHandOver();
    [[nodiscard]] bool allActive();
    [[nodiscard]] bool readBlocks();
    [[nodiscard]] bool readBlock(InputStreamSlot& slot);
    void handOver() const;

    AudioRouterState& service;
    PerAppInputBuffers& buffers;
    InputStreamSet streams;
    // Working copies of a pass: what rebuildStreams owns is not read.
    AudioRouterConfig config;
    std::vector<InputStreamSlot> inputSlots;
};
