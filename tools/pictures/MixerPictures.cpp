#include "tests/support/qml/FakeHIDHotplugManager.h"
#include "tests/support/qml/FakeSystemBridge.h"
#include "tools/pictures/Pictures.h"

#include <QGuiApplication>
#include <QImage>
#include <QJsonDocument>
#include <QPainter>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include <array>
#include <functional>

namespace {

constexpr uint kLiveBus = 0xFFFFFFFE;
constexpr uint kMonitorBus = 0xFFFFFFFF;

struct Application {
    const char* name;
    const char* color;
};

constexpr std::array<Application, 8> kApplications = {{{"Web Browser", "#FF7139"},
                                                       {"Music", "#1DB954"},
                                                       {"Voice Chat", "#5865F2"},
                                                       {"Meeting Rooms of the Northern Branch", "#2D8CFF"},
                                                       {"Game", "#66C0F4"},
                                                       {"Video Player", "#FF8800"},
                                                       {"Recorder", "#8A8AFF"},
                                                       {"Browser", nullptr}}};

class Pictures {
public:
    Pictures(QQmlApplicationEngine& qmlEngine, QQuickWindow& mainWindow, const QDir& target)
        : engine(qmlEngine), window(&mainWindow), folder(target) {
        manager = engine.singletonInstance<FakeHIDHotplugManager*>("VexoDeckHIDHotplug", "HIDHotplugManager");
        bridge = engine.singletonInstance<FakeSystemBridge*>("VexoDeckSystemBridge", "SystemBridge");
    }

    bool takeAll() {
        drawIcons();
        openMixer();
        save("mixer-empty", *window);
        takePopup();
        takeFull();
        takeEqualizer();
        takeAutoGain();
        return good;
    }

private:
    void drawIcons() {
        QVariantList running;
        for (std::size_t index = 0; index < kApplications.size(); ++index) {
            const Application& application = kApplications[index];
            const QString path = folder.filePath(QString(".icon%1.png").arg(index));
            if (application.color != nullptr)
                drawIcon(path, QColor(application.color));
            running.append(QVariantMap{{"name", application.name},
                                       {"bundleIdentifier", QString("file:///opt/app%1").arg(index)},
                                       {"processIdentifier", QString::number(4000 + index)},
                                       {"iconFilePath", application.color ? "file://" + path : QString()}});
        }
        bridge->setProperty("applications", running);
    }

    static void drawIcon(const QString& path, const QColor& color) {
        QImage icon(64, 64, QImage::Format_ARGB32_Premultiplied);
        icon.fill(Qt::transparent);
        QPainter painter(&icon);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.drawRoundedRect(4, 4, 56, 56, 14, 14);
        painter.setBrush(QColor(255, 255, 255, 210));
        painter.drawEllipse(20, 20, 24, 24);
        painter.end();
        icon.save(path);
    }

    void openMixer() {
        emit manager->deviceConnected(info, true);
        settle();
        call("startButton", "click");
        settle();
    }

    void takePopup() {
        call("plusButton", "click");
        save("mixer-popup", *window);
        item("popup")->setProperty("visible", false);
    }

    void takeFull() {
        QStringList entries;
        for (const QVariant& record : bridge->property("applications").toList())
            entries.append(
                QString::fromUtf8(QJsonDocument::fromVariant(record).toJson(QJsonDocument::Compact)));
        QMetaObject::invokeMethod(engine.singletonInstance<QObject*>("MediaControls", "ConfigMgr"),
                                  "setStringList", QString("appList"), QVariant(entries));
        setSetting("file:///opt/app2_mix", true);
        setSetting("file:///opt/app4_monitor", true);
        setSetting("file:///opt/app4_mix", true);
        const std::array volumes = {0.82, 0.64, 0.45, 0.9, 0.2, 0.71, 0.55, 0.3};
        for (std::size_t index = 0; index < volumes.size(); ++index)
            setSetting(QString("file:///opt/app%1_dB").arg(index), volumes[index]);
        setSetting("mix_dB", 0.75);
        reopen();
        settle();
        save("mixer-full", *window, [this] { sendLevels(0.72); });
        save("mixer-clipping", *window, [this] { sendLevels(1.3); });
        call("soloButton", "press", item("strip1"));
        save("mixer-solo", *window, [this] { sendLevels(0.5); });
        call("deviceSettingsButton", "click");
    }

    void reopen() {
        emit manager->deviceConnected(info, false);
        settle();
        openMixer();
    }

    void sendLevels(double loudest) {
        QVariantList levels;
        const auto add = [&](uint processId, double share) {
            const double left = loudest * share;
            levels.append(QVariantMap{{"processID", processId},
                                      {"levelLeft", left + jitter()},
                                      {"levelRight", left * 0.9 + jitter()}});
        };
        add(0, 0.8);
        add(kLiveBus, 1);
        add(kMonitorBus, 0.92);
        for (uint index = 0; index < kApplications.size(); ++index)
            add(4000 + index, 0.25 + 0.09 * index);
        emit bridge->audioInputLevelChanged(levels);
    }

    // So that two reports differ.
    double jitter() {
        tick = (tick + 1) % 7;
        return 0.002 * tick;
    }

    void takeEqualizer() {
        QObject* const page = item("microphoneTab");
        auto* const equalizer = page->findChild<QQuickWindow*>("equalizerWindow");
        equalizer->show();
        for (int preset = 0; preset < 7; ++preset) {
            QMetaObject::invokeMethod(find(equalizer, "eqSelect"), "select", preset);
            save(QString("equalizer-%1").arg(preset), *equalizer);
        }
        find(equalizer, "equalizerSwitch")->setProperty("checked", true);
        QMetaObject::invokeMethod(find(equalizer, "eqSelect"), "addPreset");
        QMetaObject::invokeMethod(find(equalizer, "eqSelect"), "addPreset");
        QMetaObject::invokeMethod(find(equalizer, "eqSelect"), "select", 7);
        const std::array gains = {-4.5, -2.0, 1.0, 3.0, 2.0, -1.0, -3.0, 0.0, 4.0, 5.5, 3.0, -6.0};
        for (int band = 0; band < 12; ++band)
            QMetaObject::invokeMethod(find(equalizer, "eqSelect"), "setGain", band,
                                      gains[static_cast<std::size_t>(band)]);
        save("equalizer-user", *equalizer);
        equalizer->close();
        settle();
    }

    void takeAutoGain() {
        QMetaObject::invokeMethod(engine.singletonInstance<QObject*>("MediaControls", "MessageBus"),
                                  "publishUpdateAutoGain", QVariant(1));
        settle();
        QQuickWindow* autoGain = nullptr;
        for (QWindow* const candidate : QGuiApplication::allWindows()) {
            if (candidate->objectName() == "autoGainWindow")
                autoGain = qobject_cast<QQuickWindow*>(candidate);
        }
        if (autoGain == nullptr)
            qFatal("no window of the measurement");
        emit manager->priMsgCallback(0x8002, 19);
        settle();
        save("auto-gain-measuring", *autoGain);
        emit manager->messageReceived(5, {22U});
        save("auto-gain-done", *autoGain);
    }

    void setSetting(const QString& key, const QVariant& value) {
        QMetaObject::invokeMethod(engine.singletonInstance<QObject*>("MediaControls", "ConfigMgr"),
                                  "setValue", key, value);
    }

    static QObject* find(const QQuickWindow* root, const QString& objectName) {
        QObject* const found = findIn(root->contentItem(), objectName);
        if (found == nullptr)
            qFatal("no %s", qPrintable(objectName));
        return found;
    }

    // Delegates are children of items only, not of objects.
    static QObject* findIn(QQuickItem* root, const QString& objectName) {
        if (root->objectName() == objectName)
            return root;
        if (QObject* const part = root->findChild<QObject*>(objectName))
            return part;
        for (QQuickItem* const child : root->childItems()) {
            if (QObject* const found = findIn(child, objectName))
                return found;
        }
        return nullptr;
    }

    QObject* item(const QString& objectName) { return find(window, objectName); }

    void call(const QString& objectName, const char* method, QObject* root = nullptr) {
        QObject* const target =
            root == nullptr ? item(objectName) : findIn(qobject_cast<QQuickItem*>(root), objectName);
        QMetaObject::invokeMethod(target, method);
    }

    void save(const QString& state, QQuickWindow& shown, const std::function<void()>& everyPeriod = {}) {
        good = savePicture(shown, folder, state, everyPeriod) && good;
    }

    const QVariantMap info = {{"dpid", 0x9829U},           {"pid", 1},          {"vid", 2},
                              {"name", "VEXO Mixdesk R2"}, {"sn", "VX24A0117"}, {"version", "V1.04"}};
    QQmlApplicationEngine& engine;
    QQuickWindow* const window;
    QDir folder;
    FakeHIDHotplugManager* manager = nullptr;
    FakeSystemBridge* bridge = nullptr;
    int tick = 0;
    bool good = true;
};

} // namespace

bool takeMixerPictures(QQmlApplicationEngine& engine, QQuickWindow& window, const QDir& folder) {
    return Pictures(engine, window, folder).takeAll();
}
