#pragma once

#include "device/HIDIntervals.h"

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QThread>

#include <condition_variable>
#include <cstdint>
#include <hidapi.h>
#include <memory>
#include <mutex>
#include <vector>

/// Owner of open USB HID handles. Opens every interface of a vendor and product id on a usage page, reads
/// each on a thread of its own and writes reports to all of them. It knows nothing of frames: it moves byte
/// blocks of at most one report.
///
/// The object lives on the main thread. Each open interface has one reader thread, which shares the map of
/// interfaces under a lock. The lock is never held across a read or a write. Handles are counted references:
/// the last holder closes the handle. So closing an interface does not wait for its reader, and no read uses
/// a closed handle.
class HIDDevice : public QObject {
    Q_OBJECT

public:
    /// One open interface.
    struct DeviceEntry {
        std::shared_ptr<hid_device> handle;
        /// Cleared when the thread object dies.
        QPointer<QThread> readThread;
        /// True from open until closeDevice begins.
        bool connected = false;
    };
    /// Keyed and sorted by hidapi path.
    using Devices = QMap<QString, DeviceEntry>;

    explicit HIDDevice(QObject* parent = nullptr, int timeoutMs = HIDIntervals{}.readTimeoutMs);
    /// Closes all interfaces and waits for the readers: at most one read time-out.
    ~HIDDevice() override;

    /// Opens all interfaces of `vid` and `pid` whose usage page is `usagePage` and that are not open yet.
    /// If nothing is found or an interface cannot be opened, nothing happens: the caller's next scan tries
    /// again.
    void openDevice(std::uint16_t vid, std::uint16_t pid, int usagePage);
    /// Closes one interface, from the main thread or its own reader; an unknown path is ignored.
    void closeDevice(const QString& path);
    void closeAll();

    [[nodiscard]] bool isOpen() const;
    /// A copy of the map.
    [[nodiscard]] Devices devicePaths() const;

    /// Writes the report, its report id first, to every connected interface. True if at least one took it.
    bool writeAll(const QByteArray& report);
    /// True unless the path is unknown, closing, or hidapi reports -1. A short write counts as success.
    bool writeTo(const QString& path, const QByteArray& report);

    /// Joins all readers. Main thread, only for the end of the object or the process, after closeAll.
    void waitForReaders();

signals:
    /// On the reader thread, for each report read: 1 to 65 bytes.
    void dataReceived(const QString& path, const QByteArray& data);
    /// On the caller's thread, after the reader has been started.
    void deviceConnected(const QString& path);
    /// On the thread that closed the interface: the main thread or the reader. Once for each interface.
    void deviceDisconnected(const QString& path);

private:
    void startDataReadThread(const QString& path);
    /// The reader thread's body; returns when the interface of this handle is closed or fails.
    void readLoop(const QString& path, std::shared_ptr<hid_device> handle);
    /// Closes the interface. With a handle given, only if the interface still has that one. Releases the
    /// handle before the signal, so that the device is closed when the signal arrives. Any thread.
    void closeEntry(const QString& path, std::shared_ptr<hid_device> only);
    /// Whether the path is connected with this handle: it may have been closed and opened again meanwhile.
    [[nodiscard]] bool isConnected(const QString& path, const std::shared_ptr<hid_device>& handle) const;

    const int readTimeoutMs;
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
};
