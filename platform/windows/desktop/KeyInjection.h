#pragma once

#include "platform/KeyInjection.h"

#include <functional>
#include <windows.h>

using SendInputCall = std::function<UINT(UINT count, INPUT* records, int size)>;

/// injectKeys() by this function: one call for all events.
[[nodiscard]] std::size_t injectKeysBy(const SendInputCall& sendInput, std::span<const KeyEvent> keys);
