#include "platform/linux/crash/Backtrace.h"

#include "platform/linux/crash/LoadedModule.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <unwind.h>

namespace {

// Where a stack has overflowed, the first frames tell the circle and the last ones who began it.
constexpr std::size_t kFirstFrames = 64;
constexpr std::size_t kLastFrames = 32;

struct Walk {
    ReportText* report = nullptr;
    // The handler's own frames come first.
    bool isInterrupted = false;
    bool hasHandler = true;
    std::size_t count = 0;
    std::array<std::uintptr_t, kLastFrames> last{};
};

// One handler runs at a time; it is too large for its stack.
constinit LoadedModule frameModule{};

void writeFrame(ReportText& report, std::size_t number, std::uintptr_t address) noexcept {
    report << "#";
    report.decimal(static_cast<std::int64_t>(number)) << " ";
    if (!frameModule.find(address)) {
        report.hexadecimal(address) << " (in no module)\n";
    } else {
        report << frameModule.path() << " + ";
        report.hexadecimal(frameModule.offset()) << " (build id ";
        if (frameModule.buildIdSize() == 0) {
            report << "unknown";
        }
        report.bytes(frameModule.buildId(), frameModule.buildIdSize()) << ")\n";
    }
    report.flush();
}

_Unwind_Reason_Code takeFrame(_Unwind_Context* context, void* data) {
    Walk& walk = *static_cast<Walk*>(data);
    int isAtInstruction = 0;
    const std::uintptr_t address = _Unwind_GetIPInfo(context, &isAtInstruction);
    if (isAtInstruction != 0) {
        walk.isInterrupted = true;
    }
    if (walk.report == nullptr || (walk.hasHandler && !walk.isInterrupted)) {
        return _URC_NO_REASON;
    }
    // A caller's address is that of the next instruction, which may belong to the next line or function.
    const std::uintptr_t within = isAtInstruction != 0 || address == 0 ? address : address - 1;
    if (walk.count < kFirstFrames) {
        writeFrame(*walk.report, walk.count, within);
    } else {
        walk.last[walk.count % kLastFrames] = within;
    }
    ++walk.count;
    return _URC_NO_REASON;
}

void writeLastFrames(const Walk& walk) noexcept {
    const std::size_t kept = std::min(walk.count - std::min(walk.count, kFirstFrames), kLastFrames);
    if (walk.count > kFirstFrames + kept) {
        *walk.report << "... ";
        walk.report->decimal(static_cast<std::int64_t>(walk.count - kFirstFrames - kept))
            << " frames left out\n";
    }
    for (std::size_t number = walk.count - kept; number < walk.count; ++number) {
        writeFrame(*walk.report, number, walk.last[number % kLastFrames]);
    }
}

} // namespace

void prepareBacktrace() noexcept {
    Walk nothing;
    _Unwind_Backtrace(takeFrame, &nothing);
}

void writeBacktrace(ReportText& report) noexcept {
    Walk walk{&report};
    _Unwind_Backtrace(takeFrame, &walk);
    if (walk.count == 0) {
        // The signal's own frame is unknown here.
        walk.hasHandler = false;
        _Unwind_Backtrace(takeFrame, &walk);
    }
    writeLastFrames(walk);
}
