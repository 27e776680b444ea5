import QtQuick
import MediaControls

/* The background light that runs as a wave: its gradient and direction. */
Column {
    objectName: "lightingSub3"
    width: parent?.width ?? 0
    spacing: 12

    GradientPicker {
        objectName: "waveGradient"
        name: qsTr("波浪")
        indexKey: ConfigMgr.keys.color_bg_wave_type
        colorsKey: ConfigMgr.keys.color_bg_wave_color
        event: ["灯光", "背景", "颜色"]
        onGradientChanged: Lights.send(HIDDeviceMgr.attrs.background_wave_effect, getCurrentGradientXColors(Lights.backgroundCount()))
    }

    DirectionRow {
        objectName: "waveDirection"
        name: qsTr("波浪")
        key: ConfigMgr.keys.color_bg_wave_dir_index
        event: ["灯光", "背景", "颜色-方向"]
        attribute: HIDDeviceMgr.attrs.background_wave_light_direction
    }
}
