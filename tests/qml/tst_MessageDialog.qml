import QtQuick
import QtQuick.Controls
import QtTest
import MediaControls
import VexoDeckTest

Item {
    id: page

    width: 900
    height: 300

    Component {
        id: dialogComponent

        MessageDialog {}
    }

    Component {
        id: windowComponent

        ApplicationWindow {
            width: 800
            height: 500
            visible: true
        }
    }

    LoggedTestCase {
        name: "MessageDialog"

        // Before the first test sets the manager's window.
        function initTestCase() {
            compare(MessageDialogMgr.parentWindow, null);
            compare(MessageDialogMgr.currentDialog, null);
        }

        function cleanup() {
            MessageDialogMgr.setParent(null);
            MessageDialogMgr.dialogDocument = "MessageDialog.qml";
            compare(TestLog.takeFaults(), []);
        }

        function create(properties) {
            const dialog = createTemporaryObject(dialogComponent, page, properties ?? {});
            dialog.open();
            tryCompare(dialog, "opened", true);
            return dialog;
        }

        function ask(success, error, confirmText, cancelText) {
            const dialog = MessageDialogMgr.showCustomDialogNew("升级？", success, error, confirmText, cancelText);
            tryCompare(dialog, "opened", true);
            return dialog;
        }

        function button(dialog, name) {
            return findChild(dialog.contentItem, name);
        }

        function test_the_defaults() {
            const dialog = createTemporaryObject(dialogComponent, page);
            compare(dialog.title, "有新版本可升级,是否重启并升级软件?");
            compare(dialog.cancelText, "取消");
            compare(dialog.confirmText, "立即升级");
            compare(dialog.dialogColor, "#0075ff");
            compare(dialog.visible, false);
            compare(dialog.modal, false);
            compare(dialog.closePolicy, Popup.NoAutoClose);
            compare(dialog.z, 1000);
        }

        function test_the_bar_is_55_high_and_centred_20_below_the_top() {
            const dialog = create();
            compare(dialog.height, 55);
            compare(dialog.y, 20);
            verify(Math.abs(dialog.x + dialog.width / 2 - page.width / 2) <= 0.5);
            compare(dialog.background.radius, 8);
            compare(dialog.background.color, "#0075ff");
            const message = button(dialog, "message");
            compare(message.font.pixelSize, 16);
            compare(message.text, dialog.title);
            compare(button(dialog, "icon").source, "icons/info2.svg");
            compare(button(dialog, "icon").status, Image.Ready);
            for (const name of ["cancelButton", "confirmButton"]) {
                const item = button(dialog, name);
                compare(item.height, 26);
                compare(item.background.radius, 5);
                compare(item.background.border.width, 1);
                compare(item.background.border.color, "#ffffff");
            }
            verify(button(dialog, "cancelButton").x < button(dialog, "confirmButton").x);
        }

        function test_a_long_message_wraps_within_the_bar() {
            const dialog = create({
                title: "Für VEXO Mixdesk R2 ist eine neue Firmware verfügbar. Möchten Sie das Gerät jetzt aktualisieren? Danach startet es neu."
            });
            verify(dialog.width <= page.width - 40);
            const message = button(dialog, "message");
            verify(message.lineCount >= 2);
            verify(!message.truncated);
            verify(message.contentHeight <= 55, message.contentHeight);
        }

        function test_a_button_emits_its_signal_first_and_closes_afterwards_data() {
            return [
                {
                    tag: "confirmed",
                    name: "confirmButton"
                },
                {
                    tag: "cancelled",
                    name: "cancelButton"
                }
            ];
        }

        function test_a_button_emits_its_signal_first_and_closes_afterwards(row) {
            const dialog = create();
            const order = [];
            dialog.confirmed.connect(() => order.push("confirmed " + dialog.opened));
            dialog.cancelled.connect(() => order.push("cancelled " + dialog.opened));
            dialog.aboutToHide.connect(() => order.push("closes"));
            mouseClick(button(dialog, row.name));
            compare(order, [row.tag + " true", "closes"]);
            tryCompare(dialog, "visible", false);
        }

        function test_a_closed_question_counts_as_gone_at_once() {
            const dialog = create();
            dialog.close();
            compare(dialog.visible, false);
            dialog.open();
            tryCompare(dialog, "opened", true);
            compare(dialog.background.parent.opacity, 1);
        }

        function test_only_its_buttons_close_it() {
            const dialog = create();
            mouseClick(page, 10, 290);
            button(dialog, "cancelButton").forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Escape);
            compare(dialog.opened, true);
            keyClick(Qt.Key_Tab);
            compare(button(dialog, "confirmButton").activeFocus, true);
            keyClick(Qt.Key_Return);
            tryCompare(dialog, "visible", false);
        }

        function test_show_custom_dialog_sets_the_title_and_opens() {
            const dialog = createTemporaryObject(dialogComponent, page);
            dialog.showCustomDialog("固件？");
            compare(dialog.title, "固件？");
            tryCompare(dialog, "opened", true);
            dialog.showCustomDialog();
            compare(dialog.title, "");
        }

        function test_the_manager_asks_over_the_window_that_it_was_given() {
            const window = createTemporaryObject(windowComponent, page);
            MessageDialogMgr.setParent(window);
            compare(MessageDialogMgr.parentWindow, window);
            const dialog = ask(null, null);
            compare(dialog.title, "升级？");
            compare(dialog.confirmText, "立即升级");
            compare(dialog.cancelText, "取消");
            compare(dialog.parent.Window.window, window);
            compare(dialog.y, 20);
            verify(Math.abs(dialog.x + dialog.width / 2 - 400) <= 0.5);
        }

        function test_the_manager_connects_the_answers_and_takes_the_texts() {
            MessageDialogMgr.setParent(page);
            const answers = [];
            const yes = ask(() => answers.push("yes"), () => answers.push("no"), "好", "不");
            compare([yes.confirmText, yes.cancelText], ["好", "不"]);
            mouseClick(button(yes, "confirmButton"));
            tryCompare(yes, "visible", false);
            compare(answers, ["yes"]);
            const no = ask(() => answers.push("yes"), () => answers.push("no"));
            mouseClick(button(no, "cancelButton"));
            tryCompare(no, "visible", false);
            compare(answers, ["yes", "no"]);
        }

        function test_the_manager_leaves_texts_empty_that_are_given_so() {
            MessageDialogMgr.setParent(page);
            const silent = MessageDialogMgr.showCustomDialogNew(undefined, null, null, "", "");
            compare([silent.title, silent.confirmText, silent.cancelText], ["", "", ""]);
            const plain = MessageDialogMgr.showCustomDialogNew(null, null, null, null, undefined);
            compare([plain.title, plain.confirmText, plain.cancelText], ["", "立即升级", "取消"]);
            [silent, plain].forEach(dialog => dialog.close());
        }

        function test_a_dialogue_that_cannot_be_made_is_logged_and_not_returned_data() {
            return [
                {
                    tag: "no such document",
                    document: "NoSuchDialog.qml",
                    remark: "",
                    line: "Failed to load MessageDialog component:",
                    detail: "NoSuchDialog.qml"
                },
                {
                    tag: "a document that wants a property which nobody gives",
                    document: Qt.resolvedUrl("Unmakeable.qml"),
                    // The engine's own.
                    remark: "Required property secret was not initialized",
                    line: "Failed to create dialog object",
                    detail: ""
                }
            ];
        }

        function test_a_dialogue_that_cannot_be_made_is_logged_and_not_returned(row) {
            MessageDialogMgr.setParent(page);
            MessageDialogMgr.dialogDocument = row.document;
            for (const ask of [() => MessageDialogMgr.showCustomDialogNew("升级？"), () => MessageDialogMgr.showCustomDialog("升级？")]) {
                if (row.remark)
                    TestLog.expect(row.remark);
                TestLog.begin();
                compare(ask(), undefined);
                compare(linesWith("Failed").length, 1);
                verify(TestLog.lines.some(line => line.startsWith(row.line) && line.includes(row.detail)), TestLog.lines);
            }
            compare(MessageDialogMgr.currentDialog, null);
        }

        function test_two_calls_give_two_dialogues_on_top_of_each_other_at_the_same_place() {
            MessageDialogMgr.setParent(page);
            const answers = [];
            const lower = ask(() => answers.push("lower"), null);
            const upper = ask(() => answers.push("upper"), null);
            verify(lower !== upper);
            compare([lower.opened, upper.opened], [true, true]);
            compare([lower.x, lower.y, lower.width], [upper.x, upper.y, upper.width]);
            mouseClick(button(upper, "confirmButton"));
            tryCompare(upper, "visible", false);
            compare(answers, ["upper"]);
            compare(lower.opened, true);
            mouseClick(button(lower, "confirmButton"));
            tryCompare(lower, "visible", false);
            compare(answers, ["upper", "lower"]);
        }

        function test_a_closed_dialogue_is_not_destroyed() {
            MessageDialogMgr.setParent(page);
            const dialog = ask(null, null);
            mouseClick(button(dialog, "cancelButton"));
            tryCompare(dialog, "visible", false);
            gc();
            compare(dialog.title, "升级？");
            compare(dialog.visible, false);
        }

        function test_the_reusable_form_keeps_one_dialogue_and_speaks_for_it() {
            MessageDialogMgr.setParent(page);
            const answers = [];
            const confirmed = () => answers.push("confirmed");
            const cancelled = () => answers.push("cancelled");
            MessageDialogMgr.confirmed.connect(confirmed);
            MessageDialogMgr.cancelled.connect(cancelled);
            MessageDialogMgr.showCustomDialog("一");
            const dialog = MessageDialogMgr.currentDialog;
            tryCompare(dialog, "opened", true);
            compare(dialog.title, "一");
            mouseClick(button(dialog, "confirmButton"));
            tryCompare(dialog, "visible", false);
            MessageDialogMgr.showCustomDialog("二");
            compare(MessageDialogMgr.currentDialog, dialog);
            compare(dialog.title, "二");
            tryCompare(dialog, "opened", true);
            mouseClick(button(dialog, "cancelButton"));
            tryCompare(dialog, "visible", false);
            compare(answers, ["confirmed", "cancelled"]);
            MessageDialogMgr.confirmed.disconnect(confirmed);
            MessageDialogMgr.cancelled.disconnect(cancelled);
            MessageDialogMgr.currentDialog = null;
        }

        function test_a_screen_reader_hears_the_message_and_the_buttons() {
            const dialog = create();
            compare(dialog.contentItem.Accessible.role, Accessible.AlertMessage);
            compare(dialog.contentItem.Accessible.name, dialog.title);
            compare(button(dialog, "confirmButton").Accessible.name, "立即升级");
            compare(button(dialog, "cancelButton").Accessible.name, "取消");
        }
    }
}
