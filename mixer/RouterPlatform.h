#pragma once

// All that the router needs of the operating system, in one hand. The folder of the system defines
// systemRouterPlatform(); tests and the scene renderer put bodies of their own in its place.

#include "mixer/AudioEndpoint.h"
#include "mixer/OutputStream.h"
#include "mixer/ProcessCapture.h"
#include "mixer/SoundSession.h"

#include <cstdint>
#include <functional>
#include <memory>

class PerAppInputBuffers;

struct RouterPlatform {
    std::shared_ptr<SoundSession> session;
    std::shared_ptr<AudioEndpointSystem> endpoints;
    /// A capture, not started, that hands its packets to the given buffers, which outlive it. Null: none
    /// could be made.
    std::function<std::shared_ptr<ProcessCapture>(PerAppInputBuffers& buffers)> makeProcessCapture;
    /// An output's stream, not opened. `busId` is 1, 2, or 3 for Solo, and is for names alone: of the thread,
    /// and of the stream where the system shows one. Null: none could be made, and the output stays off.
    std::function<std::unique_ptr<OutputStream>(std::uint32_t busId)> makeOutputStream;
    /// Names the calling thread for debuggers: at most 15 characters. Empty where nobody looks.
    std::function<void(const char* name)> nameThisThread;
};

/// The bodies of this system. Makes no connection and waits for nothing: a sound system that is not there
/// shows at the first question. All members are set.
[[nodiscard]] RouterPlatform systemRouterPlatform();
