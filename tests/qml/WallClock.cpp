#include "tests/qml/WallClock.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <ratio>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<qint64> clockOffsetMs{0};

} // namespace

qint64 WallClock::offsetMs() {
    return clockOffsetMs;
}

void WallClock::setOffsetMs(qint64 offset) {
    clockOffsetMs = offset;
}

// Stands before the C library's function, by which all clocks are read.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const long result = syscall(SYS_clock_gettime, clock, time);
    if (clock == CLOCK_REALTIME) {
        const std::chrono::milliseconds offset(clockOffsetMs);
        const auto seconds = std::chrono::floor<std::chrono::seconds>(offset);
        const auto nanoseconds = time->tv_nsec + std::chrono::nanoseconds(offset - seconds).count();
        constexpr std::int64_t kSecondNs = std::nano::den;
        time->tv_sec += seconds.count() + nanoseconds / kSecondNs;
        time->tv_nsec = nanoseconds % kSecondNs;
    }
    return static_cast<int>(result);
}
