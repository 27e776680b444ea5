import QtQuick
import QtQuick.Templates as T

/*
    The base of every control that is pressed: by the mouse, by Space, Return and Enter, or by a screen reader, to which
    it is a button with its text as its name. A ring shows that the keyboard has reached it.
*/
T.Button {
    id: pressable

    // Of the ring, which goes around the background where there is one.
    property alias ringRadius: pressFocus.inner
    property alias ringGap: pressFocus.gap
    property alias ringColor: pressFocus.lineColor

    // What Return and Enter do.
    function enter() {
        click();
    }

    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    font.family: VxTheme.fontFamily
    font.pixelSize: VxTheme.fontSmall
    opacity: enabled ? 1 : VxTheme.disabledOpacity

    Accessible.role: Accessible.Button
    Accessible.name: text

    PressFocus {
        id: pressFocus

        parent: pressable.background ?? pressable
        control: pressable
        onPressed: pressable.enter()
    }

    Keys.onReturnPressed: event => pressFocus.press(event)
    Keys.onEnterPressed: event => pressFocus.press(event)
}
