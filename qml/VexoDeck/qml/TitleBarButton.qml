import QtQuick
import MediaControls

/* A button of the title bar: an icon on a tile that lights up under the mouse. */
Pressable {
    id: button

    required property string name
    property url hoverIconSource: icon.source
    property color hoverColor: VxTheme.unselected
    property real iconSize: 16

    implicitWidth: 40
    implicitHeight: 30
    focusPolicy: Qt.TabFocus
    opacity: enabled ? 1 : 0.35
    // Inside of the button, which reaches to the edge of the window.
    ringRadius: 0
    ringGap: 0

    Accessible.name: name

    background: Rectangle {
        color: button.hovered || button.down ? button.hoverColor : "transparent"
        opacity: button.down ? 0.8 : 1
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
}
