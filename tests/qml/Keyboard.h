#pragma once

#include <QObject>

// Presses that a test case cannot make: the singleton Keyboard of the module VexoDeckTest. Main thread.
class Keyboard : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // Sends a repeated press, as of a held key, to the window with the focus.
    Q_INVOKABLE void repeat(int key);
};
