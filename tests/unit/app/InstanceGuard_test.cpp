#include "app/InstanceGuard.h"
#include "platform/AbandonedSegment.h"
#include "tests/support/LogCapture.h"

#include <QSharedMemory>
#include <QUuid>

#include <gtest/gtest.h>

namespace {

const QString kLine = QStringLiteral("共享内存已存在，直接退出");

QString freshKey() {
    return QStringLiteral("VEXO_test_") + QUuid::createUuid().toString(QUuid::WithoutBraces);
}

} // namespace

TEST(InstanceGuardTest, FirstInstanceTakesTheSegment) {
    QSharedMemory guard(freshKey());
    EXPECT_EQ(decideInstance(guard), InstanceDecision::Run);
    EXPECT_TRUE(guard.isAttached());
    EXPECT_GE(guard.size(), 1); // where the system allocates whole pages, one page
}

TEST(InstanceGuardTest, SecondInstanceIsToldAndTheFirstKeepsItsSegment) {
    const QString key = freshKey();
    QSharedMemory first(key);
    ASSERT_EQ(decideInstance(first), InstanceDecision::Run);
    const LogCapture log;
    {
        QSharedMemory second(key);
        EXPECT_EQ(decideInstance(second), InstanceDecision::AlreadyRunning);
    }
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList(kLine));
    EXPECT_TRUE(first.isAttached());
    QSharedMemory third(key);
    EXPECT_EQ(decideInstance(third), InstanceDecision::AlreadyRunning);
}

TEST(InstanceGuardTest, SegmentGoesWithItsLastAttachment) {
    const QString key = freshKey();
    {
        QSharedMemory first(key);
        ASSERT_EQ(decideInstance(first), InstanceDecision::Run);
        first.detach();
    }
    QSharedMemory probe(key);
    EXPECT_FALSE(probe.attach()) << "the segment is still there";
    QSharedMemory next(key);
    EXPECT_EQ(decideInstance(next), InstanceDecision::Run);
    EXPECT_TRUE(next.isAttached());
}

TEST(InstanceGuardTest, SegmentThatNobodyHoldsIsReleasedAndASegmentInUseIsNot) {
    const QString key = freshKey();
    QSharedMemory holder(key);
    ASSERT_TRUE(holder.create(1, QSharedMemory::ReadWrite));
    QSharedMemory other(key);
    releaseAbandonedSegment(other);
    EXPECT_FALSE(other.isAttached());
    EXPECT_TRUE(other.attach()) << "the segment in use has gone";
}

TEST(InstanceGuardTest, FailureOfAnotherKindDoesNotStopTheProgram) {
    QSharedMemory guard((QString())); // without a key nothing can be created
    const LogCapture log;
    EXPECT_EQ(decideInstance(guard), InstanceDecision::Run);
    EXPECT_FALSE(guard.isAttached());
    EXPECT_EQ(log.count(kLine), 0);
}
