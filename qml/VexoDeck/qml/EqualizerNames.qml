pragma Singleton

import QtQml
import MediaControls

/* What the equaliser's presets are called on the screen. They are stored under their Chinese names. */
QtObject {
    // The index of the first preset of the user's own.
    readonly property int firstUserIndex: ConfigMgr.defaults.device_equalizer_values.length

    readonly property var translations: ({
            "原声": qsTr("原声"),
            "人声增强": qsTr("人声增强"),
            "低切75Hz": qsTr("低切75Hz"),
            "低切150Hz": qsTr("低切150Hz"),
            "自定义": qsTr("自定义"),
            "平坦": qsTr("平坦"),
            "中频增强": qsTr("中频增强"),
            "低中频增强": qsTr("低中频增强")
        })

    // The user's own presets are numbered from 1; a name that is not of the program stays as it is.
    function displayName(name: string, index: int): string {
        const translated = translations.hasOwnProperty(name) ? translations[name] : name;
        return index < firstUserIndex ? translated : translated + " " + (index - firstUserIndex + 1);
    }
}
