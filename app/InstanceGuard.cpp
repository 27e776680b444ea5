#include "app/InstanceGuard.h"

#include "platform/AbandonedSegment.h"

#include <QDebug>
#include <QSharedMemory>

namespace {
constexpr int kSegmentBytes = 1;
}

InstanceDecision decideInstance(QSharedMemory& guard) {
    releaseAbandonedSegment(guard);

    if (guard.create(kSegmentBytes, QSharedMemory::ReadWrite)) {
        return InstanceDecision::Run;
    }
    if (guard.error() != QSharedMemory::AlreadyExists) {
        return InstanceDecision::Run;
    }
    if (guard.attach(QSharedMemory::ReadWrite)) {
        qDebug() << "共享内存已存在，直接退出";
        return InstanceDecision::AlreadyRunning;
    }
    // The segment cannot be attached: it is stale.
    if (guard.attach(QSharedMemory::ReadWrite)) {
        guard.detach();
    }
    return guard.create(kSegmentBytes, QSharedMemory::ReadWrite) ? InstanceDecision::Run
                                                                 : InstanceDecision::AlreadyRunning;
}
