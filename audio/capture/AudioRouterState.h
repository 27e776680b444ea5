#pragma once

#include "audio/capture/AudioRouterConfig.h"
#include "audio/capture/Pause.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// An input that has an open stream.
struct OpenInput {
    std::string name;         ///< as configured
    std::int32_t device = -1; ///< of the system's list
};

/// What AudioRouterService and its worker share. The worker holds the mutex for copies, never across a call
/// of the sound system.
struct AudioRouterState {
    mutable std::mutex mutex; ///< config, the three pending lists, start and stop
    AudioRouterConfig config; ///< as started, changed by the worker as requests are honoured
    std::atomic<bool> running{false};
    std::atomic<bool> loopActive{false};
    std::atomic<double> sampleRate{0.0};        ///< Hz, in force
    std::atomic<double> pendingSampleRate{0.0}; ///< Hz, the last request; 0: none
    std::thread worker;
    std::vector<InputDeviceRequest> pendingAdds;
    std::vector<std::string> pendingRemovals;
    std::string pendingOutputDevice;           ///< empty: none
    std::atomic<bool> refreshRequested{false}; ///< the next idle pass makes the list of devices anew
    std::atomic<bool> inputMissing{false};     ///< a configured input has no open stream
    std::vector<OpenInput> openInputs;         ///< those of the last build; under the mutex
    std::atomic<AudioBlockCallback> audioCallback{nullptr};
    std::atomic<AudioPrepareCallback> prepareCallback{nullptr};
    Pause pause = pauseThread; ///< how the worker waits; set before the worker starts
};

/// Lower case of the ASCII letters; all other bytes stay.
[[nodiscard]] inline std::string lowerAscii(std::string text) {
    for (char& letter : text) {
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter - 'A' + 'a');
        }
    }
    return text;
}
