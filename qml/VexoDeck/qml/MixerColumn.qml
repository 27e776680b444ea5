import QtQuick
import MediaControls

/* A column of the mixer: strips side by side under a heading, scrolled sideways where they do not fit. */
Rectangle {
    id: mixerColumn

    required property string title
    default property alias strips: stripRow.data
    readonly property int padding: 12

    // Of all strips.
    readonly property real fullWidth: stripRow.width + 2 * padding

    radius: VxTheme.radiusLarge
    color: VxTheme.surface
    Accessible.role: Accessible.Grouping
    Accessible.name: title

    VxText {
        id: heading

        x: mixerColumn.padding + 2
        width: parent.width - 2 * x
        height: 40
        text: mixerColumn.title
        elide: Text.ElideRight
        color: VxTheme.textSecondary
        font.bold: true
        Accessible.ignored: false
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    ScrollPage {
        id: scrollPage

        anchors.fill: parent
        anchors.topMargin: heading.height
        anchors.leftMargin: mixerColumn.padding
        anchors.rightMargin: mixerColumn.padding
        anchors.bottomMargin: mixerColumn.padding - barThickness
        contentWidth: stripRow.width
        contentHeight: height
        flickableDirection: Flickable.HorizontalFlick
        revealRoom: 24
        clip: contentWidth > width

        Row {
            id: stripRow

            objectName: "stripRow"
            // The room of the scroll bar is kept without one, too: the strips of both columns stand in line.
            height: scrollPage.height - scrollPage.barThickness
            spacing: 6
        }
    }
}
