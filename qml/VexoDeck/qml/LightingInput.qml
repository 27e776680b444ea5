import QtQuick
import MediaControls
import "LightColors.js" as LightColors

/* The lights that follow the level of the microphone. */
SettingsSection {
    id: inputLights

    // The first preset shares its colours out by proportion, the others are gradients.
    function listOf(index: int, colors: var): var {
        const count = Lights.inputCount();
        return index === 0 ? LightColors.proportional(colors, count) : gradient.getCurrentGradientXColors(count);
    }

    objectName: "input"
    title: qsTr("输入")
    hint: qsTr("话筒输入时，根据音量大小动态显示")
    rowSpacing: 12

    GradientPicker {
        id: gradient

        objectName: "inputGradient"
        name: qsTr("输入")
        presetGradients: ConfigMgr.color_illusory_color_list2
        indexKey: ConfigMgr.keys.color_bg_input_illusory_color_index
        colorsKey: ConfigMgr.keys.color_bg_input_illusory_color
        event: ["灯光", "输入", "颜色"]
        onGradientChanged: (index, data) => Lights.send(HIDDeviceMgr.attrs.input_sound_wave_light_color, inputLights.listOf(index, data))
    }

    DirectionRow {
        objectName: "inputDirection"
        name: qsTr("输入")
        key: ConfigMgr.keys.color_bg_input_illusory_dir_index
        event: ["灯光", "输入", "方向"]
        attribute: HIDDeviceMgr.attrs.input_sound_wave_direction
    }
}
