pragma ComponentBehavior: Bound

import QtQuick

/*
    A filled ground with round corners. Only the corners are blended with what lies below; the rest is opaque, so that
    a renderer without a graphics card paints each of its points once.
*/
Item {
    id: ground

    property color color: VxTheme.card
    property real radius: VxTheme.radiusPanel

    component Corner: Rectangle {
        width: 2 * ground.radius
        height: width
        radius: ground.radius
        color: ground.color
    }

    component Middle: Rectangle {
        color: ground.color
        antialiasing: false
    }

    Corner {}

    Corner {
        anchors.right: parent.right
    }

    Corner {
        anchors.bottom: parent.bottom
    }

    Corner {
        anchors.right: parent.right
        anchors.bottom: parent.bottom
    }

    Middle {
        x: ground.radius
        width: parent.width - 2 * x
        height: parent.height
    }

    Middle {
        y: ground.radius
        width: parent.width
        height: parent.height - 2 * y
    }
}
