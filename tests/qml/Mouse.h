#pragma once

#include <QObject>

class QQuickItem;

// Clicks whose times a test chooses, which those of a test case are not: the singleton Mouse of the module
// VexoDeckTest. Main thread.
class Mouse : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // Clicks on a place of an item, with a pause between two clicks by the times of the events. They are
    // delivered at once.
    Q_INVOKABLE void clicks(QQuickItem* item, double x, double y, int count, int pauseMs);
};
