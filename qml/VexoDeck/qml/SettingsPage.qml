import QtQuick
import MediaControls

/* A page of the device drawer: sections one below the other. */
ScrollPage {
    id: page

    default property alias sections: column.data
    // Free space to the right of the sections, for the scroll bar, and below the last one.
    property real margin: 0
    property alias spacing: column.spacing

    contentWidth: width
    contentHeight: column.height + margin
    barSpace: margin
    revealRoom: 16

    Column {
        id: column

        width: page.width - page.margin
        spacing: 20
    }
}
