import QtQuick

/* A place for one control, with the pose in which a picture shows it: "", "hover", "press", "focus" or "open". */
Item {
    property string pose: ""
    readonly property Item control: loader.item as Item
    property alias sourceComponent: loader.sourceComponent
    // Where in the control the mouse is placed.
    property int anchor: Qt.AlignHCenter
    // Where the control stands, so that a pose has room around it.
    property real inset: 8

    implicitWidth: loader.width + 2 * inset
    implicitHeight: loader.height + 2 * inset

    Loader {
        id: loader

        x: parent.inset
        y: parent.pose === "open" ? 8 : (parent.height - height) / 2
    }
}
