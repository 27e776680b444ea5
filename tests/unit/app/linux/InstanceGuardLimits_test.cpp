#include "app/InstanceGuard.h"
#include "tests/support/LogCapture.h"

#include <QSharedMemory>
#include <QUuid>

#include <gtest/gtest.h>
#include <sys/resource.h>

TEST(InstanceGuardTest, SegmentThatCanNeitherBeMetNorReplacedStopsTheProgramWithoutAMessage) {
    const QString key = QStringLiteral("VEXO_test_") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    QSharedMemory holder(key);
    ASSERT_TRUE(holder.create(1 << 30, QSharedMemory::ReadWrite));
    // No room in the address space for a second attachment: every attach fails, every create meets the
    // segment.
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    rlimit tight = before;
    tight.rlim_cur = 1;
    ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
    QSharedMemory guard(key);
    const LogCapture log;
    const InstanceDecision decision = decideInstance(guard);
    ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_EQ(decision, InstanceDecision::AlreadyRunning);
    EXPECT_TRUE(log.lines().isEmpty());
}
