import QtQuick

/* A switch. Only the user's hand emits toggled: a write to checked by the program does not. */
Rectangle {
    id: switchBox

    property bool checked: false
    // For a screen reader.
    property string name: ""

    signal toggled(bool checked)

    function flip() {
        checked = !checked;
        toggled(checked);
    }

    function fillColor(): color {
        if (checked)
            return area.lit ? VxTheme.accentHover : VxTheme.accent;
        return area.lit ? VxTheme.switchOffHover : VxTheme.switchOff;
    }

    implicitWidth: 30
    implicitHeight: 16
    radius: 8
    color: fillColor()
    opacity: enabled ? 1 : VxTheme.disabledOpacity
    activeFocusOnTab: true

    Accessible.role: Accessible.CheckBox
    Accessible.name: name
    Accessible.focusable: true
    Accessible.focused: activeFocus
    Accessible.checkable: true
    Accessible.checked: checked

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

    ClickArea {
        id: area

        // A little room around the small switch.
        anchors.margins: -4
        control: switchBox
        ringRadius: switchBox.radius + 4
        ringGap: -1
        onActivated: switchBox.flip()
    }

    Keys.forwardTo: [area]
    Accessible.onPressAction: flip()
    Accessible.onToggleAction: flip()
}
