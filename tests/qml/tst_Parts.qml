import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckTest

/* Parts that several pages and windows share. */
Item {
    id: host

    width: 400
    height: 300

    Component {
        id: tileRow

        TileRow {
            property int lastChosen: -1

            width: 200
            iconsOnly: true
            selectIndex: 0
            tiles: [
                {
                    text: "向左",
                    icon: VxConfig.iconUrl("icons/left.svg", "")
                },
                {
                    text: "向右",
                    icon: VxConfig.iconUrl("icons/right.svg", "")
                }
            ]
            onChosen: index => lastChosen = index
        }
    }

    Component {
        id: section

        SettingsSection {
            title: "背景"
        }
    }

    Component {
        id: link

        LinkText {
            text: "隐私政策"
        }
    }

    Component {
        id: appIcon

        AppIcon {}
    }

    SignalSpy {
        id: clicks

        signalName: "clicked"
    }

    LoggedTestCase {
        name: "Parts"

        function create(component, properties) {
            const part = createTemporaryObject(component, host, properties ?? {});
            verify(part);
            waitForRendering(part);
            return part;
        }

        // Names differ in length from language to language.
        function test_tiles_of_icons_have_one_size_whatever_their_names_data() {
            return ["左", "向左", "Hintergrund nach links", "Направление подсветки фона: влево и дальше"].map(name => ({
                        tag: name,
                        name: name
                    }));
        }

        function test_tiles_of_icons_have_one_size_whatever_their_names(data) {
            const row = create(tileRow, {
                width: 120,
                tileHeight: 32,
                tiles: [
                    {
                        text: data.name,
                        icon: VxConfig.iconUrl("icons/left_aw.svg", "")
                    }
                ]
            });
            const icon = findChild(row, "icon");
            compare([icon.width, icon.height], [24, 24]);
        }

        function test_tiles_of_icons_keep_their_names_and_show_no_text() {
            const row = create(tileRow);
            const tile = findChild(row, "tile1");
            compare(tile.Accessible.name, "向右");
            compare(findChild(tile, "label").visible, false);
            mouseClick(tile);
            compare(row.lastChosen, 1);
        }

        function test_the_name_of_an_icon_tile_is_its_tool_tip() {
            const tile = findChild(create(tileRow), "tile0");
            const tooltip = Array.from(tile.data).find(entry => entry.maximumWidth !== undefined);
            compare(tooltip.text, "向左");
            compare(tooltip.visible, false);
            mouseMove(tile, 10, 10);
            tryCompare(tooltip, "visible", true);
        }

        function test_a_section_explains_its_title_where_it_has_a_hint() {
            const plain = create(section);
            compare(findChild(plain, "tipsIcon").visible, false);
            const explained = create(section, {
                hint: "声卡接电时显示背景灯光"
            });
            const icon = findChild(explained, "tipsIcon");
            compare(icon.visible, true);
            compare(icon.Accessible.name, "声卡接电时显示背景灯光");
            compare(explained.Accessible.description, "声卡接电时显示背景灯光");
            compare(findChild(explained, "sectionTitle").text, "背景");
        }

        function test_a_long_title_leaves_room_for_its_hint() {
            const part = create(section, {
                title: "Hintergrundbeleuchtung des angeschlossenen Mischpults im Betrieb",
                hint: "x"
            });
            const title = findChild(part, "sectionTitle");
            const icon = findChild(part, "tipsIcon");
            verify(title.lineCount > 1);
            verify(icon.x + icon.width <= part.width);
        }

        function test_a_link_is_underlined_and_pressed_by_mouse_and_keyboard() {
            const text = create(link);
            clicks.clear();
            clicks.target = text;
            compare(text.contentItem.font.underline, true);
            compare(text.Accessible.role, Accessible.Link);
            compare(text.Accessible.name, "隐私政策");
            mouseClick(text);
            text.forceActiveFocus(Qt.TabFocusReason);
            keyClick(Qt.Key_Space);
            keyClick(Qt.Key_Return);
            compare(clicks.count, 3);
        }

        function test_a_long_link_wraps() {
            const text = create(link, {
                width: 120,
                text: "Datenschutzerklärung und Nutzungsbedingungen"
            });
            verify(text.contentItem.lineCount > 1);
            verify(text.height >= text.contentItem.contentHeight);
        }

        function test_an_icon_may_have_another_substitute() {
            verify(String(findChild(create(appIcon), "fallback").source).endsWith("icons/audio.svg"));
            const icon = create(appIcon, {
                fallback: VxConfig.iconUrl("icons/success.svg", "")
            });
            compare(findChild(icon, "fallback").source, VxConfig.iconUrl("icons/success.svg", ""));
            compare(findChild(icon, "fallback").visible, true);
        }
    }
}
