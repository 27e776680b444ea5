#pragma once

#include <QObject>

// Presses that a test case cannot make: the singleton Keyboard of the module VexoDeckTest. Main thread.
class Keyboard : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // The window with the focus gets the press that the system repeats while a key is held.
    Q_INVOKABLE void repeat(int key);
};
