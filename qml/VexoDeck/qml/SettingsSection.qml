import QtQuick
import MediaControls

/* A titled card of a page: rows one below the other. */
Column {
    id: section

    required property string title
    default property alias rows: rowColumn.data
    // The card grows beyond this where its texts need more.
    property real minimumCardHeight: 0

    width: parent?.width ?? 0
    spacing: 10

    Accessible.role: Accessible.Grouping
    Accessible.name: title

    VxText {
        objectName: "sectionTitle"
        width: parent.width
        text: section.title
        wrapMode: Text.Wrap
        color: VxTheme.textSecondary
        Accessible.ignored: false
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    Rectangle {
        objectName: "card"
        width: parent.width
        height: Math.max(section.minimumCardHeight, rowColumn.height + 2 * rowColumn.y)
        radius: VxTheme.radiusPanel
        color: VxTheme.card

        Column {
            id: rowColumn

            x: 20
            y: 16
            width: parent.width - 2 * x
        }
    }
}
