// Fuzzes what a device says, on its whole way: HID reports in the form of each model, device manager, link
// stack, and the façade that serves the screens. The input is a small program: reports of any bytes, frames
// with a correct checksum, answers to what the host asked, time, other devices, requests of the screens.
//
// It fails when a sanitizer reports, when a document warns, when something of a device is left over after its
// end, when an honest device that comes next does not show with its own name, number and version or is not
// asked for its values, and when the screens show anything of another device in its place.

#include "device/HIDDevice.h"
#include "device/HIDHotplugManager.h"
#include "device/HIDWriter.h"
#include "device/link/Link.h"
#include "device/link/LinkInspection.h"
#include "device/link/LinkState.h"
#include "tests/fuzz/FuzzProgram.h"
#include "tests/fuzz/FuzzScreens.h"
#include "tests/support/Await.h"
#include "tests/support/ScriptedHidapi.h"
#include "tests/support/WireFrame.h"
#include "tests/support/qml/FakeNetworkManager.h"
#include "tests/support/qml/FakeProgram.h"
#include "tests/support/qml/FakeSystemBridge.h"
#include "tests/support/qml/StoreFile.h"

#include <QCoreApplication>
#include <QEvent>
#include <QMetaObject>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlError>
#include <QTimer>
#include <QUrl>
#include <QVariant>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using fuzz::Program;
using fuzz::require;
using scriptedHidapi::Report;
using wireFrame::Bytes;
using wireFrame::ReportForm;
using wireFrame::WireFrame;

struct Model {
    scriptedHidapi::Interface interface;
    ReportForm form;
};

const std::array<Model, 3> kModels{{{{"/r2", 0x3327, 0x9829, 0x0C}, ReportForm::Mixer},
                                    {{"/m40", 0x2F05, 0x1396, 0x8C}, ReportForm::Microphone},
                                    {{"/t40", 0x2F05, 0x1397, 0x8C}, ReportForm::Microphone}}};
const scriptedHidapi::Interface kBootloader{"/boot", 0x3327, 0x0820, 0xFF00};

/// Of an honest device: one that no other device has, and one that others have, too.
constexpr LinkAddress kOwnAddress{9, 3, 0x1777};
constexpr LinkAddress kSharedAddress{7, 3, 0x1234};

/// Bits of an input's first byte.
constexpr std::uint8_t kAfterSilence = 0x80;
constexpr std::uint8_t kAtSharedAddress = 0x40;

/// More than any request of the link waits.
constexpr int kLongestSilenceSteps = 3000;
constexpr std::uint32_t kSilenceStepMs = 1001;
constexpr int kHonestTicks = 20000;
/// The values that the façade reads when a device is ready.
constexpr int kReadsAtConnection = 10;
/// The façade's text for what it does not know.
constexpr const char* kUnknown = "N/A";

/// What the log says of a device that sends upgrade messages of its own making.
bool isAboutTheDevice(const QString& text) {
    return text.startsWith(QStringLiteral("固件升级 消息过短:")) ||
           text.startsWith(QStringLiteral("固件升级 拒绝数据请求"));
}

/// Any other warning of a document or of the program is a defect.
void failOnWarning(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type != QtDebugMsg && type != QtInfoMsg && !isAboutTheDevice(text)) {
        std::fprintf(stderr, "warned: %s\n", qPrintable(text));
        std::abort();
    }
}

/// The program's objects between the reports and the screens: one set for all inputs.
class Host {
public:
    Host()
        : manager(*new HIDHotplugManager(nullptr, {.scanMs = 2000, .readTimeoutMs = 5})),
          transport(*manager.findChild<HIDDevice*>()) {
        for (QTimer* timer : manager.findChildren<QTimer*>()) {
            timer->stop();
        }
        static HIDHotplugManager* const served = &manager;
        QJSEngine::setObjectOwnership(served, QJSEngine::CppOwnership);
        qmlRegisterSingletonType<HIDHotplugManager>(
            "VexoDeckHIDHotplug", 1, 0, "HIDHotplugManager",
            [](QQmlEngine*, QJSEngine*) -> QObject* { return served; });
        registerFakeNetworkManager();
        registerTemporaryEvents();
        registerFakeSystemBridge();
        registerTemporarySettings();
        registerTranslations();
        QQmlComponent component(&engine);
        component.setData("import QtQml\nimport MediaControls\n"
                          "QtObject { readonly property QtObject facade: HIDDeviceMgr }",
                          QUrl("qrc:/user.qml"));
        for (const QQmlError& error : component.errors()) {
            std::fprintf(stderr, "%s\n", qPrintable(error.toString()));
        }
        require(component.isReady(), "the façade loads");
        user.reset(component.create());
        facade = user->property("facade").value<QObject*>();
        // Time passes only by the program.
        facade->property("flushTimer").value<QObject*>()->setProperty("running", false);
    }

    /// Plugs a device in, in the place of the one before.
    void plug(const Model& next) {
        unplug();
        model = &next;
        scriptedHidapi::plug(model->interface);
        manager.onScanTimer();
        require(transport.isOpen(), "a device that is plugged in is opened");
    }

    void unplug() {
        if (model == nullptr) {
            return;
        }
        // An interface that is still written to would not open again at once.
        waitForWriter();
        scriptedHidapi::unplug(model->interface.path);
        transport.closeDevice(QString::fromStdString(model->interface.path));
        transport.waitForReaders();
        requests.clear();
        model = nullptr;
        manager.onScanTimer();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        require(scriptedHidapi::openHandles() == 0, "the handles of a device that is gone are closed");
        require(scriptedHidapi::callsAfterClose() == 0, "no closed handle is used");
        scriptedHidapi::reset();
    }

    /// The scan stops and starts again.
    void meetBootloader() {
        unplug();
        scriptedHidapi::plug(kBootloader);
        manager.onScanTimer();
        scriptedHidapi::unplug(kBootloader.path);
        manager.startAndConnectDevice();
        for (QTimer* timer : manager.findChildren<QTimer*>()) {
            timer->stop();
        }
    }

    /// One report, as the reader passes it on.
    void report(const Bytes& bytes) {
        if (model != nullptr && !bytes.empty()) {
            emit transport.dataReceived(QString::fromStdString(model->interface.path),
                                        QByteArray(reinterpret_cast<const char*>(bytes.data()),
                                                   static_cast<qsizetype>(bytes.size())));
        }
    }

    void frame(const Bytes& bytes) {
        if (model != nullptr) {
            for (const Bytes& part : wireFrame::deviceReports(model->form, bytes)) {
                report(part);
            }
        }
    }

    void tick() {
        manager.onTimeout();
        takeRequests();
    }

    /// What the host asks waits for an answer.
    void takeRequests() {
        if (model != nullptr) {
            std::ranges::copy_if(takeFrames(), std::back_inserter(requests),
                                 [](const WireFrame& frame) { return frame.kind == kLinkRequest; });
        }
    }

    /// Answers the oldest request; false when there is none.
    template <typename PayloadOf>
    bool answer(const LinkAddress& source, PayloadOf payloadOf) {
        if (requests.empty()) {
            return false;
        }
        const WireFrame request = requests.front();
        requests.erase(requests.begin());
        frame(wireFrame::encode({kLinkResponse, request.sequence, source, request.source, request.messageId,
                                 payloadOf(request)}));
        return true;
    }

    /// Nothing of what the wire carried is left after a long silence on it.
    void silence() {
        unplug();
        const auto isQuiet = [](const LinkInspection& seen) {
            return seen.pendingCount == 0 && seen.receiveQueueLength == 0 && seen.sendQueueLength == 0 &&
                   seen.peerCount == 0;
        };
        for (int step = 0; step < kLongestSilenceSteps && !isQuiet(linkInspect()); ++step) {
            linkTick(kSilenceStepMs);
            manager.onTimeout();
            // A peer may ask for a patience of years, also by a hello that has just been taken from the
            // queue.
            for (vexo::link::Peer& peer : vexo::link::stack().peers) {
                peer.timeLeft = std::min(peer.timeLeft, 1);
            }
        }
        require(isQuiet(linkInspect()), "everything ends");
        // In a conflict of addresses the host has taken another one.
        vexo::link::stack().hostChid = vexo::link::kHostFirstChid;
        require(!facade->property("deviceReady").toBool(), "no device is ready when none is there");
        QMetaObject::invokeMethod(facade, "flushMessages");
        // The documents' own work, as collecting what they no longer use.
        QCoreApplication::processEvents();
    }

    [[nodiscard]] std::string text(const char* getter) const {
        QVariant value;
        require(QMetaObject::invokeMethod(facade, getter, qReturnArg(value)), getter);
        return value.toString().toStdString();
    }

    HIDHotplugManager& manager;
    HIDDevice& transport;
    QQmlEngine engine;
    /// A document that uses the façade, as the screens do.
    std::unique_ptr<QObject> user;
    QObject* facade = nullptr;
    const Model* model = nullptr;

private:
    /// The writer has a thread of its own.
    void waitForWriter() {
        require(awaitStepping([this] { return !transport.isWriting(); }, [] { std::this_thread::yield(); }),
                "what the host queues is written");
    }

    /// Takes the reports that the host has written since the last call, as frames.
    std::vector<WireFrame> takeFrames() {
        waitForWriter();
        const std::vector<Report> written = scriptedHidapi::takeWritten(model->interface.path);
        if (written.size() >= HIDWriter::kQueueLength) {
            return {}; // The queue may have been full, and reports are missing.
        }
        const std::ptrdiff_t header = model->form == ReportForm::Mixer ? 2 : 1;
        std::vector<WireFrame> frames;
        std::vector<Report> described;
        Bytes stream;
        for (const Report& report : written) {
            stream.insert(stream.end(), report.begin() + header, report.end());
            if (const std::optional<WireFrame> frame = wireFrame::decode(stream); frame.has_value()) {
                std::ranges::copy(wireFrame::hostReports(model->form, stream), std::back_inserter(described));
                frames.push_back(*frame);
                stream.clear();
            }
        }
        require(written == described, "the host writes whole frames in the form of the model");
        return frames;
    }

    std::vector<WireFrame> requests;
};

Host& host() {
    // Never destroyed: nothing of it may run while the process ends.
    static Host& instance = *new Host;
    return instance;
}

/// What an honest device says of itself; each has a name and number of its own.
struct Honest {
    std::string name;
    std::string serial;
    std::string usbProductId;
    LinkAddress address;
    int readCount = 0;

    [[nodiscard]] Bytes answerTo(const WireFrame& request) {
        require(request.destination == address, "the host asks the device that is there");
        const std::uint16_t messageId = request.messageId;
        readCount += messageId == kLinkMessageGetAttribute ? 1 : 0;
        Bytes payload{0};
        if (messageId == kLinkMessageName) {
            payload.push_back(static_cast<std::uint8_t>(name.size()));
            payload.insert(payload.end(), name.begin(), name.end());
        } else if (messageId == kLinkMessageSerial) {
            payload.insert(payload.end(), serial.begin(), serial.end());
        } else if (messageId == kLinkMessageVersion) {
            payload = {0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 5};
        }
        return payload;
    }

    /// Whether the screens show all of this device. They never show anything of another one.
    [[nodiscard]] bool isShown(const Host& the) const {
        const std::array<std::pair<const char*, std::string>, 5> values{
            {{"getDeviceName", name},
             {"getDeviceSN", serial},
             {"getDeviceVersion", "V2.05"},
             {"getDevicePID", std::to_string(address.pid)},
             {"getDeviceDPID", usbProductId}}};
        std::size_t shown = 0;
        for (const auto& [getter, value] : values) {
            const std::string text = the.text(getter);
            require(text == value || text == kUnknown, "the screens show the device that is there");
            shown += text == value ? 1 : 0;
        }
        const bool isReady = the.facade->property("deviceReady").toBool();
        require(!isReady || shown == values.size(), "a device is ready when all of it is known");
        return isReady && readCount == kReadsAtConnection;
    }
};

/// Also brings the objects back to one state, so that each input meets the same.
void showHonestDevice(const Model& model, const LinkAddress& address) {
    static unsigned count = 0;
    const std::string number = std::to_string(++count);
    Honest honest{"Honest " + number, "H-" + number, std::to_string(model.interface.productId), address};
    Host& the = host();
    the.plug(model);
    the.frame(wireFrame::hello(address));
    for (int ticks = 0; !honest.isShown(the); ++ticks) {
        require(ticks < kHonestTicks, "an honest device shows with its own name, number and version");
        the.tick();
        the.answer(address, [&honest](const WireFrame& request) { return honest.answerTo(request); });
    }
    the.silence();
}

void feedFromDevice(Host& the, Program& program, std::uint8_t code) {
    switch (code) {
    case 0:
        the.report(program.bytes(program.byte() % 66));
        break;
    case 1:
        the.frame(wireFrame::hello(program.address(), {.maxPayload = program.word(),
                                                       .upTime = program.word(),
                                                       .frameRate = program.byte(),
                                                       .intervalCode = program.byte()}));
        break;
    case 2: {
        const LinkAddress source = program.address();
        the.answer(source, [&program](const WireFrame&) { return program.bytes(program.byte()); });
        break;
    }
    default:
        the.frame(fuzz::frameFrom(program));
        break;
    }
    the.tick();
}

void askFromScreen(Host& the, Program& program, std::uint8_t code) {
    switch (code) {
    case 0: {
        QVariantList bytes;
        for (const std::uint8_t byte : program.bytes(program.byte())) {
            bytes.append(uint{byte});
        }
        QMetaObject::invokeMethod(the.facade, "sendMessage", int{program.byte()}, QVariant(bytes));
        QMetaObject::invokeMethod(the.facade, "flushMessages");
        break;
    }
    case 1:
        the.manager.messageGetAll();
        break;
    case 2: {
        const Bytes bytes = program.bytes(program.byte());
        the.manager.sendPriMessage(
            program.messageId(),
            QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())));
        break;
    }
    default:
        the.manager.messageGet(program.byte());
        break;
    }
    the.takeRequests();
}

void step(Host& the, Program& program) {
    const std::uint8_t code = program.byte();
    switch (code & 0x0F) {
    case 8:
        the.plug(kModels[program.byte() % kModels.size()]);
        break;
    case 9:
        if (program.byte() == 0) {
            the.meetBootloader();
        } else {
            the.unplug();
        }
        break;
    case 10:
    case 11:
        askFromScreen(the, program, code >> 4 & 0x03);
        break;
    case 12:
        for (int count = program.byte(); count > 0; --count) {
            the.tick();
        }
        break;
    case 13:
        linkTick(program.word());
        the.tick();
        break;
    default:
        feedFromDevice(the, program, code & 0x07);
        break;
    }
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's own name
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::startScreens(*argc, *argv, failOnWarning);
    for (const Model& model : kModels) {
        showHonestDevice(model, kOwnAddress);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Host& the = host();
    Program program(bytes, size);
    const std::uint8_t kind = program.byte();
    const Model& model = kModels[kind % kModels.size()];
    the.plug(model);
    while (!program.isOver()) {
        step(the, program);
    }
    if ((kind & kAfterSilence) != 0) {
        the.silence();
    }
    showHonestDevice(model, (kind & kAtSharedAddress) != 0 ? kSharedAddress : kOwnAddress);
    return 0;
}
