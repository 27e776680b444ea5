#pragma once

class QSharedMemory;

/// Frees the guard's segment when a killed process left it behind, on systems where a segment outlives its
/// process. A segment that a living process holds is not touched. Called before the guard's decision; leaves
/// the object detached.
void releaseAbandonedSegment(QSharedMemory& segment);
