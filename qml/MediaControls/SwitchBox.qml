import QtQuick

/* A switch. Only the user's hand emits toggled: a write to checked by the program does not. */
Rectangle {
    id: switchBox

    property bool checked: false
    // For a screen reader.
    property string name: ""
    property string description: ""

    signal toggled(bool checked)

    function flip() {
        checked = !checked;
        toggled(checked);
    }

    function fillColor(lit: bool): color {
        if (checked)
            return lit ? VxTheme.accentHover : VxTheme.accent;
        return lit ? VxTheme.switchOffHover : VxTheme.switchOff;
    }

    implicitWidth: 30
    implicitHeight: 16
    radius: 8
    color: fillColor(button.hovered && enabled)
    opacity: enabled ? 1 : VxTheme.disabledOpacity

    Behavior on color {
        ColorAnimation {
            duration: VxTheme.fadeMs
        }
    }

    Rectangle {
        objectName: "thumb"
        anchors.verticalCenter: parent.verticalCenter
        x: switchBox.checked ? switchBox.width - width - 2 : 2
        width: switchBox.height - 4
        height: width
        radius: width / 2
        color: VxTheme.text

        Behavior on x {
            NumberAnimation {
                duration: 200
                easing.type: Easing.OutCubic
            }
        }
    }

    Pressable {
        id: button

        anchors.fill: parent
        // The switch is small: its area to press is larger.
        anchors.margins: -4
        opacity: 1
        text: switchBox.name
        ringRadius: switchBox.radius + 4
        ringGap: -1
        checkable: true
        checked: switchBox.checked
        Accessible.role: Accessible.CheckBox
        Accessible.description: switchBox.description

        HoverHandler {
            cursorShape: Qt.PointingHandCursor
        }

        // Without it Qt would check the button and leave the switch.
        Accessible.onToggleAction: click()
        onClicked: switchBox.flip()
    }
}
