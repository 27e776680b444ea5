#include "tests/support/qml/FakeHIDHotplugManager.h"
#include "tests/support/qml/FakeNetworkManager.h"
#include "tools/pictures/Pictures.h"

#include <QQmlApplicationEngine>
#include <QQuickWindow>

namespace {

struct Model {
    const char* word;
    const char* name;
    uint productId;
};

void click(QQuickWindow& window, const char* objectName) {
    QMetaObject::invokeMethod(window.findChild<QObject*>(objectName), "click");
}

// The last download arrives.
void finishDownload(FakeNetworkManager& network) {
    int id = 0;
    for (const QVariant& call : network.calls()) {
        const QVariantMap values = call.toMap();
        if (values["name"] == "downloadFile")
            id = values["id"].toInt();
    }
    emit network.requestCompleted(id, true, {{"status_code", 200}});
    settle();
}

// The question of an update, and the answer that closes it.
bool takeDialog(QQmlApplicationEngine& engine, QQuickWindow& window, const QDir& folder) {
    QVariant dialog;
    QMetaObject::invokeMethod(engine.singletonInstance<QObject*>("MediaControls", "MessageDialogMgr"),
                              "showCustomDialogNew", Q_RETURN_ARG(QVariant, dialog),
                              Q_ARG(QVariant, "有新版本可升级,是否重启并升级软件?"), Q_ARG(QVariant, {}),
                              Q_ARG(QVariant, {}), Q_ARG(QVariant, {}), Q_ARG(QVariant, {}));
    auto* shown = dialog.value<QObject*>();
    if (shown == nullptr)
        return false;
    const bool saved = savePicture(window, folder, "dialog");
    QMetaObject::invokeMethod(shown, "close");
    settle();
    return saved;
}

} // namespace

bool takeUpgradePictures(QQmlApplicationEngine& engine, QQuickWindow& window, const QDir& folder) {
    auto& manager =
        *engine.singletonInstance<FakeHIDHotplugManager*>("VexoDeckHIDHotplug", "HIDHotplugManager");
    auto& network = *engine.singletonInstance<FakeNetworkManager*>("VexoDeckNetwork", "NetworkManager");
    auto* const messageBus = engine.singletonInstance<QObject*>("MediaControls", "MessageBus");
    settle();
    bool saved = true;
    for (const Model& model :
         {Model{"r2", "VEXO Mixdesk R2", 0x9829}, Model{"m40", "VEXO Voxmic M40", 0x1396},
          Model{"t40", "VEXO Voxmic T40", 0x1397}}) {
        const QString word = model.word;
        const QVariantMap info = {{"dpid", model.productId}, {"pid", 1},          {"vid", 2},
                                  {"name", model.name},      {"sn", "VX24A0117"}, {"version", "V1.04"}};
        emit manager.deviceConnected(info, true);
        settle();
        if (word == "r2") {
            click(window, "startButton");
            settle();
            click(window, "deviceSettingsButton");
            settle();
            saved = takeDialog(engine, window, folder) && saved;
            emit manager.deviceConnected(info, false);
            settle();
            emit manager.deviceConnected(info, true);
        }
        QMetaObject::invokeMethod(messageBus, "publishUpdateFirmware",
                                  QVariant("http://localhost/firmware.bin"));
        settle();
        finishDownload(network);
        emit manager.upgradeFirmwareProgress(42, "升级进度:42");
        saved = savePicture(window, folder, "upgrade-" + word) && saved;
        emit manager.upgradeFirmwareProgress(0, "升级失败");
        saved = savePicture(window, folder, "upgrade-failed-" + word) && saved;
        emit manager.upgradeFirmwareProgress(100, "升级成功");
        saved = savePicture(window, folder, "upgrade-done-" + word) && saved;
        click(window, "btn2");
        emit manager.deviceConnected(info, false);
        settle();
    }
    return saved;
}
