import QtQml
import "ConfigTables.js" as Tables

/*
    The default of each key of ConfigKeys, under the same name and with the key's type. A list of strings is an array.
    A default that depends on the connected model is evaluated at each read.
*/
QtObject {
    // Of each strip's volume, whose key is made at run time.
    readonly property real auto_app: 0.3

    readonly property var appList: []
    readonly property string listen: "listen"
    // Of a user who has not been asked.
    required property bool share_data
    readonly property bool auto_install: true
    readonly property string auto_install_path: ""
    readonly property var color_picker_preset_colors: ["#FF0000", "#FF7F00", "#FBFC00", "#00FC00", "#00FCFD", "#0000FF", "#FF00FF", "#FFFFFF"]
    readonly property real auto_gain: 15
    readonly property bool auto_gain_on: false
    readonly property bool color_bg_other_lighting: false
    readonly property bool device_mute: false
    readonly property bool device_phantom: false
    readonly property bool device_boom: false
    readonly property real device_boom_value: -45
    readonly property bool device_equalizer: false
    readonly property string device_equalizer_current: Tables.equalizerPresets[0]
    readonly property int device_equalizer_current_index: 0
    readonly property var device_equalizer_values: Tables.equalizerPresets
    readonly property real device_mic_ratio: 13
    readonly property real device_dB: HIDDeviceMgr.isR2() ? 22 : 3
    readonly property int color_bg_effect: 2
    readonly property int color_bg_static_type: 0
    readonly property string color_bg_static_single_color: "#3F2EF8"
    readonly property int color_bg_static_illusory_color_index: 0
    readonly property var color_bg_static_illusory_color: Tables.rainbowColors[0]
    readonly property int color_bg_bln_type: 0
    readonly property string color_bg_bln_single_color: "#3F2EF8"
    readonly property var color_bg_bln_cyc_color: ["#3F2EF8"]
    readonly property int color_bg_wave_type: 0
    readonly property var color_bg_wave_color: Tables.rainbowColors[0]
    readonly property int color_bg_wave_dir_index: 1
    readonly property int color_bg_input_illusory_color_index: 0
    readonly property var color_bg_input_illusory_color: Tables.inputLevelColors[0]
    readonly property int color_bg_input_illusory_dir_index: 1
    readonly property string color_bg_knob_gain_color: "#00FF00"
    readonly property string color_bg_knob_volume_color: "#FFFF00"
    readonly property string color_bg_knob_mic_ratio_color: "#0000FF"
    readonly property string color_bg_knob_mute_color: "#FF0000"
    readonly property real color_bg_other_brightness: 0.5
    readonly property bool color_bg_other_close_lighting: false
    readonly property bool color_bg_other_close_rgb: false
    readonly property int audio_enhancement_index: 0
    readonly property bool ai_jianzao: false
    readonly property int ai_jianzao_type: 0
    readonly property bool device_compressor: false
    readonly property real device_compressor_value: -45
    readonly property int general_hotkey_type: 0
    readonly property string general_hotkey_value_app: ""
    readonly property string general_hotkey_value_url: ""
    readonly property string general_hotkey_value_key: ""
    readonly property string general_rate: "48"
    readonly property string accessKey: "accessKey"
    readonly property string trackId: "trackId"
    readonly property string upgradeFirmwareFilePath: ""
}
