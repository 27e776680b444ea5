import QtQuick
import MediaControls

/*
    The audio boost: scenes, which set the whole block at once, noise reduction, anti-clipping, compressor and the row of
    the equaliser. What a model does not offer is only invisible: it still follows the device and the scenes. The
    compressor is kept in the settings only.
*/
SettingsSection {
    id: audioBoost

    readonly property bool isR2: HIDDeviceMgr.isR2()
    // Where the user lands by changing a single control.
    readonly property int customScene: 4
    readonly property string antiClippingText: qsTr("防爆音")
    readonly property string antiClippingTips: qsTr("用于限制音频信号的最大音量，开启后，动态控制话筒音量，防止突发爆音")

    // The user has asked for the equaliser.
    signal equalizerRequested

    function updateSelectIndex(index: int) {
        selectRowType.selectIndex = index;
        ConfigMgr.setValue(ConfigMgr.keys.audio_enhancement_index, index);
    }

    function updateAIType() {
        const type = aiSwitch.checked ? noiseSelect2.selectIndex + 1 : 0;
        DeviceValues.noiseReduction.send(type);
        DataTrackerMgr.storeAction(aiSwitch.event, type);
    }

    // Podcast, game and live set the same values by design; custom leaves everything as it is.
    function selectConfig(index: int) {
        if (index === 0)
            applyScene(false);
        else if (index < customScene)
            applyScene(true);
    }

    function applyScene(boosted: bool) {
        const keys = ConfigMgr.keys;
        const clippingDb = boosted ? -5 : -20;
        const compressorDb = boosted ? -10 : -40;
        aiSwitch.checked = boosted;
        noiseSelect2.selectIndex = boosted ? 1 : 0;
        antiClipping.checked = boosted;
        antiClipping.show(clippingDb);
        compressor.checked = boosted;
        compressor.show(compressorDb);
        updateAIType();
        DeviceValues.antiClipping.sendSwitch(boosted);
        if (boosted)
            DeviceValues.antiClippingThreshold.send(clippingDb);
        ConfigMgr.setValue(keys.device_equalizer, boosted);
        if (boosted) {
            ConfigMgr.setValue(keys.device_equalizer_current_index, 1);
            ConfigMgr.setValue(keys.device_equalizer_current, ConfigMgr.defaults.device_equalizer_values[1]);
        }
        MessageBus.publishUpdateDeviceEqualizerCurrentChangeByType(boosted);
        if (boosted)
            ConfigMgr.setValue(keys.ai_jianzao_type, 1);
        DeviceValues.antiClipping.store(boosted);
        DeviceValues.antiClippingThreshold.store(clippingDb);
        DeviceValues.compressor.store(boosted);
        DeviceValues.compressorThreshold.store(compressorDb);
    }

    // The row listens to what is published here, so that a click applies its scene twice.
    function chooseScene(index: int) {
        updateSelectIndex(index);
        selectConfig(index);
        MessageBus.publishUpdateConfigMessage(true);
    }

    function chooseStrength(index: int) {
        noiseSelect2.selectIndex = index;
        ConfigMgr.setValue(ConfigMgr.keys.ai_jianzao_type, index);
        updateAIType();
        updateSelectIndex(customScene);
    }

    function handleAntiClippingToggled(on: bool) {
        DeviceValues.antiClipping.sendSwitch(on);
        updateSelectIndex(customScene);
    }

    // A report of the device: 0 off, else the strength plus 1. One without a value is none.
    function handleNoiseReductionReport(report: var) {
        if (typeof report !== "number")
            return;
        DeviceValues.noiseReduction.store(report !== 0);
        aiSwitch.checked = report !== 0;
        if (report !== 0) {
            ConfigMgr.setValue(ConfigMgr.keys.ai_jianzao_type, report - 1);
            noiseSelect2.selectIndex = report - 1;
        }
        updateSelectIndex(customScene);
    }

    title: qsTr("音频增强")

    TileRow {
        id: selectRowType

        objectName: "selectRowType"
        topPadding: 4
        bottomPadding: 10
        visible: !audioBoost.isR2
        name: audioBoost.title
        tiles: [
            {
                text: qsTr("原声"),
                icon: VxConfig.iconUrl("icons/ae_ys.svg", "")
            },
            {
                text: qsTr("播客"),
                icon: VxConfig.iconUrl("icons/ae_bk.svg", "")
            },
            {
                text: qsTr("游戏"),
                icon: VxConfig.iconUrl("icons/ae_yx.svg", "")
            },
            {
                text: qsTr("直播"),
                icon: VxConfig.iconUrl("icons/ae_zb.svg", "")
            },
            {
                text: qsTr("自定义"),
                icon: VxConfig.iconUrl("icons/ae_zdy.svg", "")
            }
        ]
        onChosen: index => audioBoost.chooseScene(index)

        MessageListener {
            messageTypes: [MessageBus.messageTypes.UPDATE_CONFIG_MESSAGE]
            onMessage: () => {
                selectRowType.selectIndex = ConfigMgr.getValue(ConfigMgr.keys.audio_enhancement_index);
                audioBoost.selectConfig(selectRowType.selectIndex);
            }
        }
        Component.onCompleted: selectIndex = ConfigMgr.getValue(ConfigMgr.keys.audio_enhancement_index)
    }

    SwitchRow {
        id: aiSwitch

        objectName: "aiSwitch"
        visible: !audioBoost.isR2
        text: qsTr("AI降噪")
        tips: qsTr("弱降噪可以在消除环境噪音的同时，保持高音质收音效果。强降噪可以更好的消除环境噪音，音质损失较弱降噪略大")
        deviceValue: DeviceValues.noiseReduction
        event: ["话筒", "音频增强", "AI降噪"]
        follows: false
        onToggled: {
            audioBoost.updateAIType();
            audioBoost.updateSelectIndex(audioBoost.customScene);
        }

        MessageListener {
            messageTypes: [aiSwitch.deviceValue.topic]
            onMessage: (topic, report) => audioBoost.handleNoiseReductionReport(report)
        }
    }

    TileRow {
        id: noiseSelect2

        objectName: "noiseSelect2"
        topPadding: 2
        bottomPadding: 10
        tileHeight: 34
        visible: !audioBoost.isR2 && aiSwitch.checked
        name: aiSwitch.text
        tiles: [
            {
                text: qsTr("弱降噪")
            },
            {
                text: qsTr("强降噪")
            }
        ]
        onChosen: index => audioBoost.chooseStrength(index)

        Component.onCompleted: selectIndex = ConfigMgr.getValue(ConfigMgr.keys.ai_jianzao_type)
    }

    ThresholdBlock {
        id: antiClipping

        objectName: "antiClipping"
        sliderName: "fanbaoYinSlider"
        visible: !audioBoost.isR2
        text: audioBoost.antiClippingText
        tips: audioBoost.antiClippingTips
        deviceValue: DeviceValues.antiClipping
        threshold: DeviceValues.antiClippingThreshold
        switchEvent: ["话筒", "音频增强", "防爆音开关"]
        thresholdEvent: ["话筒", "音频增强", "防爆音"]
        from: -40
        onToggled: checked => audioBoost.handleAntiClippingToggled(checked)
        onMoved: dB => {
            threshold.send(dB);
            audioBoost.updateSelectIndex(audioBoost.customScene);
        }
    }

    ThresholdBlock {
        id: compressor

        objectName: "compressor"
        sliderName: "yasuoQiSlider"
        visible: !audioBoost.isR2
        text: qsTr("压缩器")
        tips: qsTr("压缩器用于控制音频信号的动态范围，开启后，可避免音量过高导致失真或听感刺耳。")
        deviceValue: DeviceValues.compressor
        threshold: DeviceValues.compressorThreshold
        switchEvent: ["话筒", "音频增强", "压缩器开关"]
        thresholdEvent: ["话筒", "音频增强", "压缩器"]
        from: -80
        onToggled: audioBoost.updateSelectIndex(audioBoost.customScene)
        onMoved: audioBoost.updateSelectIndex(audioBoost.customScene)
    }

    // Does not follow the device's report: that goes to the switch with the threshold on every model.
    SwitchRow {
        objectName: "plainAntiClipping"
        visible: audioBoost.isR2
        text: audioBoost.antiClippingText
        tips: audioBoost.antiClippingTips
        deviceValue: DeviceValues.antiClipping
        event: ["话筒", "音频增强", "防爆音"]
        follows: false
        onToggled: checked => audioBoost.handleAntiClippingToggled(checked)
    }

    EqualizerRow {
        objectName: "equalizerRow"
        text: qsTr("均衡器")
        tips: qsTr("调节不同频率的音色，让你的声音更清晰、更有个性。")
        onClicked: {
            audioBoost.equalizerRequested();
            DataTrackerMgr.storeAction(["话筒", "音频增强", "均衡器"], 1);
        }
    }
}
