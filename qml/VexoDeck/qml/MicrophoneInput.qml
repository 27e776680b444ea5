import QtQuick
import MediaControls

/* The microphone's input: gain, automatic gain, mute and phantom power. */
SettingsSection {
    id: microphoneInput

    readonly property bool isR2: HIDDeviceMgr.isR2()
    readonly property string autoGainText: qsTr("自动增益")
    readonly property list<string> autoGainEvent: ["话筒", "XLR输入", "自动增益"]
    readonly property string autoGainTips: qsTr("开启后，话筒音量将自动调节至最佳增益。")

    title: isR2 ? qsTr("XLR输入") : qsTr("话筒")
    minimumCardHeight: isR2 ? 220 : 180

    StepSliderBlock {
        sliderName: "autoGainSlider"
        text: qsTr("增益")
        tips: qsTr("提高增益，避免声音过小。\n降低增益，避免声音失真。")
        deviceValue: DeviceValues.gain
        event: ["话筒", "XLR输入", "增益"]
        from: ConfigMgr.auto_gain_min
        to: ConfigMgr.auto_gain_max
        valueTextOf: step => ConfigMgr.gainText(step)
        onMoved: deviceValue.write(step, isManually)
    }

    SwitchRow {
        objectName: "autoGainSwitch"
        visible: !microphoneInput.isR2
        text: microphoneInput.autoGainText
        tips: microphoneInput.autoGainTips
        deviceValue: DeviceValues.autoGain
        event: microphoneInput.autoGainEvent
        onToggled: checked => deviceValue.sendSwitch(checked)
    }

    SettingRow {
        objectName: "autoGainMeasurement"
        visible: microphoneInput.isR2
        text: microphoneInput.autoGainText
        tips: microphoneInput.autoGainTips

        BwButton {
            objectName: "autoGainButton"
            anchors.verticalCenter: parent.verticalCenter
            text: qsTr("开始检测")
            Accessible.description: microphoneInput.autoGainText
            onClicked: {
                MessageBus.publishUpdateAutoGain(true);
                DataTrackerMgr.storeAction(microphoneInput.autoGainEvent, 1);
            }
        }
    }

    SwitchRow {
        objectName: "muteSwitch"
        text: qsTr("静音")
        deviceValue: DeviceValues.mute
        event: ["话筒", "XLR输入", "静音"]
        onToggled: checked => deviceValue.sendSwitch(checked)
    }

    SwitchRow {
        objectName: "phantomSwitch"
        visible: microphoneInput.isR2
        text: qsTr("48V幻象电源")
        deviceValue: DeviceValues.phantomPower
        event: ["话筒", "XLR输入", "48V幻象电源"]
        onToggled: checked => deviceValue.sendSwitch(checked)
    }
}
