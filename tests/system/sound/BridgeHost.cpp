// The bridge as a process without windows, for tests that listen to what it plays. Driven by lines of JSON on
// standard input, answered by lines of JSON on standard output; the program's own lines go to standard error.
//
//   {"call": "setAudioConfig", "arguments": [[...]]}   runs an invokable     -> {"result": ...}
//   {"settings": {"device_equalizer": true}}           what is stored        -> {"result": true}
//   {"router": ["", "", "Bus 1", ""]}                  starts the router with these names -> {"result": true}
//   {"default": ["id", true]}                          SetDefaultAudioDevice() -> {"result": true}
//   {"take": "levels"}                                 reports since the last -> {"result": [{"ms",
//   "levels"}]}
//   {"end": true}                                      ends with 0
//
// A call of what the bridge does not have is answered with {"error": ...}.

#include "bridge/SystemBridge.h"
#include "mixer/EndpointClassification.h"
#include "mixer/RouterLog.h"
#include "mixer/router/AudioRouterAPI.h"
#include "platform/IconHelper.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaMethod>
#include <QSocketNotifier>

#include <array>
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>

namespace {

// Lines that the router logged before the answer are in the log when the answer comes.
void write(const QJsonObject& object) {
    flushRouterLog();
    const QByteArray line = QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stdout);
    std::fflush(stdout);
}

void answer(const QJsonValue& result) {
    write({{"result", result}});
}

std::string nameAt(const QJsonArray& names, qsizetype at) {
    return names[at].toString().toStdString();
}

// Runs the invokable of this name that takes as many arguments; nothing where there is none.
std::optional<QJsonValue> call(SystemBridge& bridge, const QByteArray& name, const QVariantList& arguments) {
    const QMetaObject* const meta = bridge.metaObject();
    for (int at = meta->methodOffset(); at < meta->methodCount(); ++at) {
        const QMetaMethod method = meta->method(at);
        if (method.name() != name || method.parameterCount() != arguments.size()) {
            continue;
        }
        QVariantList values;
        std::array<void*, 8> pointers{};
        for (int parameter = 0; parameter < method.parameterCount(); ++parameter) {
            QVariant value = arguments.at(parameter);
            value.convert(method.parameterMetaType(parameter));
            values.append(value);
        }
        QVariant result(method.returnMetaType().id() == QMetaType::Void ? QMetaType()
                                                                        : method.returnMetaType());
        pointers[0] = result.data();
        for (qsizetype parameter = 0; parameter < values.size(); ++parameter) {
            pointers[static_cast<std::size_t>(parameter) + 1] = values[parameter].data();
        }
        QMetaObject::metacall(&bridge, QMetaObject::InvokeMetaMethod, at, pointers.data());
        return result.toJsonValue();
    }
    return std::nullopt;
}

class Host : public QObject {
public:
    Host() : bridge(std::make_unique<SystemBridge>()), notifier(STDIN_FILENO, QSocketNotifier::Read) {
        clock.start();
        bridge->setSettingsReader([this](const QString& key) { return settings.value(key); });
        connect(bridge.get(), &SystemBridge::audioInputLevelChanged, this,
                [this](const QVariantList& levels) {
                    reports.append(QJsonObject{{"ms", static_cast<double>(clock.nsecsElapsed()) / 1e6},
                                               {"levels", QJsonArray::fromVariantList(levels)}});
                });
        connect(&notifier, &QSocketNotifier::activated, this, &Host::readInput);
        bridge->initializeMonitorDevice();
        while (!AudioRouterAPI::instance().isAudioRouterRunning()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        answer(true);
    }

private:
    void readInput() {
        std::array<char, 65536> block;
        const ssize_t count = ::read(STDIN_FILENO, block.data(), block.size());
        if (count <= 0) {
            QCoreApplication::exit(0);
            notifier.setEnabled(false);
            return;
        }
        pending.append(block.data(), count);
        for (qsizetype end = pending.indexOf('\n'); end >= 0; end = pending.indexOf('\n')) {
            const QJsonObject command = QJsonDocument::fromJson(pending.left(end)).object();
            pending.remove(0, end + 1);
            run(command);
        }
    }

    void run(const QJsonObject& command) {
        if (command.contains("call")) {
            const QString name = command["call"].toString();
            const QVariantList arguments = command["arguments"].toArray().toVariantList();
            if (const std::optional<QJsonValue> result = call(*bridge, name.toUtf8(), arguments)) {
                answer(*result);
            } else {
                write({{"error", QStringLiteral("the bridge has no %1 of %2 arguments")
                                     .arg(name)
                                     .arg(arguments.size())}});
            }
        } else if (command.contains("router")) {
            const QJsonArray names = command["router"].toArray();
            AudioRouterAPI& router = AudioRouterAPI::instance();
            router.shutdownAudioRouter();
            answer(router.startAudioRouter(nameAt(names, 0), nameAt(names, 1), nameAt(names, 2),
                                           nameAt(names, 3)));
        } else if (command.contains("default")) {
            const QJsonArray words = command["default"].toArray();
            const RouterPlatform platform = systemRouterPlatform();
            answer(SetDefaultAudioDevice(*platform.endpoints, *platform.session, nameAt(words, 0),
                                         words[1].toBool()));
        } else if (command.contains("settings")) {
            settings = command["settings"].toObject().toVariantMap();
            answer(true);
        } else if (command.contains("take")) {
            answer(reports);
            reports = {};
        } else {
            bridge.reset();
            answer(true);
            QCoreApplication::exit(0);
        }
    }

    std::unique_ptr<SystemBridge> bridge;
    QSocketNotifier notifier;
    QElapsedTimer clock;
    QVariantMap settings;
    QJsonArray reports;
    QByteArray pending;
};

} // namespace

int main(int argc, char* argv[]) {
    if (const std::optional<int> served = serveAsIconHelper(argc, argv)) {
        return *served;
    }
    setRouterLogSink([](std::string_view line) { std::cerr << line << '\n' << std::flush; });
    const QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Vexo Deck"));
    QCoreApplication::setOrganizationName(QStringLiteral("VEXO"));
    const Host host;
    return QGuiApplication::exec();
}
