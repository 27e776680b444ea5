#pragma once

#include "platform/InventorySources.h"
#include "platform/windows/applications/InventorySystemCalls.h"
#include "platform/windows/routerAudio/AudioSystemCalls.h"

/// The sessions of the default output (console role), in the order of the session enumerator, with what can
/// be read of their processes. A session whose process id cannot be read has id 0. Empty on any failure. The
/// calling thread has COM initialised.
[[nodiscard]] QList<RawAudioSession> audioSessions(const AudioSystemCalls& calls,
                                                   const InventorySystemCalls& inventoryCalls);

/// The path of a process's image; empty without access to it. Any thread.
[[nodiscard]] QString processImagePath(const InventorySystemCalls& calls, std::uint32_t processId);
/// The file name of a process's image, by its module; empty without access to it. Any thread.
[[nodiscard]] QString processFileName(const InventorySystemCalls& calls, std::uint32_t processId);
