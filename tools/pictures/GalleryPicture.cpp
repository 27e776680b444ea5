#include "tests/support/qml/ControlGallery.h"
#include "tests/support/qml/FakeProgram.h"
#include "tools/pictures/Pictures.h"

#include <QImage>
#include <QPainter>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtTest/qtestmouse.h>

namespace {

// Longer than any transition of a control.
constexpr int kPoseMs = 350;

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
    // The first frame of a program may take the whole of the first wait.
    settle();
    settle();
    QImage picture = window.grabWindow();
    const qreal ratio = picture.devicePixelRatio();
    for (QQuickItem* cell : posedCells(window.contentItem())) {
        const QString pose = cell->property("pose").toString();
        takePose(window, *cell, pose);
        runEventLoop(kPoseMs);
        const QRectF area(cell->mapToScene(QPointF(0, 0)), cell->size());
        const QImage posed = window.grabWindow();
        QPainter painter(&picture);
        painter.drawImage(area, posed, QRectF(area.topLeft() * ratio, area.size() * ratio));
        painter.end();
        leavePose(window, pose);
        runEventLoop(kPoseMs);
    }
    return picture;
}

} // namespace

bool takeGalleryPicture(QQmlApplicationEngine& engine, const QDir& folder) {
    QQuickWindow* const window = openControlGallery(engine);
    return window != nullptr && writePicture(draw(*window), folder, "control-gallery");
}
