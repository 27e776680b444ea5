pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Window

/* Makes a frameless window resizable at its edges and corners. Fills the window, above its body. */
Item {
    id: resizeEdges

    required property Window window
    readonly property int thickness: 5
    readonly property int cornerLength: 12

    objectName: "resizeEdges"

    Repeater {
        model: [
            {
                name: "edgeTop",
                edges: Qt.TopEdge,
                shape: Qt.SizeVerCursor
            },
            {
                name: "edgeBottom",
                edges: Qt.BottomEdge,
                shape: Qt.SizeVerCursor
            },
            {
                name: "edgeLeft",
                edges: Qt.LeftEdge,
                shape: Qt.SizeHorCursor
            },
            {
                name: "edgeRight",
                edges: Qt.RightEdge,
                shape: Qt.SizeHorCursor
            },
            {
                name: "edgeTopLeft",
                edges: Qt.TopEdge | Qt.LeftEdge,
                shape: Qt.SizeFDiagCursor
            },
            {
                name: "edgeBottomRight",
                edges: Qt.BottomEdge | Qt.RightEdge,
                shape: Qt.SizeFDiagCursor
            },
            {
                name: "edgeTopRight",
                edges: Qt.TopEdge | Qt.RightEdge,
                shape: Qt.SizeBDiagCursor
            },
            {
                name: "edgeBottomLeft",
                edges: Qt.BottomEdge | Qt.LeftEdge,
                shape: Qt.SizeBDiagCursor
            }
        ]

        MouseArea {
            required property var modelData
            readonly property bool horizontal: modelData.edges & (Qt.LeftEdge | Qt.RightEdge)
            readonly property bool vertical: modelData.edges & (Qt.TopEdge | Qt.BottomEdge)
            readonly property bool corner: horizontal && vertical

            objectName: modelData.name
            x: modelData.edges & Qt.RightEdge ? resizeEdges.width - width : 0
            y: modelData.edges & Qt.BottomEdge ? resizeEdges.height - height : 0
            width: corner ? resizeEdges.cornerLength : horizontal ? resizeEdges.thickness : resizeEdges.width
            height: corner ? resizeEdges.cornerLength : vertical ? resizeEdges.thickness : resizeEdges.height
            cursorShape: modelData.shape
            onPressed: resizeEdges.window.startSystemResize(modelData.edges)
        }
    }
}
