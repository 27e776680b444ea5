import QtQuick
import MediaControls

/* One page of the support: when it can be reached, and by what. */
Item {
    id: contactPage

    required property string heading
    required property string hours
    default property alias contacts: contactColumn.data

    Column {
        anchors.centerIn: parent
        width: parent.width - 80
        spacing: 20

        Column {
            width: parent.width
            spacing: 6

            VxText {
                objectName: "heading"
                width: parent.width
                text: contactPage.heading
                font.pixelSize: VxTheme.fontHeading
                wrapMode: Text.Wrap
                Accessible.ignored: false
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
            VxText {
                objectName: "hours"
                width: parent.width
                text: contactPage.hours
                color: VxTheme.textSecondary
                wrapMode: Text.Wrap
                Accessible.ignored: false
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }

        Rectangle {
            width: parent.width
            height: contactColumn.height + 2 * contactColumn.y
            radius: VxTheme.radiusPanel
            color: VxTheme.card

            Column {
                id: contactColumn

                x: 20
                y: 18
                width: parent.width - 2 * x
                spacing: 16
            }
        }
    }
}
