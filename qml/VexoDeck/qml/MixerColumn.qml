import QtQuick
import MediaControls

/* A column of the mixer: strips side by side under a heading, scrolled sideways where they do not fit. */
Rectangle {
    id: mixerColumn

    required property string title
    default property alias strips: stripRow.data
    readonly property Item focusItem: Window.activeFocusItem
    readonly property int padding: 12

    // Of all strips.
    readonly property real fullWidth: stripRow.width + 2 * padding

    function holds(item: Item): bool {
        let ancestor = item;
        while (ancestor && ancestor !== stripRow)
            ancestor = ancestor.parent;
        return ancestor === stripRow;
    }

    // Scrolls as little as brings the whole item, with some room, into view.
    function reveal(item: Item) {
        const room = 24;
        const left = item.mapToItem(stripRow, 0, 0).x - room;
        const right = left + item.width + 2 * room;
        const wanted = Math.min(left, Math.max(flickable.contentX, right - flickable.width));
        flickable.contentX = Math.max(0, Math.min(flickable.contentWidth - flickable.width, wanted));
    }

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

    Flickable {
        id: flickable

        objectName: "flickable"
        anchors.fill: parent
        anchors.topMargin: heading.height
        anchors.leftMargin: mixerColumn.padding
        anchors.rightMargin: mixerColumn.padding
        anchors.bottomMargin: mixerColumn.padding - scrollBar.height
        contentWidth: stripRow.width
        contentHeight: height
        flickableDirection: Flickable.HorizontalFlick
        boundsBehavior: Flickable.StopAtBounds
        clip: contentWidth > width
        // A pressed mouse may hold a fader.
        interactive: !mouse.active

        PointHandler {
            id: mouse

            acceptedDevices: PointerDevice.Mouse
        }

        Row {
            id: stripRow

            objectName: "stripRow"
            // The room of the scroll bar is kept without one, too: the strips of both columns stand in line.
            height: flickable.height - scrollBar.height
            spacing: 6
        }
    }

    VxScrollBar {
        id: scrollBar

        anchors.left: flickable.left
        anchors.right: flickable.right
        anchors.bottom: flickable.bottom
        orientation: Qt.Horizontal
        size: flickable.visibleArea.widthRatio
        position: flickable.visibleArea.xPosition
        onPositionChanged: {
            if (pressed)
                flickable.contentX = position * flickable.contentWidth;
        }
    }

    onFocusItemChanged: {
        if (focusItem && !mouse.active && holds(focusItem))
            reveal(focusItem);
    }
}
