#include "emulator/ReportPipe.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace vexo::emulator {
namespace {

// A report that is to be passed by the next one does not wait longer than this.
constexpr std::uint64_t kHeldAtMostMs = 100;

} // namespace

void ReportPipe::damage(Report& report) {
    if (faults.strikes(FaultKind::Truncate, direction) && report.bytes.size() > 1) {
        report.bytes.resize(1 + faults.below(report.bytes.size() - 1));
        report.frameEnd = std::min(report.frameEnd, report.bytes.size());
    }
    if (faults.strikes(FaultKind::Corrupt, direction) && report.frameEnd > report.frameBegin) {
        const std::size_t at = report.frameBegin + faults.below(report.frameEnd - report.frameBegin);
        report.bytes[at] = static_cast<std::uint8_t>(report.bytes[at] ^ (1U << faults.below(8)));
    }
}

void ReportPipe::releaseHeld(std::uint64_t dueAtMs) {
    if (held) {
        queue.push_back({dueAtMs, std::move(held->report)});
        held.reset();
    }
}

void ReportPipe::push(Report report, std::uint64_t nowMs) {
    if (faults.strikes(FaultKind::Drop, direction)) {
        return;
    }
    const bool twice = faults.strikes(FaultKind::Duplicate, direction);
    const bool later = faults.strikes(FaultKind::Delay, direction);
    const bool passed = faults.strikes(FaultKind::Reorder, direction);
    damage(report);
    const std::uint64_t dueAtMs = nowMs + (later ? faults.get(FaultKind::Delay).amountMs : 0);
    if (passed && !held) {
        held = Timed{dueAtMs + kHeldAtMostMs, report};
        if (twice) {
            queue.push_back({dueAtMs, std::move(report)});
            releaseHeld(dueAtMs);
        }
        return;
    }
    if (twice) {
        queue.push_back({dueAtMs, report});
    }
    queue.push_back({dueAtMs, std::move(report)});
    releaseHeld(dueAtMs);
}

std::optional<Report> ReportPipe::take(std::uint64_t nowMs) {
    if (held && held->dueAtMs <= nowMs) {
        releaseHeld(held->dueAtMs);
    }
    if (queue.empty() || queue.front().dueAtMs > nowMs) {
        return std::nullopt;
    }
    Report report = std::move(queue.front().report);
    queue.pop_front();
    return report;
}

std::uint64_t ReportPipe::nextDueAtMs() const {
    std::uint64_t next = std::numeric_limits<std::uint64_t>::max();
    if (!queue.empty()) {
        next = queue.front().dueAtMs;
    }
    if (held) {
        next = std::min(next, held->dueAtMs);
    }
    return next;
}

void ReportPipe::clear() {
    queue.clear();
    held.reset();
}

} // namespace vexo::emulator
