#include "app/DarkLook.h"
#include "app/InstanceGuard.h"
#include "app/ScriptEngines.h"
#include "app/SettingsManager.h"
#include "app/TranslationManager.h"
#include "app/UnexpectedExit.h"
#include "bridge/PageOpener.h"
#include "bridge/SystemBridge.h"
#include "cloud/DataTrackerManager.h"
#include "cloud/NetworkManager.h"
#include "device/HIDHotplugManager.h"
#include "platform/BrokenPipes.h"
#include "platform/CrashReports.h"
#include "platform/EndSignals.h"
#include "platform/GraphicsCard.h"
#include "platform/IconHelper.h"
#include "platform/LogTail.h"
#include "platform/SoundServerWatch.h"
#include "platform/WideOutput.h"

#include <QDebug>
#include <QGuiApplication>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QThread>
#include <QtQml>

#include <cstdlib>
#include <memory>
#include <optional>

namespace {

/// Registers a service as the singleton type of its class name, version 1.0. The factory returns the
/// process-wide object and leaves its ownership to the engine.
template <typename Service>
void registerService(const char* module, const char* typeName) {
    qmlRegisterSingletonType<Service>(
        module, 1, 0, typeName, [](QQmlEngine*, QJSEngine*) -> QObject* { return Service::instance(); });
}

void registerStoresAndClient() {
    registerService<SettingsManager>("VexoDeckSettings", "SettingsManager");
    registerService<TranslationManager>("VexoDeckTranslation", "TranslationManager");
    registerService<DataTrackerManager>("VexoDeckTracker", "DataTrackerManager");
    registerService<NetworkManager>("VexoDeckNetwork", "NetworkManager");
}

/// Settings and data lie in folders of these names.
void nameApplication() {
    QGuiApplication::setApplicationName(QStringLiteral("Vexo Deck"));
    QGuiApplication::setOrganizationName(QStringLiteral("VEXO"));
    QGuiApplication::setApplicationVersion(QStringLiteral(VEXO_VERSION));
    QGuiApplication::setOrganizationDomain(QStringLiteral(VEXO_ORGANIZATION_DOMAIN));
}

/// Keeps other runs of the program out, or lets one in, which finds all settings on the disk.
void holdInstance(InstanceGuard& guard, bool isHeld) {
    if (!isHeld) {
        SettingsManager::instance()->sync();
        guard.release();
    } else if (guard.decide() == InstanceDecision::AlreadyRunning) {
        qWarning() << "Another run has begun meanwhile";
    }
}

/// One line in the log for each crash since the last start.
void tellCrashes() {
    for (const QString& report : newCrashReports()) {
        qWarning().noquote() << "The program has crashed, the report is" << report;
    }
}

/// The session manager may end the program without a further word.
void saveBeforeSessionEnds(const QGuiApplication& application) {
    const auto save = [] {
        SettingsManager::instance()->sync();
    };
    QObject::connect(&application, &QGuiApplication::commitDataRequest, save);
    QObject::connect(&application, &QGuiApplication::saveStateRequest, save);
}

/// What is left to do when the program ends.
void cleanUp(InstanceGuard& guard, SystemBridge* bridge) {
    qInfo() << "应用程序即将退出，开始清理资源...";
    static_cast<void>(NetworkManager::instance());
    if (HIDHotplugManager* const manager = HIDHotplugManager::instance()) {
        manager->stopAndDisconnectDevice();
    }
    if (bridge != nullptr) {
        bridge->stopPowerEventMonitor();
    }
    guard.release();
    qInfo() << "资源清理完成";
}

/// Ends the process where a host may still be looked up when the program is over: Qt would wait for that
/// before the application object goes, as long as the resolver takes. What has been built after this object
/// is gone by then, and so are the services, which the engine destroys.
class EndBeforeLookups {
public:
    EndBeforeLookups() = default;
    EndBeforeLookups(const EndBeforeLookups&) = delete;
    EndBeforeLookups& operator=(const EndBeforeLookups&) = delete;
    ~EndBeforeLookups() {
        if (isDue) {
            std::_Exit(code);
        }
    }

    /// Runs the event loop and returns the exit code.
    int run() {
        code = QGuiApplication::exec();
        // Now, since the engine destroys the client.
        isDue = NetworkManager::instance()->mayLookUp();
        return code;
    }

private:
    int code = 0;
    bool isDue = false;
};

} // namespace

/// Builds the whole process in one fixed order and runs it. Exit codes: the event loop's, which is 0 where
/// the user or a signal (see EndSignals.h) ended it; 1 when another instance runs, or the display was lost;
/// -1 when the root document cannot be loaded.
int main(int argc, char* argv[]) {
    if (const std::optional<int> served = serveAsIconHelper(argc, argv)) {
        return *served;
    }
    outliveBrokenPipes();
    makeWideOutputUtf8();
    keepLogTail();
    reportCrashes({"VEXO", "Vexo Deck", VEXO_VERSION});
    collectGarbageInOneGo();
    QGuiApplication application(argc, argv);
    nameApplication();

    InstanceGuard guard(QStringLiteral("VEXO_Deck_SingleInstance"));
    if (guard.decide() == InstanceDecision::AlreadyRunning) {
        return 1;
    }
    tellCrashes();
    EndBeforeLookups end;
    const std::shared_ptr<void> endSignals =
        watchEndSignals([] { SystemBridge::instance()->quitApplication(); });

    const std::shared_ptr<void> soundServer = holdSoundServer();
    applyDarkLook(application);
    if (!hasGraphicsCard()) {
        QQuickWindow::setSceneGraphBackend(QStringLiteral("software"));
    }

    QQmlApplicationEngine engine;
    // Before any document is loaded, so that the first one is translated; it also makes the settings store.
    TranslationManager::instance()->setEngine(&engine);
    registerStoresAndClient();
    const QPointer<SystemBridge> bridge = SystemBridge::instance();
    bridge->setSettingsReader([](const QString& key) { return SettingsManager::instance()->getValue(key); });
    bridge->setInstanceHold([&guard](bool isHeld) { holdInstance(guard, isHeld); });
    bridge->initializeMonitorDevice();
    registerService<SystemBridge>("VexoDeckSystemBridge", "SystemBridge");
    const std::shared_ptr<void> pageOpener = openPagesWith(bridge);
    // Now the engine destroys the bridge, and with it the threads of the sound, even when no document has
    // used it: a process that exits while threads run may hang.
    static_cast<void>(engine.singletonInstance<SystemBridge*>("VexoDeckSystemBridge", "SystemBridge"));
    // The scan runs from here on: a device that is present may connect before the first window shows.
    HIDHotplugManager::instance();
    registerService<HIDHotplugManager>("VexoDeckHIDHotplug", "HIDHotplugManager");

    QObject::connect(
        &engine, &QQmlApplicationEngine::objectCreationFailed, &application,
        [] { QCoreApplication::exit(-1); }, Qt::QueuedConnection);
    engine.loadFromModule("VexoDeck", "Main");

    QObject::connect(&application, &QCoreApplication::aboutToQuit,
                     [&guard, &bridge] { cleanUp(guard, bridge); });
    saveBeforeSessionEnds(application);
    const UnexpectedExit rescue([&guard, &bridge] {
        SettingsManager::instance()->rescue();
        if (QThread::isMainThread()) {
            cleanUp(guard, bridge);
        }
    });
    return end.run();
}
