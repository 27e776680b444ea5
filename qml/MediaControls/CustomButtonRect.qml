import QtQuick

/* A tile with an icon that is on or off. With isSelect false it is a plain button; isWorn lights it red and strikes the icon out. */
Rectangle {
    id: tile

    property url src
    property bool isActive: false
    property bool isWorn: false
    property bool isSelect: true
    // For a screen reader and the tooltip.
    property string name: ""
    property int iconSize: 20

    signal click

    function setActive(value: bool) {
        isActive = value;
    }

    // The colour of the lit tile, or the given one while it is not lit.
    function getColor(defaultColor: color): color {
        if (isActive && isSelect)
            return isWorn ? VxTheme.worn : VxTheme.accent;
        return defaultColor;
    }

    function press() {
        if (isSelect)
            isActive = !isActive;
        click();
    }

    implicitWidth: 36
    implicitHeight: 30
    radius: VxTheme.radiusTile
    color: getColor(area.lit ? VxTheme.unselectedHover : VxTheme.unselected)
    opacity: enabled ? 1 : VxTheme.disabledOpacity
    activeFocusOnTab: true

    Accessible.role: Accessible.Button
    Accessible.name: name
    Accessible.focusable: true
    Accessible.focused: activeFocus
    Accessible.checkable: isSelect
    Accessible.checked: isActive
    Accessible.pressed: area.pressed

    VxIcon {
        anchors.centerIn: parent
        size: tile.iconSize
        source: tile.src
        scale: area.pressed ? 0.9 : 1

        // The line, and the gap that it cuts into the icon.
        Rectangle {
            objectName: "stroke"
            anchors.centerIn: parent
            visible: tile.isActive && tile.isSelect && tile.isWorn
            width: parent.width * 0.95
            height: parent.width * 0.19
            rotation: 45
            antialiasing: true
            color: tile.color

            Rectangle {
                anchors.centerIn: parent
                width: parent.width
                height: parent.height / 3
                antialiasing: true
                color: VxTheme.text
            }
        }
    }

    ClickArea {
        id: area

        control: tile
        ringRadius: tile.radius
        onActivated: tile.press()
    }

    VxToolTip {
        visible: area.lit && tile.name !== ""
        delay: VxTheme.toolTipDelayMs
        text: tile.name
    }

    Keys.forwardTo: [area]
    Accessible.onPressAction: press()
    Accessible.onToggleAction: press()
}
