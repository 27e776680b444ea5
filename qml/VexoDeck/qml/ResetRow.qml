import QtQuick
import MediaControls

/* A card that opens the window of the factory reset. */
Pressable {
    id: resetRow

    // The window lives as long as this.
    required property Item owner

    QtObject {
        id: opened

        property WindowFrame window: null
    }

    width: parent?.width ?? 0
    implicitHeight: Math.max(60, label.height + topPadding + bottomPadding)
    horizontalPadding: 20
    verticalPadding: 12
    text: qsTr("恢复出厂")

    contentItem: Item {
        VxText {
            id: label

            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - arrow.width - 8
            text: resetRow.text
            wrapMode: Text.Wrap
        }
        VxIcon {
            id: arrow

            anchors.right: parent.right
            anchors.rightMargin: -5
            anchors.verticalCenter: parent.verticalCenter
            source: VxConfig.iconUrl("icons/right.svg", "")
            opacity: resetRow.hovered || resetRow.visualFocus ? 1 : 0.6
        }
    }
    background: Rectangle {
        objectName: "card"
        radius: VxTheme.radiusPanel
        color: resetRow.hovered ? VxTheme.track : VxTheme.card
    }

    // A second click may come before the window holds back the others.
    onClicked: {
        if (!opened.window)
            opened.window = VxConfig.createWindow("ResetWindow.qml", owner);
        DataTrackerMgr.storeAction(["通用", "通用", "恢复出厂"], 1);
    }
}
