import QtQuick
import QtQuick.Controls
import QtTest
import MediaControls
import VexoDeck
import VexoDeckSystemBridge
import VexoDeckTest

/*
    Texts that come from outside and hold markup: names of devices, programs and microphones, stored records, messages.
    They show as they stand, and no text of any document would take markup for more.
*/
MainWindowTestCase {
    id: testCase

    name: "OutsideTexts"

    // The file does not exist: a text that reads it warns, and a warning fails the test.
    readonly property string markup: "<img src=\"file:///nowhere/" + name + ".png\"><a href=\"file:///nowhere\">a</a> <b>b</b> &amp;"
    readonly property var marked: Object.assign({}, voxmicT40, {
        name: "name " + markup,
        sn: "sn " + markup,
        version: "version " + markup
    })

    Component {
        id: equalizerComponent

        EqualizerWindow {}
    }
    Component {
        id: parts

        Item {
            CustomText {
                text: testCase.markup
                tips: testCase.markup
            }
            CustomComboBox {
                model: [testCase.markup]
                currentIndex: 0
            }
            CustomCheckBox {
                text: testCase.markup
            }
            CustomRadioButton {
                text: testCase.markup
            }
            CustomProgress {
                mainText: testCase.markup
                subText: testCase.markup
            }
            VxButton {
                text: testCase.markup
            }
            BwButton {
                text: testCase.markup
            }
        }
    }

    function entry(name) {
        return {
            name: name + " " + markup,
            bundleIdentifier: "file:///opt/" + name + markup,
            processIdentifier: name,
            iconFilePath: "",
            isInput: name === "microphone"
        };
    }

    // The items that show text, whether they are visible or not, in the popups too.
    function labels(item) {
        const found = item.textFormat === undefined ? [] : [item];
        return Array.from(item.children).reduce((all, part) => all.concat(labels(part)), found);
    }

    function allLabels(view) {
        return labels(view.contentItem).concat(labels(view.Overlay.overlay));
    }

    function verifyShown(view, ...texts) {
        for (const text of texts)
            tryVerify(() => allLabels(view).some(label => label.visible && label.text.includes(text)), 1000, text);
        for (const label of allLabels(view))
            compare(label.textFormat, Text.PlainText, label.text);
    }

    function test_a_device_shows_with_its_name_number_and_version() {
        openDrawer(marked);
        verifyShown(window, marked.name, "SN:" + marked.sn + " " + marked.version);
        compare(child("settingsDeviceName").Accessible.name, marked.name);
        loseDevice();
        connectDevice(marked);
        tryCompare(child("startButton"), "visible", true);
        verifyShown(window, marked.name);
        MessageBus.publishUpdateFirmware("https://vexo.example/" + markup);
        verifyShown(window, marked.name);
    }

    function test_stored_and_running_programs_show_with_their_names() {
        const stored = [entry("stopped"), entry("running")];
        ConfigMgr.setStringList("appList", stored.map(app => JSON.stringify(app)));
        SystemBridge.applications = [entry("running"), entry("new"), entry("microphone")];
        openMainLayout(mixdeskR2);
        verifyShown(window, stored[0].name, stored[1].name);
        mouseClick(child("plusButton"));
        tryCompare(findChild(child("plusButton"), "popup"), "opened", true);
        verifyShown(window, entry("new").name, entry("microphone").name);
        const row = findChild(child("plusButton"), "list").itemAtIndex(0);
        mouseMove(row, row.width / 2, row.height / 2);
        // Twice, in the row and in its tool tip.
        tryVerify(() => allLabels(window).filter(label => label.visible && label.text === row.text).length > 1, 3000);
        verifyShown(window, row.text);
    }

    function test_a_record_without_a_name_shows_that_of_its_file() {
        const app = Object.assign(entry("file"), {
            name: ""
        });
        ConfigMgr.setStringList("appList", [JSON.stringify(app)]);
        openMainLayout(mixdeskR2);
        verifyShown(window, AppInventory.displayName(app));
    }

    function test_stored_presets_show_with_their_names() {
        ConfigMgr.setStringList("device_equalizer_values", ConfigMgr.defaults.device_equalizer_values.concat([JSON.stringify({
                name: markup,
                value: new Array(12).fill(0),
                img: markup
            })]));
        const equalizer = createTemporaryObject(equalizerComponent, testCase);
        equalizer.show();
        tryCompare(equalizer, "opacity", 1);
        verifyShown(equalizer, markup);
    }

    function test_a_question_shows_its_text() {
        const dialog = MessageDialogMgr.showCustomDialogNew(markup, null, null, "yes " + markup, "no " + markup);
        tryCompare(dialog, "opened", true);
        verifyShown(window, markup, "yes " + markup, "no " + markup);
        dialog.destroy();
    }

    function test_every_control_shows_its_text() {
        const item = createTemporaryObject(parts, window.contentItem);
        verifyShown(window, markup);
        for (const control of item.children)
            verify(labels(control).some(label => label.text.includes(markup)), control);
    }
}
