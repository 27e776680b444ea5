#include "device/HIDHotplugManager.h"

#include "device/DeviceLogs.h"
#include "device/HIDDevice.h"
#include "device/UsbIdentity.h"

#include <QCoreApplication>
#include <QDebug>
#include <QPointer>

#include <algorithm>
#include <utility>

namespace {

constexpr int kScanIntervalMs = 2000;
constexpr int kTickIntervalMs = 1;

/// Bytes of a frame that one report carries.
constexpr qsizetype kMicrophoneChunkBytes = 64;
constexpr qsizetype kMixerChunkBytes = 58;
/// What stands before the frame's bytes in each report of the mixer.
constexpr qsizetype kMixerReportHeaderBytes = 4;

constexpr std::uint16_t kPrivateGainLevel = 0x8002;
constexpr std::uint16_t kPrivateButton = 0x8003;
constexpr std::uint16_t kPrivateUpgrade = 0x8006;

/// Offsets in the payload of a version answer.
constexpr std::size_t kVersionMajorOffset = 9;
constexpr std::size_t kVersionMinorOffset = 10;

constexpr std::uint8_t kStatusTimedOut = 1;

QByteArray toByteArray(const std::uint8_t* bytes, std::uint16_t length) {
    return {reinterpret_cast<const char*>(bytes), length};
}

const std::uint8_t* rawBytes(const QByteArray& bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes.constData());
}

QString hexId(std::uint32_t id) {
    return QStringLiteral("%1").arg(id, 4, 16, QLatin1Char('0'));
}

/// The first entry of the bus that the program knows, or null.
const hid_device_info* firstKnownDevice(const hid_device_info* list) {
    for (const hid_device_info* info = list; info != nullptr; info = info->next) {
        const UsbIdentity identity{info->vendor_id, info->product_id};
        if (identity == kVoxmicM40 || identity == kVoxmicT40 || identity == kMixdeskR2 ||
            identity == kMixdeskR2Bootloader) {
            return info;
        }
    }
    return nullptr;
}

} // namespace

HIDHotplugManager* HIDHotplugManager::instance() {
    // The QML engine deletes the object at its end if a document used it; then there is none any more.
    static QPointer<HIDHotplugManager> manager = [] {
        // Where no document did, the readers end here.
        qAddPostRoutine([] {
            if (manager != nullptr) {
                manager->waitForReaders();
            }
        });
        return new HIDHotplugManager;
    }();
    return manager;
}

HIDHotplugManager::HIDHotplugManager(QObject* parent) : QObject(parent), hidDevice(new HIDDevice(this)) {
    connectTransport();

    timers[0] = new QTimer(this);
    connect(timers[0], &QTimer::timeout, this, &HIDHotplugManager::onScanTimer);
    timers[0]->start(kScanIntervalMs);
    timers[1] = new QTimer(this);
    timers[1]->setTimerType(Qt::PreciseTimer);
    connect(timers[1], &QTimer::timeout, this, &HIDHotplugManager::onTimeout);
    timers[1]->start(kTickIntervalMs);

    installLinkCallbacks();

    qDebug() << "HIDHotplugManager 单例创建完成，开始监测设备";
    qDebug() << "监测设备 VID:" << QStringLiteral("0x%1").arg(hexId(vendorId))
             << "PID:" << QStringLiteral("0x%1").arg(hexId(productId));
}

HIDHotplugManager::~HIDHotplugManager() {
    for (QTimer* timer : timers) {
        timer->stop();
    }
    // The readers' last signals are not for an object in destruction.
    hidDevice->disconnect(this);
    qDebug() << "HIDHotplugManager 单例销毁完成，停止监测设备";
}

void HIDHotplugManager::connectTransport() {
    connect(hidDevice, &HIDDevice::deviceConnected, this, [this](const QString& path) {
        qDebug() << "HIDDevice 连接成功:" << path;
        emitDeviceConnected();
    });
    connect(hidDevice, &HIDDevice::deviceDisconnected, this, [this](const QString& path) {
        qDebug() << "HIDDevice 断开连接:" << path;
        emitDeviceConnected();
    });
    connect(hidDevice, &HIDDevice::dataReceived, this,
            [this](const QString&, const QByteArray& report) { onReport(report); });
}

void HIDHotplugManager::installLinkCallbacks() {
    linkInit();
    linkChannel = static_cast<std::int32_t>(linkOpenChannel(
        [](std::uint32_t, std::uint32_t length, const std::uint8_t* bytes, void* context) {
            return static_cast<HIDHotplugManager*>(context)->sendFrame(
                QByteArray(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(length)));
        },
        this));
    linkInstallLoginCallback(
        [](std::uint8_t from, std::uint8_t type, const LinkAddress& address, void* context) {
            static_cast<HIDHotplugManager*>(context)->onLogin(from, type, address);
        },
        this);
    linkInstallNameCallback(
        [](const LinkInfo& info, const std::uint8_t* bytes, void* context) {
            return static_cast<HIDHotplugManager*>(context)->onName(info, bytes);
        },
        this);
    linkInstallSerialCallback(
        [](const LinkInfo& info, const std::uint8_t* bytes, void* context) {
            return static_cast<HIDHotplugManager*>(context)->onSerial(info, bytes);
        },
        this);
    linkInstallVersionCallback(
        [](const LinkInfo& info, const std::uint8_t* bytes, void* context) {
            return static_cast<HIDHotplugManager*>(context)->onVersion(info, bytes);
        },
        this);
    linkInstallErrorCallback([](int code, std::uint16_t messageId, void*) {
        qDebug() << "错误回调 id:" << code << "msgid:" << messageId;
    });
    linkInstallAttributeCallback(
        [](const LinkInfo& info, std::uint16_t attID, const std::uint8_t* bytes, void* context) {
            return static_cast<HIDHotplugManager*>(context)->onAttribute(info, attID, bytes);
        },
        this);
    for (const std::uint16_t messageId : {kPrivateGainLevel, kPrivateButton, kPrivateUpgrade}) {
        linkRegisterMessage(
            messageId,
            [](const LinkFrame& frame, void* context) {
                static_cast<HIDHotplugManager*>(context)->onPrivateMessage(frame);
            },
            nullptr, this);
    }
}

void HIDHotplugManager::onScanTimer() {
    if (hidDevice->isOpen()) {
        return;
    }
    hid_device_info* const list = hid_enumerate(0, 0);
    const hid_device_info* const found = firstKnownDevice(list);
    const bool present = found != nullptr;
    if (present) {
        const UsbIdentity identity{found->vendor_id, found->product_id};
        if (identity == kMixdeskR2Bootloader) {
            // The list of this one scan is not freed: the scan stops here until it is started again.
            stopAndDisconnectDevice();
            emit upgradeFirmwareSignal();
            return;
        }
        vendorId = identity.vendorId;
        productId = identity.productId;
        deviceInfo[QStringLiteral("dpid")] = static_cast<uint>(productId);
    }
    hid_free_enumeration(list);

    if (present && !online) {
        online = true;
        qDebug() << "设备已在线";
    } else if (!present && online) {
        online = false;
        qDebug() << "设备已离线";
    }
    if (!online || hidDevice->isOpen()) {
        return;
    }
    fixedUsage = productId == kMixdeskR2.productId ? kMixerUsagePage : kMicrophoneUsagePage;
    qDebug() << "设备在线，尝试连接" << "FIXED_USAGE:" << fixedUsage;
    hidDevice->openDevice(vendorId, productId, fixedUsage);
}

void HIDHotplugManager::onTimeout() {
    wakeLink();
    linkPoll();
    linkTick(1);
    restLink();
}

void HIDHotplugManager::restLink() {
    const std::uint32_t idleTicks = timers[1]->isActive() ? linkIdleTicks() : 0;
    if (idleTicks == 0) {
        return;
    }
    restTicks = idleTicks;
    restClock.start();
    timers[1]->setInterval(kTickIntervalMs * static_cast<int>(idleTicks + 1));
}

void HIDHotplugManager::wakeLink() {
    if (restTicks == 0) {
        return;
    }
    linkTick(static_cast<std::uint32_t>(
        std::min<qint64>(restClock.elapsed() / kTickIntervalMs, std::exchange(restTicks, 0))));
    timers[1]->setInterval(kTickIntervalMs);
}

int HIDHotplugManager::sendFrame(const QByteArray& frame) {
    if (!hidDevice->isOpen()) {
        return -1;
    }
    const bool mixer = productId == kMixdeskR2.productId;
    const bool microphone = productId == kVoxmicM40.productId || productId == kVoxmicT40.productId;
    const qsizetype chunkBytes = mixer ? kMixerChunkBytes : kMicrophoneChunkBytes;
    for (qsizetype offset = 0; offset < frame.size(); offset += chunkBytes) {
        const QByteArray chunk = frame.mid(offset, chunkBytes);
        QByteArray report;
        if (mixer) {
            report.append('\x01');                          // 0: report id
            report.append(static_cast<char>(chunk.size())); // 1: bytes of the frame in this report
        } else if (microphone) {
            report.append('\x00'); // 0: no report id
        }
        report.append(chunk);
        hidDevice->writeAll(report);
        appendDataLog(QStringLiteral("TX"), report);
    }
    return 1;
}

void HIDHotplugManager::onReport(const QByteArray& report) {
    const QByteArray bytes = productId == kMixdeskR2.productId ? report.mid(kMixerReportHeaderBytes) : report;
    wakeLink();
    linkFeed(static_cast<std::uint32_t>(linkChannel), static_cast<std::uint32_t>(bytes.size()),
             rawBytes(bytes));
    appendDataLog(QStringLiteral("RX"), bytes);
}

void HIDHotplugManager::emitDeviceConnected() {
    emit deviceConnected(deviceInfo, hidDevice->isOpen());
}

void HIDHotplugManager::onLogin(std::uint8_t from, std::uint8_t type, const LinkAddress& address) {
    if (from == 1) {
        return;
    }
    // The type is not looked at: a peer that timed out takes the same path.
    peerAddress = address;
    if (address.chid != 0) {
        linkQueryName(address);
        linkQuerySerial(address);
        linkQueryVersion(address);
        linkSubscribe(address);
        deviceInfo[QStringLiteral("pid")] = static_cast<uint>(address.pid);
        deviceInfo[QStringLiteral("vid")] = static_cast<uint>(address.vid);
    }
    qDebug() << "用户登录回调 from:" << from << "type:" << type
             << QStringLiteral("VID:0x%1 PID:0x%2 CHID:0x%3")
                    .arg(hexId(address.vid), hexId(address.pid), hexId(address.chid));
}

int HIDHotplugManager::onName(const LinkInfo& info, const std::uint8_t* bytes) {
    if (info.status == kStatusTimedOut) {
        return 0;
    }
    const QByteArray data = toByteArray(bytes, info.length);
    const QString name = QString::fromUtf8(data.constData()); // up to the first NUL
    if (name.isEmpty()) {
        return -1;
    }
    deviceInfo[QStringLiteral("name")] = name;
    emitDeviceConnected();
    qDebug() << "设备名回调，长度:" << info.length << "数据:" << data.toHex() << "设备名:" << name;
    return 0;
}

int HIDHotplugManager::onSerial(const LinkInfo& info, const std::uint8_t* bytes) {
    if (info.status == kStatusTimedOut) {
        return 0;
    }
    const QByteArray data = toByteArray(bytes, info.length);
    const QString serial = QString::fromUtf8(data.constData()); // up to the first NUL
    if (serial.isEmpty()) {
        return -1;
    }
    deviceInfo[QStringLiteral("sn")] = serial;
    emitDeviceConnected();
    qDebug() << "SN回调，长度:" << info.length << "数据:" << data.toHex() << "SN:" << serial;
    return 0;
}

int HIDHotplugManager::onVersion(const LinkInfo& info, const std::uint8_t* bytes) {
    if (bytes == nullptr) {
        return 0;
    }
    const QString version =
        QStringLiteral("V%1.%2")
            .arg(uint{bytes[kVersionMajorOffset]})
            .arg(QString::number(uint{bytes[kVersionMinorOffset]}).rightJustified(2, QLatin1Char('0')));
    deviceInfo[QStringLiteral("version")] = version;
    emitDeviceConnected();
    qDebug() << "版本回调，长度:" << info.length << "版本:" << version;
    return 0;
}

int HIDHotplugManager::onAttribute(const LinkInfo& info, std::uint16_t attID, const std::uint8_t* bytes) {
    if (info.status == kStatusTimedOut || info.length == 0 || attID == 0) {
        return -1;
    }
    const QByteArray data = toByteArray(bytes, info.length);
    const QVariantList list = byteArrayToVariantList(data);
    emit messageReceived(attID, list);
    qDebug() << "属性回调 " << "attID:" << attID << "数据:" << data.toHex()
             << "转换后数组长度:" << list.size();
    appendAttributeLog(QStringLiteral("接收"), attID, data);
    return 0;
}

void HIDHotplugManager::onPrivateMessage(const LinkFrame& frame) {
    if (frame.messageId == kPrivateUpgrade) {
        return;
    }
    emit priMsgCallback(frame.messageId, frame.length > 0 ? frame.payload[0] : std::uint8_t{0});
}

QVariantMap HIDHotplugManager::getDeviceInfo() const {
    return deviceInfo;
}

void HIDHotplugManager::messageSend(std::uint16_t attID, const QByteArray& byteArray) {
    if (!hidDevice->isOpen()) {
        return;
    }
    qDebug() << "属性发送 " << "attID:" << attID << "数据:" << byteArray.toHex();
    wakeLink();
    linkSetAttribute(peerAddress, static_cast<std::uint8_t>(attID),
                     static_cast<std::uint8_t>(byteArray.size()), rawBytes(byteArray));
    appendAttributeLog(QStringLiteral("发送"), attID, byteArray);
}

void HIDHotplugManager::messageGet(std::uint16_t attID) {
    if (!hidDevice->isOpen()) {
        return;
    }
    qDebug() << "属性获取 " << "attID:" << attID;
    wakeLink();
    linkGetAttribute(peerAddress, static_cast<std::uint8_t>(attID));
}

void HIDHotplugManager::messageGetAll() {
    if (!hidDevice->isOpen()) {
        return;
    }
    qDebug() << "获取所有属性";
    wakeLink();
    linkGetAttributes(peerAddress, 0, nullptr);
}

QVariantList HIDHotplugManager::byteArrayToVariantList(const QByteArray& byteArray) const {
    QVariantList list;
    list.reserve(byteArray.size());
    for (const char byte : byteArray) {
        list.append(static_cast<uint>(static_cast<std::uint8_t>(byte)));
    }
    return list;
}

void HIDHotplugManager::stopAndDisconnectDevice() {
    qDebug() << "HIDHotplugManager::stopAndDisconnectDevice 停止监测并断开设备";
    hidDevice->closeAll();
    online = false;
    wakeLink();
    for (QTimer* timer : timers) {
        if (timer->isActive()) {
            timer->stop();
        }
    }
}

void HIDHotplugManager::startAndConnectDevice() {
    qDebug() << "HIDHotplugManager::startAndConnectDevice 启动监测并尝试连接设备";
    if (!timers[0]->isActive()) {
        timers[0]->start(kScanIntervalMs);
    }
    if (!timers[1]->isActive()) {
        timers[1]->start(kTickIntervalMs);
    }
}

void HIDHotplugManager::sendPriMessage(std::uint32_t msgid, const QByteArray& byteArray) {
    LinkFrame frame;
    frame.kind = msgid == kPrivateUpgrade ? kLinkRequest : kLinkNotification;
    frame.destination = peerAddress;
    frame.messageId = static_cast<std::uint16_t>(msgid);
    frame.length = static_cast<std::uint16_t>(byteArray.size());
    frame.payload = rawBytes(byteArray);
    wakeLink();
    linkSend(kLinkTracked, frame);
    appendAttributeLog(QStringLiteral("发送"), msgid, byteArray);
}

void HIDHotplugManager::waitForReaders() {
    hidDevice->waitForReaders();
}
