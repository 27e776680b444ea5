#include "device/HIDDevice.h"

#include <QDebug>
#include <QSet>
#include <QVarLengthArray>

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

namespace {

/// One 64-byte report and its report id.
constexpr qsizetype kReadBufferBytes = 65;

/// What a write may still take at the end of the program.
constexpr std::chrono::milliseconds kWriterEndLimit(200);

QByteArray readBuffer() {
    return {kReadBufferBytes, Qt::Uninitialized};
}

} // namespace

HIDDevice::HIDDevice(QObject* parent, const HIDIntervals& chosen)
    : QObject(parent), intervals(chosen), writeWatch(new QTimer(this)) {
    writeWatch->setSingleShot(true);
    connect(writeWatch, &QTimer::timeout, this, &HIDDevice::giveUpHungWriters);
}

HIDDevice::~HIDDevice() {
    closeAll();
    waitForThreads();
}

void HIDDevice::openDevice(std::uint16_t vid, std::uint16_t pid, int page, bool isRetry) {
    vendorId = vid;
    productId = pid;
    usagePage = page;
    givenUp.clear();
    openMatchingInterfaces(isRetry);
}

void HIDDevice::openGivenUp() {
    if (!givenUp.isEmpty()) {
        openMatchingInterfaces(false);
    }
}

void HIDDevice::openMatchingInterfaces(bool isRetry) {
    QSet<QString> present;
    hid_device_info* const list = hid_enumerate(vendorId, productId);
    for (const hid_device_info* info = list; info != nullptr; info = info->next) {
        if (info->usage_page == usagePage) {
            present.insert(QString::fromUtf8(info->path));
            openInterface(info->path, isRetry);
        }
    }
    hid_free_enumeration(list);
    givenUp.removeIf(
        [&present](QHash<QString, bool>::iterator known) { return !present.contains(known.key()); });
}

void HIDDevice::openInterface(const char* hidPath, bool isRetry) {
    const QString path = QString::fromUtf8(hidPath);
    {
        const std::lock_guard lock(mutex);
        if (devices.contains(path)) {
            return;
        }
    }
    std::erase_if(writers, [](const auto& former) { return former.second->hasEnded(); });
    if (isWriting()) {
        givenUp.insert(path, givenUp.value(path));
        return;
    }
    const bool isQuiet = isRetry || givenUp.value(path);
    hid_device* opened = nullptr;
    int result = 0;
    do {
        if (!isQuiet) {
            qDebug() << " hid_open_path ";
        }
        opened = hid_open_path(hidPath);
        if (opened == nullptr) {
            if (const auto refused = givenUp.find(path); refused != givenUp.end()) {
                *refused = true;
            }
            const wchar_t* const reason = hid_error(nullptr);
            emit openFailed(path, reason == nullptr ? QString() : QString::fromWCharArray(reason));
            return;
        }
        result = hid_set_nonblocking(opened, 1);
        if (result < 0) {
            // Kept: this call is not expected to fail. The same interface is tried again and the handle
            // stays open.
            qDebug() << "hid_set_nonblocking failed:" << result;
        }
    } while (result < 0);
    givenUp.remove(path);
    {
        std::shared_ptr<hid_device> handle(opened, hid_close);
        const auto writer = std::make_shared<HIDWriter>(path, handle);
        writers.emplace(path, writer);
        const std::lock_guard lock(mutex);
        devices.insert(path, {std::move(handle), writer, nullptr, true});
    }
    startDataReadThread(path);
    emit deviceConnected(path);
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
                                 static_cast<std::size_t>(report.size()), intervals.readTimeoutMs);
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
        closeEntry(path, std::move(handle), HIDWriter::Waiting::Dropped);
    }
    handle.reset();

    const std::lock_guard lock(mutex);
    --readerCount;
    readerEnded.notify_all();
}

void HIDDevice::closeDevice(const QString& path) {
    closeEntry(path, nullptr, HIDWriter::Waiting::Written);
}

void HIDDevice::closeEntry(const QString& path, std::shared_ptr<hid_device> only,
                           HIDWriter::Waiting waiting) {
    std::shared_ptr<hid_device> handle;
    std::shared_ptr<HIDWriter> writer;
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
        writer = std::move(entry->writer);
    }
    only.reset();
    handle.reset();
    writer->end(waiting);
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
    return writeAll(QByteArrayList{report});
}

bool HIDDevice::writeAll(const QByteArrayList& reports) {
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
        written = writeTogether(path, reports) || written;
    }
    return written;
}

bool HIDDevice::writeTo(const QString& path, const QByteArray& report) {
    return writeTogether(path, QByteArrayList{report});
}

bool HIDDevice::writeTogether(const QString& path, const QByteArrayList& reports) {
    bool known = false;
    std::shared_ptr<HIDWriter> writer;
    {
        const std::lock_guard lock(mutex);
        const auto entry = devices.constFind(path);
        known = entry != devices.constEnd();
        if (known && entry->connected) {
            writer = entry->writer;
        }
    }
    if (writer == nullptr) {
        qDebug() << (known ? "Device not connected" : "Device not found");
        return false;
    }
    if (!writer->write(reports)) {
        for (const QByteArray& report : reports) {
            qDebug() << "Failed to write to device:" << path << "data: " << report.toHex();
        }
        return false;
    }
    if (!writeWatch->isActive()) {
        writeWatch->start(intervals.writeLimitMs);
    }
    return true;
}

bool HIDDevice::isWriting() const {
    return std::ranges::any_of(writers, [](const auto& writer) { return writer.second->isWriting(); });
}

void HIDDevice::giveUpHungWriters() {
    const std::chrono::milliseconds limit(intervals.writeLimitMs);
    std::chrono::milliseconds longest{};
    bool isWatching = false;
    std::vector<std::pair<QString, std::shared_ptr<HIDWriter>>> hung;
    for (const auto& [path, writer] : writers) {
        const std::chrono::milliseconds lasted = writer->writingFor();
        if (lasted >= limit) {
            hung.emplace_back(path, writer);
        } else if (writer->isWriting()) {
            isWatching = true;
            longest = std::max(longest, lasted);
        }
    }
    for (const auto& [path, writer] : hung) {
        giveUp(path, *writer);
    }
    if (isWatching) {
        writeWatch->start(limit - longest);
    }
}

void HIDDevice::giveUp(const QString& path, HIDWriter& writer) {
    bool isOpen = false;
    {
        const std::lock_guard lock(mutex);
        const auto entry = devices.constFind(path);
        isOpen = entry != devices.constEnd() && entry->connected && entry->writer.get() == &writer;
    }
    if (isOpen) {
        qWarning() << "HIDDevice: 写入超时，放弃接口并重新打开:" << path;
        givenUp.insert(path, false);
        closeEntry(path, nullptr, HIDWriter::Waiting::Dropped);
    } else if (const std::size_t dropped = writer.end(HIDWriter::Waiting::Dropped); dropped > 0) {
        qWarning() << "HIDDevice: 写入超时，放弃未写的报告:" << path << dropped;
    }
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

void HIDDevice::waitForThreads() {
    waitForReaders();
    for (const auto& [path, writer] : std::exchange(writers, {})) {
        static_cast<void>(writer->waitForEnd(kWriterEndLimit));
    }
}
