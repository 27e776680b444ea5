#pragma once

class QSharedMemory;

/// Frees the guard's segment when a killed process left it behind, on systems where a segment outlives its
/// process. A segment that a living process holds is not touched. Called before the guard's decision; leaves
/// the object detached.
void releaseAbandonedSegment(QSharedMemory& segment);

/// Whether another user has made what has the guard's key: the segment, or the semaphore that Qt takes before
/// it touches a segment. On systems where all users share the keys; such a segment says nothing of our own
/// program, and such a semaphore would hold it up. Never waits.
[[nodiscard]] bool belongsToAnotherUser(const QSharedMemory& segment);
