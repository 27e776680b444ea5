import QtQuick
import MediaControls

/* The colours of the indicators on the device's knobs. */
SettingsSection {
    component IndicatorRow: ColorRow {
        required property int attribute

        onPicked: color => Lights.send(attribute, [color])
    }

    objectName: "indicators"
    title: qsTr("指示灯")

    IndicatorRow {
        objectName: "gainColor"
        text: qsTr("麦克风增益")
        key: ConfigMgr.keys.color_bg_knob_gain_color
        event: ["灯光", "指示灯", "麦克风增益"]
        attribute: HIDDeviceMgr.attrs.mic_gain_light_color
    }
    IndicatorRow {
        objectName: "volumeColor"
        text: qsTr("监听音量")
        key: ConfigMgr.keys.color_bg_knob_volume_color
        attribute: HIDDeviceMgr.attrs.listen_volume_light_color
    }
    IndicatorRow {
        objectName: "ratioColor"
        text: qsTr("麦克风/电脑音量监听比")
        key: ConfigMgr.keys.color_bg_knob_mic_ratio_color
        attribute: HIDDeviceMgr.attrs.mic_listen_ratio_light_color
    }
    IndicatorRow {
        objectName: "muteColor"
        text: qsTr("静音")
        key: ConfigMgr.keys.color_bg_knob_mute_color
        // Against its name: the device takes the colour of the mute here.
        attribute: HIDDeviceMgr.attrs.rgb_light_off
    }
}
