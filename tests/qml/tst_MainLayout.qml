import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckSystemBridge

/* The lifetime of the main layout, and the device's lights that follow the display. */
MainWindowTestCase {
    id: testCase

    name: "MainLayout"

    readonly property string lightsFollow: ConfigMgr.keys.color_bg_other_close_lighting
    readonly property string brightness: ConfigMgr.keys.color_bg_other_brightness

    // The user ticks the box or clears it.
    function setLightsFollow(value) {
        ConfigMgr.setValue(lightsFollow, value);
        MessageBus.publishScreenPowerStateChanged(value);
    }

    function pendingBrightness() {
        return HIDDeviceMgr.messageCache[HIDDeviceMgr.attrs.rgb_light_brightness];
    }

    function test_the_monitor_stays_off_while_the_setting_is_false() {
        const layout = openMainLayout(mixdeskR2);
        compare(layout.screenPowerMonitor, false);
        MessageBus.publishScreenPowerStateChanged(true);
        compare(layout.screenPowerMonitor, false);
    }

    function test_the_monitor_starts_with_the_layout_when_the_setting_is_true() {
        ConfigMgr.setValue(lightsFollow, true);
        compare(openMainLayout(mixdeskR2).screenPowerMonitor, true);
    }

    function test_ticking_the_box_later_starts_the_monitor_and_clearing_it_leaves_it_running() {
        const layout = openMainLayout(mixdeskR2);
        setLightsFollow(true);
        compare(layout.screenPowerMonitor, true);
        setLightsFollow(false);
        compare(layout.screenPowerMonitor, true);
        layout.handleScreenPowerStateChanged(false);
        compare(pendingBrightness(), undefined);
    }

    function test_a_text_of_the_store_starts_the_monitor_only_when_it_says_true_data() {
        return [["linux", "true", true], ["linux", "false", false], ["windows", "true", true], ["windows", "false", false]].map(([platform, text, started]) => ({
                    tag: `${platform} ${text}`,
                    platform: platform,
                    text: text,
                    started: started
                }));
    }

    function test_a_text_of_the_store_starts_the_monitor_only_when_it_says_true(data) {
        startWith([`${lightsFollow}=${data.text}`], data.platform);
        compare(openMainLayout(mixdeskR2).screenPowerMonitor, data.started);
    }

    function test_the_lights_go_off_and_on_with_the_display() {
        const layout = openMainLayout(mixdeskR2);
        setLightsFollow(true);
        layout.handleScreenPowerStateChanged(false);
        compare(pendingBrightness(), [0]);
        ConfigMgr.setValue(brightness, 0.8);
        layout.handleScreenPowerStateChanged(true);
        compare(pendingBrightness(), [80]);
    }

    function monitorStarts() {
        return SystemBridge.calls.filter(call => call.name === "startPowerEventMonitor").length;
    }

    function test_the_monitor_of_the_system_starts_once_and_its_word_reaches_the_lights() {
        SystemBridge.clearCalls();
        openMainLayout(mixdeskR2);
        SystemBridge.screenPowerStateChanged(false);
        compare(pendingBrightness(), undefined);
        compare(monitorStarts(), 0);
        setLightsFollow(true);
        setLightsFollow(true);
        compare(monitorStarts(), 1);
        SystemBridge.screenPowerStateChanged(false);
        compare(pendingBrightness(), [0]);
        ConfigMgr.setValue(brightness, 0.8);
        SystemBridge.screenPowerStateChanged(true);
        compare(pendingBrightness(), [80]);
    }

    function test_a_layout_that_is_gone_does_not_hear_the_screen() {
        ConfigMgr.setValue(lightsFollow, true);
        openMainLayout(mixdeskR2);
        loseDevice();
        tryVerify(() => MessageBus.subscribers[MessageBus.messageTypes.SCREEN_POWER_STATE_CHANGED].length === 0);
        HIDDeviceMgr.messageCache = ({});
        SystemBridge.screenPowerStateChanged(false);
        compare(pendingBrightness(), undefined);
    }

    function test_the_brightness_reaches_the_device_as_one_byte() {
        const layout = openMainLayout(mixdeskR2);
        setLightsFollow(true);
        ConfigMgr.setValue(brightness, 0.29);
        layout.handleScreenPowerStateChanged(true);
        tryVerify(() => callsNamed("messageSend").length === 1);
        compare(callsNamed("messageSend")[0].id, 19);
        compare(Array.from(callsNamed("messageSend")[0].bytes), [28]);
    }

    function test_a_layout_that_is_gone_hears_no_message() {
        openMainLayout(mixdeskR2);
        compare(MessageBus.subscribers[MessageBus.messageTypes.SCREEN_POWER_STATE_CHANGED].length, 1);
        loseDevice();
        tryVerify(() => MessageBus.subscribers[MessageBus.messageTypes.SCREEN_POWER_STATE_CHANGED].length === 0);
        setLightsFollow(true);
        compare(openMainLayout(mixdeskR2).screenPowerMonitor, true);
    }

    function test_a_lost_device_leads_back_to_the_waiting_page_data() {
        return [
            {
                tag: "unplugged",
                lose: () => HIDHotplugManager.deviceConnected(mixdeskR2, false)
            },
            {
                tag: "serial number unknown",
                lose: () => connectDevice(Object.assign({}, mixdeskR2, {
                        sn: "N/A"
                    }))
            }
        ];
    }

    function test_a_lost_device_leads_back_to_the_waiting_page(data) {
        openMainLayout(mixdeskR2);
        data.lose();
        compare(stackView.depth, 1);
        tryCompare(stackView, "busy", false);
        compareWaiting();
    }

    function test_the_mixer_has_a_column_of_outputs_and_one_of_inputs() {
        openMainLayout(mixdeskR2);
        compare(child("outputs").title, "输出");
        compare(child("inputs").title, "输入");
        verify(child("outputs").mapToItem(window.contentItem, 0, 0).x < child("inputs").mapToItem(window.contentItem, 0, 0).x);
    }
}
