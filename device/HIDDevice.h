#pragma once

#include "device/HIDIntervals.h"
#include "device/HIDWriter.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QHash>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QThread>
#include <QTimer>

#include <condition_variable>
#include <cstdint>
#include <hidapi.h>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

/// Owner of open USB HID handles. Opens every interface of a vendor and product id on a usage page, reads
/// each on a thread of its own and writes reports to all of them. It knows nothing of frames: it moves byte
/// blocks of at most one report.
///
/// The object lives on the main thread. Each open interface has one reader thread, which shares the map of
/// interfaces under a lock, and one writer thread behind a queue. The lock is never held across a read or a
/// write. Handles are counted references: the last holder closes the handle. So closing an interface does not
/// wait for its threads, and no read or write uses a closed handle.
///
/// An interface that does not take a report within the limit is given up with one line in the log: it is
/// closed, and openDevice opens it anew. While a report is being written to any interface, none is opened:
/// the system may make an opening wait for that write, whichever device it is for.
class HIDDevice : public QObject {
    Q_OBJECT

public:
    /// One open interface.
    struct DeviceEntry {
        std::shared_ptr<hid_device> handle;
        std::shared_ptr<HIDWriter> writer;
        /// Cleared when the thread object dies.
        QPointer<QThread> readThread;
        /// True from open until closeDevice begins.
        bool connected = false;
    };
    /// Keyed and sorted by hidapi path.
    using Devices = QMap<QString, DeviceEntry>;

    explicit HIDDevice(QObject* parent = nullptr, const HIDIntervals& chosen = {});
    /// Closes all interfaces and waits for their threads, see waitForThreads.
    ~HIDDevice() override;

    /// Opens all interfaces of `vid` and `pid` whose usage page is `usagePage` and that are not open yet.
    /// Opens none while a report waits or is being written. An interface that cannot be opened is reported by
    /// `openFailed`. Either is left to the caller's next scan. `isRetry` keeps the attempts out of the log.
    void openDevice(std::uint16_t vid, std::uint16_t pid, int usagePage, bool isRetry = false);
    /// Opens what has been given up and is still on the bus, as openDevice did last. Does nothing where
    /// nothing has. Of attempts that the system refuses the first one is in the log.
    void openGivenUp();
    /// Closes one interface, from the main thread; an unknown path is ignored. Reports that wait are written,
    /// until one of them hangs.
    void closeDevice(const QString& path);
    void closeAll();

    [[nodiscard]] bool isOpen() const;
    /// A copy of the map.
    [[nodiscard]] Devices devicePaths() const;

    /// Gives the report, its report id first, to the writer of every connected interface. True if at least
    /// one took it.
    bool writeAll(const QByteArray& report);
    /// The same for reports that belong together: a writer takes all of them or none.
    bool writeAll(const QByteArrayList& reports);
    /// True unless the path is unknown or closing, or 256 reports wait. The report is written later and in
    /// its turn; where hidapi then reports -1, a line in the log tells it. A short write counts as success.
    bool writeTo(const QString& path, const QByteArray& report);
    /// Whether a report is still to be written, to an open interface or one that was closed. Main thread.
    [[nodiscard]] bool isWriting() const;

    /// Joins all readers, within one read time-out. What they have read has then been signalled. Main thread,
    /// when no interface is open; while something is still written, a reader may have to wait for that, too.
    void waitForReaders();
    /// Joins readers and writers. Main thread, only for the end of the object or the process, after closeAll.
    /// A writer that hangs in a write is left behind.
    void waitForThreads();

signals:
    /// On the reader thread, for each report read: 1 to 65 bytes.
    void dataReceived(const QString& path, const QByteArray& data);
    /// On the caller's thread, with the reason that hidapi gives.
    void openFailed(const QString& path, const QString& reason);
    /// On the caller's thread, after the reader has been started.
    void deviceConnected(const QString& path);
    /// On the thread that closed the interface: the main thread or the reader. Once for each interface.
    void deviceDisconnected(const QString& path);

private:
    /// Opens the interface, unless it is open, something is still written, or the system refuses.
    void openInterface(const char* hidPath, bool isRetry);
    void openMatchingInterfaces(bool isRetry);
    bool writeTogether(const QString& path, const QByteArrayList& reports);
    void startDataReadThread(const QString& path);
    /// The reader thread's body; returns when the interface of this handle is closed or fails.
    void readLoop(const QString& path, std::shared_ptr<hid_device> handle);
    /// Closes the interface. With a handle given, only if the interface still has that one. Releases the
    /// handle before the signal, so that the device is closed when the signal arrives, unless it is still
    /// being written to. Any thread.
    void closeEntry(const QString& path, std::shared_ptr<hid_device> only, HIDWriter::Waiting waiting);
    /// Ends the writers whose present write has lasted too long, of open interfaces and of closed ones;
    /// watches on while another is under way.
    void giveUpHungWriters();
    void giveUp(const QString& path, HIDWriter& writer);
    /// Whether the path is connected with this handle: it may have been closed and opened again meanwhile.
    [[nodiscard]] bool isConnected(const QString& path, const std::shared_ptr<hid_device>& handle) const;

    const HIDIntervals intervals;
    /// Identity and usage page of the last open request.
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    std::int32_t usagePage = 0;

    mutable std::mutex mutex;
    std::condition_variable readerEnded;
    /// Readers that have been started and have not left their loop; under the mutex.
    int readerCount = 0;
    /// Under the mutex.
    Devices devices;
    /// The readers that have not been joined; main thread only. Entries turn null as their threads end.
    std::vector<QPointer<QThread>> readers;
    /// The writers that had not ended when an interface was opened last, and its own; main thread only.
    std::multimap<QString, std::shared_ptr<HIDWriter>> writers;
    /// Runs while reports are written; looks for those that hang.
    QTimer* const writeWatch;
    /// The interfaces that have been given up and not been opened since, and whether the system has refused
    /// one of them meanwhile. Main thread only.
    QHash<QString, bool> givenUp;
};
