#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QPointer>
#include <QString>
#include <QThread>

#include <chrono>
#include <cstddef>
#include <hidapi.h>
#include <memory>

/// Writes the reports of one open interface, in their order, on a thread of its own: a device that takes
/// nothing holds up no other thread.
///
/// Made on the main thread; its operations may be called on any thread. The thread shares the queue with the
/// object and outlives it where a write hangs.
class HIDWriter {
public:
    using Handle = std::shared_ptr<hid_device>;

    /// What becomes of the reports that wait when a writer ends.
    enum class Waiting { Written, Dropped };

    /// Reports that can wait.
    static constexpr std::size_t kQueueLength = 256;

    /// Starts the thread. The path is for the log.
    HIDWriter(const QString& path, Handle handle);
    /// Ends the writer; reports that wait are dropped.
    ~HIDWriter();
    HIDWriter(const HIDWriter&) = delete;
    HIDWriter& operator=(const HIDWriter&) = delete;

    /// Takes reports to be written, all or none. False when the queue has no room for them, or after end().
    [[nodiscard]] bool write(const QByteArrayList& reports);

    /// Takes no more reports. Lets the handle go before it returns, unless reports are still to be written or
    /// a write is under way; then the thread does so as it ends. Returns how many reports were dropped. A
    /// writer that ends may be told again to drop what waits.
    std::size_t end(Waiting waiting);

    /// How long the present write has lasted; 0 while none is under way.
    [[nodiscard]] std::chrono::milliseconds writingFor() const;
    /// Whether a report waits or is being written.
    [[nodiscard]] bool isWriting() const;
    [[nodiscard]] bool hasEnded() const;

    /// Waits for the thread after end(), on the main thread. False if it still writes when the time is over.
    [[nodiscard]] bool waitForEnd(std::chrono::milliseconds limit);

private:
    struct Queue;

    static void run(Queue& queue, const QString& path);

    const std::shared_ptr<Queue> queue;
    /// Null once the thread object has died.
    QPointer<QThread> thread;
};
