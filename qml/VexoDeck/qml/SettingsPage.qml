import QtQuick
import MediaControls

/*
    A page of the device drawer: sections one below the other, scrolled by the wheel, by touch and by the focus. A
    pressed mouse does not scroll: it may hold a slider.
*/
Flickable {
    id: page

    default property alias sections: column.data
    property bool scrollBarShown: true
    // At the right of the sections, where the scroll bar stands, and below the last one.
    property real margin: 0
    readonly property Item focusItem: Window.activeFocusItem

    function holds(item: Item): bool {
        let ancestor = item;
        while (ancestor && ancestor !== column)
            ancestor = ancestor.parent;
        return ancestor === column;
    }

    // Scrolls as little as brings the whole item, with some room, into view.
    function reveal(item: Item) {
        const room = 16;
        const top = item.mapToItem(contentItem, 0, 0).y - room;
        const bottom = top + item.height + 2 * room;
        const wanted = Math.min(top, Math.max(contentY, bottom - height));
        contentY = Math.max(0, Math.min(contentHeight - height, wanted));
    }

    contentWidth: width
    contentHeight: column.height + margin
    boundsBehavior: Flickable.StopAtBounds
    interactive: !mouse.active

    PointHandler {
        id: mouse

        acceptedDevices: PointerDevice.Mouse
    }

    Column {
        id: column

        width: page.width - page.margin
        spacing: 20
    }

    VxScrollBar {
        id: scrollBar

        objectName: "scrollBar"
        parent: page
        anchors.top: parent.top
        anchors.right: parent.right
        anchors.rightMargin: Math.max(0, (page.margin - width) / 2)
        anchors.bottom: parent.bottom
        orientation: Qt.Vertical
        visible: page.scrollBarShown && size < 1
        size: page.visibleArea.heightRatio
        position: page.visibleArea.yPosition
        onPositionChanged: {
            if (pressed)
                page.contentY = position * page.contentHeight;
        }
    }

    onFocusItemChanged: {
        if (focusItem && !mouse.active && holds(focusItem))
            reveal(focusItem);
    }
}
