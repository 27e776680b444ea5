#include "dsp/hidProtocol.h"

#include "dsp/frames/CommandTable.h"
#include "dsp/frames/ControlFrame.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int kWriteWaitMs = 1;
constexpr int kReadRoundMs = 1;
constexpr int kReadRounds = 10;
/// The most old reports that a command reads away.
constexpr int kMaxReadAway = 64;
constexpr int kOpenRetryMs = 100;
constexpr int kOpenLimitMs = 2000;
constexpr std::size_t kFeatureBytes = 17;

void print(const QString& text) {
    std::fputs(qPrintable(text), stdout);
    std::fflush(stdout);
}

QString lastHidError(hid_device* device) {
    const wchar_t* const text = hid_error(device);
    return text == nullptr ? QString() : QString::fromWCharArray(text);
}

} // namespace

hidProtocol::ReplyBuffer hidProtocol::replyStore{};
std::int32_t hidProtocol::replyLength = 0;
bool hidProtocol::stopRequested = false;

hidProtocol& hidProtocol::instance() {
    static hidProtocol protocol;
    return protocol;
}

hidProtocol::hidProtocol() : hidReady(hid_init() == 0) {}

hidProtocol::~hidProtocol() {
    closeDevice();
}

void hidProtocol::setState(std::int32_t entered) {
    state = entered;
    running = true;
    if (state == stateIdle) {
        emit StatusChage(tr("Idle         "));
    } else if (state == stateBusy) {
        emit StatusChage(tr("Busy         "));
    }
}

bool hidProtocol::openDevice(std::uint16_t vid, std::uint16_t pid, const wchar_t* serial) {
    closeDevice();
    print(QString::asprintf("openDevice(vid 0x%04X, pid 0x%04X)...\n", unsigned{vid}, unsigned{pid}));
    vendorId = vid;
    productId = pid;
    handle = openOnceAllowed(serial);
    print(isOpen() ? "Success\n" : "Failed\n");
    setState(isOpen() ? stateOpened : stateFinishedFail);
    return isOpen();
}

hid_device* hidProtocol::openOnceAllowed(const wchar_t* serial) {
    QElapsedTimer elapsed;
    elapsed.start();
    bool told = false;
    for (;;) {
        hid_device* const opened = hid_open(vendorId, productId, serial);
        if (opened != nullptr) {
            return opened;
        }
        const QString reason = lastHidError(nullptr);
        if (!reason.contains(u"Permission denied") || elapsed.hasExpired(kOpenLimitMs)) {
            return nullptr;
        }
        if (!told) {
            qWarning() << "hidProtocol: 无访问权限，继续尝试打开:" << reason;
            told = true;
        }
        if (!waitMs(kOpenRetryMs)) {
            return nullptr;
        }
    }
}

void hidProtocol::closeDevice() {
    if (!isOpen()) {
        return;
    }
    hid_close(handle);
    handle = nullptr;
    state = stateClosed;
    hid_exit();
}

int hidProtocol::sendCommand(const std::uint8_t* payload, int length) {
    if (!canTransfer() || length < 0) {
        return -1;
    }
    const auto frame = vexo::dsp::magicFrame({payload, static_cast<std::size_t>(length)});
    if (!frame) {
        return -1;
    }
    beginCommand();
    fillBuffer(frame->report, frame->checksumComputed);
    const int result = writeBuffer(frame->report.size());
    print(QString::asprintf("hid write res =%d\n", result));
    emit sigDisplay_HID_send(result);
    return result;
}

int hidProtocol::set(std::uint8_t group, std::uint8_t command, std::uint8_t index,
                     vexo::dsp::Bytes parameters) {
    const auto record = vexo::dsp::sndcRecord(group, command, index, parameters);
    const int result = record ? sendCommand(record->data(), static_cast<int>(record->size())) : -1;
    if (result >= 0) {
        ReplyBuffer buffer{};
        int length = 0;
        readReply(buffer, length);
    }
    return result;
}

int hidProtocol::sendFrame(const std::uint8_t* data, int length, int form) {
    if (!canTransfer() || length < 0 || length > static_cast<int>(vexo::dsp::kMaxFrameData)) {
        return -1;
    }
    const auto count = static_cast<std::size_t>(length);
    std::size_t reportBytes = 0;
    frameBuffer.fill(0);
    if (form == 1 || form == 2) {
        const vexo::dsp::Frame frame =
            form == 1 ? vexo::dsp::commandFrame({data, count}) : vexo::dsp::packetFrame({data, count + 2});
        fillBuffer(frame.report, frame.checksumComputed);
        reportBytes = frame.report.size();
    }
    // The buffer may serve another send while the events of the wait run.
    const auto report = frameBuffer;
    if (!waitMs(kWriteWaitMs) || !canTransfer()) {
        return -1;
    }
    if (form == 1) {
        beginCommand();
    }
    frameBuffer = report;
    return writeBuffer(reportBytes);
}

/// No report from before the command may answer it.
void hidProtocol::beginCommand() {
    replyStore.fill(0);
    replyLength = 0;
    replyBytes = 0;
    readAway();
}

void hidProtocol::readAway() {
    hid_set_nonblocking(handle, 1);
    ReplyBuffer report{};
    int count = 0;
    while (count < kMaxReadAway && hid_read(handle, report.data(), report.size()) > 0) {
        ++count;
    }
    if (count > 0) {
        qDebug() << "hidProtocol: 丢弃命令之前的报告:" << count;
    }
}

void hidProtocol::fillBuffer(vexo::dsp::Bytes report, bool checksumComputed) {
    if (!checksumComputed) {
        print("data invalid");
    }
    frameBuffer.fill(0);
    std::ranges::copy(report, frameBuffer.begin());
}

int hidProtocol::writeBuffer(std::size_t length) {
    const int result = hid_write(handle, frameBuffer.data(), length);
    if (result < 0) {
        qDebug() << "hidProtocol: 写入失败:" << lastHidError(handle);
    }
    return result;
}

int hidProtocol::readReply(ReplyBuffer& buffer, int& lengthOut) {
    buffer.fill(0);
    lengthOut = 0;
    replyBytes = 0;
    replyStore.fill(0);
    replyLength = -1;
    if (!canTransfer()) {
        return -1;
    }
    hid_set_nonblocking(handle, 1);
    ReplyBuffer report{};
    int result = 0;
    int rounds = 0;
    while (result <= 0 && rounds < kReadRounds) {
        if (!waitMs(kReadRoundMs) || !canTransfer()) {
            return -1;
        }
        result = hid_read(handle, report.data(), report.size());
        ++rounds;
    }
    if (result <= 0) {
        print(QString::asprintf("read time out=[%d]\n", rounds));
    }
    const auto count = static_cast<std::size_t>(std::max(result, 0));
    const vexo::dsp::Bytes payload = vexo::dsp::payloadOf(vexo::dsp::Bytes(report).first(count));
    std::ranges::copy(payload, buffer.begin());
    replyStore = buffer;
    replyLength = result;
    replyBytes = static_cast<int>(payload.size());
    lengthOut = replyBytes;
    emit signal_afterHidRead();
    return result;
}

bool hidProtocol::waitMs(int milliseconds) {
    QEventLoop loop;
    bool lasted = false;
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, [&loop, &lasted] {
        lasted = true;
        loop.quit();
    });
    loop.exec();
    return lasted;
}

int hidProtocol::readManufacturer() {
    return isOpen() ? hid_get_manufacturer_string(handle, textBuffer.data(), textBuffer.size()) : -1;
}

int hidProtocol::readProduct() {
    return isOpen() ? hid_get_product_string(handle, textBuffer.data(), textBuffer.size()) : -1;
}

int hidProtocol::readSerialNumber() {
    return isOpen() ? hid_get_serial_number_string(handle, textBuffer.data(), textBuffer.size()) : -1;
}

int hidProtocol::readIndexedString() {
    return isOpen() ? hid_get_indexed_string(handle, 1, textBuffer.data(), textBuffer.size()) : -1;
}

int hidProtocol::sendFeatureReport() {
    const std::array<std::uint8_t, kFeatureBytes> report{2, 160, 10};
    return isOpen() ? hid_send_feature_report(handle, report.data(), report.size()) : -1;
}

int hidProtocol::showFeatureReport() {
    if (!isOpen()) {
        return -1;
    }
    std::array<std::uint8_t, kFeatureBytes> report{2};
    const int result = hid_get_feature_report(handle, report.data(), report.size());
    for (int i = 0; i < result; ++i) {
        print(QString::asprintf("%02x ", unsigned{report[static_cast<std::size_t>(i)]}));
    }
    print("\n");
    return result;
}

void hidProtocol::hidTestProtocol() {
    qDebug() << "hidProtocol::hidTestProtocol";
    sendFeatureReport();
    showFeatureReport();
}

void hidProtocol::hidActiveDfu() {
    qDebug() << "hidProtocol::hidActiveDfu";
}

void hidProtocol::hidShowEqParameter() {
    qDebug() << "hidProtocol::hidShowEqParameter";
}
