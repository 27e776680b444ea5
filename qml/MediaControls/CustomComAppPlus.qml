pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/*
    The button that adds an application to the mixer. It opens a list of what runs and has no strip. A click in the list
    emits clickApp and then adds the entry to appList.
*/
Pressable {
    id: plusButton

    // Shown under the plus to users who have not added anything yet.
    property string hint: ""
    property string emptyText: qsTr("没有正在播放声音的应用")

    signal clickApp(app: var)

    QtObject {
        id: choice

        property var apps: []
        // Ignores a second click until the list has closed.
        property bool blocked: false
    }

    function openList() {
        choice.apps = AppInventory.available("");
        popup.open();
    }

    function choose(app: var) {
        if (choice.blocked || !app)
            return;
        choice.blocked = true;
        plusButton.clickApp(app);
        popup.close();
        ConfigMgr.addStringList(ConfigMgr.keys.appList, JSON.stringify(app));
    }

    padding: 12
    ringRadius: VxTheme.radiusPanel

    Accessible.role: Accessible.ButtonMenu
    Accessible.description: hint

    contentItem: Item {
        Column {
            anchors.centerIn: parent
            width: parent.width
            spacing: 16

            Rectangle {
                anchors.horizontalCenter: parent.horizontalCenter
                width: 40
                height: 40
                radius: width / 2
                color: plusButton.down ? VxTheme.accentPressed : plusButton.hovered || plusButton.visualFocus ? VxTheme.accent : VxTheme.unselected

                Behavior on color {
                    ColorAnimation {
                        duration: VxTheme.hoverMs
                    }
                }

                VxIcon {
                    anchors.centerIn: parent
                    size: 20
                    source: "icons/plus.svg"
                }
            }
            VxText {
                objectName: "hint"
                width: parent.width
                visible: plusButton.hint !== ""
                text: plusButton.hint
                color: VxTheme.textSecondary
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                lineHeight: 1.3
            }
        }
    }
    background: Rectangle {
        radius: VxTheme.radiusPanel
        color: plusButton.hovered ? VxTheme.veilPressed : "transparent"
        border.width: 1
        border.color: plusButton.hovered ? VxTheme.outlineHover : VxTheme.outline
    }

    VxToolTip {
        visible: plusButton.hovered && !popup.visible
        delay: VxTheme.toolTipDelayMs
        text: plusButton.text
    }

    T.Popup {
        id: popup

        objectName: "popup"
        x: 0
        y: Math.round((plusButton.height - height) / 2)
        width: 300
        height: 400
        padding: 8
        topPadding: 12
        margins: 8
        focus: true

        contentItem: FocusScope {
            focus: true

            VxText {
                id: heading

                x: 10
                width: parent.width - 20
                text: plusButton.text
                color: VxTheme.textSecondary
                font.bold: true
                elide: Text.ElideRight
            }
            ScrollList {
                id: list

                objectName: "list"
                anchors.fill: parent
                anchors.topMargin: heading.height + 10
                focus: true
                model: choice.apps
                keyNavigationEnabled: true
                Accessible.role: Accessible.List
                Accessible.name: plusButton.text

                delegate: AppRow {
                    required property var modelData
                    required property int index

                    objectName: "app" + index
                    width: ListView.view.width
                    app: modelData
                    highlighted: ListView.isCurrentItem && ListView.view.activeFocus
                    onClicked: plusButton.choose(app)
                }
            }
            VxText {
                objectName: "empty"
                anchors.centerIn: parent
                width: parent.width - 40
                visible: choice.apps.length === 0
                text: plusButton.emptyText
                color: VxTheme.textSecondary
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                lineHeight: 1.3
                Accessible.ignored: false
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }
        background: Rectangle {
            radius: VxTheme.radiusPanel
            color: VxTheme.popup
            border.width: 1
            border.color: VxTheme.outline
        }
        enter: Transition {
            NumberAnimation {
                property: "opacity"
                from: 0
                to: 1
                duration: VxTheme.hoverMs
            }
        }

        PopupName {
            owner: popup
            name: plusButton.text
        }

        onClosed: choice.blocked = false
    }

    Accessible.onPressAction: click()
    onClicked: openList()
}
