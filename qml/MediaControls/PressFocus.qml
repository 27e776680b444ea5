import QtQuick.Templates as T

/*
    The keyboard's part of a control that is pressed. A ring surrounds its parent while the control has the focus. The
    control passes Return and Enter to press(); Qt handles Space.
*/
FocusRing {
    id: pressFocus

    required property T.AbstractButton control

    signal pressed

    // Acts when the key goes down and ignores repeats while it is held.
    function press(event: var) {
        event.accepted = true;
        if (!event.isAutoRepeat)
            pressed();
    }

    objectName: "focusRing"
    visible: control.visualFocus
}
