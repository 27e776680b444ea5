pragma Singleton

import QtQml

/* What a control does with a key that was pressed. */
QtObject {
    // Acts at the press itself. The presses that the system repeats while the key is held are for nobody.
    function once(event: var, action: var) {
        event.accepted = true;
        if (!event.isAutoRepeat)
            action();
    }
}
