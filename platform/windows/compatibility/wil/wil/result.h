#pragma once

// What a toolchain without the Windows Implementation Library lacks, as far as this program uses it:
// reporting of a failed step with its place in the source, and the callback that sees every report. Like the
// library it writes a line for the debugger.

#include <array>
#include <atomic>
#include <cstdio>
#include <windows.h>

namespace wil {

enum class FailureType { Exception, Return, Log, FailFast };

struct FailureInfo {
    FailureType type;
    HRESULT hr;
    DWORD threadId;
    PCSTR pszCode;
    PCSTR pszFile;
    unsigned int uLineNumber;
};

using LoggingCallback = void(__stdcall*)(const FailureInfo& failure) noexcept;

namespace details {

inline std::atomic<LoggingCallback> loggingCallback{nullptr};

inline void report(FailureType type, HRESULT result, PCSTR code, PCSTR file, unsigned int line) noexcept {
    const FailureInfo failure{type, result, GetCurrentThreadId(), code, file, line};
    if (const LoggingCallback callback = loggingCallback) {
        callback(failure);
    }
    std::array<char, 512> text{};
    std::snprintf(text.data(), text.size(), "%s(%u): %s tid(%lx) %08lX [%s]\n", file, line,
                  type == FailureType::Log ? "LogHr" : "ReturnHr", failure.threadId,
                  static_cast<unsigned long>(result), code);
    OutputDebugStringA(text.data());
}

} // namespace details

/// Sees every report before it is written. One at a time; null for none.
inline void SetResultLoggingCallback(LoggingCallback callback) noexcept {
    details::loggingCallback = callback;
}

} // namespace wil

#define WIL_REPORT_HR(type, result, code)                                                                    \
    wil::details::report(wil::FailureType::type, result, code, __FILE__, __LINE__)

#define RETURN_HR(expression)                                                                                \
    do {                                                                                                     \
        const HRESULT wilResult = (expression);                                                              \
        if (FAILED(wilResult)) {                                                                             \
            WIL_REPORT_HR(Return, wilResult, #expression);                                                   \
        }                                                                                                    \
        return wilResult;                                                                                    \
    } while (false)

#define RETURN_IF_FAILED(expression)                                                                         \
    do {                                                                                                     \
        const HRESULT wilResult = (expression);                                                              \
        if (FAILED(wilResult)) {                                                                             \
            WIL_REPORT_HR(Return, wilResult, #expression);                                                   \
            return wilResult;                                                                                \
        }                                                                                                    \
    } while (false)

#define LOG_IF_FAILED(expression)                                                                            \
    do {                                                                                                     \
        const HRESULT wilResult = (expression);                                                              \
        if (FAILED(wilResult)) {                                                                             \
            WIL_REPORT_HR(Log, wilResult, #expression);                                                      \
        }                                                                                                    \
    } while (false)
