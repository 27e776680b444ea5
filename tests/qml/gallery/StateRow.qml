pragma ComponentBehavior: Bound

import QtQuick
import MediaControls

/* One control in its five states. */
Row {
    id: row

    required property string title
    required property Component sourceComponent
    readonly property list<string> poses: ["", "hover", "press", "focus", ""]

    VxText {
        anchors.verticalCenter: parent.verticalCenter
        width: 190
        text: row.title
        color: VxTheme.textSecondary
        font.pixelSize: VxTheme.fontCaption
    }

    Repeater {
        model: 5

        Cell {
            required property int index

            width: 142
            height: implicitHeight
            pose: row.poses[index]
            enabled: index < 4
            sourceComponent: row.sourceComponent
        }
    }
}
