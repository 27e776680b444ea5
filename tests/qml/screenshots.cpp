// Draws the windows in their states and saves pictures of them:
//     qml_screenshots FOLDER [WIDTHxHEIGHT]
// writes FOLDER/<state>.png. Wants a display (an Xvfb will do); QT_SCALE_FACTOR gives other densities.

#include "tests/support/qml/FakeHIDHotplugManager.h"
#include "tests/support/qml/FakeProgram.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

#include <cstdio>

namespace {

// Long enough for every transition of a page.
constexpr int kSettleMs = 900;

void settle() {
    runEventLoop(kSettleMs);
}

void call(QQuickWindow& window, const char* objectName, const char* method) {
    QMetaObject::invokeMethod(window.findChild<QObject*>(objectName), method);
}

bool save(QQuickWindow& window, const QDir& folder, const QString& state) {
    settle();
    const QString path = folder.filePath(state + ".png");
    const bool saved = window.grabWindow().save(path);
    std::printf("%s %s\n", saved ? "saved" : "could not save", qPrintable(path));
    return saved;
}

// Shows the question of an update and closes it.
bool saveDialog(QQuickWindow& window, QQmlEngine& engine, const QDir& folder) {
    QVariant dialog;
    QMetaObject::invokeMethod(engine.singletonInstance<QObject*>("MediaControls", "MessageDialogMgr"),
                              "showCustomDialogNew", Q_RETURN_ARG(QVariant, dialog),
                              Q_ARG(QVariant, "有新版本可升级,是否重启并升级软件?"), Q_ARG(QVariant, {}),
                              Q_ARG(QVariant, {}), Q_ARG(QVariant, {}), Q_ARG(QVariant, {}));
    auto* shown = dialog.value<QObject*>();
    if (shown == nullptr)
        return false;
    const bool saved = save(window, folder, "dialog");
    QMetaObject::invokeMethod(shown, "close");
    settle();
    return saved;
}

bool saveUpgrade(QQuickWindow& window, FakeHIDHotplugManager& manager, QQmlEngine& engine, const QDir& folder,
                 const QString& model) {
    QMetaObject::invokeMethod(engine.singletonInstance<QObject*>("MediaControls", "MessageBus"),
                              "publishUpdateFirmware", QVariant("http://localhost/firmware.bin"));
    emit manager.upgradeFirmwareProgress(42, "升级进度:42");
    bool saved = save(window, folder, "upgrade-" + model);
    emit manager.upgradeFirmwareProgress(0, "升级失败");
    saved = save(window, folder, "upgrade-failed-" + model) && saved;
    emit manager.upgradeFirmwareProgress(100, "升级成功");
    saved = save(window, folder, "upgrade-done-" + model) && saved;
    call(window, "btn2", "click");
    return saved;
}

} // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() < 2) {
        std::fprintf(stderr, "usage: qml_screenshots FOLDER [WIDTHxHEIGHT]\n");
        return 2;
    }
    const QDir folder(arguments[1]);
    folder.mkpath(".");
    setUpFakeProgram();
    QQmlApplicationEngine engine;
    engine.loadFromModule("VexoDeck", "Main");
    if (engine.rootObjects().isEmpty())
        return 1;
    auto* manager =
        engine.singletonInstance<FakeHIDHotplugManager*>("VexoDeckHIDHotplug", "HIDHotplugManager");
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    if (arguments.size() > 2) {
        const QStringList size = arguments[2].split('x');
        window->resize(size.value(0).toInt(), size.value(1).toInt());
    }

    bool saved = save(*window, folder, "waiting");
    call(*window, "moreButton", "click");
    saved = save(*window, folder, "menu") && saved;
    call(*window, "moreButton", "click");
    const QList<std::pair<QString, uint>> models = {
        {"VEXO Mixdesk R2", 0x9829}, {"VEXO Voxmic M40", 0x1396}, {"VEXO Voxmic T40", 0x1397}};
    for (const auto& [name, productId] : models) {
        const QVariantMap info = {{"dpid", productId}, {"pid", 1},          {"vid", 2},
                                  {"name", name},      {"sn", "VX24A0117"}, {"version", "V1.04"}};
        emit manager->deviceConnected(info, true);
        saved = save(*window, folder, "ready-" + name.section(' ', -1)) && saved;
        call(*window, "startButton", "click");
        saved = save(*window, folder, "main-" + name.section(' ', -1)) && saved;
        call(*window, "deviceSettingsButton", "click");
        saved = save(*window, folder, "drawer-" + name.section(' ', -1)) && saved;
        if (productId == models.first().second)
            saved = saveDialog(*window, engine, folder) && saved;
        emit manager->deviceConnected(info, false);
        settle();
        emit manager->deviceConnected(info, true);
        saved = saveUpgrade(*window, *manager, engine, folder, name.section(' ', -1)) && saved;
        emit manager->deviceConnected(info, false);
        settle();
    }
    return saved ? 0 : 1;
}
