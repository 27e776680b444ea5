#pragma once

#include "platform/ApplicationInventory.h"
#include "platform/windows/routerAudio/AudioSystemCalls.h"

/// The sessions of the default output (console role), in the order of the session enumerator, with what can
/// be read of their processes. A session whose process id cannot be read has id 0. Empty on any failure. The
/// calling thread has COM initialised.
[[nodiscard]] QList<RawAudioSession> audioSessions(const AudioSystemCalls& calls);

/// The path of a process's image; empty without access to it.
[[nodiscard]] QString processImagePath(std::uint32_t processId);
