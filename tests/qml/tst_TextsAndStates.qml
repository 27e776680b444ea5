import QtQuick
import QtTest
import MediaControls
import VexoDeckTest

Item {
    id: page

    width: 500
    height: 300

    Component {
        id: textComponent

        CustomText {
            x: 200
            y: 150
            text: "增益"
        }
    }

    Component {
        id: statComponent

        CustomStatBox {}
    }

    Component {
        id: progressComponent

        CustomProgress {
            mainText: "设置中"
        }
    }

    LoggedTestCase {
        name: "TextsAndStates"

        function create(component, properties) {
            mouseMove(page, page.width - 1, page.height - 1);
            return createTemporaryObject(component, page, properties ?? {});
        }

        // The tooltip of a CustomText: an object of its icon that is no item.
        function tooltip(text) {
            return Array.from(findChild(text, "tipsIcon").data).find(entry => entry.maximumWidth !== undefined);
        }

        function test_a_label_has_its_text_opacity_and_size() {
            const text = create(textComponent, {
                textOpacity: 0.5,
                textPpixelSize: 18
            });
            const label = findChild(text, "label");
            compare(label.text, "增益");
            compare(label.opacity, 0.5);
            compare(label.font.pixelSize, 18);
            compare(text.tips, "");
            compare(findChild(text, "tipsIcon").visible, false);
        }

        function test_a_label_with_tips_shows_them_under_the_mouse() {
            const text = create(textComponent, {
                tips: "提高增益，避免声音过小。\n降低增益，避免声音失真。"
            });
            const icon = findChild(text, "tipsIcon");
            compare(icon.visible, true);
            verify(String(icon.contentItem.source).endsWith("icons/info.svg"));
            const bubble = tooltip(text);
            compare(bubble.visible, false);
            mouseMove(icon, 8, 8);
            tryCompare(bubble, "opened", true);
            compare(bubble.background.color, "#000000");
            verify(bubble.contentItem.lineCount >= 2);
            verify(findChild(bubble.background, "pointer") !== null);
            mouseMove(page, page.width - 1, page.height - 1);
            tryCompare(bubble, "visible", false);
        }

        function test_a_tooltip_is_at_most_180_wide() {
            const text = create(textComponent, {
                tips: "Use a limitor to prevent distortion from level peaks, and a good deal more than that."
            });
            mouseMove(findChild(text, "tipsIcon"), 8, 8);
            tryCompare(tooltip(text), "opened", true);
            compare(tooltip(text).width, 180);
            verify(!tooltip(text).contentItem.truncated);
            verify(tooltip(text).contentItem.contentHeight <= tooltip(text).availableHeight + 0.5);
        }

        function test_a_tooltip_at_the_top_of_the_window_comes_from_below() {
            const text = create(textComponent, {
                y: 4,
                tips: "提高增益"
            });
            mouseMove(findChild(text, "tipsIcon"), 8, 8);
            tryCompare(tooltip(text), "opened", true);
            verify(tooltip(text).y > 0);
        }

        function test_the_keyboard_shows_the_tips() {
            const text = create(textComponent, {
                tips: "提高增益"
            });
            findChild(text, "tipsIcon").forceActiveFocus(Qt.TabFocusReason);
            tryCompare(tooltip(text), "opened", true);
        }

        function test_a_long_label_wraps_within_its_maximum() {
            const text = create(textComponent, {
                text: "Geräuschunterdrückung mit künstlicher Intelligenz",
                maximumWidth: 120,
                tips: "?"
            });
            verify(text.width <= 120);
            const label = findChild(text, "label");
            verify(label.lineCount > 1);
            verify(!label.truncated);
        }

        function test_the_icon_stands_beside_the_lines_of_a_wrapped_label() {
            const text = create(textComponent, {
                text: "Geräuschunterdrückung mit Intelligenz",
                // Room for the first word and a good part of the next ones.
                maximumWidth: 230,
                tips: "?"
            });
            const label = findChild(text, "label");
            compare(label.lineCount, 2);
            verify(label.contentWidth < label.width - 10, "the lines leave room at their end");
            const icon = findChild(text, "tipsIcon");
            compare(icon.mapToItem(text, 0, 0).x, Math.ceil(label.contentWidth) + text.spacing);
            fuzzyCompare(icon.mapToItem(text, 0, icon.height / 2).y, label.mapToItem(text, 0, label.height / 2).y, 1);
        }

        function test_a_screen_reader_gets_label_and_tips() {
            const text = create(textComponent, {
                tips: "提高增益"
            });
            compare(text.Accessible.role, Accessible.StaticText);
            compare(text.Accessible.name, "增益");
            compare(text.Accessible.description, "提高增益");
        }

        function test_a_state_has_its_icon_data() {
            return [
                {
                    tag: "0",
                    stat: 0,
                    icon: "stat1.svg",
                    spinning: false
                },
                {
                    tag: "1",
                    stat: 1,
                    icon: "stat2.svg",
                    spinning: true
                },
                {
                    tag: "2",
                    stat: 2,
                    icon: "stat3.svg",
                    spinning: false
                },
                {
                    tag: "3",
                    stat: 3,
                    icon: "stat4.svg",
                    spinning: false
                },
                {
                    tag: "4",
                    stat: 4,
                    icon: "stat2.svg",
                    spinning: true
                },
                {
                    tag: "5",
                    stat: 5,
                    icon: "stat1.svg",
                    spinning: false
                },
                {
                    tag: "-1",
                    stat: -1,
                    icon: "stat1.svg",
                    spinning: false
                }
            ];
        }

        function test_a_state_has_its_icon(row) {
            const box = create(statComponent);
            compare(box.stat, 0);
            box.stat = row.stat;
            compare(box.width, 18);
            compare(box.height, 18);
            const icon = findChild(box, "icon");
            verify(String(icon.source).endsWith("icons/" + row.icon), icon.source);
            compare(icon.status, Image.Ready);
            compare(box.spinning, row.spinning);
        }

        function test_the_icon_turns_only_while_something_goes_on() {
            const box = create(statComponent, {
                stat: 1
            });
            const icon = findChild(box, "icon");
            const animator = Array.from(icon.data).find(entry => entry.loops !== undefined);
            compare(animator.running, true);
            compare(animator.duration, 2000);
            verify(animator.loops < 0, "without end");
            compare(animator.to - animator.from, 360);
            box.stat = 0;
            compare(animator.running, false);
            tryCompare(icon, "rotation", 0);
        }

        function test_a_progress_shows_the_rounded_percent() {
            const progress = create(progressComponent, {
                value: 0.426
            });
            compare(findChild(progress, "mainLabel").text, "设置中");
            compare(progress.subText, "43%");
            progress.value = 1;
            compare(progress.subText, "100%");
        }

        function test_a_progress_has_its_own_range_and_lower_text() {
            const progress = create(progressComponent, {
                from: 0,
                to: 200,
                value: 50
            });
            compare(progress.subText, "25%");
            compare(progress.Accessible.role, Accessible.ProgressBar);
            compare([progress.minimumValue, progress.maximumValue], [0, 200], "the range that a screen reader gets");
            progress.subText = "倒计时 10s";
            compare(findChild(progress, "subLabel").text, "倒计时 10s");
            compare(progress.Accessible.description, "倒计时 10s");
        }

        function test_the_bar_of_a_progress_is_8_high_and_filled_in_blue() {
            const progress = create(progressComponent, {
                width: 300,
                value: 0.5
            });
            const bar = findChild(progress, "bar");
            compare(bar.height, 8);
            compare(bar.width, 300);
            compare(bar.background.color, "#383838");
            const fill = findChild(bar.contentItem, "fill");
            compare(fill.color, "#0075ff");
            compare(fill.width, 150);
            progress.value = 0;
            compare(fill.width, 0);
        }
    }
}
