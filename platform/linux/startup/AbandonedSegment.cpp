#include "platform/AbandonedSegment.h"

#include <QSharedMemory>

void releaseAbandonedSegment(QSharedMemory& segment) {
    // The last detach removes a segment that nobody holds.
    if (segment.attach(QSharedMemory::ReadWrite)) {
        segment.detach();
    }
}
