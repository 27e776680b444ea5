#include "tests/support/qml/FakeProgram.h"

#include "app/ScriptEngines.h"
#include "app/TranslationManager.h"
#include "cloud/DataTrackerManager.h"
#include "tests/support/qml/FakeHIDHotplugManager.h"
#include "tests/support/qml/FakeNetworkManager.h"
#include "tests/support/qml/FakeSystemBridge.h"
#include "tests/support/qml/StoreFile.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickStyle>
#include <QStyleHints>
#include <QTemporaryDir>
#include <QTimer>

namespace {

constexpr int kLevelPeriodMs = 50;

} // namespace

void registerTranslations() {
    qmlRegisterSingletonType<TranslationManager>(
        "VexoDeckTranslation", 1, 0, "TranslationManager", [](QQmlEngine* engine, QJSEngine*) -> QObject* {
            auto* const manager = new TranslationManager("zh_CN", TranslationManager::usualFolders());
            manager->setEngine(engine);
            return manager;
        });
}

void registerTemporaryEvents() {
    static const QTemporaryDir folder;
    qmlRegisterSingletonType<DataTrackerManager>(
        "VexoDeckTracker", 1, 0, "DataTrackerManager",
        [](QQmlEngine*, QJSEngine*) -> QObject* { return new DataTrackerManager(folder.path()); });
}

void setUpFakeProgram() {
    collectGarbageInOneGo();
    QQuickStyle::setStyle("Material");
    QGuiApplication::styleHints()->setColorScheme(Qt::ColorScheme::Dark);
    registerFakeHIDHotplugManager();
    registerFakeNetworkManager();
    registerFakeSystemBridge();
    registerTemporarySettings();
    registerTranslations();
    registerTemporaryEvents();
}

void runEventLoop(int milliseconds, const std::function<void()>& everyPeriod) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    QTimer period;
    if (everyPeriod) {
        period.setTimerType(Qt::PreciseTimer);
        QObject::connect(&period, &QTimer::timeout, everyPeriod);
        everyPeriod();
        period.start(kLevelPeriodMs);
    }
    loop.exec();
}
