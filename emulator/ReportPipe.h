// One direction of a device's cable: reports go in, and come out in order, later, twice, damaged or not at
// all, as the fault plan has it.
//
// Times are milliseconds of the caller's clock and never go back. One thread.
#pragma once

#include "emulator/Bytes.h"
#include "emulator/FaultPlan.h"

#include <deque>

namespace vexo::emulator {

struct Report {
    Bytes bytes;
    // Where the bytes of frames stand in it, for a fault that damages them.
    std::size_t frameBegin = 0;
    std::size_t frameEnd = 0;
    // The interface that it travels on.
    int interfaceNumber = 0;
};

class ReportPipe {
public:
    ReportPipe(Direction pipeDirection, FaultPlan& faultPlan) : direction(pipeDirection), faults(faultPlan) {}

    void push(Report report, std::uint64_t nowMs);
    // The next report that is due, or nothing.
    std::optional<Report> take(std::uint64_t nowMs);
    // When a report is due next; the greatest number when none is on its way.
    std::uint64_t nextDueAtMs() const;
    void clear();

private:
    struct Timed {
        std::uint64_t dueAtMs;
        Report report;
    };

    void damage(Report& report);
    void releaseHeld(std::uint64_t dueAtMs);

    Direction direction;
    FaultPlan& faults;
    // In the order of the cable: nothing overtakes what is before it, even when that is due later.
    std::deque<Timed> queue;
    // A report that waits for the next one to pass it, and how long it waits at most.
    std::optional<Timed> held;
};

} // namespace vexo::emulator
