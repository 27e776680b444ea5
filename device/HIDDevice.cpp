#include "device/HIDDevice.h"

#include <QDebug>
#include <QVarLengthArray>

#include <utility>

namespace {

/// One 64-byte report and its report id.
constexpr qsizetype kReadBufferBytes = 65;

QByteArray readBuffer() {
    return {kReadBufferBytes, Qt::Uninitialized};
}

} // namespace

HIDDevice::HIDDevice(QObject* parent, int timeoutMs) : QObject(parent), readTimeoutMs(timeoutMs) {}

HIDDevice::~HIDDevice() {
    closeAll();
    waitForReaders();
}

void HIDDevice::openDevice(std::uint16_t vid, std::uint16_t pid, int page) {
    vendorId = vid;
    productId = pid;
    usagePage = page;

    hid_device_info* const list = hid_enumerate(vendorId, productId);
    if (list == nullptr) {
        return;
    }
    for (const hid_device_info* info = list; info != nullptr;) {
        const QString path = QString::fromUtf8(info->path);
        bool alreadyOpen = false;
        {
            const std::lock_guard lock(mutex);
            alreadyOpen = devices.contains(path);
        }
        if (info->usage_page != usagePage || alreadyOpen) {
            info = info->next;
            continue;
        }
        qDebug() << " hid_open_path ";
        hid_device* const opened = hid_open_path(info->path);
        if (opened == nullptr) {
            info = info->next;
            continue;
        }
        const int result = hid_set_nonblocking(opened, 1);
        if (result < 0) {
            // Kept: this call is not expected to fail. The same interface is tried again and the handle
            // stays open.
            qDebug() << "hid_set_nonblocking failed:" << result;
            continue;
        }
        {
            const std::lock_guard lock(mutex);
            devices.insert(path, {std::shared_ptr<hid_device>(opened, hid_close), nullptr, true});
        }
        startDataReadThread(path);
        emit deviceConnected(path);
        info = info->next;
    }
    hid_free_enumeration(list);
}

void HIDDevice::startDataReadThread(const QString& path) {
    QThread* thread = nullptr;
    {
        const std::lock_guard lock(mutex);
        const auto entry = devices.find(path);
        if (entry == devices.end()) {
            return;
        }
        // The loop takes the handle over: the functor lives longer, as long as the thread object.
        thread = QThread::create(
            [this, path, handle = entry->handle]() mutable { readLoop(path, std::move(handle)); });
        thread->setObjectName(QStringLiteral("HID reader"));
        entry->readThread = thread;
        ++readerCount;
    }
    std::erase_if(readers, [](const QPointer<QThread>& reader) { return reader == nullptr; });
    readers.emplace_back(thread);
    // Deleting the thread object earlier would wait for the read.
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
}

bool HIDDevice::isConnected(const QString& path, const std::shared_ptr<hid_device>& handle) const {
    const std::lock_guard lock(mutex);
    const auto entry = devices.constFind(path);
    return entry != devices.constEnd() && entry->connected && entry->handle == handle;
}

void HIDDevice::readLoop(const QString& path, std::shared_ptr<hid_device> handle) {
    if (isConnected(path, handle)) {
        bool readError = false;
        // Each report is read into the array that the signal carries.
        QByteArray report = readBuffer();
        while (!QThread::currentThread()->isInterruptionRequested() && isConnected(path, handle)) {
            const int byteCount =
                hid_read_timeout(handle.get(), reinterpret_cast<unsigned char*>(report.data()),
                                 static_cast<std::size_t>(report.size()), readTimeoutMs);
            if (byteCount < 0) {
                readError = true;
                break;
            }
            if (byteCount > 0) {
                report.truncate(byteCount);
                emit dataReceived(path, std::exchange(report, readBuffer()));
            }
        }
        if (readError) {
            qDebug() << "HIDDevice: 读取错误，设备可能已断开:" << path;
        }
        qDebug() << "HIDDevice:  ，设备可能已断开:" << path;
        closeEntry(path, std::move(handle));
    }
    handle.reset();

    const std::lock_guard lock(mutex);
    --readerCount;
    readerEnded.notify_all();
}

void HIDDevice::closeDevice(const QString& path) {
    closeEntry(path, nullptr);
}

void HIDDevice::closeEntry(const QString& path, std::shared_ptr<hid_device> only) {
    std::shared_ptr<hid_device> handle;
    {
        const std::lock_guard lock(mutex);
        const auto entry = devices.find(path);
        if (entry == devices.end() || !entry->connected || (only != nullptr && entry->handle != only)) {
            // Unknown, closed by another thread or being closed, or opened anew.
            return;
        }
        entry->connected = false;
        if (entry->readThread != nullptr && entry->readThread->isRunning()) {
            entry->readThread->requestInterruption();
            entry->readThread->quit();
        }
        entry->readThread.clear();
        handle = std::move(entry->handle);
    }
    only.reset();
    handle.reset();
    {
        const std::lock_guard lock(mutex);
        devices.remove(path);
    }
    emit deviceDisconnected(path);
}

void HIDDevice::closeAll() {
    QStringList paths;
    {
        const std::lock_guard lock(mutex);
        paths = devices.keys();
    }
    for (const QString& path : std::as_const(paths)) {
        closeDevice(path);
    }
    const std::lock_guard lock(mutex);
    devices.clear();
}

bool HIDDevice::isOpen() const {
    const std::lock_guard lock(mutex);
    return !devices.isEmpty();
}

HIDDevice::Devices HIDDevice::devicePaths() const {
    const std::lock_guard lock(mutex);
    Devices copy = devices;
    // A shared map reads its reference count without memory ordering, so the next thread to erase an entry
    // would race with the reader of the copy.
    copy.detach();
    return copy;
}

bool HIDDevice::writeAll(const QByteArray& report) {
    // The paths of the moment: an interface may close during the writes.
    QVarLengthArray<QString, 4> paths;
    {
        const std::lock_guard lock(mutex);
        for (auto entry = devices.cbegin(); entry != devices.cend(); ++entry) {
            if (entry->connected) {
                paths.append(entry.key());
            }
        }
    }
    bool written = false;
    for (const QString& path : paths) {
        written = writeTo(path, report) || written;
    }
    return written;
}

bool HIDDevice::writeTo(const QString& path, const QByteArray& report) {
    bool known = false;
    std::shared_ptr<hid_device> handle;
    {
        const std::lock_guard lock(mutex);
        const auto entry = devices.constFind(path);
        known = entry != devices.constEnd();
        if (known && entry->connected) {
            handle = entry->handle;
        }
    }
    if (handle == nullptr) {
        qDebug() << (known ? "Device not connected" : "Device not found");
        return false;
    }
    const int result = hid_write(handle.get(), reinterpret_cast<const unsigned char*>(report.constData()),
                                 static_cast<std::size_t>(report.size()));
    if (result == -1) {
        qDebug() << "Failed to write to device:" << path << "data: " << report.toHex();
        return false;
    }
    return true;
}

void HIDDevice::waitForReaders() {
    {
        std::unique_lock lock(mutex);
        readerEnded.wait(lock, [this] { return readerCount == 0; });
    }
    // All loops have ended; now the threads themselves.
    for (const QPointer<QThread>& reader : std::exchange(readers, {})) {
        if (reader != nullptr) {
            reader->wait();
            delete reader;
        }
    }
}
