import QtQuick
import QtQuick.Templates as T

/*
    The program's only form of question: a bar at the top of its parent that only its two buttons close. It disappears
    without a fade, since callers take a visible bar for an open question.
*/
T.Popup {
    id: dialog

    property string title: qsTr("有新版本可升级,是否重启并升级软件?")
    property string cancelText: qsTr("取消")
    property string confirmText: qsTr("立即升级")
    property color dialogColor: VxTheme.accent

    signal confirmed
    signal cancelled

    function showCustomDialog(msg: var) {
        title = msg ?? "";
        open();
    }

    component BarButton: Pressable {
        id: button

        implicitWidth: Math.max(72, implicitContentWidth + leftPadding + rightPadding)
        implicitHeight: 26
        horizontalPadding: 14
        ringRadius: VxTheme.radiusTile
        ringColor: VxTheme.text

        contentItem: VxText {
            text: button.text
            font: button.font
            horizontalAlignment: Text.AlignHCenter
        }
        background: Rectangle {
            radius: VxTheme.radiusTile
            color: button.down ? VxTheme.veilPressed : button.hovered ? VxTheme.veilHover : "transparent"
            border.width: 1
            border.color: VxTheme.text
        }
    }

    x: parent ? Math.round((parent.width - width) / 2) : 0
    y: 20
    z: 1000
    width: Math.min(implicitWidth, parent ? parent.width - 40 : implicitWidth)
    implicitWidth: leftPadding + rightPadding + icon.width + Math.ceil(message.implicitWidth) + cancelButton.width + confirmButton.width + row.spacing * 3 + 12
    height: 55
    leftPadding: 18
    rightPadding: 18
    modal: false
    closePolicy: T.Popup.NoAutoClose

    background: Rectangle {
        radius: VxTheme.radiusPanel
        color: dialog.dialogColor
    }
    contentItem: Row {
        id: row

        spacing: 12
        Accessible.role: Accessible.AlertMessage
        Accessible.name: dialog.title

        VxIcon {
            id: icon

            objectName: "icon"
            anchors.verticalCenter: parent.verticalCenter
            size: 22
            source: "icons/info2.svg"
        }
        VxText {
            id: message

            objectName: "message"
            width: row.width - icon.width - cancelButton.width - confirmButton.width - row.spacing * 3
            height: row.height
            text: dialog.title
            font.pixelSize: VxTheme.fontLead
            wrapMode: Text.Wrap
            // A very long message shrinks to fit the bar.
            fontSizeMode: Text.VerticalFit
            minimumPixelSize: VxTheme.fontScale
        }
        BarButton {
            id: cancelButton

            objectName: "cancelButton"
            anchors.verticalCenter: parent.verticalCenter
            text: dialog.cancelText
            onClicked: {
                dialog.cancelled();
                dialog.close();
            }
        }
        BarButton {
            id: confirmButton

            objectName: "confirmButton"
            anchors.verticalCenter: parent.verticalCenter
            text: dialog.confirmText
            onClicked: {
                dialog.confirmed();
                dialog.close();
            }
        }
    }
    enter: Transition {
        NumberAnimation {
            property: "opacity"
            from: 0
            to: 1
            duration: VxTheme.fadeMs
            easing.type: VxTheme.easing
        }
    }

    PopupName {
        owner: dialog
        name: dialog.title
    }

    QtObject {
        id: shown

        property bool counted: false

        function count(now: bool) {
            if (counted === now)
                return;
            counted = now;
            MessageDialogMgr.shownCount += now ? 1 : -1;
        }
    }

    onVisibleChanged: shown.count(visible)
    Component.onDestruction: shown.count(false)
}
