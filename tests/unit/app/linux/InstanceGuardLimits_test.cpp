#include "app/InstanceGuard.h"
#include "tests/support/LogCapture.h"

#include <QSharedMemory>
#include <QUuid>

#include <cerrno>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/shm.h>
#include <utility>

namespace {

/// What becomes of the coming attachments to shared memory.
struct AttachScript {
    int failures = 0; ///< So many fail.
    /// With the last failure this attachment ends, as that of a process that is killed.
    const void* heldAt = nullptr;
};
AttachScript attachScript;

QString unusedKey() {
    return QStringLiteral("VEXO_test_") + QUuid::createUuid().toString(QUuid::WithoutBraces);
}

} // namespace

/// Stands before the system's function of this name.
extern "C" void* shmat(int segment, const void* address, int flags) noexcept {
    if (attachScript.failures > 0) {
        if (--attachScript.failures == 0 && attachScript.heldAt != nullptr) {
            shmdt(attachScript.heldAt);
        }
        errno = ENOMEM;
        return reinterpret_cast<void*>(-1); // NOLINT(performance-no-int-to-ptr): the system's mark of failure
    }
    return reinterpret_cast<decltype(&shmat)>(dlsym(RTLD_NEXT, "shmat"))(segment, address, flags);
}

TEST(InstanceGuardTest, SegmentThatCanNeitherBeMetNorReplacedStopsTheProgramWithoutAMessage) {
    const QString key = unusedKey();
    QSharedMemory holder(key);
    ASSERT_TRUE(holder.create(1, QSharedMemory::ReadWrite));
    attachScript = {.failures = 1000};
    QSharedMemory guard(key);
    const LogCapture log;
    const InstanceDecision decision = decideInstance(guard);
    EXPECT_EQ(1000 - std::exchange(attachScript, {}).failures, 3);
    EXPECT_EQ(decision, InstanceDecision::AlreadyRunning);
    EXPECT_FALSE(guard.isAttached());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(InstanceGuardTest, StaleSegmentThatIsMetAtTheSecondTryIsReplaced) {
    const QString key = unusedKey();
    QSharedMemory holder(key);
    ASSERT_TRUE(holder.create(1, QSharedMemory::ReadWrite));
    // The first of these attachments is by the release of what a killed process left.
    attachScript = {.failures = 2, .heldAt = holder.constData()};
    QSharedMemory guard(key);
    const LogCapture log;
    const InstanceDecision decision = decideInstance(guard);
    EXPECT_EQ(std::exchange(attachScript, {}).failures, 0);
    EXPECT_EQ(decision, InstanceDecision::Run);
    EXPECT_TRUE(guard.isAttached());
    EXPECT_EQ(guard.size(), 1);
    EXPECT_TRUE(log.lines().isEmpty());
    QSharedMemory next(key);
    EXPECT_EQ(decideInstance(next), InstanceDecision::AlreadyRunning);
}
