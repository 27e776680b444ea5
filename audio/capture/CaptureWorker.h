#pragma once

#include "audio/capture/AudioRouterConfig.h"
#include "audio/capture/InputStreamSet.h"

#include <string>
#include <vector>

class PerAppInputBuffers;
struct AudioRouterState;

/// The capture service's worker: honours requests and reads blocks, pass after pass, until the service stops
/// or its streams cannot be rebuilt. It lives on the stack of its thread.
///
/// A block stays in the buffer of its input until the mixer has taken it: it is read into that buffer, and
/// the audio callback changes it there.
class CaptureWorker {
public:
    CaptureWorker(AudioRouterState& routerState, SoundInputs& soundInputs, PerAppInputBuffers& inputBuffers);

    /// The thread's body.
    void run();

private:
    /// What follows a step of a pass.
    enum class Pass { Next, Read, Leave };

    /// The requests since the last pass.
    struct Requests {
        std::vector<InputDeviceRequest> additions;
        std::vector<std::string> removals;
        std::string outputDevice; ///< empty: none
        bool refresh = false;     ///< the list of devices is made anew
    };

    [[nodiscard]] bool rebuild(bool reinitialise);
    [[nodiscard]] Pass honourSampleRate();
    [[nodiscard]] Pass honourRequests();
    [[nodiscard]] Requests takeRequests();
    void apply(const Requests& requests);
    [[nodiscard]] bool hasSlotToRetry() const;
    void readAndHandOver();
    void rest();
    [[nodiscard]] bool allActive() const;
    [[nodiscard]] bool readBlocks();
    [[nodiscard]] bool readBlock(InputStreamSlot& slot) const;
    void handOver() const;

    AudioRouterState& service;
    PerAppInputBuffers& buffers;
    InputStreamSet streams;
};
