import QtQuick
import MediaControls
import VexoDeckHIDHotplug
import VexoDeckNetwork
import VexoDeckTest
import VexoDeckTracker

/* What HIDDeviceMgr reports of connections, and the events of the device's reports. */
ConfigTestCase {
    id: testCase

    name: "DeviceTelemetry"

    readonly property var store: DataTrackerManager
    readonly property string connectPath: NetworkMgr.base_url + "/vexo/pc/save/connect"

    function init() {
        initConfig();
        // Another device than the one of the test before.
        HIDHotplugManager.deviceConnected({}, false);
        NetworkManager.holds = true;
        ConfigMgr.setValue("share_data", true);
        ConfigMgr.setValue("trackId", "77");
        empty();
        NetworkManager.clearCalls();
    }

    function cleanup() {
        HIDHotplugManager.deviceConnected({}, false);
        empty();
        NetworkManager.holds = false;
        compare(TestLog.takeFaults(), []);
    }

    function empty() {
        while (store.countEvents() > 0)
            store.deleteByIds(rows().map(row => row.id));
    }

    function rows() {
        return Array.from(store.queryEvents(0));
    }

    function records() {
        return rows().filter(row => row.source === "connected").map(row => JSON.parse(row.eventValue));
    }

    function reports() {
        return Array.from(NetworkManager.calls).filter(call => call.url === connectPath);
    }

    function lose() {
        HIDHotplugManager.deviceConnected(mixdeskR2, false);
    }

    function test_a_connection_is_reported_once_when_the_device_has_told_all() {
        connectDevice({
            dpid: 0x9829
        });
        connectDevice(Object.assign({}, mixdeskR2, {
            version: "N/A"
        }));
        compare(reports().length, 0);
        connectDevice(mixdeskR2);
        connectDevice(mixdeskR2);
        compare(reports().length, 1);
        compare([reports()[0].data.productSn, reports()[0].data.productName, reports()[0].data.trackId].join(), "VX24A0117,VEXO Mixdesk R2,77");
        compare(reports()[0].data.connectTime, NetworkMgr.timeText(HIDDeviceMgr.connectTime));
    }

    function test_a_lost_device_leaves_one_record() {
        connectDevice(mixdeskR2);
        HIDDeviceMgr.connectTime = new Date(Date.now() - 90000);
        lose();
        lose();
        compare(records().length, 1);
        const record = records()[0];
        compare(Object.keys(record).sort(), ["duration", "endTime", "productName", "productSn", "startTime", "trackId"]);
        compare([record.productSn, record.productName, record.trackId].join(), "VX24A0117,VEXO Mixdesk R2,77");
        compare(record.startTime, NetworkMgr.timeText(HIDDeviceMgr.connectTime));
        verify(/^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d$/.test(record.endTime), record.endTime);
        verify(record.duration >= 90000 && record.duration < 150000, record.duration);
        const row = rows()[0];
        compare([row.featureModule, row.featureItem, row.eventType, row.source].join(), ",,,connected");
    }

    function test_a_device_that_was_never_ready_leaves_no_record() {
        connectDevice({
            dpid: 0x9829
        });
        lose();
        compare(records(), []);
    }

    function test_a_device_that_logs_in_again_stays_connected() {
        connectDevice(mixdeskR2);
        connectDevice(Object.assign({}, mixdeskR2, {
            version: undefined
        }));
        connectDevice(mixdeskR2);
        compare(reports().length, 1);
        compare(records(), []);
        lose();
        compare(records().length, 1);
    }

    function test_another_device_on_the_same_line_ends_the_connection_of_the_one_before() {
        connectDevice(mixdeskR2);
        connectDevice({
            dpid: 0x1396
        });
        compare(records().map(record => record.productName), ["VEXO Mixdesk R2"]);
        connectDevice(voxmicM40);
        compare(reports().length, 2);
    }

    function test_the_end_of_the_program_and_of_the_search_end_a_connection_data() {
        return [
            {
                tag: "quit",
                end: () => Qt.application.aboutToQuit()
            },
            {
                tag: "stop",
                end: () => HIDDeviceMgr.stopAndDisconnectDevice()
            }
        ];
    }

    function test_the_end_of_the_program_and_of_the_search_end_a_connection(row) {
        connectDevice(mixdeskR2);
        row.end();
        compare(records().length, 1);
        row.end();
        lose();
        compare(records().length, 1);
    }

    function test_without_consent_nothing_is_reported_or_stored() {
        ConfigMgr.setValue("share_data", false);
        connectDevice(mixdeskR2);
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs.mute, [1]);
        lose();
        compare(reports(), []);
        compare(store.countEvents(), 0);
    }

    function test_reports_of_the_device_are_events_data() {
        const row = (info, attribute, event) => ({
                    tag: `${attribute} of ${info.name}`,
                    info: info,
                    attribute: attribute,
                    event: event
                });
        return [row(mixdeskR2, "mute", "话筒,XLR输入,静音"), row(voxmicM40, "auto_gain_on", "话筒,XLR输入,自动增益"), row(mixdeskR2, "other_light_off", "通用,通用,其他灯光"), row(mixdeskR2, "power", "话筒,XLR输入,48V幻象电源"), row(mixdeskR2, "auto_gain", "话筒,XLR输入,自动增益"), row(mixdeskR2, "listen_output", "监听,监听,监听输出"), row(mixdeskR2, "mic_gain", "话筒,音频增强,增益"), row(mixdeskR2, "listen_volume", "监听,监听,监听音量"), row(mixdeskR2, "mic_listen_ratio", "监听,监听,麦克风/电脑监听比"), row(mixdeskR2, "anti_noise", "话筒,音频增强,防破音"), row(mixdeskR2, "ai_jianzao", "话筒,音频增强,AI降噪"), row(mixdeskR2, "background_light_off", "灯光,背景,模式")];
    }

    function test_reports_of_the_device_are_events(row) {
        connectDevice(row.info);
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs[row.attribute], [2, 7]);
        const found = rows().map(event => [event.featureModule, event.featureItem, event.eventType, event.eventValue, event.source, event.productSn].join());
        compare(found, [row.event + ",2,hardware,VX24A0117"]);
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs[row.attribute], []);
        compare(store.countEvents(), 1);
    }

    function test_other_reports_are_no_events() {
        connectDevice(mixdeskR2);
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs.device_boom_value, [1]);
        compare(store.countEvents(), 0);
    }
}
