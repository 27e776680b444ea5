#include "tests/qml/Mouse.h"

#include <QCoreApplication>
#include <QMouseEvent>
#include <QPointF>
#include <QQuickItem>
#include <QQuickWindow>

void Mouse::clicks(QQuickItem* item, double x, double y, int count, int pauseMs) {
    // Later than all that a test case has sent.
    static quint64 timeMs = 1'000'000'000;
    timeMs += 10'000;
    const QPointF place = item->mapToScene(QPointF(x, y));
    const QPointF onScreen = item->mapToGlobal(QPointF(x, y));
    const auto send = [&](QEvent::Type kind, Qt::MouseButtons buttons) {
        QMouseEvent event(kind, place, onScreen, Qt::LeftButton, buttons, Qt::NoModifier);
        event.setTimestamp(timeMs);
        QCoreApplication::sendEvent(item->window(), &event);
    };
    for (int click = 0; click < count; ++click) {
        send(QEvent::MouseButtonPress, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, Qt::NoButton);
        timeMs += static_cast<quint64>(pauseMs);
    }
}
