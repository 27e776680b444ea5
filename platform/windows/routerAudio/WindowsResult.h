#pragma once

#include "mixer/SoundResult.h"

#include <cstdint>
#include <windows.h>

/// A result of Windows in the mixer's terms.
[[nodiscard]] inline SoundResult soundResult(HRESULT result) {
    return {SUCCEEDED(result) ? SoundError::None : SoundError::Refused, static_cast<std::uint32_t>(result)};
}
