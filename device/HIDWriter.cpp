#include "device/HIDWriter.h"

#include <QDebug>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

using std::chrono::steady_clock;

struct HIDWriter::Queue {
    std::mutex mutex;
    std::condition_variable changed;
    /// Everything under the mutex.
    std::deque<QByteArray> reports;
    /// Null once it is let go.
    Handle handle;
    std::optional<steady_clock::time_point> writingSince;
    bool ending = false;
    bool ended = false;
};

HIDWriter::HIDWriter(const QString& path, Handle handle) : queue(std::make_shared<Queue>()) {
    queue->handle = std::move(handle);
    thread = QThread::create([path, shared = queue] { run(*shared, path); });
    thread->setObjectName(QStringLiteral("HID writer"));
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
}

HIDWriter::~HIDWriter() {
    end(Waiting::Dropped);
}

void HIDWriter::run(Queue& queue, const QString& path) {
    std::unique_lock lock(queue.mutex);
    while (true) {
        queue.changed.wait(lock, [&queue] { return queue.ending || !queue.reports.empty(); });
        if (queue.reports.empty()) {
            break;
        }
        const QByteArray report = std::exchange(queue.reports.front(), {});
        queue.reports.pop_front();
        queue.writingSince = steady_clock::now();
        Handle handle = queue.handle;
        lock.unlock();
        const int result = hid_write(handle.get(), reinterpret_cast<const unsigned char*>(report.constData()),
                                     static_cast<std::size_t>(report.size()));
        if (result == -1) {
            qDebug() << "Failed to write to device:" << path << "data: " << report.toHex();
        }
        handle.reset();
        lock.lock();
        queue.writingSince.reset();
    }
    const Handle last = std::exchange(queue.handle, nullptr);
    queue.ended = true;
    queue.changed.notify_all();
    lock.unlock();
}

bool HIDWriter::write(const QByteArrayList& reports) {
    const std::lock_guard lock(queue->mutex);
    const auto count = static_cast<std::size_t>(reports.size());
    if (queue->ending || count > kQueueLength - queue->reports.size()) {
        return false;
    }
    queue->reports.insert(queue->reports.end(), reports.begin(), reports.end());
    queue->changed.notify_all();
    return true;
}

std::size_t HIDWriter::end(Waiting waiting) {
    Handle released;
    const std::lock_guard lock(queue->mutex);
    queue->ending = true;
    std::size_t dropped = 0;
    if (waiting == Waiting::Dropped) {
        dropped = queue->reports.size();
        queue->reports.clear();
    }
    if (queue->reports.empty()) {
        released = std::exchange(queue->handle, nullptr);
    }
    queue->changed.notify_all();
    return dropped;
}

std::chrono::milliseconds HIDWriter::writingFor() const {
    const std::lock_guard lock(queue->mutex);
    const std::optional<steady_clock::time_point> since = queue->writingSince;
    return since ? std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - *since)
                 : std::chrono::milliseconds::zero();
}

bool HIDWriter::isWriting() const {
    const std::lock_guard lock(queue->mutex);
    return queue->writingSince || !queue->reports.empty();
}

bool HIDWriter::hasEnded() const {
    const std::lock_guard lock(queue->mutex);
    return queue->ended;
}

bool HIDWriter::waitForEnd(std::chrono::milliseconds limit) {
    {
        std::unique_lock lock(queue->mutex);
        if (!queue->changed.wait_for(lock, limit, [this] { return queue->ended; })) {
            return false;
        }
    }
    if (thread != nullptr) {
        thread->wait();
        delete thread;
    }
    return true;
}
