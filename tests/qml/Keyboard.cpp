#include "tests/qml/Keyboard.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QWindow>

void Keyboard::repeat(int key) {
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, QString(), true);
    QCoreApplication::sendEvent(QGuiApplication::focusWindow(), &press);
}
