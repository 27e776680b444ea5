pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import MediaControls

/* What the device drawer holds: the device with its picture, and its settings on pages behind tabs. */
FocusScope {
    id: deviceSettings

    readonly property list<string> pageNames: [qsTr("话筒"), qsTr("监听"), qsTr("灯光"), qsTr("通用")]
    // Tab index to page index. Voxmic M40 has no lights.
    readonly property list<int> pageMap: HIDDeviceMgr.isM40() ? [0, 1, 3] : [0, 1, 2, 3]
    property int tabIndex: 0
    readonly property int margin: 20
    // Above the head: a question at the top of the window must not cover the way back.
    readonly property real topMargin: Math.max(margin, MessageDialogMgr.lowerEdge > 0 ? MessageDialogMgr.lowerEdge + 8 - mapToItem(null, 0, 0).y : 0)

    signal backClicked

    // For the keyboard: the first tab follows the last.
    function selectTab(index: int) {
        tabIndex = (index + tabs.count) % tabs.count;
        tabs.itemAt(tabIndex).forceActiveFocus(Qt.TabFocusReason);
    }

    objectName: "deviceSettings"

    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("设备设置")
    Keys.onEscapePressed: backClicked()

    // The pages reach to the right edge of the drawer, for their scroll bar, and to its lower edge.
    ColumnLayout {
        anchors.fill: parent
        anchors.topMargin: deviceSettings.topMargin
        anchors.leftMargin: deviceSettings.margin
        spacing: 14

        RowLayout {
            objectName: "settingsHead"
            Layout.fillWidth: true
            Layout.rightMargin: deviceSettings.margin
            spacing: 10

            CustomButton {
                objectName: "backButton"
                Layout.alignment: Qt.AlignTop
                icon.source: VxConfig.iconUrl("icons/left.svg", "")
                icon.width: 20
                icon.height: 20
                iconRotation: 180
                focus: true
                Accessible.name: qsTr("返回")
                onClicked: deviceSettings.backClicked()
            }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2

                VxText {
                    objectName: "settingsDeviceName"
                    Layout.fillWidth: true
                    text: HIDDeviceMgr.getDeviceName()
                    wrapMode: Text.Wrap
                    font.pixelSize: VxTheme.fontHeading
                    font.bold: true
                    Accessible.ignored: false
                    Accessible.role: Accessible.Heading
                    Accessible.name: text
                }
                VxText {
                    objectName: "serialNumber"
                    Layout.fillWidth: true
                    text: "SN:" + HIDDeviceMgr.getDeviceSN() + " " + HIDDeviceMgr.getDeviceVersion()
                    wrapMode: Text.Wrap
                    color: VxTheme.textSecondary
                    font.pixelSize: VxTheme.fontCaption
                    Accessible.ignored: false
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
        }

        Image {
            objectName: "settingsDeviceImage"
            Layout.fillWidth: true
            Layout.rightMargin: deviceSettings.margin
            // In a low window it leaves room for the page below.
            Layout.preferredHeight: Math.max(120, Math.min(200, deviceSettings.height - 305 - deviceSettings.topMargin))
            source: VxConfig.getDeviceImage(0)
            fillMode: Image.PreserveAspectFit
            mipmap: true
            Accessible.role: Accessible.Graphic
            Accessible.name: HIDDeviceMgr.getDeviceName()
        }

        Flow {
            objectName: "tabs"
            Layout.fillWidth: true
            Layout.rightMargin: deviceSettings.margin
            spacing: 8
            Accessible.role: Accessible.PageTabList

            Repeater {
                id: tabs

                model: deviceSettings.pageMap

                DrawerTab {
                    required property int modelData
                    required property int index

                    objectName: "tab" + index
                    width: Math.min(implicitWidth, parent.width)
                    text: deviceSettings.pageNames[modelData]
                    checked: index === deviceSettings.tabIndex
                    onClicked: deviceSettings.tabIndex = index
                    onMoved: step => deviceSettings.selectTab(index + step)
                }
            }
        }

        StackLayout {
            objectName: "pages"
            Layout.fillWidth: true
            Layout.fillHeight: true
            clip: true
            currentIndex: deviceSettings.pageMap[deviceSettings.tabIndex] ?? 0

            MicrophoneTab {
                margin: deviceSettings.margin
            }
            MonitorTab {
                margin: deviceSettings.margin
            }
            LightingTab {
                margin: deviceSettings.margin
            }
            GeneralTab {
                margin: deviceSettings.margin
            }
        }
    }
}
