import QtQuick
import MediaControls

/* A card with a heading. */
Rectangle {
    id: section

    required property string title
    default property alias content: body.data

    implicitWidth: body.implicitWidth + 32
    implicitHeight: body.implicitHeight + 58
    radius: VxTheme.radiusLarge
    color: VxTheme.card

    VxText {
        x: 16
        y: 14
        text: section.title
        font.pixelSize: VxTheme.fontLead
        font.bold: true
    }

    Column {
        id: body

        x: 16
        y: 44
        spacing: 4
    }
}
