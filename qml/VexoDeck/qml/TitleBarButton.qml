import QtQuick
import QtQuick.Templates as T
import MediaControls

/* A button of the title bar: an icon on a tile that lights up under the mouse. */
T.AbstractButton {
    id: button

    required property string name
    property url hoverIconSource: icon.source
    property color hoverColor: VxTheme.unselected
    property real iconSize: 16

    implicitWidth: 40
    implicitHeight: 30
    focusPolicy: Qt.TabFocus
    hoverEnabled: true
    opacity: enabled ? 1 : 0.35

    Accessible.role: Accessible.Button
    Accessible.name: name

    background: Rectangle {
        color: button.hovered || button.down ? button.hoverColor : "transparent"
        opacity: button.down ? 0.8 : 1
        border.width: button.visualFocus ? 2 : 0
        border.color: VxTheme.focusRing
    }
    contentItem: Item {
        Image {
            anchors.centerIn: parent
            width: button.iconSize
            height: button.iconSize
            sourceSize: Qt.size(width, height)
            source: button.hovered ? button.hoverIconSource : button.icon.source
        }
    }

    Keys.onReturnPressed: event => KeyPress.once(event, () => click())
    Keys.onEnterPressed: event => KeyPress.once(event, () => click())
}
