import QtQuick
import MediaControls

/* The page "监听" of the device drawer: what is heard on the device's own output. */
SettingsPage {
    id: monitorTab

    objectName: "monitorTab"

    // One for both: a gesture on one slider also holds back the reports for the other.
    readonly property bool isManually: ratioSlider.isManually || volumeSlider.isManually

    function ratioText(step: int): string {
        return ((step - ConfigMgr.auto_device_min) / ConfigMgr.auto_device_count * 100).toFixed(0) + "%";
    }

    function handleVolumeMoved() {
        const volume = volumeSlider.step;
        if (ConfigMgr.getValue(ConfigMgr.keys.device_dB) !== volume) {
            ConfigMgr.setValue(ConfigMgr.keys.device_dB, volume);
            MessageBus.publishListenVolumeLevel(volume);
        }
        HIDDeviceMgr.sendMessage(HIDDeviceMgr.attrs.listen_volume, [volume]);
    }

    SettingsSection {
        title: qsTr("监听")

        StepSliderBlock {
            id: ratioSlider

            sliderName: "ratioSlider"
            text: qsTr("麦克风/电脑监听比")
            key: ConfigMgr.keys.device_mic_ratio
            from: ConfigMgr.auto_device_min
            to: ConfigMgr.auto_device_max
            valueTextOf: step => monitorTab.ratioText(step)
            onMoved: HIDDeviceMgr.sendMessage(HIDDeviceMgr.attrs.mic_listen_ratio, [step])
            onChangeComplete: writeValue()

            MessageListener {
                messageTypes: [MessageBus.messageTypes.MIC_LISTEN_RATIO]
                onMessage: () => {
                    if (!monitorTab.isManually)
                        ratioSlider.readValue();
                }
            }
        }

        StepSliderBlock {
            id: volumeSlider

            sliderName: "volumeSlider"
            text: qsTr("监听音量")
            key: ConfigMgr.keys.device_dB
            from: ConfigMgr.auto_device_min
            to: ConfigMgr.auto_device_max
            valueTextOf: step => ConfigMgr.monitorText(step)
            onMoved: monitorTab.handleVolumeMoved()

            MessageListener {
                messageTypes: [MessageBus.messageTypes.LISTEN_VOLUME_LEVEL]
                onMessage: () => {
                    if (!monitorTab.isManually)
                        volumeSlider.readValue();
                }
            }
        }
    }
}
