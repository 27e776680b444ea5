import QtQuick
import MediaControls

/* The brightness of the lights, and when they go off by themselves. */
SettingsSection {
    id: other
    readonly property bool isT40: HIDDeviceMgr.isT40()

    function setBrightness(value: real) {
        ConfigMgr.setValue(ConfigMgr.keys.color_bg_other_brightness, value);
        // The device gets the whole part.
        HIDDeviceMgr.sendMessage(HIDDeviceMgr.attrs.rgb_light_brightness, [value * 100]);
    }

    function followScreen(follows: bool) {
        ConfigMgr.setValue(ConfigMgr.keys.color_bg_other_close_lighting, follows);
        DataTrackerMgr.storeAction(["灯光", "其他", "关闭灯光"], follows);
        MessageBus.publishScreenPowerStateChanged(follows);
    }

    function turnRgbOff(off: bool) {
        ConfigMgr.setValue(ConfigMgr.keys.color_bg_other_close_rgb, off);
        HIDDeviceMgr.sendMessage(HIDDeviceMgr.attrs.other_light_off, [off ? 1 : 0]);
        DataTrackerMgr.storeAction(["灯光", "其他", "关闭RGB灯"], off);
    }

    objectName: "other"
    title: qsTr("其他")
    minimumCardHeight: isT40 ? 180 : 140
    rowSpacing: 2

    SettingRow {
        text: qsTr("亮度")

        CustomSlider {
            id: brightness

            objectName: "brightness"
            anchors.verticalCenter: parent.verticalCenter
            width: 200
            from: 0.01
            to: 1
            stepSize: 0.01
            snapToStep: true
            name: qsTr("亮度")
            onMoved: other.setBrightness(value)
            onChangeComplete: value => DataTrackerMgr.storeAction(["灯光", "其他", "亮度"], Math.round(value * 100))
        }
        VxText {
            objectName: "brightnessText"
            anchors.verticalCenter: parent.verticalCenter
            width: 40
            text: brightness.valueText
            color: VxTheme.textSecondary
            horizontalAlignment: Text.AlignRight
        }
    }

    VxText {
        width: parent.width
        topPadding: 8
        bottomPadding: 4
        text: qsTr("关闭灯光")
        wrapMode: Text.Wrap
        Accessible.ignored: false
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }
    CustomCheckBox {
        id: screenBox

        objectName: "screenBox"
        width: Math.min(implicitWidth, parent.width)
        text: qsTr("关闭显示屏时自动关灯")
        onToggled: other.followScreen(checked)
    }
    CustomCheckBox {
        id: rgbBox

        objectName: "rgbBox"
        width: Math.min(implicitWidth, parent.width)
        visible: other.isT40
        text: qsTr("关闭RGB灯")
        onToggled: other.turnRgbOff(checked)
    }

    MessageListener {
        messageTypes: [MessageBus.messageTypes.UPDATE_OTHER_LIGHT_OFF]
        onMessage: (topic, value) => rgbBox.checked = value === 1
    }

    Component.onCompleted: {
        brightness.show(ConfigMgr.getValue(ConfigMgr.keys.color_bg_other_brightness));
        screenBox.checked = ConfigMgr.getValue(ConfigMgr.keys.color_bg_other_close_lighting);
        rgbBox.checked = ConfigMgr.getValue(ConfigMgr.keys.color_bg_other_close_rgb);
    }
}
