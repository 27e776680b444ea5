#include "device/HIDHotplugManager.h"

#include "device/DeviceLogs.h"
#include "device/HIDDevice.h"
#include "device/ReportFormat.h"
#include "device/UpgradeFrame.h"
#include "device/UsbIdentity.h"

#include <QByteArrayList>
#include <QCoreApplication>
#include <QDebug>
#include <QPointer>

#include <algorithm>
#include <system_error>
#include <utility>

namespace {

constexpr int kTickIntervalMs = 1;
/// A new device may refuse the first one: the system gives it to the user a moment after it has come.
constexpr int kRefusedScansToTell = 2;

constexpr std::uint16_t kPrivateGainLevel = 0x8002;
constexpr std::uint16_t kPrivateButton = 0x8003;

/// Offsets in the payload of a version answer.
constexpr std::size_t kVersionMajorOffset = 9;
constexpr std::size_t kVersionMinorOffset = 10;

constexpr std::uint8_t kStatusTimedOut = 1;

/// The login callback's `from` for messages 13 and 14, and its `type` for a new peer.
constexpr std::uint8_t kLoginFromMessage = 1;
constexpr std::uint8_t kLoginFound = 0;

/// The bytes of an answer, not copied: valid as long as the answer is.
QByteArray bytesOf(const LinkInfo& info, const std::uint8_t* bytes) {
    return QByteArray::fromRawData(reinterpret_cast<const char*>(bytes), info.length);
}

/// The text up to the first NUL.
QString textOf(QByteArrayView bytes) {
    const qsizetype end = bytes.indexOf('\0');
    return QString::fromUtf8(end < 0 ? bytes : bytes.first(end));
}

const std::uint8_t* rawBytes(QByteArrayView bytes) {
    return reinterpret_cast<const std::uint8_t*>(bytes.data());
}

/// A callback of the link that calls this member of its context.
template <auto kMember>
struct Callback;

template <typename Result, typename... Arguments, Result (HIDHotplugManager::*kMember)(Arguments...)>
struct Callback<kMember> {
    static Result call(Arguments... arguments, void* context) {
        return (static_cast<HIDHotplugManager*>(context)->*kMember)(arguments...);
    }
};

QString hexId(std::uint32_t id) {
    return QStringLiteral("%1").arg(id, 4, 16, QLatin1Char('0'));
}

} // namespace

HIDHotplugManager* HIDHotplugManager::instance() {
    // If a document used the object, the QML engine deletes it when the engine ends.
    static QPointer<HIDHotplugManager> manager = [] {
        // Otherwise the transport's threads end here.
        qAddPostRoutine([] {
            if (manager != nullptr) {
                manager->waitForThreads();
            }
        });
        return new HIDHotplugManager;
    }();
    return manager;
}

HIDHotplugManager::HIDHotplugManager(QObject* parent, const HIDIntervals& chosen)
    : QObject(parent), intervals(chosen), hidDevice(new HIDDevice(this, chosen)) {
    connectTransport();

    timers[0] = new QTimer(this);
    timers[0]->setTimerType(Qt::PreciseTimer);
    connect(timers[0], &QTimer::timeout, this, &HIDHotplugManager::onScanTimer);
    timers[0]->start(intervals.scanMs);
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
    // The readers' last signals must not reach an object in destruction.
    hidDevice->disconnect(this);
    qDebug() << "HIDHotplugManager 单例销毁完成，停止监测设备";
}

void HIDHotplugManager::connectTransport() {
    connect(hidDevice, &HIDDevice::deviceConnected, this, [this](const QString& path) {
        qDebug() << "HIDDevice 连接成功:" << path;
        emitDeviceConnected();
    });
    connect(hidDevice, &HIDDevice::openFailed, this, [this](const QString& path, const QString& reason) {
        refusal = QStringLiteral("%1 (%2)").arg(path, reason);
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
    linkChannel =
        static_cast<std::int32_t>(linkOpenChannel(Callback<&HIDHotplugManager::sendFrame>::call, this));
    linkInstallLoginCallback(Callback<&HIDHotplugManager::onLogin>::call, this);
    linkInstallNameCallback(Callback<&HIDHotplugManager::onName>::call, this);
    linkInstallSerialCallback(Callback<&HIDHotplugManager::onSerial>::call, this);
    linkInstallVersionCallback(Callback<&HIDHotplugManager::onVersion>::call, this);
    linkInstallErrorCallback([](int code, std::uint16_t messageId, void*) {
        qDebug() << "错误回调 id:" << code << "msgid:" << messageId;
    });
    linkInstallAttributeCallback(Callback<&HIDHotplugManager::onAttribute>::call, this);
    for (const std::uint16_t messageId : {kPrivateGainLevel, kPrivateButton, kUpgradeMessageId}) {
        linkRegisterMessage(messageId, Callback<&HIDHotplugManager::onPrivateMessage>::call, nullptr, this);
    }
}

void HIDHotplugManager::endLastConnection() {
    // A reader tells of its interface after the map has lost it. The new connection must not hear of that.
    hidDevice->waitForReaders();
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
}

void HIDHotplugManager::beginConnection(const UsbIdentity& identity) {
    vendorId = identity.vendorId;
    productId = identity.productId;
    deviceInfo = {{QStringLiteral("dpid"), static_cast<uint>(productId)}};
    peerAddress.reset();
    peers.clear();
    linkForgetConnection();
}

void HIDHotplugManager::onScanTimer() {
    if (hidDevice->isOpen()) {
        hidDevice->openGivenUp();
        return;
    }
    if (hidDevice->isWriting()) {
        // The last connection lasts until its writes end, and nothing can be opened before.
        return;
    }
    endLastConnection();
    hid_device_info* const list = hid_enumerate(0, 0);
    noteBootloaders(list);
    const hid_device_info* const found = firstKnownDevice(list);
    const bool present = found != nullptr;
    if (present) {
        const UsbIdentity identity{found->vendor_id, found->product_id};
        if (identity == kMixdeskR2Bootloader) {
            // The list of this one scan is not freed: no further scan runs until the manager is started
            // again.
            vendorId = identity.vendorId;
            productId = identity.productId;
            stopAndDisconnectDevice();
            emit upgradeFirmwareSignal();
            return;
        }
        beginConnection(identity);
    }
    hid_free_enumeration(list);

    if (present && !online) {
        online = true;
        qDebug() << "设备已在线";
    } else if (!present && online) {
        online = false;
        qDebug() << "设备已离线";
    }
    if (!online) {
        countRefusedScan(false);
        return;
    }
    if (!hidDevice->isOpen()) {
        openFoundDevice();
    }
}

void HIDHotplugManager::openFoundDevice() {
    const bool isRetry = refusedScans > 0;
    fixedUsage = productId == kMixdeskR2.productId ? kMixerUsagePage : kMicrophoneUsagePage;
    if (!isRetry) {
        qDebug() << "设备在线，尝试连接" << "FIXED_USAGE:" << fixedUsage;
    }
    refusal.clear();
    hidDevice->openDevice(vendorId, productId, fixedUsage, isRetry);
    countRefusedScan(!refusal.isEmpty() && !hidDevice->isOpen());
}

bool HIDHotplugManager::isAccessMissing() const {
    return accessMissing;
}

void HIDHotplugManager::countRefusedScan(bool isRefused) {
    refusedScans = isRefused ? std::min(refusedScans + 1, kRefusedScansToTell) : 0;
    const QString told = refusedScans == kRefusedScansToTell ? refusal : QString();
    if (told == toldRefusal) {
        return;
    }
    toldRefusal = told;
    // hidapi gives the system's own text, in the language of the system.
    const bool isMissing =
        told.contains(QString::fromStdString(std::make_error_code(std::errc::permission_denied).message()));
    if (!told.isEmpty()) {
        qWarning() << (isMissing ? "无法打开设备，没有访问权限:" : "无法打开设备:") << told;
    }
    if (std::exchange(accessMissing, isMissing) != isMissing) {
        emit accessMissingChanged();
    }
}

void HIDHotplugManager::onTimeout() {
    wakeLink();
    linkPoll();
    linkTick(1);
    pauseLink();
}

void HIDHotplugManager::pauseLink() {
    const std::uint32_t idleTicks = timers[1]->isActive() ? linkIdleTicks() : 0;
    if (idleTicks == 0) {
        return;
    }
    pauseTicks = idleTicks;
    pauseClock.start();
    timers[1]->setInterval(kTickIntervalMs * static_cast<int>(idleTicks + 1));
}

void HIDHotplugManager::wakeLink() {
    if (pauseTicks == 0) {
        return;
    }
    linkTick(static_cast<std::uint32_t>(
        std::min<qint64>(pauseClock.elapsed() / kTickIntervalMs, std::exchange(pauseTicks, 0))));
    timers[1]->setInterval(kTickIntervalMs);
}

int HIDHotplugManager::sendFrame(std::uint32_t, std::uint32_t length, const std::uint8_t* bytes) {
    if (!hidDevice->isOpen()) {
        return -1;
    }
    const qsizetype capacity = reportCapacity(productId);
    QByteArrayList reports;
    for (QByteArrayView rest(bytes, static_cast<qsizetype>(length)); !rest.isEmpty();) {
        const qsizetype count = std::min(capacity, rest.size());
        reports.append(reportOf(productId, rest.first(count)));
        rest = rest.sliced(count);
    }
    // The device cannot use a part of a frame.
    hidDevice->writeAll(reports);
    for (const QByteArray& report : std::as_const(reports)) {
        appendDataLog("TX", report);
    }
    return 1;
}

void HIDHotplugManager::onReport(const QByteArray& report) {
    const QByteArrayView bytes = frameBytesOf(productId, report);
    wakeLink();
    linkFeed(static_cast<std::uint32_t>(linkChannel), static_cast<std::uint32_t>(bytes.size()),
             rawBytes(bytes));
    appendDataLog("RX", bytes);
}

void HIDHotplugManager::emitDeviceConnected() {
    emit deviceConnected(deviceInfo, hidDevice->isOpen());
}

void HIDHotplugManager::onLogin(std::uint8_t from, std::uint8_t type, const LinkAddress& address) {
    if (from == kLoginFromMessage) {
        return;
    }
    if (type == kLoginFound) {
        onPeerFound(address);
    } else {
        onPeerLost(address);
    }
    qDebug() << "用户登录回调 from:" << from << "type:" << type
             << QStringLiteral("VID:0x%1 PID:0x%2 CHID:0x%3")
                    .arg(hexId(address.vid), hexId(address.pid), hexId(address.chid));
}

void HIDHotplugManager::onPeerFound(const LinkAddress& address) {
    // While the device lives, no other address takes its place; one without an id gives way.
    const bool leads = peers.empty() || peers.front().chid == 0;
    peers.insert(leads ? peers.begin() : peers.end(), address);
    if (leads) {
        follow(address);
    }
}

void HIDHotplugManager::onPeerLost(const LinkAddress& address) {
    const bool led = !peers.empty() && peers.front() == address;
    std::erase(peers, address);
    if (led) {
        // Kept: a device that has timed out is asked once more.
        turnTo(address);
    }
    if (led && !peers.empty()) {
        follow(peers.front());
    }
}

void HIDHotplugManager::follow(const LinkAddress& address) {
    const bool isKnown = isPeer(address);
    const qsizetype before = deviceInfo.size();
    deviceInfo.removeIf([isKnown](QVariantMap::iterator value) {
        return value.key() != QLatin1String("dpid") &&
               !(isKnown && (value.key() == QLatin1String("name") || value.key() == QLatin1String("sn")));
    });
    const bool hasForgotten = deviceInfo.size() != before;
    turnTo(address);
    if (hasForgotten) {
        emitDeviceConnected();
    }
}

void HIDHotplugManager::turnTo(const LinkAddress& address) {
    peerAddress = address;
    if (address.chid == 0) {
        return;
    }
    linkQueryName(address);
    linkQuerySerial(address);
    linkQueryVersion(address);
    linkSubscribe(address);
    deviceInfo[QStringLiteral("pid")] = static_cast<uint>(address.pid);
    deviceInfo[QStringLiteral("vid")] = static_cast<uint>(address.vid);
}

int HIDHotplugManager::onName(const LinkInfo& info, const std::uint8_t* bytes) {
    if (info.status == kStatusTimedOut || !isPeer(info.address)) {
        return 0;
    }
    const QByteArray data = bytesOf(info, bytes);
    const QString name = textOf(data);
    if (name.isEmpty()) {
        return -1;
    }
    deviceInfo[QStringLiteral("name")] = name;
    emitDeviceConnected();
    qDebug() << "设备名回调，长度:" << info.length << "数据:" << data.toHex() << "设备名:" << name;
    return 0;
}

int HIDHotplugManager::onSerial(const LinkInfo& info, const std::uint8_t* bytes) {
    if (info.status == kStatusTimedOut || !isPeer(info.address)) {
        return 0;
    }
    const QByteArray data = bytesOf(info, bytes);
    const QString serial = textOf(data);
    if (serial.isEmpty()) {
        return -1;
    }
    deviceInfo[QStringLiteral("sn")] = serial;
    emitDeviceConnected();
    // The number names one device: it reaches no log.
    qDebug() << "SN回调，长度:" << info.length << "数据:" << "***" << "SN:" << "***";
    return 0;
}

int HIDHotplugManager::onVersion(const LinkInfo& info, const std::uint8_t* bytes) {
    if (bytes == nullptr || !isPeer(info.address)) {
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
    if (info.status == kStatusTimedOut || info.length == 0 || attID == 0 || !isPeer(info.address)) {
        return -1;
    }
    const QByteArray data = bytesOf(info, bytes);
    const QVariantList list = byteArrayToVariantList(data);
    emit messageReceived(attID, list);
    qDebug() << "属性回调 " << "attID:" << attID << "数据:" << data.toHex()
             << "转换后数组长度:" << list.size();
    appendAttributeLog("接收", attID, data);
    return 0;
}

void HIDHotplugManager::onPrivateMessage(const LinkFrame& frame) {
    if (!isPeer(frame.source)) {
        return;
    }
    if (frame.messageId == kUpgradeMessageId) {
        onUpgradeMessage(QByteArray(reinterpret_cast<const char*>(frame.payload), frame.length));
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
    if (peerAddress) {
        wakeLink();
        linkSetAttribute(*peerAddress, static_cast<std::uint8_t>(attID),
                         static_cast<std::uint8_t>(byteArray.size()), rawBytes(byteArray));
    }
    appendAttributeLog("发送", attID, byteArray);
}

void HIDHotplugManager::messageGet(std::uint16_t attID) {
    if (!hidDevice->isOpen()) {
        return;
    }
    qDebug() << "属性获取 " << "attID:" << attID;
    if (peerAddress) {
        wakeLink();
        linkGetAttribute(*peerAddress, static_cast<std::uint8_t>(attID));
    }
}

void HIDHotplugManager::messageGetAll() {
    if (!hidDevice->isOpen()) {
        return;
    }
    qDebug() << "获取所有属性";
    if (peerAddress) {
        wakeLink();
        linkGetAttributes(*peerAddress, 0, nullptr);
    }
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
    startsAfterUpgrade = false;
    hidDevice->closeAll();
    online = false;
    countRefusedScan(false);
    wakeLink();
    for (QTimer* timer : timers) {
        if (timer->isActive()) {
            timer->stop();
        }
    }
}

void HIDHotplugManager::startAndConnectDevice() {
    qDebug() << "HIDHotplugManager::startAndConnectDevice 启动监测并尝试连接设备";
    if (isUpgradingMixer) {
        startsAfterUpgrade = true;
        return;
    }
    if (!timers[0]->isActive()) {
        timers[0]->start(intervals.scanMs);
    }
    if (!timers[1]->isActive()) {
        timers[1]->start(kTickIntervalMs);
    }
}

void HIDHotplugManager::sendPriMessage(std::uint32_t msgid, const QByteArray& byteArray) {
    if (peerAddress) {
        LinkFrame frame;
        frame.kind = msgid == kUpgradeMessageId ? kLinkRequest : kLinkNotification;
        frame.destination = *peerAddress;
        frame.messageId = static_cast<std::uint16_t>(msgid);
        frame.length = static_cast<std::uint16_t>(byteArray.size());
        frame.payload = rawBytes(byteArray);
        wakeLink();
        linkSend(kLinkTracked, frame);
    }
    appendAttributeLog("发送", msgid, byteArray);
}

void HIDHotplugManager::waitForThreads() {
    hidDevice->waitForThreads();
}
