import QtQuick
import QtQuick.Templates as T
import QtTest
import MediaControls
import VexoDeckTest

Item {
    id: page

    width: 400
    height: 200

    Component {
        id: checkComponent

        CustomCheckBox {
            text: "自动安装最新版本"
        }
    }

    Component {
        id: radiosComponent

        Column {
            CustomRadioButton {
                objectName: "first"
                text: "App"
                checked: true
            }
            CustomRadioButton {
                objectName: "second"
                text: "URL"
            }
            CustomRadioButton {
                objectName: "third"
                text: "Key"
            }
        }
    }

    Component {
        id: groupComponent

        Column {
            id: groupColumn

            readonly property T.ButtonGroup group: T.ButtonGroup {}

            Repeater {
                model: ["first", "second", "third"]

                Row {
                    required property string modelData

                    CustomRadioButton {
                        objectName: parent.modelData
                        text: parent.modelData
                        group: groupColumn.group
                    }
                }
            }
        }
    }

    Component {
        id: switchComponent

        SwitchBox {
            x: 20
            y: 20
            name: "静音"
        }
    }

    SignalSpy {
        id: toggledSpy

        signalName: "toggled"
    }

    SignalSpy {
        id: checkedSpy

        signalName: "checkedChanged"
    }

    LoggedTestCase {
        name: "Choices"

        function checkedRadios(radios) {
            return ["first", "second", "third"].filter(name => findChild(radios, name).checked);
        }

        function test_the_arrow_keys_go_through_the_radio_buttons() {
            const radios = createTemporaryObject(radiosComponent, page);
            let clicks = 0;
            findChild(radios, "third").clicked.connect(() => clicks++);
            findChild(radios, "first").forceActiveFocus(Qt.TabFocusReason);
            for (const [key, name] of [[Qt.Key_Down, "second"], [Qt.Key_Right, "third"], [Qt.Key_Down, "first"], [Qt.Key_Up, "third"], [Qt.Key_Left, "second"]]) {
                keyClick(key);
                compare(checkedRadios(radios), [name]);
                compare(findChild(radios, name).visualFocus, true);
            }
            compare(clicks, 2);
        }

        function test_assistive_technology_checks_and_tells_it() {
            const radios = createTemporaryObject(radiosComponent, page);
            const second = findChild(radios, "second");
            const box = createTemporaryObject(checkComponent, page);
            const toggled = [];
            second.toggled.connect(() => toggled.push("radio"));
            box.toggled.connect(() => toggled.push("box"));
            second.Accessible.toggleAction();
            second.Accessible.toggleAction();
            box.Accessible.toggleAction();
            compare(checkedRadios(radios), ["second"]);
            compare(box.checked, true);
            compare(toggled, ["radio", "box"]);
            findChild(radios, "third").Accessible.pressAction();
            box.Accessible.pressAction();
            compare(checkedRadios(radios), ["third"]);
            compare([box.checked, toggled.length], [false, 3]);
        }

        function test_radio_buttons_of_a_group_exclude_each_other_across_rows() {
            const radios = createTemporaryObject(groupComponent, page);
            compare(checkedRadios(radios), []);
            compare(radios.group.checkedButton, null);
            mouseClick(findChild(radios, "second"));
            compare(checkedRadios(radios), ["second"]);
            mouseClick(findChild(radios, "third"));
            compare(checkedRadios(radios), ["third"]);
            compare(radios.group.checkedButton, findChild(radios, "third"));
        }

        function test_the_arrow_keys_go_through_a_group() {
            const radios = createTemporaryObject(groupComponent, page);
            findChild(radios, "first").forceActiveFocus(Qt.TabFocusReason);
            for (const [key, name] of [[Qt.Key_Down, "second"], [Qt.Key_Right, "third"], [Qt.Key_Down, "first"], [Qt.Key_Up, "third"]]) {
                keyClick(key);
                compare(checkedRadios(radios), [name]);
                compare(findChild(radios, name).visualFocus, true);
            }
        }

        function create(component, properties) {
            const control = createTemporaryObject(component, page, properties ?? {});
            for (const spy of [toggledSpy, checkedSpy]) {
                spy.target = component === radiosComponent ? null : control;
                spy.clear();
            }
            return control;
        }

        function test_a_check_box_is_blue_with_a_tick_when_ticked() {
            const box = create(checkComponent);
            compare(box.indicator.width, 16);
            compare(box.indicator.height, 16);
            compare(box.indicator.radius, 4);
            const tick = findChild(box.indicator, "tick");
            compare(tick.visible, false);
            box.checked = true;
            compare(box.indicator.color, "#0a59f7");
            compare(tick.visible, true);
            verify(String(tick.source).endsWith("icons/select.svg"));
        }

        function test_a_check_box_is_ticked_by_mouse_and_keyboard() {
            const box = create(checkComponent);
            mouseClick(box);
            compare(box.checked, true);
            box.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            compare(box.checked, false);
            keyClick(Qt.Key_Return);
            compare(box.checked, true);
            compare(toggledSpy.count, 3);
        }

        function test_the_label_of_a_check_box_wraps() {
            const box = create(checkComponent, {
                width: 120,
                text: "Automatisch die neueste Version installieren, sobald sie bereitsteht"
            });
            verify(box.contentItem.lineCount > 1);
            verify(!box.contentItem.truncated);
            verify(box.height >= box.contentItem.contentHeight);
        }

        function test_a_radio_button_has_a_white_outline_and_a_white_dot_of_10_when_checked() {
            const first = findChild(create(radiosComponent), "first");
            compare(first.indicator.width, 16);
            compare(first.indicator.radius, 8);
            compare(first.indicator.border.color, "#ffffff");
            const dot = findChild(first.indicator, "dot");
            compare(dot.width, 10);
            compare(dot.color, "#ffffff");
            compare(dot.visible, true);
            first.checked = false;
            compare(dot.visible, false);
        }

        function test_one_radio_button_of_a_group_is_checked() {
            const radios = create(radiosComponent);
            const first = findChild(radios, "first");
            const second = findChild(radios, "second");
            mouseClick(second);
            compare(second.checked, true);
            compare(first.checked, false);
            first.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            compare(first.checked, true);
            compare(second.checked, false);
        }

        function test_the_ring_of_a_choice_surrounds_its_indicator() {
            for (const choice of [create(checkComponent), findChild(create(radiosComponent), "first")]) {
                const ring = findChild(choice.indicator, "focusRing");
                compare(ring.visible, false);
                choice.forceActiveFocus(Qt.TabFocusReason);
                compare(ring.visible, true);
                compare([ring.width, ring.height], [22, 22]);
                compare(ring.radius, choice.indicator.radius + 3);
            }
        }

        function test_choices_have_roles_and_names_for_a_screen_reader() {
            const box = create(checkComponent);
            compare(box.Accessible.role, Accessible.CheckBox);
            compare(box.Accessible.name, "自动安装最新版本");
            const first = findChild(create(radiosComponent), "first");
            compare(first.Accessible.role, Accessible.RadioButton);
            compare(first.Accessible.name, "App");
        }

        function test_a_switch_box_is_30_by_16_and_off() {
            const box = create(switchComponent);
            compare(box.width, 30);
            compare(box.height, 16);
            compare(box.radius, 8);
            compare(box.checked, false);
            compare(box.color, "#404040");
        }

        function test_a_switch_box_written_by_a_program_does_not_emit_toggled() {
            const box = create(switchComponent);
            mouseMove(page, page.width - 1, page.height - 1);
            box.checked = true;
            compare(checkedSpy.count, 1);
            compare(toggledSpy.count, 0);
            tryCompare(box, "color", "#0075ff");
        }

        function test_a_click_flips_checked_and_then_emits_toggled() {
            const box = create(switchComponent);
            const order = [];
            box.checkedChanged.connect(() => order.push("checkedChanged"));
            box.toggled.connect(checked => order.push("toggled " + checked + " " + box.checked));
            mouseClick(box);
            mouseClick(box);
            compare(order, ["checkedChanged", "toggled true true", "checkedChanged", "toggled false false"]);
        }

        function test_the_thumb_of_a_switch_box_moves_in_200_ms() {
            const box = create(switchComponent);
            const thumb = findChild(box, "thumb");
            const off = thumb.x;
            compare(off, 2);
            const started = Date.now();
            box.checked = true;
            verify(thumb.x < 16, "it moves, it does not jump");
            tryCompare(thumb, "x", 16);
            const took = Date.now() - started;
            verify(took >= 150, took + " ms");
        }

        function test_a_switch_box_is_flipped_by_the_keyboard() {
            const box = create(switchComponent);
            compare(reach(box).activeFocusOnTab, true);
            compare(findChild(box, "focusRing").visible, true);
            keyClick(Qt.Key_Space);
            compare(box.checked, true);
            keyClick(Qt.Key_Return);
            compare(box.checked, false);
            compare(toggledSpy.count, 2);
        }

        function test_a_disabled_switch_box_keeps_its_state() {
            const box = create(switchComponent, {
                enabled: false
            });
            mouseClick(box);
            compare(box.checked, false);
            compare(toggledSpy.count, 0);
        }

        function test_a_screen_reader_can_flip_a_switch_box() {
            const box = create(switchComponent);
            const reached = reach(box);
            compare(reached.Accessible.role, Accessible.CheckBox);
            compare(reached.Accessible.name, "静音");
            compare(reached.checkable, true);
            reached.Accessible.toggleAction();
            compare([box.checked, reached.checked], [true, true]);
            reached.accessiblePressAction();
            compare([box.checked, reached.checked], [false, false]);
            compare(toggledSpy.count, 2);
        }
    }
}
