import QtQuick
import QtTest
import MediaControls
import VexoDeckTest

/* What a scrolling page brings into view, vertically and horizontally. */
Item {
    id: root

    width: 300
    height: 300

    Component {
        id: pageComponent

        ScrollPage {
            id: scrollPage

            property bool across: false
            property int count: 6

            width: 200
            height: 200
            contentWidth: across ? 100 * count : width
            contentHeight: across ? height : 100 * count
            flickableDirection: across ? Flickable.HorizontalFlick : Flickable.AutoFlickDirection
            revealRoom: 10

            Repeater {
                model: scrollPage.count

                VxButton {
                    required property int index

                    objectName: "button" + index
                    x: scrollPage.across ? 100 * index : 0
                    y: scrollPage.across ? 0 : 100 * index
                    width: 80
                    height: 80
                    padding: 0
                    text: String(index)
                }
            }
        }
    }

    Component {
        id: sliderPageComponent

        ScrollPage {
            width: 200
            height: 200
            contentWidth: width
            contentHeight: 1000

            CustomSlider {
                objectName: "slider"
                y: 220
                width: 200
                height: 60
                from: 0
                to: 30
                stepSize: 1
                value: 10
            }
        }
    }

    LoggedTestCase {
        name: "ScrollPage"

        function create(across, count) {
            const page = createTemporaryObject(pageComponent, root, {
                across: across,
                count: count ?? 6
            });
            waitForRendering(page);
            return page;
        }

        function scrolled(page) {
            return page.sideways ? page.contentX : page.contentY;
        }

        function test_the_focus_scrolls_as_little_as_shows_the_control_with_its_room_data() {
            return [
                {
                    tag: "down",
                    across: false
                },
                {
                    tag: "sideways",
                    across: true
                }
            ];
        }

        function test_the_focus_scrolls_as_little_as_shows_the_control_with_its_room(row) {
            const page = create(row.across);
            const places = [1, 3, 2, 5, 0].map(index => {
                findChild(page, "button" + index).forceActiveFocus(Qt.TabFocusReason);
                return scrolled(page);
            });
            compare(places, [0, 190, 190, 390, 0]);
        }

        function test_the_focus_by_a_pressed_mouse_does_not_scroll() {
            const page = create(false);
            const button = findChild(page, "button2");
            page.contentY = 90;
            mousePress(button, 40, 40);
            compare(button.activeFocus, true);
            mouseMove(button, 40, -60);
            mouseMove(button, 40, -100);
            mouseRelease(button, 40, -100);
            compare(page.contentY, 90);
        }

        function test_a_focus_elsewhere_does_not_scroll() {
            const page = create(false);
            page.contentY = 90;
            root.forceActiveFocus(Qt.TabFocusReason);
            compare(page.contentY, 90);
        }

        function test_the_bar_is_there_where_there_is_something_to_scroll_data() {
            return [
                {
                    tag: "more than fits",
                    count: 6,
                    visible: true
                },
                {
                    tag: "what fits",
                    count: 2,
                    visible: false
                }
            ];
        }

        function test_the_bar_is_there_where_there_is_something_to_scroll(row) {
            for (const across of [false, true]) {
                const bar = findChild(create(across, row.count), "scrollBar");
                compare(bar.visible, row.visible);
                compare(bar.orientation, across ? Qt.Horizontal : Qt.Vertical);
            }
        }

        function test_a_turn_that_began_as_scrolling_stays_scrolling_data() {
            return [
                {
                    tag: "without the focus",
                    focus: false
                },
                {
                    tag: "with the focus",
                    focus: true
                }
            ];
        }

        function test_a_turn_that_began_as_scrolling_stays_scrolling(row) {
            const page = createTemporaryObject(sliderPageComponent, root);
            const slider = findChild(page, "slider");
            if (row.focus)
                slider.forceActiveFocus();
            waitForRendering(page);
            page.contentY = 0;
            mouseWheel(page, 100, 100, 0, -120);
            // The slider lies under the pointer now.
            page.contentY = 150;
            mouseWheel(page, 100, 100, 0, -120);
            compare(slider.value, 10);
            tryVerify(() => page.contentY > 150);
            tryVerify(() => !WheelTurn.isRunning() && !page.moving);
            page.contentY = 150;
            mouseWheel(page, 100, 100, 0, -120);
            compare(slider.value, 9);
            compare(page.contentY, 150);
        }

        function test_a_page_that_a_turn_of_the_wheel_has_moved_soon_takes_clicks_again() {
            const page = createTemporaryObject(pageComponent, root);
            const button = findChild(page, "button0");
            let clicks = 0;
            button.clicked.connect(() => clicks++);
            const settling = findChild(page, "settling");
            // Qt moves the page for 300 ms, and the last of these by less than a point.
            compare(settling.interval, 150);
            mouseWheel(page, 20, 20, 0, -120);
            compare([page.moving, settling.running], [true, true]);
            settling.triggered();
            compare([page.moving, page.contentY], [false, Math.round(page.contentY)]);
            mouseClick(button);
            compare(clicks, 1);
        }

        function test_the_bar_can_be_taken_away() {
            const page = create(false);
            page.scrollBarShown = false;
            compare(findChild(page, "scrollBar").visible, false);
        }
    }
}
