pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Controls
import MediaControls

/* The bar over a frameless window: title, window buttons, a place for more; drags the window. */
Rectangle {
    id: titleBar

    required property Window window
    // Buttons of the macOS kind, at the left; otherwise those of Windows, at the right.
    property bool macStyle: Qt.platform.os === "osx"
    property color titleColor: VxTheme.text
    property Component rightView: null
    // How much of the bar's rim, beside the buttons, is left to what lies below: the edges that resize the window.
    property int edgeThickness: 0
    readonly property bool resizable: window.minimumWidth < window.maximumWidth || window.minimumHeight < window.maximumHeight
    readonly property bool maximized: window.visibility === Window.Maximized

    signal closeRequested

    function toggleMaximized() {
        window.visibility = maximized ? Window.Windowed : Window.Maximized;
    }

    objectName: "titleBar"
    height: 30
    color: VxTheme.titleBar

    // The free area: below the buttons. A gesture that begins on a button stays with it: neither handler takes a
    // press that an item has.
    Item {
        anchors.fill: parent
        anchors.topMargin: titleBar.edgeThickness
        anchors.leftMargin: titleBar.edgeThickness
        anchors.rightMargin: titleBar.edgeThickness

        DragHandler {
            property point grabbedAt

            target: null
            // Not at the press already: the system takes the mouse for its move, the release with it, and no double
            // click would be seen any more.
            dragThreshold: 2
            grabPermissions: PointerHandler.CanTakeOverFromHandlersOfDifferentType | PointerHandler.ApprovesTakeOverByAnything
            onActiveChanged: {
                grabbedAt = centroid.pressPosition;
                if (active && !titleBar.macStyle)
                    titleBar.window.startSystemMove();
            }
            onCentroidChanged: {
                if (active && titleBar.macStyle) {
                    titleBar.window.x += centroid.position.x - grabbedAt.x;
                    titleBar.window.y += centroid.position.y - grabbedAt.y;
                }
            }
        }

        TapHandler {
            enabled: titleBar.resizable
            gesturePolicy: TapHandler.ReleaseWithinBounds
            onDoubleTapped: titleBar.toggleMaximized()
        }
    }

    Row {
        id: leftSide

        anchors.left: parent.left
        height: parent.height

        Loader {
            height: parent.height
            active: titleBar.macStyle
            sourceComponent: macButtons
        }
        Loader {
            height: parent.height
            active: !titleBar.macStyle
            sourceComponent: titleBar.rightView
        }
    }

    Label {
        objectName: "windowTitle"
        anchors.centerIn: parent
        width: Math.min(implicitWidth, parent.width - 2 * Math.max(leftSide.width, rightSide.width) - 16)
        text: titleBar.window.title
        textFormat: Text.PlainText
        elide: Text.ElideRight
        color: titleBar.titleColor
        font.bold: true
        font.pixelSize: VxTheme.fontCaption
        Accessible.role: Accessible.TitleBar
        Accessible.name: text
    }

    Row {
        id: rightSide

        anchors.right: parent.right
        height: parent.height

        Loader {
            height: parent.height
            active: titleBar.macStyle
            sourceComponent: titleBar.rightView
        }
        Loader {
            height: parent.height
            active: !titleBar.macStyle
            sourceComponent: windowsButtons
        }
    }

    Component {
        id: windowsButtons

        Row {
            TitleBarButton {
                objectName: "minimizeButton"
                name: qsTr("最小化")
                icon.source: VxConfig.iconUrl("icons/min_win.svg", "")
                onClicked: titleBar.window.visibility = Window.Minimized
            }
            TitleBarButton {
                objectName: "maximizeButton"
                name: titleBar.maximized ? qsTr("还原") : qsTr("最大化")
                icon.source: VxConfig.iconUrl("icons/max_win.svg", "")
                enabled: titleBar.resizable
                onClicked: titleBar.toggleMaximized()
            }
            TitleBarButton {
                objectName: "closeButton"
                name: qsTr("关闭")
                icon.source: VxConfig.iconUrl("icons/close_win.svg", "")
                hoverColor: VxTheme.danger
                onClicked: titleBar.closeRequested()
            }
        }
    }

    Component {
        id: macButtons

        Row {
            leftPadding: 8

            TitleBarButton {
                objectName: "closeButton"
                width: 20
                name: qsTr("关闭")
                icon.source: VxConfig.iconUrl("icons/close_mac1.svg", "")
                hoverIconSource: VxConfig.iconUrl("icons/close_mac2.svg", "")
                hoverColor: "transparent"
                onClicked: titleBar.closeRequested()
            }
            TitleBarButton {
                objectName: "minimizeButton"
                width: 20
                name: qsTr("最小化")
                icon.source: VxConfig.iconUrl("icons/min_mac1.svg", "")
                hoverIconSource: VxConfig.iconUrl("icons/min_mac2.svg", "")
                hoverColor: "transparent"
                onClicked: titleBar.window.visibility = Window.Minimized
            }
            TitleBarButton {
                objectName: "maximizeButton"
                width: 20
                name: titleBar.maximized ? qsTr("还原") : qsTr("最大化")
                icon.source: VxConfig.iconUrl("icons/max_mac1.svg", "")
                hoverIconSource: VxConfig.iconUrl("icons/max_mac2.svg", "")
                hoverColor: "transparent"
                enabled: titleBar.resizable
                onClicked: titleBar.toggleMaximized()
            }
        }
    }
}
