#include "device/HIDDevice.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedHidapi.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTimer>

#include <atomic>
#include <gtest/gtest.h>
#include <malloc.h>
#include <thread>
#include <vector>

namespace {

constexpr std::uint16_t kVendor = 0x3327;
constexpr std::uint16_t kProduct = 0x9829;
constexpr int kPage = 12;

scriptedHidapi::Interface linkInterface(const std::string& path) {
    return {path, kVendor, kProduct, kPage};
}

qsizetype threadCount() {
    return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs).size();
}

class HIDDeviceTest : public testing::Test {
protected:
    void SetUp() override {
        scriptedHidapi::reset();
        QObject::connect(&device, &HIDDevice::deviceConnected, &device,
                         [this](const QString& path) { connected.append(path); });
        QObject::connect(&device, &HIDDevice::deviceDisconnected, &device,
                         [this](const QString& path) { disconnected.append(path); });
        QObject::connect(
            &device, &HIDDevice::dataReceived, &device,
            [this](const QString& path, const QByteArray& data) { received.emplace_back(path, data); });
    }
    void TearDown() override {
        scriptedHidapi::holdReads(false);
        scriptedHidapi::holdWrites(false);
        device.closeAll();
        device.waitForThreads();
        EXPECT_EQ(scriptedHidapi::callsAfterClose(), 0);
        EXPECT_EQ(scriptedHidapi::listsOutstanding(), 0);
    }

    /// Lets a write to "/a" hang, and queues so many reports behind it.
    void queueBehindAHungWrite(int reports) {
        scriptedHidapi::holdWrites(true);
        ASSERT_TRUE(device.writeTo("/a", "first"));
        ASSERT_TRUE(await([] { return scriptedHidapi::writesInside() == 1; }));
        for (int count = 0; count < reports; ++count) {
            ASSERT_TRUE(device.writeTo("/a", "next")) << count;
        }
    }

    /// The paths disconnected so far, with those whose signal is still queued.
    const QStringList& allDisconnected() {
        QCoreApplication::processEvents();
        return disconnected;
    }

    /// Bytes of the heap in use when no reader runs and the bus is empty; 0 under a sanitizer.
    qsizetype bytesTaken() {
        device.waitForThreads();
        EXPECT_EQ(scriptedHidapi::openHandles(), 0);
        EXPECT_EQ(scriptedHidapi::callsAfterClose(), 0);
        scriptedHidapi::reset();
        return static_cast<qsizetype>(mallinfo2().uordblks);
    }

    /// Opens one interface at "/a".
    void openOne() {
        scriptedHidapi::plug(linkInterface("/a"));
        device.openDevice(kVendor, kProduct, kPage);
        ASSERT_TRUE(device.isOpen());
    }

    [[nodiscard]] bool awaitWritten() {
        return await([this] { return !device.isWriting(); });
    }

    HIDDevice device{nullptr, {.readTimeoutMs = 5, .writeLimitMs = 300}};
    // What the signals said, queued to this thread as in the program.
    QStringList connected;
    QStringList disconnected;
    QList<std::pair<QString, QByteArray>> received;
};

} // namespace

TEST_F(HIDDeviceTest, OpensEveryMatchingInterfaceInListOrder) {
    scriptedHidapi::plug(linkInterface("/b"));
    scriptedHidapi::plug({"/keyboard", kVendor, kProduct, 1});
    scriptedHidapi::plug({"/other", 1, 2, kPage});
    scriptedHidapi::plug(linkInterface("/a"));
    device.openDevice(kVendor, kProduct, kPage);
    EXPECT_EQ(connected, QStringList({"/b", "/a"}));
    EXPECT_EQ(device.devicePaths().keys(), QStringList({"/a", "/b"}));
    for (const HIDDevice::DeviceEntry& entry : device.devicePaths()) {
        EXPECT_TRUE(entry.connected);
        EXPECT_NE(entry.handle, nullptr);
        EXPECT_NE(entry.readThread, nullptr);
    }
}

TEST_F(HIDDeviceTest, EmptyEnumerationDoesNothingAndLogsNothing) {
    const LogCapture log;
    device.openDevice(kVendor, kProduct, kPage);
    EXPECT_FALSE(device.isOpen());
    EXPECT_TRUE(connected.isEmpty());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(HIDDeviceTest, SecondOpenSkipsTheOpenPathAndOpensOnlyNewOnes) {
    scriptedHidapi::plug(linkInterface("/a"));
    device.openDevice(kVendor, kProduct, kPage);
    scriptedHidapi::plug(linkInterface("/b"));
    device.openDevice(kVendor, kProduct, kPage);
    EXPECT_EQ(connected, QStringList({"/a", "/b"}));
    EXPECT_EQ(scriptedHidapi::openedEver(), 2);
}

TEST_F(HIDDeviceTest, InterfaceThatCannotBeOpenedIsSkippedSilently) {
    scriptedHidapi::plug(linkInterface("/a"));
    scriptedHidapi::plug(linkInterface("/b"));
    scriptedHidapi::failOpen("/a", true);
    const LogCapture log;
    device.openDevice(kVendor, kProduct, kPage);
    EXPECT_EQ(device.devicePaths().keys(), QStringList("/b"));
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList({" hid_open_path ", " hid_open_path "}));
}

TEST_F(HIDDeviceTest, FailingNonblockingIsTriedAgainOnTheSameInterfaceWithoutClosing) {
    scriptedHidapi::plug(linkInterface("/a"));
    scriptedHidapi::plug(linkInterface("/b"));
    scriptedHidapi::failNonblocking(3);
    const LogCapture log;
    device.openDevice(kVendor, kProduct, kPage);
    EXPECT_EQ(device.devicePaths().keys(), QStringList({"/a", "/b"}));
    EXPECT_EQ(log.count("hid_set_nonblocking failed: -1"), 3);
    EXPECT_EQ(scriptedHidapi::openedEver(), 5);
    EXPECT_EQ(scriptedHidapi::openHandles(), 5);
}

TEST_F(HIDDeviceTest, ConnectedIsEmittedOnTheCallersThreadAndDataOnTheReaders) {
    scriptedHidapi::plug(linkInterface("/a"));
    std::atomic<QThread*> connectedOn = nullptr;
    std::atomic<QThread*> receivedOn = nullptr;
    QObject::connect(
        &device, &HIDDevice::deviceConnected, &device, [&] { connectedOn = QThread::currentThread(); },
        Qt::DirectConnection);
    QObject::connect(
        &device, &HIDDevice::dataReceived, &device, [&] { receivedOn = QThread::currentThread(); },
        Qt::DirectConnection);
    device.openDevice(kVendor, kProduct, kPage);
    EXPECT_EQ(connectedOn, QThread::currentThread());
    scriptedHidapi::deliver("/a", {1, 2, 3});
    ASSERT_TRUE(await([&] { return receivedOn.load() != nullptr; }));
    EXPECT_NE(receivedOn, QThread::currentThread());
    EXPECT_EQ(receivedOn, device.devicePaths().first().readThread.data());
}

TEST_F(HIDDeviceTest, ReportsArriveAtTheirRealLengthAndEmptyOnesNever) {
    scriptedHidapi::plug(linkInterface("/a"));
    device.openDevice(kVendor, kProduct, kPage);
    scriptedHidapi::Report full(65);
    for (std::size_t i = 0; i < full.size(); ++i) {
        full[i] = static_cast<std::uint8_t>(i);
    }
    scriptedHidapi::deliver("/a", {});
    scriptedHidapi::deliver("/a", {7});
    scriptedHidapi::deliver("/a", {});
    scriptedHidapi::deliver("/a", full);
    ASSERT_TRUE(await([&] { return received.size() >= 2; }));
    EXPECT_EQ(received.at(0).first, "/a");
    EXPECT_EQ(received.at(0).second, QByteArray("\x07"));
    EXPECT_EQ(received.at(1).second, QByteArray(reinterpret_cast<const char*>(full.data()), 65));
    EXPECT_EQ(received.size(), 2);
}

TEST_F(HIDDeviceTest, UnplugDuringAReadDisconnectsOnceAndLogsBothLines) {
    scriptedHidapi::plug(linkInterface("/a"));
    device.openDevice(kVendor, kProduct, kPage);
    ASSERT_TRUE(await([] { return scriptedHidapi::readsInside() == 1; }));
    const LogCapture log;
    scriptedHidapi::unplug("/a");
    ASSERT_TRUE(await([&] { return !device.isOpen() && !disconnected.isEmpty(); }));
    device.waitForReaders();
    EXPECT_EQ(allDisconnected().size(), 1);
    EXPECT_EQ(scriptedHidapi::openHandles(), 0);
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList({"HIDDevice: 读取错误，设备可能已断开: \"/a\"",
                                                  "HIDDevice:  ，设备可能已断开: \"/a\""}));
}

TEST_F(HIDDeviceTest, UnpluggedInterfaceIsClosedBeforeItsSignal) {
    scriptedHidapi::plug(linkInterface("/a"));
    device.openDevice(kVendor, kProduct, kPage);
    std::atomic<int> openAtSignal{-1};
    // On the reader's thread.
    QObject::connect(
        &device, &HIDDevice::deviceDisconnected, &device,
        [&openAtSignal] { openAtSignal = scriptedHidapi::openHandles(); }, Qt::DirectConnection);
    scriptedHidapi::unplug("/a");
    // The queued signal may come before this one.
    ASSERT_TRUE(await([&] { return openAtSignal >= 0; }));
    EXPECT_EQ(openAtSignal, 0);
}

TEST_F(HIDDeviceTest, CloseLogsOneLineAndDisconnectsOnce) {
    scriptedHidapi::plug(linkInterface("/a"));
    device.openDevice(kVendor, kProduct, kPage);
    ASSERT_TRUE(await([] { return scriptedHidapi::readsInside() == 1; }));
    const LogCapture log;
    device.closeDevice("/a");
    device.closeDevice("/a");
    device.waitForReaders();
    EXPECT_EQ(allDisconnected().size(), 1);
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList("HIDDevice:  ，设备可能已断开: \"/a\""));
}

TEST_F(HIDDeviceTest, CloseDoesNotWaitForTheReadAndTheLastHolderClosesTheHandle) {
    scriptedHidapi::plug(linkInterface("/a"));
    scriptedHidapi::holdReads(true);
    device.openDevice(kVendor, kProduct, kPage);
    ASSERT_TRUE(await([] { return scriptedHidapi::readsInside() == 1; }));
    device.closeDevice("/a");
    EXPECT_EQ(allDisconnected().size(), 1);
    EXPECT_FALSE(device.isOpen());
    EXPECT_EQ(scriptedHidapi::readsInside(), 1) << "the read is still on";
    EXPECT_EQ(scriptedHidapi::openHandles(), 1) << "the reader holds the handle";
    scriptedHidapi::holdReads(false);
    device.waitForReaders();
    EXPECT_EQ(scriptedHidapi::openHandles(), 0);
    EXPECT_EQ(allDisconnected().size(), 1);
}

TEST_F(HIDDeviceTest, ReopenedPathGetsAReaderOfItsOwnWhileTheFormerReadIsOn) {
    scriptedHidapi::plug(linkInterface("/a"));
    scriptedHidapi::holdReads(true);
    device.openDevice(kVendor, kProduct, kPage);
    ASSERT_TRUE(await([] { return scriptedHidapi::readsInside() == 1; }));
    device.closeDevice("/a");
    device.openDevice(kVendor, kProduct, kPage);
    ASSERT_TRUE(await([] { return scriptedHidapi::readsInside() == 2; }));
    scriptedHidapi::holdReads(false);
    ASSERT_TRUE(await([] { return scriptedHidapi::openHandles() == 1; }));
    EXPECT_TRUE(device.isOpen()) << "the former reader closed the new interface";
    scriptedHidapi::deliver("/a", {9});
    ASSERT_TRUE(await([&] { return received.size() == 1; }));
    EXPECT_EQ(allDisconnected().size(), 1);
}

TEST_F(HIDDeviceTest, CloseAllOnAnEmptyMapEmitsNothing) {
    const LogCapture log;
    device.closeAll();
    EXPECT_TRUE(allDisconnected().isEmpty());
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(HIDDeviceTest, IsOpenTurnsFalseOnlyWhenTheLastInterfaceHasGone) {
    scriptedHidapi::plug(linkInterface("/a"));
    scriptedHidapi::plug(linkInterface("/b"));
    device.openDevice(kVendor, kProduct, kPage);
    device.closeDevice("/a");
    EXPECT_TRUE(device.isOpen());
    device.closeDevice("/b");
    EXPECT_FALSE(device.isOpen());
    EXPECT_EQ(allDisconnected().size(), 2);
}

TEST_F(HIDDeviceTest, WriteAllReachesEveryInterfaceAndAFailureShowsInTheLog) {
    scriptedHidapi::plug(linkInterface("/a"));
    scriptedHidapi::plug(linkInterface("/b"));
    device.openDevice(kVendor, kProduct, kPage);
    scriptedHidapi::failWrite("/a", true);
    const LogCapture log;
    EXPECT_TRUE(device.writeAll(QByteArray("\x01\x02\xAB", 3)));
    ASSERT_TRUE(awaitWritten());
    EXPECT_EQ(scriptedHidapi::written("/b"), (std::vector<scriptedHidapi::Report>{{1, 2, 0xAB}}));
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList(R"(Failed to write to device: "/a" data:  "0102ab")"));
    EXPECT_EQ(device.devicePaths().size(), 2) << "a failed write leaves the interface open";
}

TEST_F(HIDDeviceTest, ShortWriteIsNoFailure) {
    ASSERT_NO_FATAL_FAILURE(openOne());
    scriptedHidapi::shortenWrite("/a", true);
    const LogCapture log;
    EXPECT_TRUE(device.writeTo("/a", "abc"));
    ASSERT_TRUE(awaitWritten());
    EXPECT_EQ(scriptedHidapi::written("/a").size(), 1u);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST_F(HIDDeviceTest, WritesReachTheDeviceInTheirOrder) {
    ASSERT_NO_FATAL_FAILURE(openOne());
    std::vector<scriptedHidapi::Report> expected;
    for (std::uint8_t number = 0; number < 200; ++number) {
        expected.push_back({number, 7});
        ASSERT_TRUE(device.writeAll(QByteArray(1, static_cast<char>(number)) + '\x07'));
    }
    ASSERT_TRUE(awaitWritten());
    EXPECT_EQ(scriptedHidapi::written("/a"), expected);
}

TEST_F(HIDDeviceTest, WriteThatHangsHoldsUpNeitherTheCallerNorAnotherInterface) {
    scriptedHidapi::plug(linkInterface("/b"));
    ASSERT_NO_FATAL_FAILURE(openOne());
    scriptedHidapi::holdWrites(true);
    EXPECT_TRUE(device.writeTo("/a", "x")) << "returns while the write is still on";
    ASSERT_TRUE(await([] { return scriptedHidapi::writesInside() == 1; }));
    EXPECT_TRUE(device.writeTo("/b", "y"));
    ASSERT_TRUE(await([] { return scriptedHidapi::writesInside() == 2; }));
}

TEST_F(HIDDeviceTest, NothingIsOpenedWhileAWriteHangsOnAnyInterface) {
    ASSERT_NO_FATAL_FAILURE(openOne());
    scriptedHidapi::holdWrites(true);
    ASSERT_TRUE(device.writeAll("x"));
    ASSERT_TRUE(await([this] { return !device.isOpen(); }));
    scriptedHidapi::plug(linkInterface("/b"));
    device.openDevice(kVendor, kProduct, kPage);
    EXPECT_EQ(scriptedHidapi::openedEver(), 1) << "an opening waits for the write, whichever interface it is";
    EXPECT_FALSE(device.isOpen());
    scriptedHidapi::holdWrites(false);
    ASSERT_TRUE(await([this] {
        device.openGivenUp();
        return device.devicePaths().size() == 2;
    }));
}

TEST_F(HIDDeviceTest, WriterThatHangsWhileItEndsIsGivenUpToo) {
    ASSERT_NO_FATAL_FAILURE(openOne());
    scriptedHidapi::holdWrites(true);
    for (const char* report : {"1", "2", "3"}) {
        ASSERT_TRUE(device.writeAll(report));
    }
    ASSERT_TRUE(await([] { return scriptedHidapi::writesInside() == 1; }));
    const LogCapture log;
    device.closeAll();
    ASSERT_TRUE(await([&log] { return !log.texts(QtWarningMsg).isEmpty(); })) << "each write would hang anew";
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList(R"(HIDDevice: 写入超时，放弃未写的报告: "/a" 2)"));
    scriptedHidapi::holdWrites(false);
    ASSERT_TRUE(await([] { return scriptedHidapi::openHandles() == 0; }));
    EXPECT_EQ(scriptedHidapi::written("/a").size(), 1u);
    EXPECT_EQ(log.texts(QtWarningMsg).size(), 1);
}

TEST_F(HIDDeviceTest, FullQueueRefusesAReportWithALine) {
    ASSERT_NO_FATAL_FAILURE(openOne());
    ASSERT_NO_FATAL_FAILURE(queueBehindAHungWrite(256));
    const LogCapture log;
    EXPECT_FALSE(device.writeTo("/a", "x"));
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList(R"(Failed to write to device: "/a" data:  "78")"));
    scriptedHidapi::holdWrites(false);
    ASSERT_TRUE(awaitWritten());
    EXPECT_EQ(scriptedHidapi::written("/a").size(), 257u);
}

TEST_F(HIDDeviceTest, ReportsThatBelongTogetherAreTakenTogetherOrNotAtAll) {
    ASSERT_NO_FATAL_FAILURE(openOne());
    ASSERT_NO_FATAL_FAILURE(queueBehindAHungWrite(254));
    const LogCapture log;
    EXPECT_FALSE(device.writeAll(QByteArrayList({"1", "2", "3"})));
    EXPECT_EQ(log.count("Failed to write to device:"), 3);
    EXPECT_TRUE(device.writeAll(QByteArrayList({"4", "5"})));
    EXPECT_FALSE(device.writeAll(QByteArrayList({"6"})));
    scriptedHidapi::holdWrites(false);
    ASSERT_TRUE(awaitWritten());
    const std::vector<scriptedHidapi::Report> written = scriptedHidapi::written("/a");
    ASSERT_EQ(written.size(), 257u);
    EXPECT_EQ(written[255], scriptedHidapi::Report{'4'});
    EXPECT_EQ(written[256], scriptedHidapi::Report{'5'});
}

TEST_F(HIDDeviceTest, InterfaceThatTakesNothingIsGivenUpWithOneLineAndOpenedAnew) {
    ASSERT_NO_FATAL_FAILURE(openOne());
    scriptedHidapi::holdWrites(true);
    const LogCapture log;
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(device.writeAll("x"));
    ASSERT_TRUE(device.writeAll("y"));
    ASSERT_TRUE(await([this] { return !device.isOpen(); }));
    EXPECT_GE(clock.elapsed(), 300);
    EXPECT_EQ(disconnected, QStringList("/a"));
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList(R"(HIDDevice: 写入超时，放弃接口并重新打开: "/a")"));
    device.openDevice(kVendor, kProduct, kPage);
    EXPECT_FALSE(device.isOpen()) << "the write still hangs, and an opening might wait for it";
    scriptedHidapi::holdWrites(false);
    ASSERT_TRUE(await([this] {
        device.openDevice(kVendor, kProduct, kPage);
        return device.isOpen();
    }));
    EXPECT_EQ(scriptedHidapi::written("/a").size(), 1u) << "what had waited was dropped";
    EXPECT_EQ(log.texts(QtWarningMsg).size(), 1);
    ASSERT_TRUE(device.writeAll("z"));
    ASSERT_TRUE(awaitWritten());
    EXPECT_TRUE(device.isOpen());
    EXPECT_EQ(scriptedHidapi::written("/a").size(), 2u);
}

TEST_F(HIDDeviceTest, OtherInterfacesStayOpenWhileOneIsGivenUpAndOpenedAnew) {
    scriptedHidapi::plug(linkInterface("/a"));
    scriptedHidapi::plug(linkInterface("/b"));
    device.openDevice(kVendor, kProduct, kPage);
    device.openGivenUp();
    EXPECT_EQ(scriptedHidapi::enumerations(), 1) << "nothing has been given up";
    scriptedHidapi::holdWrites(true);
    ASSERT_TRUE(device.writeTo("/a", "x"));
    ASSERT_TRUE(await([this] { return device.devicePaths().size() == 1; }));
    EXPECT_EQ(device.devicePaths().firstKey(), "/b");
    scriptedHidapi::holdWrites(false);
    ASSERT_TRUE(await([this] {
        device.openGivenUp();
        return device.devicePaths().size() == 2;
    }));
    EXPECT_EQ(connected, QStringList({"/a", "/b", "/a"}));
    EXPECT_EQ(disconnected, QStringList("/a"));
    const int before = scriptedHidapi::enumerations();
    device.openGivenUp();
    EXPECT_EQ(scriptedHidapi::enumerations(), before);
}

TEST_F(HIDDeviceTest, InterfaceThatIsGivenUpIsTriedUntilItOpensWithOneLine) {
    scriptedHidapi::plug(linkInterface("/a"));
    scriptedHidapi::plug(linkInterface("/b"));
    device.openDevice(kVendor, kProduct, kPage);
    scriptedHidapi::holdWrites(true);
    ASSERT_TRUE(device.writeTo("/a", "x"));
    ASSERT_TRUE(await([this] { return device.devicePaths().size() == 1; }));
    scriptedHidapi::failOpen("/a", true);
    scriptedHidapi::holdWrites(false);
    int refusals = 0;
    QObject::connect(&device, &HIDDevice::openFailed, &device, [&refusals] { ++refusals; });
    const LogCapture log;
    ASSERT_TRUE(await([&] {
        device.openGivenUp();
        return refusals == 3;
    })) << "only "
        << refusals << " tries";
    EXPECT_EQ(log.count(" hid_open_path "), 1);
    scriptedHidapi::failOpen("/a", false);
    device.openGivenUp();
    EXPECT_EQ(device.devicePaths().size(), 2);
}

TEST_F(HIDDeviceTest, InterfaceThatIsGivenUpAndLeavesTheBusIsForgotten) {
    scriptedHidapi::plug(linkInterface("/a"));
    scriptedHidapi::plug(linkInterface("/b"));
    device.openDevice(kVendor, kProduct, kPage);
    scriptedHidapi::holdWrites(true);
    ASSERT_TRUE(device.writeTo("/a", "x"));
    ASSERT_TRUE(await([this] { return device.devicePaths().size() == 1; }));
    scriptedHidapi::unplug("/a");
    scriptedHidapi::holdWrites(false);
    device.openGivenUp();
    const int before = scriptedHidapi::enumerations();
    device.openGivenUp();
    EXPECT_EQ(scriptedHidapi::enumerations(), before);
}

TEST_F(HIDDeviceTest, CloseWritesWhatWaitsAndAnUnplugDropsIt) {
    ASSERT_NO_FATAL_FAILURE(openOne());
    scriptedHidapi::holdWrites(true);
    ASSERT_TRUE(device.writeAll("1"));
    ASSERT_TRUE(device.writeAll("2"));
    device.closeDevice("/a");
    EXPECT_FALSE(device.isOpen());
    scriptedHidapi::holdWrites(false);
    ASSERT_TRUE(await([] { return scriptedHidapi::openHandles() == 0; }));
    EXPECT_EQ(scriptedHidapi::written("/a").size(), 2u);

    device.openDevice(kVendor, kProduct, kPage);
    scriptedHidapi::holdWrites(true);
    ASSERT_TRUE(device.writeAll("3"));
    ASSERT_TRUE(await([] { return scriptedHidapi::writesInside() == 1; }));
    ASSERT_TRUE(device.writeAll("4"));
    const LogCapture log;
    scriptedHidapi::unplug("/a");
    ASSERT_TRUE(await([] { return scriptedHidapi::openHandles() == 0; }));
    EXPECT_FALSE(device.isOpen());
    EXPECT_LE(log.count("Failed to write"), 2);
    EXPECT_EQ(scriptedHidapi::written("/a").size(), 2u);
}

TEST_F(HIDDeviceTest, ReadsAskFor65BytesInNonblockingMode) {
    ASSERT_NO_FATAL_FAILURE(openOne());
    ASSERT_TRUE(await([] { return scriptedHidapi::readsInside() == 1; }));
    EXPECT_EQ(scriptedHidapi::lastRead().length, 65u);
    EXPECT_EQ(scriptedHidapi::lastNonblockingMode(), 1);
}

TEST_F(HIDDeviceTest, ConnectedIsEmittedWhenTheReaderHasBeenStarted) {
    bool runs = false;
    QObject::connect(&device, &HIDDevice::deviceConnected, &device, [&](const QString& path) {
        const QPointer<QThread> reader = device.devicePaths().value(path).readThread;
        runs = reader != nullptr && (reader->isRunning() || reader->isFinished());
    });
    ASSERT_NO_FATAL_FAILURE(openOne());
    EXPECT_TRUE(runs);
}

TEST_F(HIDDeviceTest, WriteToAnUnknownPathFailsWithALine) {
    const LogCapture log;
    EXPECT_FALSE(device.writeTo("/gone", "x"));
    EXPECT_EQ(log.texts(QtDebugMsg), QStringList("Device not found"));
    EXPECT_FALSE(device.writeAll("x"));
}

TEST_F(HIDDeviceTest, FiveHundredPlugAndUnplugCyclesLeaveNothingBehind) {
    qsizetype threadsBefore = 0;
    qsizetype bytesBefore = 0;
    for (int cycle = 0; cycle < 500; ++cycle) {
        const std::string path = "/cycle" + std::to_string(cycle % 7);
        scriptedHidapi::plug(linkInterface(path));
        device.openDevice(kVendor, kProduct, kPage);
        ASSERT_EQ(connected.size(), 1);
        scriptedHidapi::unplug(path);
        ASSERT_TRUE(await([&] { return !disconnected.isEmpty(); })) << "cycle " << cycle;
        ASSERT_EQ(disconnected.size(), 1);
        ASSERT_FALSE(device.isOpen());
        connected = {};
        disconnected = {};
        if (cycle == 100) {
            bytesBefore = bytesTaken();
            threadsBefore = threadCount();
        }
    }
    const qsizetype grown = bytesTaken() - bytesBefore;
    EXPECT_TRUE(connected.isEmpty());
    EXPECT_TRUE(allDisconnected().isEmpty());
    EXPECT_TRUE(await([&] { return threadCount() <= threadsBefore; })) << threadCount() << " threads";
    EXPECT_LE(grown, 400 * 40) << "bytes more after 400 cycles";
}

TEST_F(HIDDeviceTest, UnplugAndCloseAtOnceDisconnectExactlyOnce) {
    for (int cycle = 0; cycle < 200; ++cycle) {
        scriptedHidapi::plug(linkInterface("/a"));
        // The report of the cycle before may still be on its way.
        ASSERT_TRUE(await([this] {
            device.openDevice(kVendor, kProduct, kPage);
            return device.isOpen();
        }));
        std::thread puller([] { scriptedHidapi::unplug("/a"); });
        if (cycle % 2 == 0) {
            device.closeDevice("/a");
        } else {
            device.writeAll("x");
            device.closeAll();
        }
        puller.join();
        ASSERT_TRUE(await([&] { return disconnected.size() >= cycle + 1; })) << "cycle " << cycle;
        device.waitForReaders();
        ASSERT_EQ(allDisconnected().size(), cycle + 1);
        ASSERT_FALSE(device.isOpen());
    }
    // The last report may still be on its way.
    EXPECT_TRUE(await([] { return scriptedHidapi::openHandles() == 0; }));
}

TEST(HIDDeviceEndTest, ReadsWaitFor50MsUnlessATestSaysOtherwise) {
    scriptedHidapi::reset();
    scriptedHidapi::plug(linkInterface("/a"));
    HIDDevice device;
    device.openDevice(kVendor, kProduct, kPage);
    ASSERT_TRUE(await([] { return scriptedHidapi::readsInside() == 1; }));
    EXPECT_EQ(scriptedHidapi::lastRead().milliseconds, 50);
    EXPECT_EQ(HIDIntervals{}.writeLimitMs, 2000);
}

TEST(HIDDeviceEndTest, WatchComesAgainWhenTheLongestWriteReachesTheLimit) {
    constexpr int kLimitMs = 1000;
    scriptedHidapi::reset();
    scriptedHidapi::plug(linkInterface("/a"));
    HIDDevice device(nullptr, {.readTimeoutMs = 5, .writeLimitMs = kLimitMs});
    device.openDevice(kVendor, kProduct, kPage);
    auto* const watch = device.findChild<QTimer*>();
    ASSERT_NE(watch, nullptr);
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(device.writeAll("1"));
    // The watch cannot come before the second write: no event is processed.
    ASSERT_TRUE(awaitThread([&clock] { return clock.elapsed() > kLimitMs / 5; }));
    scriptedHidapi::holdWrites(true);
    ASSERT_TRUE(device.writeAll("2"));
    ASSERT_TRUE(awaitThread([] { return scriptedHidapi::writesInside() == 1; }));
    std::vector<int> intervals;
    // Connected after the device's own slot, and so called after it.
    QObject::connect(watch, &QTimer::timeout, &device, [&] {
        if (watch->isActive()) {
            intervals.push_back(watch->interval());
        }
    });
    EXPECT_TRUE(await([&device] { return !device.isOpen(); }));
    scriptedHidapi::holdWrites(false);
    ASSERT_FALSE(intervals.empty());
    EXPECT_LT(intervals[0], kLimitMs) << "a write that began before the watch came is given up too late";
}

TEST(HIDDeviceEndTest, EndLeavesAWriterBehindThatHangs) {
    scriptedHidapi::reset();
    scriptedHidapi::plug(linkInterface("/a"));
    scriptedHidapi::holdWrites(true);
    {
        HIDDevice device;
        device.openDevice(kVendor, kProduct, kPage);
        ASSERT_TRUE(device.writeAll("x"));
        ASSERT_TRUE(await([] { return scriptedHidapi::writesInside() == 1; }));
    }
    EXPECT_EQ(scriptedHidapi::writesInside(), 1) << "the end has waited for the write";
    EXPECT_EQ(scriptedHidapi::openHandles(), 1);
    scriptedHidapi::holdWrites(false);
    EXPECT_TRUE(await([] { return scriptedHidapi::openHandles() == 0; }));
    EXPECT_EQ(scriptedHidapi::callsAfterClose(), 0);
}

TEST(HIDDeviceEndTest, DestructorClosesAllAndWaitsForTheReaders) {
    scriptedHidapi::reset();
    scriptedHidapi::plug(linkInterface("/a"));
    scriptedHidapi::plug(linkInterface("/b"));
    {
        HIDDevice device;
        device.openDevice(kVendor, kProduct, kPage);
        ASSERT_TRUE(await([] { return scriptedHidapi::readsInside() == 2; }));
    }
    EXPECT_EQ(scriptedHidapi::readsInside(), 0);
    EXPECT_EQ(scriptedHidapi::openHandles(), 0);
    EXPECT_EQ(scriptedHidapi::callsAfterClose(), 0);
}
