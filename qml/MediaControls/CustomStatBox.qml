import QtQuick

/* A state's icon, which rotates while work is in progress. The screen defines what each value means. */
Rectangle {
    id: statBox

    property int stat: 0
    // For a screen reader.
    property string name: ""
    readonly property bool spinning: stat === 1 || stat === 4

    implicitWidth: 18
    implicitHeight: 18
    color: "transparent"
    Accessible.role: Accessible.Graphic
    Accessible.name: name

    VxIcon {
        id: icon

        objectName: "icon"
        size: 18
        source: ["icons/stat1.svg", "icons/stat2.svg", "icons/stat3.svg", "icons/stat4.svg", "icons/stat2.svg"][statBox.stat] ?? "icons/stat1.svg"

        RotationAnimator {
            target: icon
            running: statBox.spinning && statBox.visible
            from: 0
            to: 360
            duration: 2000
            loops: Animation.Infinite
            onStopped: icon.rotation = 0
        }
    }
}
