import QtQuick
import QtQuick.Templates as T

/*
    The base of every control that is pressed: by the mouse, by Space, Return and Enter, or by a screen reader. Its role
    is that of a button, its name its text. A ring shows that it has the keyboard's focus.
*/
T.Button {
    id: pressable

    // Of the ring, which surrounds the background, or the control where there is none.
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
