// Shows every control of the library, in every state:
//     vexo_control_gallery              a window to try them in
//     vexo_control_gallery --save FILE  writes a picture, as in docs/pictures/control-gallery.png
//     vexo_control_gallery --check      draws it once and ends
// Wants a display (an Xvfb will do); QT_SCALE_FACTOR gives other densities.

#include "tests/support/qml/FakeProgram.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtTest/qtestmouse.h>

#include <cstdio>

namespace {

// Longer than any transition of a control.
constexpr int kSettleMs = 350;

void settle() {
    runEventLoop(kSettleMs);
}

// The cells of the document that have a pose.
QList<QQuickItem*> posedCells(QQuickItem* item) {
    QList<QQuickItem*> cells;
    if (!item->property("pose").toString().isEmpty())
        cells.append(item);
    for (QQuickItem* child : item->childItems())
        cells.append(posedCells(child));
    return cells;
}

// Brings the control of a cell into its pose as a user would.
void takePose(QQuickWindow& window, const QQuickItem& cell, const QString& pose) {
    auto* control = cell.property("control").value<QQuickItem*>();
    const bool right = cell.property("anchor").toInt() == Qt::AlignRight;
    const QPointF place = right ? QPointF(control->width() - 8, control->height() / 2)
                                : QPointF(control->width() / 2, control->height() / 2);
    const QPoint point = control->mapToScene(place).toPoint();
    if (pose == "focus") {
        QQuickItem* reached = control->activeFocusOnTab() ? control : control->nextItemInFocusChain();
        reached->forceActiveFocus(Qt::TabFocusReason);
        return;
    }
    QTest::mouseMove(&window, point);
    if (pose == "press")
        QTest::mousePress(&window, Qt::LeftButton, Qt::NoModifier, point);
    else if (pose == "open")
        QTest::mouseClick(&window, Qt::LeftButton, Qt::NoModifier, point);
}

// A release at another place is no click.
void leavePose(QQuickWindow& window, const QString& pose) {
    const QPoint aside(2, window.height() - 2);
    QTest::mouseMove(&window, aside);
    if (pose == "press")
        QTest::mouseRelease(&window, Qt::LeftButton, Qt::NoModifier, aside);
    else if (pose == "open")
        QTest::mouseClick(&window, Qt::LeftButton, Qt::NoModifier, aside);
    window.contentItem()->forceActiveFocus(Qt::OtherFocusReason);
}

// One picture of the window with each cell in its pose. A real mouse could do so for one cell only.
QImage draw(QQuickWindow& window) {
    settle();
    // The first frame of a program is slow.
    settle();
    settle();
    QImage picture = window.grabWindow();
    const qreal ratio = picture.devicePixelRatio();
    for (QQuickItem* cell : posedCells(window.contentItem())) {
        const QString pose = cell->property("pose").toString();
        takePose(window, *cell, pose);
        settle();
        const QRectF area(cell->mapToScene(QPointF(0, 0)), cell->size());
        const QImage posed = window.grabWindow();
        QPainter painter(&picture);
        painter.drawImage(area, posed, QRectF(area.topLeft() * ratio, area.size() * ratio));
        painter.end();
        leavePose(window, pose);
        settle();
    }
    return picture;
}

} // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    const bool saving = arguments.size() == 3 && arguments[1] == "--save";
    const bool checking = arguments.size() == 2 && arguments[1] == "--check";
    if (arguments.size() > 1 && !saving && !checking) {
        std::fprintf(stderr, "usage: vexo_control_gallery [--save FILE | --check]\n");
        return 2;
    }
    setUpFakeProgram();

    QQmlApplicationEngine engine;
    QVariantList applications;
    for (const char* name : {"music", "game", "browser", "talk"})
        applications.append(
            QVariantMap{{"name", name}, {"bundleIdentifier", name}, {"processIdentifier", "1"}});
    engine.singletonInstance<QObject*>("VexoDeckSystemBridge", "SystemBridge")
        ->setProperty("applications", applications);
    engine.load(QUrl::fromLocalFile(VEXO_GALLERY_DIR "/Gallery.qml"));
    if (engine.rootObjects().isEmpty())
        return 1;
    if (!saving && !checking)
        return QGuiApplication::exec();

    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    if (checking) {
        settle();
        return window->grabWindow().isNull() ? 1 : 0;
    }
    const bool saved = draw(*window).save(arguments[2]);
    std::printf("%s %s\n", saved ? "saved" : "could not save", qPrintable(arguments[2]));
    return saved ? 0 : 1;
}
