import QtQuick
import QtTest
import MediaControls
import VexoDeckTest

Item {
    id: page

    width: 400
    height: 200

    Component {
        id: vxComponent

        VxButton {
            text: "立即更新"
        }
    }

    Component {
        id: bwComponent

        BwButton {
            text: "检查更新"
        }
    }

    Component {
        id: iconComponent

        CustomButton {
            icon.source: "qrc:/qt/qml/MediaControls/icons/reset.svg"
            text: "重置"
        }
    }

    Component {
        id: tileComponent

        CustomButtonRect {
            src: "qrc:/qt/qml/MediaControls/icons/audio.svg"
            name: "静音"
        }
    }

    SignalSpy {
        id: clickedSpy
    }

    LoggedTestCase {
        name: "Buttons"

        function create(component, properties) {
            mouseMove(page, page.width - 1, page.height - 1);
            const button = createTemporaryObject(component, page, Object.assign({
                x: 20,
                y: 20
            }, properties ?? {}));
            clickedSpy.target = null;
            clickedSpy.signalName = component === tileComponent ? "click" : "clicked";
            clickedSpy.target = button;
            clickedSpy.clear();
            return button;
        }

        function test_a_filled_button_shows_type_and_state_by_its_colour_data() {
            return [
                {
                    tag: "type 0",
                    type: 0,
                    plain: "#0075ff",
                    hover: "#2b8cff"
                },
                {
                    tag: "type 1",
                    type: 1,
                    plain: "#434343",
                    hover: "#535353"
                },
                {
                    tag: "any other type",
                    type: 7,
                    plain: "#434343",
                    hover: "#535353"
                }
            ];
        }

        function test_a_filled_button_shows_type_and_state_by_its_colour(row) {
            const button = create(vxComponent, {
                type: row.type
            });
            compare(button.background.color, row.plain);
            compare(button.background.radius, 6);
            compare(button.contentItem.font.pixelSize, 18);
            mouseMove(button, 10, 10);
            tryCompare(button.background, "color", row.hover);
            mousePress(button, 10, 10);
            tryCompare(button.background, "color", "#0060d1");
            mouseRelease(button, 10, 10);
            compare(clickedSpy.count, 1);
        }

        function test_the_type_is_0_by_default() {
            compare(create(vxComponent).type, 0);
        }

        function test_a_filled_button_has_room_for_a_longer_text() {
            const button = create(vxComponent);
            const narrow = button.width;
            button.text = "Jetzt auf die neue Version aktualisieren";
            verify(button.width > narrow);
            verify(!button.contentItem.truncated);
        }

        function test_an_outlined_button_is_faint_until_the_mouse_is_on_it() {
            const button = create(bwComponent);
            compare(button.background.border.width, 1);
            compare(button.background.border.color, "#ffffff");
            compare(button.background.radius, 6);
            compare(button.contentItem.font.pixelSize, 14);
            compare(button.opacity, 0.5);
            mouseMove(button, 10, 10);
            tryCompare(button, "opacity", 1);
            mouseMove(page, page.width - 1, page.height - 1);
            tryCompare(button, "opacity", 0.5);
        }

        function test_a_disabled_outlined_button_is_grey() {
            const button = create(bwComponent, {
                enabled: false
            });
            compare(button.background.border.color, "#808080");
            compare(button.contentItem.color, "#808080");
            mouseClick(button, 10, 10);
            compare(clickedSpy.count, 0);
        }

        function test_an_icon_button_shows_only_the_icon_and_its_shadow_while_held_down() {
            const button = create(iconComponent);
            compare(button.flat, true);
            const shadow = findChild(button.contentItem, "shadow");
            compare(shadow.active, false);
            compare(shadow.opacity, 0.5);
            mousePress(button, 10, 10);
            compare(shadow.active, true);
            compare(shadow.item.blurEnabled, true);
            verify(String(shadow.item.source.source).endsWith("reset.svg"));
            mouseRelease(button, 10, 10);
            compare(shadow.active, false);
            compare(clickedSpy.count, 1);
        }

        function test_a_tile_starts_off_and_selectable() {
            const tile = create(tileComponent);
            compare(tile.isActive, false);
            compare(tile.isWorn, false);
            compare(tile.isSelect, true);
            compare(tile.radius, 5);
            compare(tile.color, "#3e3e3e");
        }

        function test_a_tile_shows_its_state_by_its_colour() {
            const tile = create(tileComponent);
            mouseMove(tile, 10, 10);
            tryCompare(tile, "color", "#5e5e5e");
            tile.isActive = true;
            compare(tile.color, "#0075ff");
            tile.isWorn = true;
            compare(tile.color, "#991010");
            tile.isSelect = false;
            compare(tile.color, "#5e5e5e", "active without being selectable");
            mouseMove(page, page.width - 1, page.height - 1);
            tryCompare(tile, "color", "#3e3e3e");
        }

        function test_only_a_lit_mute_is_struck_out() {
            const tile = create(tileComponent, {
                isWorn: true
            });
            const stroke = findChild(tile, "stroke");
            compare(stroke.visible, false);
            tile.isActive = true;
            compare(stroke.visible, true);
            tile.isSelect = false;
            compare(stroke.visible, false);
            tile.isSelect = true;
            tile.isWorn = false;
            compare(stroke.visible, false);
        }

        function test_a_tile_gives_its_colour_over_a_default() {
            const tile = create(tileComponent);
            compare(tile.getColor("#123456"), "#123456");
            tile.setActive(true);
            compare(tile.isActive, true);
            compare(tile.getColor("#123456"), "#0075ff");
            tile.isWorn = true;
            compare(tile.getColor("#123456"), "#991010");
        }

        function test_a_click_toggles_a_selectable_tile_and_then_tells() {
            const tile = create(tileComponent);
            const seen = [];
            tile.click.connect(() => seen.push(tile.isActive));
            mouseClick(tile, 10, 10);
            mouseClick(tile, 10, 10);
            compare(seen, [true, false]);
        }

        function test_a_click_on_a_tile_that_is_not_selectable_only_tells() {
            const tile = create(tileComponent, {
                isSelect: false
            });
            mouseClick(tile, 10, 10);
            compare(clickedSpy.count, 1);
            compare(tile.isActive, false);
        }

        function test_set_active_does_not_tell() {
            const tile = create(tileComponent);
            tile.setActive(true);
            compare(clickedSpy.count, 0);
        }

        function test_the_keyboard_presses_every_button_data() {
            return [
                {
                    tag: "VxButton",
                    component: vxComponent
                },
                {
                    tag: "BwButton",
                    component: bwComponent
                },
                {
                    tag: "CustomButton",
                    component: iconComponent
                },
                {
                    tag: "CustomButtonRect",
                    component: tileComponent
                }
            ];
        }

        function test_the_keyboard_presses_every_button(row) {
            const button = create(row.component);
            compare(reach(button).activeFocusOnTab, true);
            keyClick(Qt.Key_Space);
            compare(clickedSpy.count, 1);
            keyClick(Qt.Key_Return);
            compare(clickedSpy.count, 2);
            keyClick(Qt.Key_Enter);
            compare(clickedSpy.count, 3);
        }

        function test_tab_reaches_the_buttons_one_after_the_other() {
            const first = create(vxComponent);
            const second = create(tileComponent, {
                y: 80
            });
            const third = create(bwComponent, {
                y: 140
            });
            first.forceActiveFocus(Qt.TabFocusReason);
            const reached = [];
            for (const key of [Qt.Key_Tab, Qt.Key_Tab, Qt.Key_Backtab]) {
                keyClick(key);
                reached.push(Window.window.activeFocusItem);
            }
            compare(reached[0].parent, second);
            compare(reached[1], third);
            compare(reached[2], reached[0]);
        }

        function test_a_tile_shows_a_ring_for_the_keyboard_and_none_for_the_mouse() {
            const tile = create(tileComponent);
            const ring = findChild(tile, "focusRing");
            mouseClick(tile, 10, 10);
            compare(Window.window.activeFocusItem.parent, tile);
            compare(ring.visible, false);
            page.forceActiveFocus();
            reach(tile);
            compare(ring.visible, true);
        }

        function test_a_disabled_button_is_not_clicked_data() {
            return test_the_keyboard_presses_every_button_data();
        }

        function test_a_disabled_button_is_not_clicked(row) {
            const button = create(row.component, {
                enabled: false
            });
            verify(button.opacity < 1);
            mouseClick(button, 10, 10);
            compare(clickedSpy.count, 0);
        }

        function test_every_button_has_a_role_and_a_name_for_a_screen_reader() {
            compare(create(vxComponent).Accessible.name, "立即更新");
            compare(create(bwComponent).Accessible.name, "检查更新");
            compare(create(iconComponent).Accessible.name, "重置");
            const tile = create(tileComponent, {
                isActive: true
            });
            const reached = reach(tile);
            compare(reached.Accessible.role, Accessible.Button);
            compare(reached.Accessible.name, "静音");
            compare([reached.checkable, reached.checked], [true, true]);
            reached.accessiblePressAction();
            compare([tile.isActive, reached.checked], [false, false]);
            compare(clickedSpy.count, 1);
            reached.Accessible.toggleAction();
            compare([tile.isActive, reached.checked], [true, true]);
            compare(clickedSpy.count, 2);
        }
    }
}
