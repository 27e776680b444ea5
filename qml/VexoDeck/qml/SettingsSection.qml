import QtQuick
import MediaControls

/* A titled card of a page: rows one below the other. */
Column {
    id: section

    required property string title
    // Explains the title, behind an icon.
    property string hint: ""
    // A single row may say it by itself.
    property bool titleShown: true
    default property alias rows: rowColumn.data
    property alias rowSpacing: rowColumn.spacing
    // Above and below the rows.
    property real cardPadding: 16
    // The card grows beyond this where its texts need more.
    property real minimumCardHeight: 0

    width: parent?.width ?? 0
    spacing: 10

    Accessible.role: Accessible.Grouping
    Accessible.name: title
    Accessible.description: hint

    Row {
        visible: section.titleShown
        width: parent.width
        spacing: 6

        VxText {
            objectName: "sectionTitle"
            width: Math.min(Math.ceil(implicitWidth), parent.width - (hintIcon.visible ? hintIcon.width + parent.spacing : 0))
            text: section.title
            wrapMode: Text.Wrap
            color: VxTheme.textSecondary
            Accessible.ignored: false
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
        TipsIcon {
            id: hintIcon

            anchors.verticalCenter: parent.verticalCenter
            tips: section.hint
        }
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
            y: section.cardPadding
            width: parent.width - 2 * x
        }
    }
}
