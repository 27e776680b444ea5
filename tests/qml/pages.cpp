// Draws the pages of the device drawer as each model shows them, and saves pictures:
//     qml_pages FOLDER
// writes FOLDER/<page>-<model>-<state>.png. Wants a display (an Xvfb will do); QT_SCALE_FACTOR gives other
// densities.

#include "tests/support/qml/FakeHIDHotplugManager.h"
#include "tests/support/qml/FakeProgram.h"
#include "tests/support/qml/LongTexts.h"

#include <QDir>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>

#include <cstdio>
#include <memory>

namespace {

// Longer than any transition of a page.
constexpr int kSettleMs = 700;
constexpr int kDrawerWidth = 450;
constexpr int kMargin = 20;

struct Model {
    const char* name;
    uint productId;
};

void settle() {
    runEventLoop(kSettleMs);
}

// A page on the drawer's background, in its full height.
class Drawer {
public:
    Drawer(QQmlEngine& engine, const char* page) : view(&engine, nullptr) {
        view.setColor(QColor("#181818"));
        QQmlComponent component(&engine);
        component.loadFromModule("VexoDeck", page);
        item.reset(qobject_cast<QQuickItem*>(component.create()));
        if (!item)
            qFatal("%s", qPrintable(component.errorString()));
        item->setParentItem(view.contentItem());
        item->setPosition({kMargin, kMargin});
        item->setSize({kDrawerWidth - 2 * kMargin, 600});
        view.show();
    }

    void setHeight(int height) {
        item->setHeight(height);
        view.resize(kDrawerWidth, height + 2 * kMargin);
    }

    void fitHeight() { setHeight(static_cast<int>(item->property("contentHeight").toReal())); }

    bool save(const QString& path) {
        settle();
        const bool saved = view.grabWindow().save(path);
        std::printf("%s %s\n", saved ? "saved" : "could not save", qPrintable(path));
        return saved;
    }

    QQuickItem& page() { return *item; }

private:
    QQuickView view;
    std::unique_ptr<QQuickItem> item;
};

} // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 2) {
        std::fprintf(stderr, "usage: qml_pages FOLDER\n");
        return 2;
    }
    const QDir folder(arguments[1]);
    folder.mkpath(".");
    setUpFakeProgram();

    QQmlEngine engine;
    LongTexts longTexts(engine);
    auto* manager =
        engine.singletonInstance<FakeHIDHotplugManager*>("VexoDeckHIDHotplug", "HIDHotplugManager");
    engine.singletonInstance<QObject*>("MediaControls", "HIDDeviceMgr");

    bool saved = true;
    for (const Model& model : {Model{"R2", 0x9829}, Model{"M40", 0x1396}, Model{"T40", 0x1397}}) {
        emit manager->deviceConnected({{"dpid", model.productId}}, true);
        for (const char* page : {"MicrophoneTab", "MonitorTab"}) {
            Drawer drawer(engine, page);
            const auto picture = [&](const char* state) {
                saved = drawer.save(folder.filePath(QString("%1-%2-%3.png").arg(page, model.name, state))) &&
                        saved;
            };
            settle();
            drawer.fitHeight();
            picture("first");
            if (auto* scenes = drawer.page().findChild<QObject*>("selectRowType")) {
                QMetaObject::invokeMethod(scenes, "chosen", 2);
                settle();
                drawer.fitHeight();
                picture("game");
                drawer.setHeight(400);
                picture("low");
            }
            longTexts.install();
            settle();
            drawer.fitHeight();
            picture("long");
            longTexts.remove();
        }
    }
    return saved ? 0 : 1;
}
