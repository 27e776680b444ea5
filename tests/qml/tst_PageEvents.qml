import QtQuick
import MediaControls
import VexoDeck
import VexoDeckTest
import VexoDeckTracker

/* The events that the pages of the device drawer store for what the user does. */
PageTestCase {
    id: testCase

    name: "PageEvents"
    width: 410
    height: 760

    readonly property var pages: ({
            microphone: microphoneComponent,
            monitor: monitorComponent,
            lighting: lightingComponent,
            general: generalComponent
        })
    readonly property var store: DataTrackerManager

    Component {
        id: microphoneComponent

        MicrophoneTab {
            anchors.fill: parent
        }
    }

    Component {
        id: monitorComponent

        MonitorTab {
            anchors.fill: parent
        }
    }

    Component {
        id: lightingComponent

        LightingTab {
            anchors.fill: parent
        }
    }

    Component {
        id: generalComponent

        GeneralTab {
            anchors.fill: parent
        }
    }

    function init() {
        initConfig();
        ConfigMgr.setValue("share_data", true);
        empty();
    }

    function empty() {
        while (store.countEvents() > 0)
            store.deleteByIds(Array.from(store.queryEvents(0)).map(row => row.id));
    }

    // In the order of their storing.
    function events() {
        return Array.from(store.queryEvents(0)).sort((a, b) => a.id - b.id).map(row => [row.featureModule, row.featureItem, row.eventType, row.eventValue, row.source].join());
    }

    function open(pageName, info) {
        pageComponent = pages[pageName];
        openPage(info);
        empty();
    }

    function moveSlider(slider, value) {
        drag(slider, value);
        waitForEndOf(slider);
    }

    // What emits the signals of a choice of colours.
    function select(rowName) {
        return findChild(child(rowName), "select");
    }

    function row(page, info, words, value, act) {
        return {
            tag: `${words} ${value} of ${info.name}`,
            page: page,
            info: info,
            event: [words, value, "software"].join(),
            act: act
        };
    }

    function test_an_act_of_the_user_is_an_event_data() {
        const blue = "#0000ff";
        const colors = ["#112233", "#445566", "#778899"];
        const list = JSON.stringify(colors);
        return [row("microphone", mixdeskR2, "话筒,XLR输入,增益", 4, () => moveSlider(child("autoGainSlider"), 4)), row("microphone", voxmicM40, "话筒,XLR输入,自动增益", true, () => toggle("autoGainSwitch")), row("microphone", mixdeskR2, "话筒,XLR输入,自动增益", 1, () => mouseClick(child("autoGainButton"))), row("microphone", mixdeskR2, "话筒,XLR输入,静音", true, () => toggle("muteSwitch")), row("microphone", mixdeskR2, "话筒,XLR输入,48V幻象电源", true, () => toggle("phantomSwitch")), row("microphone", mixdeskR2, "话筒,音频增强,防爆音", true, () => toggle("plainAntiClipping")), row("microphone", voxmicM40, "话筒,音频增强,防爆音开关", true, () => toggle("antiClipping")), row("microphone", voxmicM40, "话筒,音频增强,压缩器开关", true, () => toggle("compressor")), row("microphone", mixdeskR2, "话筒,音频增强,均衡器", 1, () => child("equalizerRow").clicked()), row("monitor", mixdeskR2, "监听,监听,麦克风/电脑监听比", 5, () => moveSlider(child("ratioSlider"), 5)), row("monitor", voxmicM40, "监听,监听,监听音量", 5, () => moveSlider(child("volumeSlider"), 5)), row("lighting", mixdeskR2, "灯光,背景,效果", "呼吸", () => child("effects").chosen(1)), row("lighting", mixdeskR2, "灯光,背景,效果", "关闭", () => child("effects").chosen(3)), row("lighting", mixdeskR2, "灯光,背景,颜色", "幻彩", () => child("staticType").chosen(1)), row("lighting", mixdeskR2, "灯光,背景,颜色", "循环", () => child("breathingType").chosen(1)), row("lighting", mixdeskR2, "灯光,背景,颜色-单色", blue, () => select("staticColor").changeComplete(blue, false)), row("lighting", mixdeskR2, "灯光,背景,颜色-单色", "重置", () => select("breathingColor").changeComplete(blue, true)), row("lighting", mixdeskR2, "灯光,背景,颜色-幻彩", list, () => child("staticGradient").changeComplete(1, colors, false)), row("lighting", mixdeskR2, "灯光,背景,颜色-循环", list, () => child("loop").changeComplete(colors, false)), row("lighting", mixdeskR2, "灯光,背景,颜色-循环", "重置", () => child("loop").changeComplete(colors, true)), row("lighting", mixdeskR2, "灯光,背景,颜色", "重置", () => child("waveGradient").changeComplete(0, colors, true)), row("lighting", mixdeskR2, "灯光,背景,颜色-方向", 1, () => findChild(child("waveDirection"), "directions").chosen(1)), row("lighting", mixdeskR2, "灯光,输入,颜色", list, () => child("inputGradient").changeComplete(1, colors, false)), row("lighting", mixdeskR2, "灯光,输入,方向", 0, () => findChild(child("inputDirection"), "directions").chosen(0)), row("lighting", mixdeskR2, "灯光,指示灯,麦克风增益", blue, () => select("gainColor").changeComplete(blue, false)), row("lighting", mixdeskR2, "灯光,其他,亮度", 29, () => child("brightness").changeComplete(0.29)), row("lighting", mixdeskR2, "灯光,其他,关闭灯光", true, () => {
                child("screenBox").checked = true;
                child("screenBox").toggled();
            }), row("lighting", voxmicT40, "灯光,其他,关闭RGB灯", true, () => {
                child("rgbBox").checked = true;
                child("rgbBox").toggled();
            }), row("general", mixdeskR2, "通用,热键,旋钮按键", 1, () => mouseClick(part(child("action1"), "button"))), row("general", mixdeskR2, "通用,通用,采样率", "96 kHz", () => child("rateBox").currentIndex = ConfigMgr.rate_list.indexOf("96")), row("general", voxmicM40, "通用,通用,指示灯", true, () => toggle("lightSwitch")), row("general", mixdeskR2, "通用,通用,恢复出厂", 1, () => child("resetRow").clicked())];
    }

    function test_an_act_of_the_user_is_an_event(row) {
        open(row.page, row.info);
        row.act();
        compare(events(), [row.event]);
    }

    function test_without_consent_nothing_is_an_event() {
        ConfigMgr.setValue("share_data", false);
        open("microphone", mixdeskR2);
        toggle("muteSwitch");
        compare(events(), []);
    }

    function test_a_threshold_is_an_event_when_it_is_let_go_data() {
        return [row("microphone", voxmicM40, "话筒,音频增强,防爆音", -30, () => moveSlider(child("fanbaoYinSlider"), -30)), row("microphone", voxmicM40, "话筒,音频增强,压缩器", -40, () => moveSlider(child("yasuoQiSlider"), -40))];
    }

    function test_a_threshold_is_an_event_when_it_is_let_go(row) {
        ConfigMgr.setValue("device_boom", true);
        ConfigMgr.setValue("device_compressor", true);
        open(row.page, row.info);
        row.act();
        compare(events(), [row.event]);
    }

    function test_the_noise_reduction_tells_its_switch_and_its_type() {
        open("microphone", voxmicM40);
        toggle("aiSwitch");
        compare(events(), ["话筒,音频增强,AI降噪,true,software", "话筒,音频增强,AI降噪,1,software"]);
        empty();
        child("noiseSelect2").chosen(1);
        compare(events(), ["话筒,音频增强,AI降噪,2,software"]);
    }

    function test_colours_of_the_other_indicators_are_no_events() {
        open("lighting", mixdeskR2);
        for (const name of ["volumeColor", "ratioColor", "muteColor"])
            select(name).changeComplete("#0000ff", false);
        compare(events(), []);
    }

    function test_building_a_page_is_an_event_for_the_action_of_the_button_only() {
        for (const name of Object.keys(pages)) {
            pageComponent = pages[name];
            openPage(mixdeskR2);
            discard(page);
            page = null;
        }
        compare(events(), ["通用,热键,旋钮按键,0,software"]);
    }
}
