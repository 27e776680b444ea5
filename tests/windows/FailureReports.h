#pragma once

#include "platform/windows/system/WideText.h"

#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>
#include <wil/result.h>

/// Collects what is reported through wil for as long as it lives, from all threads, as "file hresult". One at
/// a time.
class FailureReports {
public:
    FailureReports() {
        static_cast<void>(take());
        wil::SetResultLoggingCallback([](const wil::FailureInfo& failure) noexcept {
            std::wostringstream text;
            text << failure.pszFile << (failure.uLineNumber > 0 ? L"" : L" without a line") << L" 0x"
                 << std::hex << static_cast<std::uint32_t>(failure.hr);
            const std::lock_guard lock(mutex);
            reports.push_back(utf8Of(text.str()));
        });
    }
    ~FailureReports() { wil::SetResultLoggingCallback(nullptr); }
    FailureReports(const FailureReports&) = delete;
    FailureReports& operator=(const FailureReports&) = delete;

    /// What was reported since the last call.
    [[nodiscard]] static std::vector<std::string> take() {
        const std::lock_guard lock(mutex);
        return std::exchange(reports, {});
    }

private:
    inline static std::mutex mutex;
    inline static std::vector<std::string> reports;
};
