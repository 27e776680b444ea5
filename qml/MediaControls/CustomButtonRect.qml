import QtQuick

/*
    A tile with an icon that is on or off. With isSelect false it is a plain button. With isWorn it lights red and
    strikes the icon out.
*/
Rectangle {
    id: tile

    property url src
    property bool isActive: false
    property bool isWorn: false
    property bool isSelect: true
    // For a screen reader and the tooltip.
    property string name: ""
    // For a screen reader.
    property string description: ""
    property int iconSize: 20

    signal click

    function setActive(value: bool) {
        isActive = value;
    }

    // The colour of a tile that is on, otherwise the given colour.
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
    color: getColor(button.hovered && enabled ? VxTheme.unselectedHover : VxTheme.unselected)
    opacity: enabled ? 1 : VxTheme.disabledOpacity

    VxIcon {
        anchors.centerIn: parent
        size: tile.iconSize
        source: tile.src
        scale: button.down ? 0.9 : 1

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

    Pressable {
        id: button

        anchors.fill: parent
        opacity: 1
        text: tile.name
        ringRadius: tile.radius
        checkable: tile.isSelect
        checked: tile.isSelect && tile.isActive
        Accessible.description: tile.description

        HoverHandler {
            cursorShape: Qt.PointingHandCursor
        }

        Accessible.onToggleAction: click()
        onClicked: tile.press()
    }

    VxToolTip {
        visible: button.hovered && tile.name !== ""
        delay: VxTheme.toolTipDelayMs
        text: tile.name
    }
}
