#pragma once

// All that the router needs of the operating system. The folder of the system defines systemRouterPlatform();
// tests and the scene renderer use bodies of their own.

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
    /// Makes a capture, not started, that writes its packets to the given buffers, which outlive it. Null on
    /// failure.
    std::function<std::shared_ptr<ProcessCapture>(PerAppInputBuffers& buffers)> makeProcessCapture;
    /// Makes an output stream, not opened. `busId` is 1, 2, or 3 for Solo; only the name that the system
    /// shows for the stream depends on it. Null on failure: the output stays off.
    std::function<std::unique_ptr<OutputStream>(std::uint32_t busId)> makeOutputStream;
    /// Whether each source's delay is kept where its clock is not that of the output (see
    /// PerAppInputBuffers::correctDrift()). Otherwise the drift of the clocks fills or empties its rings.
    bool correctsDrift = false;
    /// Names the calling thread for debuggers, with at most 15 characters. May be empty.
    std::function<void(const char* name)> nameThisThread;
};

/// The bodies of this system, with all members set. Makes no connection and waits for nothing: whether there
/// is a sound system shows at the first call.
[[nodiscard]] RouterPlatform systemRouterPlatform();
