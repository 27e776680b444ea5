import QtQuick

/* The ring that marks a place among colours. */
Rectangle {
    id: selector

    property color fill

    width: 14
    height: 14
    radius: width / 2
    color: "transparent"
    border.width: 1
    border.color: VxTheme.shade

    Rectangle {
        anchors.fill: parent
        anchors.margins: 1
        radius: width / 2
        color: selector.fill
        border.width: 2
        border.color: VxTheme.text
    }
}
