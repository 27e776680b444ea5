#include "platform/AbandonedSegment.h"

// A segment ends with the last process that holds it, however that process ended.
void releaseAbandonedSegment(QSharedMemory&) {}
