#pragma once

class QSharedMemory;

/// Whether this process may run, decided on the guard's one-byte segment.
enum class InstanceDecision {
    Run,           ///< The segment is ours, or making it failed for a reason other than its existence.
    AlreadyRunning ///< Another instance holds it, or a stale segment cannot be replaced.
};

/// Takes the segment of `guard` (which has its key and is detached). Only an existing segment that somebody
/// holds stops the program: any other failure does not block the user.
[[nodiscard]] InstanceDecision decideInstance(QSharedMemory& guard);
