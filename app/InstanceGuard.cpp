#include "app/InstanceGuard.h"

#include "platform/AbandonedSegment.h"
#include "platform/ThreadName.h"

#include <QDebug>
#include <QSharedMemory>

#include <future>
#include <optional>
#include <thread>
#include <type_traits>
#include <utility>

namespace {

constexpr int kSegmentBytes = 1;

void tellOfAnother() {
    qDebug() << "共享内存已存在，直接退出";
}

/// What `work` at the segment returns; nothing where it does not come back in time. It runs on a thread of
/// its own, which is left alone then: whoever holds the segment's semaphore holds up all others, without a
/// limit.
template <typename Work>
std::optional<std::invoke_result_t<Work>> withPatience(Work work) {
    std::packaged_task<std::invoke_result_t<Work>()> task([work = std::move(work)] {
        nameThisThread("Instance guard");
        return work();
    });
    std::future<std::invoke_result_t<Work>> result = task.get_future();
    std::thread(std::move(task)).detach();
    if (result.wait_for(InstanceGuard::kSegmentPatience) != std::future_status::ready) {
        qWarning() << "InstanceGuard: the segment is held up, the lock decides alone";
        return std::nullopt;
    }
    return result.get();
}

} // namespace

InstanceDecision decideInstance(QSharedMemory& guard) {
    releaseAbandonedSegment(guard);

    if (guard.create(kSegmentBytes, QSharedMemory::ReadWrite)) {
        return InstanceDecision::Run;
    }
    if (guard.error() != QSharedMemory::AlreadyExists) {
        return InstanceDecision::Run;
    }
    if (guard.attach(QSharedMemory::ReadWrite)) {
        tellOfAnother();
        return InstanceDecision::AlreadyRunning;
    }
    // The segment cannot be attached: it is stale.
    if (guard.attach(QSharedMemory::ReadWrite)) {
        guard.detach();
    }
    return guard.create(kSegmentBytes, QSharedMemory::ReadWrite) ? InstanceDecision::Run
                                                                 : InstanceDecision::AlreadyRunning;
}

InstanceGuard::InstanceGuard(const QString& segmentKey) : key(segmentKey) {}

InstanceGuard::~InstanceGuard() {
    release();
}

InstanceDecision InstanceGuard::decide() {
    if (lock.take(key + QStringLiteral(".lock")) == UserLock::Answer::HeldByAnother) {
        tellOfAnother();
        return InstanceDecision::AlreadyRunning;
    }
    if (segment == nullptr) {
        segment = std::make_shared<QSharedMemory>(key);
    }
    if (belongsToAnotherUser(*segment)) {
        segment.reset();
        return InstanceDecision::Run;
    }
    const auto decision = withPatience([held = segment] { return decideInstance(*held); });
    if (!decision.has_value()) {
        segment.reset();
    }
    return decision.value_or(InstanceDecision::Run);
}

void InstanceGuard::release() {
    if (segment != nullptr && segment->isAttached()) {
        static_cast<void>(withPatience([held = segment] { return held->detach(); }));
    }
    // Its end removes the semaphore that it has made, which the next process may hold by then.
    segment.reset();
    lock.release();
}
