import QtQuick.Templates as T

/*
    What the keyboard needs at a control that is pressed: a ring around the item that this one is put into, and Return
    and Enter, whose presses the control hands to press(). Space is Qt's own.
*/
FocusRing {
    id: pressFocus

    required property T.AbstractButton control

    signal pressed

    // At the press of the key already. Those that the system repeats while it is held do nothing.
    function press(event: var) {
        event.accepted = true;
        if (!event.isAutoRepeat)
            pressed();
    }

    objectName: "focusRing"
    visible: control.visualFocus
}
