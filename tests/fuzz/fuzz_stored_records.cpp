// Fuzzes stored records through the documents that read them: applications, presets of the equaliser, all
// settings. The first byte tells whether the others are the file of the store, or lines of "key=text", where
// the lines of one key are its list. It fails when a sanitizer reports, when a document warns, when a setting
// has another type than its default, and when the mixer asks the sound engine for a source or a volume that
// is none.

#include "app/SettingsManager.h"
#include "bridge/EqualizerPreset.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/fuzz/FuzzScreens.h"
#include "tests/support/qml/FakeProgram.h"
#include "tests/support/qml/StoreFile.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QEvent>
#include <QMetaObject>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlError>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariant>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>

namespace {

using fuzz::Input;
using fuzz::require;

// Returns what is wrong, or nothing.
constexpr const char* kReader = R"(
import QtQuick
import MediaControls
import VexoDeck
import VexoDeckSystemBridge

Item {
    id: reader

    readonly property Component equalizer: Component { EqualizerWindow {} }
    readonly property Component general: Component { GeneralTab { width: 410; height: 760 } }
    readonly property ButtonAction action: ButtonAction {}
    readonly property Component lights: Component { LightingTab { width: 410; height: 760 } }
    readonly property Component mixer: Component { MainSettings { width: 1260; height: 700 } }

    function faultOf(key: string): string {
        const value = ConfigMgr.config[key];
        const fallback = ConfigMgr.defaults[key];
        if (Array.isArray(fallback))
            return Array.isArray(value) && value.every(text => typeof text === "string") ? "" : key + " is no list of texts";
        // Under the key of a text any single value is taken: "true" is a switch, and a file may hold numbers.
        if (typeof value !== typeof fallback && !(typeof fallback === "string" && typeof value !== "object"))
            return key + " is a " + typeof value;
        return typeof value !== "number" || Number.isFinite(value) ? "" : key + " is no number";
    }

    function faultOfRecord(record: var): string {
        if (!Number.isInteger(Number(record.processID)))
            return "a source is no number";
        for (const input of [record.input1, record.input2]) {
            if (input && !Number.isFinite(input.volume))
                return "a volume is no number";
        }
        return "";
    }

    function read(): string {
        ConfigMgr.loadAllSettings();
        for (const key of ConfigMgr.declaredKeys()) {
            const fault = faultOf(key);
            if (fault !== "")
                return fault;
        }
        SystemBridge.clearCalls();
        equalizer.createObject(reader).destroy();
        lights.createObject(reader).destroy();
        general.createObject(reader).destroy();
        // Each input may press.
        action.openings.left = action.openings.most;
        action.keyPresses.left = action.keyPresses.most;
        action.run();
        mixer.createObject(reader).destroy();
        for (const call of SystemBridge.calls) {
            for (const record of call.configs ?? []) {
                const fault = faultOfRecord(record);
                if (fault !== "")
                    return fault;
            }
        }
        return "";
    }
}
)";

/// A warning of a document is a defect; those of the store and of the engine's formats are about the file,
/// and so are those of a text that is no colour, and of one that is no page.
void failOnDocumentWarning(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    const QString category = context.category;
    if (type == QtFatalMsg ||
        (type != QtDebugMsg && type != QtInfoMsg && (category == "qml" || text.contains(".qml:")) &&
         !text.startsWith("Not a colour:") && !text.startsWith("The button opens"))) {
        std::fprintf(stderr, "warned: %s\n", qPrintable(text));
        std::abort();
    }
}

class Screens {
public:
    Screens() {
        QQmlComponent component(&engine);
        component.setData(kReader, QUrl("qrc:/reader.qml"));
        for (const QQmlError& error : component.errors()) {
            std::fprintf(stderr, "%s\n", qPrintable(error.toString()));
        }
        require(component.isReady(), "the documents load");
        reader.reset(component.create());
    }

    QString read() {
        QString fault;
        require(QMetaObject::invokeMethod(reader.get(), "read", qReturnArg(fault)),
                "the documents are there");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
        return fault;
    }

private:
    QQmlEngine engine;
    std::unique_ptr<QObject> reader;
};

void storeLines(Input& input) {
    std::map<QString, QStringList> values;
    while (!input.isOver()) {
        const QString line = QString::fromStdString(input.line());
        const qsizetype equals = line.indexOf('=');
        if (equals > 0) {
            values[line.first(equals)].append(line.sliced(equals + 1));
        }
    }
    StoreFile().replaceFile({});
    SettingsManager store(std::chrono::milliseconds(0));
    for (const auto& [key, list] : values) {
        store.setValue(key, list.size() == 1 ? QVariant(list.first()) : QVariant(list));
    }
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's own name
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::startScreens(*argc, *argv, failOnDocumentWarning);
    setUpFakeProgram();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static auto* const screens = new Screens;
    Input input(bytes, size);
    if (input.byte() % 2 == 0) {
        StoreFile().replaceFile(QByteArray::fromStdString(input.rest()));
    } else {
        storeLines(input);
    }
    const QString fault = screens->read();
    require(fault.isEmpty(), qPrintable(fault));
    const QString preset =
        SettingsManager(std::chrono::milliseconds(0)).getValue("device_equalizer_current").toString();
    if (const auto gainsDb = equalizerPresetGains(preset)) {
        require(!std::isnan(gainsDb->front()), "a gain of a preset is a number");
    }
    return 0;
}
