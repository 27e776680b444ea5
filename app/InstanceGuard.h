#pragma once

#include "platform/UserLock.h"

#include <QString>

#include <chrono>
#include <memory>

class QSharedMemory;

/// Whether this process may run.
enum class InstanceDecision {
    Run,           ///< It is the only one, or whether it is cannot be found out.
    AlreadyRunning ///< Another one runs, or a stale segment cannot be replaced.
};

/// Takes the segment of `guard` (which has its key and is detached), after what a killed process left of it
/// has been freed. Only an existing segment that somebody holds stops the program: any other failure does not
/// block the user. May wait for whoever else is at the segment.
[[nodiscard]] InstanceDecision decideInstance(QSharedMemory& guard);

/// Lets one process of each user run. A lock that only this user can reach decides, see UserLock.h. Beside it
/// stands the one-byte segment of `segmentKey`, which stops the program, too, where a process of this user
/// holds it: one that found another folder for its lock. Where another user has the key, or holds the segment
/// up, the lock decides alone. Main thread.
class InstanceGuard {
public:
    /// How long the segment is waited for, at the start and at the end.
    static constexpr std::chrono::seconds kSegmentPatience{1};

    explicit InstanceGuard(const QString& segmentKey);

    /// Prints a line where another process runs. Also again after release().
    [[nodiscard]] InstanceDecision decide();
    /// Lets the next process in: the segment goes before the lock. Also at the end of the object.
    void release();
    ~InstanceGuard();
    InstanceGuard(const InstanceGuard&) = delete;
    InstanceGuard& operator=(const InstanceGuard&) = delete;

private:
    const QString key;
    std::shared_ptr<QSharedMemory> segment; // null before decide(), and where it is left to whom it belongs
    UserLock lock;
};
