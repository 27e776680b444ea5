import QtQuick
import MediaControls

/* The page "监听" of the device drawer: what is heard on the device's own output. */
SettingsPage {
    id: monitorTab

    // One for both: a gesture on one slider also holds back the reports for the other.
    readonly property bool isManually: ratioSlider.isManually || volumeSlider.isManually

    function ratioText(step: int): string {
        return ((step - ConfigMgr.auto_device_min) / ConfigMgr.auto_device_count * 100).toFixed(0) + "%";
    }

    objectName: "monitorTab"

    SettingsSection {
        title: qsTr("监听")

        StepSliderBlock {
            id: ratioSlider

            sliderName: "ratioSlider"
            text: qsTr("麦克风/电脑监听比")
            deviceValue: DeviceValues.monitorRatio
            event: ["监听", "监听", "麦克风/电脑监听比"]
            from: ConfigMgr.auto_device_min
            to: ConfigMgr.auto_device_max
            follows: !monitorTab.isManually
            valueTextOf: step => monitorTab.ratioText(step)
            onMoved: deviceValue.send(step)
            onChangeComplete: writeValue()
        }

        StepSliderBlock {
            id: volumeSlider

            sliderName: "volumeSlider"
            text: qsTr("监听音量")
            deviceValue: DeviceValues.monitorVolume
            event: ["监听", "监听", "监听音量"]
            from: ConfigMgr.auto_device_min
            to: ConfigMgr.auto_device_max
            follows: !monitorTab.isManually
            valueTextOf: step => ConfigMgr.monitorText(step)
            onMoved: deviceValue.write(step, isManually)
        }
    }
}
