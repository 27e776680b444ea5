#pragma once

#include "mixer/RouterPlatform.h"
#include "platform/windows/routerAudio/AudioSystemCalls.h"

/// Windows' bodies over a table of calls, which they copy. All members are set.
[[nodiscard]] RouterPlatform windowsRouterPlatform(const AudioSystemCalls& calls);
