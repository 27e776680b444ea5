#include "device/HIDDevice.h"

#include <QDebug>

#include <array>
#include <utility>

namespace {

/// One 64-byte report and its report id.
constexpr std::size_t kReadBufferBytes = 65;
/// Bounds how long an interruption takes to be seen.
constexpr int kReadTimeoutMs = 50;

} // namespace

HIDDevice::HIDDevice(QObject* parent) : QObject(parent) {}

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
            // Kept: this call is not expected to fail. The same interface is tried again, the handle stays
            // open.
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
        // The handle moves on to the loop: the functor lives as long as the thread object, which is longer.
        thread = QThread::create(
            [this, path, handle = entry->handle]() mutable { readLoop(path, std::move(handle)); });
        thread->setObjectName(QStringLiteral("HID reader"));
        entry->readThread = thread;
        ++readerCount;
    }
    std::erase_if(readers, [](const QPointer<QThread>& reader) { return reader == nullptr; });
    readers.emplace_back(thread);
    // How a reader's thread object ends: deleting it earlier would wait for the read.
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
}

std::shared_ptr<hid_device> HIDDevice::connectedHandle(const QString& path) const {
    const std::lock_guard lock(mutex);
    const auto entry = devices.constFind(path);
    if (entry == devices.constEnd() || !entry->connected) {
        return nullptr;
    }
    return entry->handle;
}

void HIDDevice::readLoop(const QString& path, std::shared_ptr<hid_device> handle) {
    if (connectedHandle(path) == handle) {
        bool readError = false;
        std::array<unsigned char, kReadBufferBytes> buffer{};
        // The handle is compared, not only the path: it may have been closed and opened anew meanwhile.
        while (!QThread::currentThread()->isInterruptionRequested() && connectedHandle(path) == handle) {
            const int byteCount =
                hid_read_timeout(handle.get(), buffer.data(), buffer.size(), kReadTimeoutMs);
            if (byteCount < 0) {
                readError = true;
                break;
            }
            if (byteCount > 0) {
                emit dataReceived(path, QByteArray(reinterpret_cast<const char*>(buffer.data()), byteCount));
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
    const QStringList paths = devicePaths().keys();
    for (const QString& path : paths) {
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
    // A map that shares its nodes with a copy asks without an order of memory whether it still does, so the
    // next thread to erase one would race with the copy's reader.
    copy.detach();
    return copy;
}

bool HIDDevice::writeAll(const QByteArray& report) {
    bool written = false;
    const Devices open = devicePaths();
    for (auto entry = open.cbegin(); entry != open.cend(); ++entry) {
        if (entry->connected && writeTo(entry.key(), report)) {
            written = true;
        }
    }
    return written;
}

bool HIDDevice::writeTo(const QString& path, const QByteArray& report) {
    const Devices open = devicePaths();
    const auto entry = open.constFind(path);
    if (entry == open.constEnd()) {
        qDebug() << "Device not found";
        return false;
    }
    if (!entry->connected) {
        qDebug() << "Device not connected";
        return false;
    }
    const int result =
        hid_write(entry->handle.get(), reinterpret_cast<const unsigned char*>(report.constData()),
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
    // Out of their loops; now the threads themselves.
    for (const QPointer<QThread>& reader : std::exchange(readers, {})) {
        if (reader != nullptr) {
            reader->wait();
            delete reader;
        }
    }
}
