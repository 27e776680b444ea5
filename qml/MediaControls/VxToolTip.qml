import QtQuick
import QtQuick.Templates as T

/* A black bubble that points at the middle of its parent: from above, or from below where there is no room above. */
T.ToolTip {
    id: toolTip

    property real maximumWidth: 180
    readonly property int gap: 8

    QtObject {
        id: place

        property bool below: false
    }

    x: parent ? Math.round((parent.width - width) / 2) : 0
    y: place.below && parent ? parent.height + gap : -height - gap
    padding: 8
    horizontalPadding: 10
    margins: 4
    closePolicy: T.Popup.NoAutoClose
    contentWidth: Math.min(maximumWidth - leftPadding - rightPadding, Math.ceil(label.implicitWidth))
    contentHeight: label.implicitHeight
    implicitWidth: contentWidth + leftPadding + rightPadding
    implicitHeight: contentHeight + topPadding + bottomPadding

    contentItem: VxText {
        id: label

        text: toolTip.text
        font.pixelSize: VxTheme.fontCaption
        wrapMode: Text.Wrap
        lineHeight: 1.15
    }
    background: Rectangle {
        radius: VxTheme.radiusSmall
        color: VxTheme.tooltip
        border.width: 1
        border.color: VxTheme.track

        Item {
            objectName: "pointer"
            x: Math.max(6, Math.min(parent.width - 6, toolTip.parent ? toolTip.parent.width / 2 - toolTip.x : 0)) - width / 2
            y: place.below ? -height + 1 : parent.height - 1
            width: 12
            height: 6
            clip: true

            Rectangle {
                anchors.horizontalCenter: parent.horizontalCenter
                y: place.below ? 2 : -height + 4
                width: 8
                height: 8
                rotation: 45
                color: VxTheme.tooltip
                border.width: 1
                border.color: VxTheme.track
            }
        }
    }

    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: VxTheme.hoverMs
        }
    }
    exit: Transition {
        NumberAnimation {
            property: "opacity"
            to: 0
            duration: VxTheme.hoverMs
        }
    }

    // The bubble contains no point, so that a press goes to what lies below it.
    QtObject {
        id: nowhere

        function contains(position: point): bool {
            return false;
        }
    }

    Component.onCompleted: contentItem.parent.containmentMask = nowhere
    onAboutToShow: place.below = parent.mapToItem(null, 0, 0).y < height + gap + margins
}
