import QtQuick
import QtQuick.Templates as T

/*
    Content that the user scrolls by wheel, touch or bar. It scrolls by itself to the control that the keyboard
    reaches: up and down, or sideways if flickableDirection is horizontal.
*/
Flickable {
    id: page

    // Free space around the control that comes into view.
    property real revealRoom: 0
    // Whether a drag by the mouse scrolls. Not where there are sliders, which it may hold.
    property bool mouseFlicks: false
    property bool scrollBarShown: true
    property alias barThickness: scrollBar.thickness
    property alias barSpace: scrollBar.space
    readonly property bool sideways: flickableDirection === Flickable.HorizontalFlick
    readonly property Item focusItem: Window.activeFocusItem

    function holds(item: Item): bool {
        let ancestor = item;
        while (ancestor && ancestor !== contentItem)
            ancestor = ancestor.parent;
        return ancestor === contentItem;
    }

    // Scrolls as little as brings the whole item, with some room, into view.
    function reveal(item: Item) {
        const place = item.mapToItem(contentItem, 0, 0);
        if (sideways)
            revealStretch(place.x, item.width);
        else
            revealStretch(place.y, item.height);
    }

    function revealStretch(begin: real, length: real) {
        const first = begin - revealRoom;
        const last = begin + length + revealRoom;
        if (sideways)
            contentX = Math.max(0, Math.min(contentWidth - width, first, Math.max(contentX, last - width)));
        else
            contentY = Math.max(0, Math.min(contentHeight - height, first, Math.max(contentY, last - height)));
    }

    boundsBehavior: Flickable.StopAtBounds
    interactive: mouseFlicks || !mouse.active

    T.ScrollBar.vertical: sideways ? null : scrollBar
    T.ScrollBar.horizontal: sideways ? scrollBar : null

    VxScrollBar {
        id: scrollBar

        objectName: "scrollBar"
        parent: page
        policy: page.scrollBarShown ? T.ScrollBar.AsNeeded : T.ScrollBar.AlwaysOff
    }

    PointHandler {
        id: mouse

        acceptedDevices: PointerDevice.Mouse
    }

    // A page that still moves takes the next press for itself. It seems at rest long before its movement ends.
    Timer {
        id: settling

        objectName: "settling"
        interval: 150
        onTriggered: {
            page.cancelFlick();
            page.contentX = Math.round(page.contentX);
            page.contentY = Math.round(page.contentY);
        }
    }

    // Looks on while the page scrolls.
    WheelHandler {
        acceptedDevices: PointerDevice.Mouse | PointerDevice.TouchPad
        blocking: false
        target: null
        onWheel: {
            WheelTurn.scrollOn(page);
            settling.restart();
        }
    }

    onFocusItemChanged: {
        if (focusItem && !mouse.active && holds(focusItem))
            reveal(focusItem);
    }
}
