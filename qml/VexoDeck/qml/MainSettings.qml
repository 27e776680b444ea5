pragma ComponentBehavior: Bound

import QtQuick
import MediaControls

/*
    The mixer: a strip for each output, for the device and for each source. It turns the user's choices into the
    records of the routing engine and the engine's level reports into moving meters.
*/
Item {
    id: mainSettings

    readonly property int gap: 12

    signal deviceSettingsRequested

    objectName: "mainSettings"

    MixerColumn {
        id: outputs

        objectName: "outputs"
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        anchors.margins: 16
        width: Math.min(fullWidth, (mainSettings.width - 3 * mainSettings.gap) * 0.4)
        title: qsTr("输出")

        AudioController {
            objectName: "liveOutput"
            height: parent?.height ?? 0
            showType: StripKind.LiveOutput
            title: qsTr("直播")
            imageSource: VxConfig.iconUrl("icons/output_live.svg", "")
            onVolumeChanged: audioControllersRow.sendAudioConfig()
        }
        AudioController {
            objectName: "monitorOutput"
            height: parent?.height ?? 0
            showType: StripKind.MonitorOutput
            title: qsTr("监听")
            imageSource: VxConfig.iconUrl("icons/output_monitor.svg", "")
            onVolumeChanged: audioControllersRow.sendAudioConfig()
        }
    }

    MixerColumn {
        objectName: "inputs"
        anchors.left: outputs.right
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        anchors.margins: 16
        anchors.leftMargin: mainSettings.gap
        title: qsTr("输入")

        AudioController {
            objectName: "deviceStrip"
            height: parent?.height ?? 0
            visible: HIDDeviceMgr.isDeviceReady()
            showType: StripKind.Device
            title: String(HIDDeviceMgr.getDeviceName()).replace(/^VEXO /, "")
            imageSource: VxConfig.getDeviceImage(2)
            onVolumeChanged: audioControllersRow.sendAudioConfig()
            onSettingsRequested: mainSettings.deviceSettingsRequested()
        }

        AudioControllersRow {
            id: audioControllersRow

            objectName: "audioControllersRow"
            height: parent?.height ?? 0
            onFocusLeft: plusButton.forceActiveFocus(Qt.TabFocusReason)
        }

        CustomComAppPlus {
            id: plusButton

            objectName: "plusButton"
            width: hint === "" ? 64 : 220
            height: parent?.height ?? 0
            visible: audioControllersRow.audioControlles.length < audioControllersRow.maxAudioControllers
            text: qsTr("添加应用")
            hint: audioControllersRow.audioControlles.length === 0 ? qsTr("点击添加正在播放声音的应用或话筒，单独调节它在直播和监听中的音量") : ""
            onClickApp: app => audioControllersRow.addChosen(app)
        }
    }

    Component.onCompleted: audioControllersRow.start()
}
