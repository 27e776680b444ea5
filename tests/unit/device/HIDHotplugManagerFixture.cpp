#include "tests/unit/device/HIDHotplugManagerFixture.h"

#include "device/HIDDevice.h"
#include "tests/support/Await.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

QString dataFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

QStringList logLines(const QString& name) {
    QFile file(QDir(dataFolder()).filePath(name));
    return file.open(QIODevice::ReadOnly)
               ? QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts)
               : QStringList();
}

void HIDHotplugManagerTest::SetUp() {
    scriptedHidapi::reset();
    QDir(dataFolder()).removeRecursively();
    make();
}

void HIDHotplugManagerTest::TearDown() {
    manager.reset();
    EXPECT_EQ(scriptedHidapi::callsAfterClose(), 0);
    EXPECT_TRUE(awaitThread([] { return scriptedHidapi::openHandles() == 0; }));
}

void HIDHotplugManagerTest::make(const HIDIntervals& intervals) {
    manager.reset();
    manager = std::make_unique<HIDHotplugManager>(nullptr, intervals);
    timers = manager->findChildren<QTimer*>(Qt::FindDirectChildrenOnly);
    for (QTimer* timer : std::as_const(timers)) {
        timer->stop();
    }
    // Connected after the manager's own: counted when the manager has taken the report.
    QObject::connect(manager->findChild<HIDDevice*>(), &HIDDevice::dataReceived, manager.get(),
                     [this] { ++reportCount; });
    QObject::connect(manager.get(), &HIDHotplugManager::deviceConnected, manager.get(),
                     [this](const QVariantMap& info, bool is) { connections.append({info, is}); });
    QObject::connect(manager.get(), &HIDHotplugManager::messageReceived, manager.get(),
                     [this](uint16_t id, const QVariantList& list) { attributes.emplace_back(id, list); });
    QObject::connect(manager.get(), &HIDHotplugManager::priMsgCallback, manager.get(),
                     [this](uint32_t id, uint8_t value) { privates.emplace_back(id, value); });
    QObject::connect(manager.get(), &HIDHotplugManager::upgradeFirmwareSignal, manager.get(),
                     [this] { ++upgradeSignals; });
    QObject::connect(manager.get(), &HIDHotplugManager::upgradeFirmwareProgress, manager.get(),
                     [this](int progress, const QString& message) {
                         upgradeReports.emplace_back(progress, message.toStdString());
                     });
}

void HIDHotplugManagerTest::connectDevice(const scriptedHidapi::Interface& interface) {
    scriptedHidapi::plug(interface);
    path = interface.path;
    reportForm = interface.productId == kR2.productId ? wireFrame::ReportForm::Mixer
                                                      : wireFrame::ReportForm::Microphone;
    ASSERT_TRUE(awaitWritten());
    manager->onScanTimer();
    ASSERT_FALSE(connections.isEmpty());
}

void HIDHotplugManagerTest::receiveReport(const Report& report) {
    const int before = reportCount;
    scriptedHidapi::deliver(path, report);
    ASSERT_TRUE(await([&] { return reportCount == before + 1; }));
}

void HIDHotplugManagerTest::receive(const Bytes& frame) {
    for (const Report& report : wireFrame::deviceReports(reportForm, frame)) {
        ASSERT_NO_FATAL_FAILURE(receiveReport(report));
    }
    manager->onTimeout();
}

void HIDHotplugManagerTest::answer(std::uint16_t messageId, const Bytes& payload) {
    const std::vector<WireFrame> requests = sentWith(messageId);
    ASSERT_FALSE(requests.empty()) << "no request of message " << messageId;
    receive(wireFrame::encode(
        {kLinkResponse, requests.back().sequence, kDevice, wireFrame::kHost, messageId, payload}));
}

void HIDHotplugManagerTest::letLinkPause(int atLeastMs) {
    manager->startAndConnectDevice();
    ASSERT_TRUE(await([&] { return timers[1]->interval() > atLeastMs; }));
}

bool HIDHotplugManagerTest::awaitWritten() const {
    const auto* const device = manager->findChild<HIDDevice*>();
    return awaitThread([device] { return !device->isWriting(); });
}

std::vector<Report> HIDHotplugManagerTest::writtenReports() const {
    EXPECT_TRUE(awaitWritten());
    return scriptedHidapi::written(path);
}

std::vector<WireFrame> HIDHotplugManagerTest::sentFrames() const {
    const std::ptrdiff_t header = reportForm == wireFrame::ReportForm::Mixer ? 2 : 1;
    Bytes stream;
    for (const Report& report : writtenReports()) {
        stream.insert(stream.end(), report.begin() + header, report.end());
    }
    std::vector<WireFrame> frames;
    for (auto at = stream.begin();
         stream.end() - at >= static_cast<std::ptrdiff_t>(wireFrame::kFrameBytes);) {
        const std::size_t size = wireFrame::kFrameBytes + wireFrame::readU16(std::span(at, stream.end()), 2);
        const auto end = at + std::min(static_cast<std::ptrdiff_t>(size), stream.end() - at);
        const std::optional<WireFrame> frame = wireFrame::decode(Bytes(at, end));
        EXPECT_TRUE(frame.has_value()) << "no frame:\n" << wireFrame::hexOf(Bytes(at, end));
        frames.push_back(frame.value_or(WireFrame()));
        at = end;
    }
    return frames;
}

std::vector<WireFrame> HIDHotplugManagerTest::sentWith(std::uint16_t messageId) const {
    std::vector<WireFrame> frames = sentFrames();
    std::erase_if(frames, [messageId](const WireFrame& frame) { return frame.messageId != messageId; });
    return frames;
}

std::vector<Bytes> HIDHotplugManagerTest::payloadsSentWith(std::uint16_t messageId) const {
    std::vector<Bytes> payloads;
    for (const WireFrame& frame : sentWith(messageId)) {
        payloads.push_back(frame.payload);
    }
    return payloads;
}

void HIDHotplugManagerTest::connectFully() {
    connectDevice(kR2);
    login();
    tick(20);
    answer(1, {0, 3, 'M', 'i', 'x'});
    answer(23, {0, 'S', 'N', '7', 0});
    answer(16, {0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 5});
    answer(34, {0});
    answer(14, {0});
}

void HIDHotplugManagerTest::unplug() {
    scriptedHidapi::unplug(path);
    ASSERT_TRUE(await([&] { return !connections.last().isConnected; }));
    ASSERT_TRUE(awaitWritten());
    connections.clear();
}

void HIDHotplugManagerTest::connectFullyAndUnplug() {
    connectFully();
    unplug();
}
