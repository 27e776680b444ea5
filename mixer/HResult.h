#pragma once

// The result code of Windows' calls, which the router's lines print and its rules test. A body for another
// system answers with the same codes: kHResultOk, or the code whose meaning comes nearest.

#include <cstdint>
#include <string>

/// Negative: failed. Zero or above: done.
using HResult = std::int32_t;

[[nodiscard]] constexpr HResult hresult(std::uint32_t code) {
    return static_cast<HResult>(code);
}

inline constexpr HResult kHResultOk = 0;                                  ///< S_OK
inline constexpr HResult kHResultFalse = 1;                               ///< S_FALSE: done, nothing to do
inline constexpr HResult kHResultNotImplemented = hresult(0x80004001);    ///< E_NOTIMPL
inline constexpr HResult kHResultFail = hresult(0x80004005);              ///< E_FAIL
inline constexpr HResult kHResultChangedMode = hresult(0x80010106);       ///< RPC_E_CHANGED_MODE
inline constexpr HResult kHResultOutOfMemory = hresult(0x8007000E);       ///< E_OUTOFMEMORY
inline constexpr HResult kHResultInvalidState = hresult(0x8007139F);      ///< Win32's ERROR_INVALID_STATE
inline constexpr HResult kHResultDeviceInvalidated = hresult(0x88890004); ///< AUDCLNT_E_DEVICE_INVALIDATED
inline constexpr HResult kHResultWrongEndpoint = hresult(0x88890003);     ///< AUDCLNT_E_WRONG_ENDPOINT_TYPE
inline constexpr HResult kHResultServiceNotRunning = hresult(0x88890010); ///< AUDCLNT_E_SERVICE_NOT_RUNNING

[[nodiscard]] constexpr bool failed(HResult result) {
    return result < 0;
}

/// The code's hexadecimal digits, in lower case and without leading zeros; lines write "0x" before them.
[[nodiscard]] std::wstring hexDigits(HResult result);
