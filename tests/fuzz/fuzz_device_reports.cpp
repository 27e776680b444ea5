// Fuzzes what a device says, on its whole way: HID reports in the form of each model, device manager, link
// stack, and the façade that serves the screens. The input is a small program: reports of any bytes, frames
// with a correct checksum, answers to what the host asked, time, other devices, requests of the screens.
//
// It fails when a sanitizer reports, when a document warns, when something of a device is left over after its
// end, and when an honest device that comes next does not show with its own name, number and version.

#include "device/HIDDevice.h"
#include "device/HIDHotplugManager.h"
#include "device/link/Link.h"
#include "device/link/LinkInspection.h"
#include "device/link/LinkState.h"
#include "tests/fuzz/FuzzProgram.h"
#include "tests/support/ScriptedHidapi.h"
#include "tests/support/WireFrame.h"
#include "tests/support/qml/StoreFile.h"

#include <QCoreApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QMetaObject>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlError>
#include <QTemporaryDir>
#include <QTimer>
#include <QUrl>
#include <QVariant>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
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

const std::array<Model, 3> kModels{{{{"/r2", 0x3327, 0x9829, 0x0C}, ReportForm::mixer},
                                    {{"/m40", 0x2F05, 0x1396, 0x8C}, ReportForm::microphone},
                                    {{"/t40", 0x2F05, 0x1397, 0x8C}, ReportForm::microphone}}};
const scriptedHidapi::Interface kBootloader{"/boot", 0x3327, 0x0820, 0xFF00};

/// Of the honest device, which no other device of a program has.
constexpr LinkAddress kHonestAddress{9, 3, 0x1777};

/// More than any request of the link waits.
constexpr int kLongestSilenceSteps = 3000;
constexpr std::uint32_t kSilenceStepMs = 1001;
constexpr int kHonestTicks = 20000;

/// A warning of a document or of the program is a defect.
void failOnWarning(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type != QtDebugMsg && type != QtInfoMsg) {
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
        registerTemporarySettings();
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
        scriptedHidapi::unplug(model->interface.path);
        transport.closeDevice(QString::fromStdString(model->interface.path));
        transport.waitForReaders();
        (void)scriptedHidapi::takeWritten(model->interface.path);
        requests.clear();
        stream.clear();
        model = nullptr;
        manager.onScanTimer();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
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

    /// Answers the oldest request; false when there is none.
    template <typename PayloadOf>
    bool answer(const LinkAddress& source, PayloadOf payloadOf) {
        if (requests.empty()) {
            return false;
        }
        const WireFrame request = requests.front();
        requests.erase(requests.begin());
        frame(wireFrame::encode({kLinkResponse, request.sequence, source, request.source, request.messageId,
                                 payloadOf(request.messageId)}));
        return true;
    }

    /// Nothing of what the wire carried is left after a long silence on it.
    void silence() {
        unplug();
        // A peer may ask for a patience of years.
        for (vexo::link::Peer& peer : vexo::link::stack().peers) {
            peer.timeLeft = std::min(peer.timeLeft, 1);
        }
        const auto isQuiet = [](const LinkInspection& seen) {
            return seen.pendingCount == 0 && seen.receiveQueueLength == 0 && seen.sendQueueLength == 0 &&
                   seen.peerCount == 0;
        };
        for (int step = 0; step < kLongestSilenceSteps && !isQuiet(linkInspect()); ++step) {
            linkTick(kSilenceStepMs);
            manager.onTimeout();
        }
        require(isQuiet(linkInspect()), "everything ends");
        // In a conflict of addresses the host has taken another one.
        vexo::link::stack().hostChid = vexo::link::kHostFirstChid;
        require(!facade->property("deviceReady").toBool(), "no device is ready when none is there");
        QMetaObject::invokeMethod(facade, "flushMessages");
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
    /// Takes the frames that the host has written since the last call; its requests wait for an answer.
    void takeRequests() {
        if (model == nullptr) {
            return;
        }
        const std::ptrdiff_t header = model->form == ReportForm::mixer ? 2 : 1;
        for (const Report& written : scriptedHidapi::takeWritten(model->interface.path)) {
            stream.insert(stream.end(), written.begin() + header, written.end());
        }
        while (stream.size() >= wireFrame::kFrameBytes) {
            const std::size_t size = wireFrame::kFrameBytes + wireFrame::readU16(stream, 2);
            if (stream.size() < size) {
                return;
            }
            const auto end = stream.begin() + static_cast<std::ptrdiff_t>(size);
            const std::optional<WireFrame> sent = wireFrame::decode(Bytes(stream.begin(), end));
            require(sent.has_value(), "the host writes whole frames");
            stream.erase(stream.begin(), end);
            if (sent->kind == kLinkRequest) {
                requests.push_back(*sent);
            }
        }
    }

    Bytes stream;
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

    [[nodiscard]] Bytes answerTo(std::uint16_t messageId) const {
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
};

/// Also brings the objects back to one state, so that each input meets the same.
void showHonestDevice(const Model& model) {
    static unsigned count = 0;
    const std::string number = std::to_string(++count);
    const Honest honest{"Honest " + number, "H-" + number};
    Host& the = host();
    the.plug(model);
    the.frame(wireFrame::hello(kHonestAddress));
    const auto isShown = [&the, &honest, &model] {
        return the.facade->property("deviceReady").toBool() && the.text("getDeviceName") == honest.name &&
               the.text("getDeviceSN") == honest.serial && the.text("getDeviceVersion") == "V2.05" &&
               the.text("getDevicePID") == std::to_string(kHonestAddress.pid) &&
               the.text("getDeviceDPID") == std::to_string(model.interface.productId);
    };
    for (int ticks = 0; !isShown(); ++ticks) {
        require(ticks < kHonestTicks, "an honest device shows with its own name, number and version");
        the.tick();
        the.answer(kHonestAddress, [&honest](std::uint16_t id) { return honest.answerTo(id); });
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
        the.answer(source, [&program](std::uint16_t) { return program.bytes(program.byte()); });
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

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static const QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_DATA_HOME", home.filePath("data").toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Never destroyed, as the objects that need it.
    static const QGuiApplication& application = *new QGuiApplication(*argc, *argv);
    static_cast<void>(application);
    qInstallMessageHandler(failOnWarning);
    for (const Model& model : kModels) {
        showHonestDevice(model);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Host& the = host();
    Program program(bytes, size);
    const Model& model = kModels[program.byte() % kModels.size()];
    the.plug(model);
    while (!program.isOver()) {
        step(the, program);
    }
    the.silence();
    showHonestDevice(model);
    return 0;
}
