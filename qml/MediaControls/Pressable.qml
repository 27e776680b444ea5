import QtQuick
import QtQuick.Templates as T

/*
    The base of every control that is pressed: by the mouse, by Space, Return and Enter, or by a screen reader. Its role
    is that of a button, its name its text. A ring shows that it has the keyboard's focus.
*/
T.Button {
    id: pressable

    // What the ring surrounds: the background, or the control where there is none.
    property Item ringed: background ?? pressable
    property alias ringRadius: ring.inner
    property alias ringGap: ring.gap
    property alias ringColor: ring.lineColor

    // What Return and Enter do.
    function enter() {
        click();
    }

    // Acts when the key goes down and ignores repeats while it is held. Qt handles Space.
    function handleEnterKey(event: var) {
        event.accepted = true;
        if (!event.isAutoRepeat)
            enter();
    }

    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    font.family: VxTheme.fontFamily
    font.pixelSize: VxTheme.fontSmall
    opacity: enabled ? 1 : VxTheme.disabledOpacity

    Accessible.role: Accessible.Button
    Accessible.name: text

    FocusRing {
        id: ring

        objectName: "focusRing"
        parent: pressable.ringed
        visible: pressable.visualFocus
    }

    Keys.onReturnPressed: event => handleEnterKey(event)
    Keys.onEnterPressed: event => handleEnterKey(event)
}
