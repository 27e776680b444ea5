import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckNetwork
import VexoDeckSystemBridge
import VexoDeckTest

/* The page "通用" of the device drawer. */
PageTestCase {
    id: testCase

    name: "GeneralTab"
    width: 410
    height: 760
    pageComponent: Component {
        GeneralTab {
            anchors.fill: parent
        }
    }

    readonly property string typeKey: "general_hotkey_type"
    readonly property string rateKey: "general_rate"
    readonly property string lightKey: "color_bg_other_lighting"
    // The callbacks of each question for newer firmware.
    property var questions: []

    function init() {
        initConfig();
        SystemBridge.installed = [];
        SystemBridge.clearCalls();
        questions = [];
        NetworkManager.holds = true;
        NetworkManager.requested.connect(note);
    }

    function note(call) {
        compare(call.url, NetworkMgr.base_url + "/vexo/pc/getFirmware");
        questions.push({
            answer: response => {
                // The client gives an object, whatever the service sends.
                NetworkManager.requestCompleted(call.id, true, typeof response === "object" ? response ?? {} : {});
                wait(0);
            },
            fail: () => {
                NetworkManager.requestError(call.id, -1, "no answer");
                wait(0);
            }
        });
    }

    function cleanup() {
        if (page)
            discard(page);
        page = null;
        NetworkManager.requested.disconnect(note);
        NetworkManager.holds = false;
        compare(TestLog.takeFaults(), []);
    }

    function offer(filePath) {
        return {
            code: 0,
            data: {
                isUpgrade: "1",
                newVersion: {
                    filePath: filePath
                }
            }
        };
    }

    function shownCards() {
        return ["hotkeyCard", "firmwareCard", "rateCard", "indicatorCard", "resetRow"].filter(name => child(name).visible);
    }

    function radioButtons() {
        return [0, 1, 2, 3, 4].map(index => part(child("action" + index), "button"));
    }

    function checkedActions() {
        return radioButtons().map(button => button.checked).reduce((found, checked, index) => checked ? found.concat(index) : found, []);
    }

    // ---- the page

    function test_each_model_has_its_cards_in_order_data() {
        const cards = [["hotkeyCard", "firmwareCard", "rateCard", "resetRow"], ["firmwareCard", "indicatorCard", "resetRow"], ["firmwareCard", "resetRow"]];
        return modelRows.map((row, index) => Object.assign({
                cards: cards[index]
            }, row));
    }

    function test_each_model_has_its_cards_in_order(row) {
        openPage(row.info);
        compareData(shownCards(), row.cards);
        const places = row.cards.map(name => child(name).mapToItem(page, 0, 0).y);
        compareData(places, Array.from(places).sort((one, other) => one - other));
    }

    function test_the_cards_have_their_heights() {
        openPage(mixdeskR2);
        compare(part(child("hotkeyCard"), "card").height, 280);
        compare(part(child("firmwareCard"), "card").height, 90);
        compare(part(child("rateCard"), "card").height, 60);
        compare(child("resetRow").height, 60);
        discard(page);
        openPage(voxmicM40);
        compare(part(child("indicatorCard"), "card").height, 60);
    }

    function test_the_scroll_bar_shows_on_the_mixdesk_alone_data() {
        return modelRows;
    }

    function test_the_scroll_bar_shows_on_the_mixdesk_alone(row) {
        openPage(row.info);
        page.anchors.fill = null;
        page.height = 100;
        verify(page.contentHeight > page.height);
        compare(child("scrollBar").visible, row.isR2);
    }

    function test_the_page_tells_that_it_is_there_and_takes_the_focus() {
        openPage(mixdeskR2);
        compare(linesWith("GeneralTab 已加载").length, 1);
        tryCompare(page, "activeFocus", true);
    }

    function test_building_the_page_stores_the_action_alone_data() {
        return modelRows;
    }

    function test_building_the_page_stores_the_action_alone(row) {
        connectDevice(row.info);
        forgetWhatWasSent();
        SystemBridge.clearCalls();
        page = createTemporaryObject(pageComponent, testCase);
        compareData(written(), [typeKey]);
        compareData(sent(), []);
        compareData(SystemBridge.calls.map(call => call.name), ["getRunningApplicationsByQt"]);
        discard(page);
        page = null;
        compareData(written(), [typeKey]);
    }

    // ---- the action of the button

    function test_the_actions_have_their_texts() {
        openPage(mixdeskR2);
        compare(radioButtons().map(button => button.text), ["App", "URL", "热键", "系统截图", "系统录屏"]);
        compare(part(child("hotkeyCard"), "label").text, "旋钮按键");
        compare(part(child("hotkeyCard"), "sectionTitle").text, "热键");
        for (let index = 0; index < 5; index++)
            verify(child("action" + index).icon.endsWith(`app${index + 1}.svg`));
    }

    function test_the_stored_action_is_checked_data() {
        return [0, 1, 2, 3, 4].map(type => ({
                    tag: String(type),
                    type: type
                }));
    }

    function test_the_stored_action_is_checked(row) {
        ConfigMgr.setValue(typeKey, row.type);
        openPage(mixdeskR2);
        compareData(checkedActions(), [row.type]);
        compare(setting(typeKey), row.type);
    }

    function test_a_number_of_no_action_checks_nothing_and_stays_data() {
        return [5, -1, 1.5, 4294967296].map(type => ({
                    tag: String(type),
                    type: type
                }));
    }

    function test_a_number_of_no_action_checks_nothing_and_stays(row) {
        ConfigMgr.setValue(typeKey, row.type);
        storeCalls = [];
        connectDevice(mixdeskR2);
        page = createTemporaryObject(pageComponent, testCase);
        compareData(checkedActions(), []);
        compareData(written(), []);
        compare(setting(typeKey), row.type);
    }

    function test_a_click_checks_one_action_and_stores_it() {
        openPage(mixdeskR2);
        for (const index of [4, 3, 2, 1, 0]) {
            storeCalls = [];
            mouseClick(radioButtons()[index], 8, radioButtons()[index].height / 2);
            compareData(checkedActions(), [index]);
            compareData(written(), [typeKey]);
            compare(Number(stored(typeKey)), index);
        }
        storeCalls = [];
        mouseClick(radioButtons()[0], 8, 8);
        compareData(written(), []);
    }

    function test_the_end_of_the_page_leaves_the_chosen_action_data() {
        return [0, 1, 2, 3, 4].map(action => ({
                    tag: String(action),
                    action: action
                }));
    }

    function test_the_end_of_the_page_leaves_the_chosen_action(data) {
        openPage(mixdeskR2);
        mouseClick(part(child("action" + data.action), "button"));
        compare(setting(typeKey), data.action);
        storeCalls = [];
        discard(page);
        page = null;
        compare(setting(typeKey), data.action);
        compareData(written(), []);
    }

    function test_the_arrow_keys_go_through_the_actions() {
        openPage(mixdeskR2);
        radioButtons()[0].forceActiveFocus(Qt.TabFocusReason);
        for (const index of [1, 2, 3, 4, 0]) {
            keyClick(Qt.Key_Down);
            compareData(checkedActions(), [index]);
            compare(radioButtons()[index].activeFocus, true);
        }
        keyClick(Qt.Key_Up);
        compareData(checkedActions(), [4]);
        compare(setting(typeKey), 4);
    }

    // ---- the firmware

    function firmware() {
        const row = child("firmwareRow");
        return {
            stat: part(row, "statBox").stat,
            status: part(row, "status").text,
            button: part(row, "checkUpdateButton").text,
            enabled: part(row, "checkUpdateButton").enabled,
            url: part(row, "checkUpdateButton").downloadUrl
        };
    }

    function upToDate(info) {
        return {
            stat: 0,
            status: info.name + " 当前已是最新版本",
            button: "检查更新",
            enabled: true,
            url: null
        };
    }

    function test_the_page_looks_for_firmware_when_it_is_built_data() {
        return modelRows;
    }

    function test_the_page_looks_for_firmware_when_it_is_built(row) {
        openPage(row.info);
        compare(questions.length, 1);
        compareData(firmware(), Object.assign(upToDate(row.info), {
            stat: 1,
            enabled: false
        }));
        compare(part(child("firmwareRow"), "version").text, "V1.04");
        mouseClick(child("checkUpdateButton"));
        compare(questions.length, 1);
        questions[0].answer(offer("https://vexo.example/firmware.bin"));
        compareData(firmware(), {
            stat: 3,
            status: row.info.name + " 有固件可升级",
            button: "立即更新",
            enabled: true,
            url: "https://vexo.example/firmware.bin"
        });
        discard(page);
        openPage(row.info);
        compare(questions.length, 2);
    }

    function test_every_other_answer_counts_as_no_newer_firmware_data() {
        const withData = data => ({
                    code: 0,
                    data: data
                });
        return [["no newer one", withData({
                    isUpgrade: "0",
                    newVersion: {
                        filePath: "u"
                    }
                })], ["no version", withData({
                    isUpgrade: "1"
                })], ["no address", withData({
                    isUpgrade: "1",
                    newVersion: {}
                })], ["an empty address", offer("")], ["an address that is no text", offer(5)], ["a refusal", Object.assign(offer("u"), {
                    code: 1
                })], ["a code as text", Object.assign(offer("u"), {
                    code: "0"
                })], ["no data", withData(null)], ["nothing", null], ["a list", []], ["a text", ""], ["undefined", undefined]].map(([tag, response]) => ({
                    tag: tag,
                    response: response
                }));
    }

    function test_every_other_answer_counts_as_no_newer_firmware(row) {
        openPage(mixdeskR2);
        questions[0].answer(row.response);
        compareData(firmware(), upToDate(mixdeskR2));
    }

    function test_a_service_that_cannot_be_reached_counts_as_no_newer_firmware() {
        openPage(mixdeskR2);
        questions[0].fail();
        compareData(firmware(), upToDate(mixdeskR2));
        mouseClick(child("checkUpdateButton"));
        compare(questions.length, 2);
        compare(firmware().stat, 1);
        questions[1].answer(offer("u"));
        compare(firmware().stat, 3);
    }

    function test_a_program_without_a_service_is_up_to_date() {
        const host = NetworkMgr.base_url;
        NetworkMgr.base_url = "";
        openPage(voxmicM40);
        tryVerify(() => firmware().stat === 0);
        compareData(firmware(), upToDate(voxmicM40));
        compare(questions, []);
        NetworkMgr.base_url = host;
    }

    function test_the_update_stops_the_device_and_then_begins() {
        openPage(mixdeskR2);
        questions[0].answer(offer("https://vexo.example/firmware.bin"));
        const order = [];
        const hear = (topic, url) => order.push([HIDHotplugManager.calls.map(call => call.name), url]);
        MessageBus.subscribe(MessageBus.messageTypes.UPDATE_FIRMWARE, hear);
        mouseClick(child("checkUpdateButton"));
        MessageBus.unsubscribe(MessageBus.messageTypes.UPDATE_FIRMWARE, hear);
        compareData(order, [[["stopAndDisconnectDevice"], "https://vexo.example/firmware.bin"]]);
        compare(questions.length, 1);
    }

    function test_a_late_answer_is_harmless_data() {
        return [
            {
                tag: "an offer",
                answer: question => question.answer(offer("u"))
            },
            {
                tag: "none",
                answer: question => question.fail()
            }
        ];
    }

    function test_a_late_answer_is_harmless(row) {
        openPage(mixdeskR2);
        discard(page);
        page = null;
        row.answer(questions[0]);
    }

    // ---- the sample rate

    function test_the_stored_rate_is_selected_and_not_asked_for_data() {
        return [["44.1", 0], ["48", 1], ["88.2", 2], ["96", 3], ["176.4", 4], ["192", 5], ["22", -1], ["", -1]].map(([rate, index]) => ({
                    tag: rate,
                    rate: rate,
                    index: index
                }));
    }

    function test_the_stored_rate_is_selected_and_not_asked_for(row) {
        ConfigMgr.setValue(rateKey, row.rate);
        connectDevice(mixdeskR2);
        storeCalls = [];
        page = createTemporaryObject(pageComponent, testCase);
        const box = child("rateBox");
        compare(box.currentIndex, row.index);
        compare(box.displayText, row.index < 0 ? "" : row.rate + " kHz");
        verify(!written().includes(rateKey));
        verify(!SystemBridge.calls.some(call => call.name === "SetDeviceSampleRate"));
    }

    function test_a_chosen_rate_is_stored_and_asked_for() {
        openPage(mixdeskR2);
        const box = child("rateBox");
        compare(box.count, 6);
        const rates = [["192", 192000], ["176.4", 176400], ["96", 96000], ["88.2", 88200], ["48", 48000], ["44.1", 44100]];
        rates.forEach(([entry, rate], index) => {
            SystemBridge.clearCalls();
            storeCalls = [];
            box.currentIndex = 5 - index;
            compare(box.displayText, entry + " kHz");
            compareData(Array.from(SystemBridge.calls), [
                {
                    name: "SetDeviceSampleRate",
                    deviceName: "VEXO Mixdesk R2",
                    rate: rate
                }
            ]);
            compareData(written(), [rateKey]);
            compare(String(stored(rateKey)), entry);
        });
    }

    // ---- the indicator

    function test_the_indicator_begins_with_its_setting_data() {
        return modelRows;
    }

    function test_the_indicator_begins_with_its_setting(row) {
        ConfigMgr.setValue(lightKey, true);
        openPage(row.info);
        compare(child("lightSwitch").checked, true);
        compareData(sent(), []);
    }

    function test_the_indicator_is_stored_and_sent() {
        openPage(voxmicM40);
        toggle("lightSwitch");
        compareData(sent(), [
            {
                other_light_off: [1]
            }
        ]);
        compare(setting(lightKey), true);
        forgetWhatWasSent();
        toggle("lightSwitch");
        compareData(sent(), [
            {
                other_light_off: [0]
            }
        ]);
        compareData(written(), [lightKey]);
        compare(setting(lightKey), false);
    }

    function test_a_report_moves_the_indicator_and_is_not_echoed_data() {
        return modelRows;
    }

    // On the hidden one, too.
    function test_a_report_moves_the_indicator_and_is_not_echoed(row) {
        openPage(row.info);
        for (const value of [1, 0, 1, 2]) {
            report("other_light_off", value);
            compare(child("lightSwitch").checked, value === 1);
            compare(setting(lightKey), value === 1);
        }
        compareData(sent(), []);
    }

    // ---- the factory reset

    function test_the_reset_lights_up_under_the_mouse() {
        openPage(voxmicT40);
        const row = child("resetRow");
        mouseMove(row, -5, -5);
        compare(part(row, "card").color, "#242424");
        mouseMove(row, row.width / 2, row.height / 2);
        compare(part(row, "card").color, "#383838");
        compare(row.text, "恢复出厂");
    }

    // Any of them, or null.
    function resetWindow() {
        return findChild(page, "resetWindow");
    }

    function test_the_reset_opens_its_window_once() {
        openPage(voxmicT40);
        for (let count = 0; count < 3; count++)
            child("resetRow").click();
        compare(resetWindow().visible, true);
        resetWindow().close();
        tryVerify(() => resetWindow() === null);
        child("resetRow").click();
        compare(resetWindow().visible, true);
    }

    function test_the_window_of_the_reset_ends_with_the_page() {
        openPage(voxmicM40);
        child("resetRow").click();
        let gone = false;
        resetWindow().Component.destruction.connect(() => gone = true);
        discard(page);
        page = null;
        tryVerify(() => gone);
    }
}
