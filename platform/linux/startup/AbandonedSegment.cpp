#include "platform/AbandonedSegment.h"

#include <QFile>
#include <QSharedMemory>
#include <QSystemSemaphore>

#include <cerrno>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

namespace {

// As the system wants it to be declared by its callers.
union SemaphoreArgument {
    int value;
    semid_ds* state;
    unsigned short* values;
};

/// The system's key, -1 where nothing has one: the key is that of a file.
key_t systemKeyOf(const QNativeIpcKey& key) {
    return ftok(QFile::encodeName(key.nativeKey()).constData(), static_cast<int>(key.type()));
}

// An owner can give his segment another owner's id; the maker's stays.
bool isMadeByAnother(int result, const ipc_perm& owner) {
    if (result == -1) {
        return errno == EACCES;
    }
    return owner.uid != geteuid() || owner.cuid != geteuid();
}

bool isSegmentOfAnother(key_t key) {
    const int segment = shmget(key, 0, 0);
    if (segment == -1) {
        return false;
    }
    shmid_ds state{};
    const int result = shmctl(segment, IPC_STAT, &state);
    return isMadeByAnother(result, state.shm_perm);
}

bool isSemaphoreOfAnother(key_t key) {
    const int semaphore = semget(key, 0, 0);
    if (semaphore == -1) {
        return false;
    }
    semid_ds state{};
    SemaphoreArgument argument{};
    argument.state = &state;
    const int result = semctl(semaphore, 0, IPC_STAT, argument);
    return isMadeByAnother(result, state.sem_perm);
}

} // namespace

void releaseAbandonedSegment(QSharedMemory& segment) {
    // The last detach removes a segment that nobody holds.
    if (segment.attach(QSharedMemory::ReadWrite)) {
        segment.detach();
    }
}

bool belongsToAnotherUser(const QSharedMemory& segment) {
    const key_t segmentKey = systemKeyOf(segment.nativeIpcKey());
    const key_t semaphoreKey = systemKeyOf(QSystemSemaphore::legacyNativeKey(segment.key()));
    return (segmentKey != -1 && isSegmentOfAnother(segmentKey)) ||
           (semaphoreKey != -1 && isSemaphoreOfAnother(semaphoreKey));
}
