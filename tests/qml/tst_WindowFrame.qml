import QtQuick
import QtQuick.Controls.Material
import QtTest
import MediaControls
import VexoDeck
import VexoDeckSystemBridge
import VexoDeckTest

LoggedTestCase {
    id: testCase

    name: "WindowFrame"

    Component {
        id: frameComponent

        WindowFrame {
            property int loadCount: 0

            function loadView() {
                loadCount++;
            }

            title: "设置"
            visible: true

            Rectangle {
                objectName: "content"
                color: "navy"
            }
        }
    }

    Component {
        id: fixedFrameComponent

        WindowFrame {
            width: 500
            height: 300
            minimumWidth: 500
            maximumWidth: 500
            minimumHeight: 300
            maximumHeight: 300
            visible: true
        }
    }

    Component {
        id: mainFrameComponent

        WindowFrame {
            property int quitCount: 0

            function quitProgram() {
                quitCount++;
            }

            visible: true
            rightView: Component {
                Item {
                    objectName: "more"
                    width: 40
                }
            }
        }
    }

    Component {
        id: realMainFrameComponent

        WindowFrame {
            visible: true
            rightView: Component {
                Item {}
            }
        }
    }

    // Records its requests to the system, which ignores them without a window manager.
    Component {
        id: heldFrameComponent

        WindowFrame {
            property int moveCount: 0
            property var resizedEdges: []

            function startSystemMove() {
                moveCount++;
                return true;
            }

            function startSystemResize(edges) {
                resizedEdges.push(edges);
                return true;
            }

            visible: true
        }
    }

    Component {
        id: closeWatchComponent

        Connections {
            property var accepted: []

            function onClosing(close) {
                accepted.push(close.accepted);
            }
        }
    }

    function init() {
        HIDDeviceMgr.installing = false;
        MessageDialogMgr.setParent(null);
        TestLog.begin();
    }

    function create(component, properties) {
        const frame = createTemporaryObject(component, testCase, properties ?? {});
        tryCompare(frame, "opacity", 1);
        return frame;
    }

    function child(frame, name) {
        return findChild(frame.contentItem, name);
    }

    function leftOf(item, frame) {
        return item.mapToItem(frame.contentItem, 0, 0).x;
    }

    function test_the_main_window_ends_the_program_through_the_bridge() {
        const frame = create(realMainFrameComponent);
        SystemBridge.clearCalls();
        frame.quitProgram();
        compare(SystemBridge.calls.map(call => call.name), ["quitApplication"]);
    }

    function test_a_window_has_the_size_of_the_program_and_no_system_frame() {
        const frame = create(frameComponent);
        compare(frame.width, 1300);
        compare(frame.height, 800);
        compare(frame.minimumWidth, 800);
        compare(frame.minimumHeight, 500);
        compare(frame.flags, Qt.Window | Qt.FramelessWindowHint);
        compare(frame.isDestroy, false);
        compare(frame.titleColor, "#ffffff");
        compare(frame.loadCount, 1);
    }

    function test_the_body_lies_below_a_title_bar_30_high() {
        const frame = create(frameComponent);
        const title = child(frame, "windowTitle");
        compare(title.text, "设置");
        compare(title.font.bold, true);
        compare(title.font.pixelSize, 12);
        compare(title.Accessible.name, "设置");
        const body = child(frame, "content");
        compare(body.mapToItem(frame.contentItem, 0, 0).y, 30);
        compare(body.width, 1300);
        compare(body.height, 770);
    }

    function test_a_window_fades_in_when_it_is_shown() {
        const frame = createTemporaryObject(frameComponent, testCase, {
            visible: false
        });
        compare(frame.opacity, 0);
        frame.visible = true;
        verify(frame.opacity < 1);
        tryCompare(frame, "opacity", 1);
    }

    function test_the_fades_take_200_ms_and_are_slow_at_both_ends() {
        const frame = createTemporaryObject(frameComponent, testCase, {
            visible: false
        });
        tryVerify(() => {
            const fadeIn = verifyMovement(() => frame.visible = true, () => frame, "opacity", 0, 1, 200, Easing.InOutQuad);
            const fadeOut = verifyMovement(() => frame.close(), () => frame, "opacity", 1, 0, 200, Easing.InOutQuad);
            tryCompare(frame, "visible", false);
            return fadeIn > 3 && fadeOut > 3;
        });
    }

    function test_a_closed_window_is_hidden_after_200_ms_once() {
        const frame = create(frameComponent);
        const timer = Array.from(frame.contentData).find(object => object.objectName === "closeTimer");
        compare(timer.interval, 200);
        compare(timer.repeat, false);
        frame.close();
        compare(timer.running, true);
        tryCompare(timer, "running", false);
        compare(frame.visible, false);
    }

    function test_a_window_that_is_shown_again_while_it_fades_out_stays() {
        const frame = create(frameComponent);
        const timer = Array.from(frame.contentData).find(object => object.objectName === "closeTimer");
        frame.close();
        compare(frame.isClosing, true);
        frame.show();
        compare([frame.isClosing, timer.running, frame.visible], [false, false, true]);
        tryCompare(frame, "opacity", 1);
        frame.close();
        tryCompare(frame, "visible", false);
        frame.show();
        tryCompare(frame, "opacity", 1);
    }

    function test_the_style_is_dark_whatever_the_desktop_says() {
        const frame = create(frameComponent);
        Application.styleHints.colorScheme = Qt.Light;
        compare(frame.Material.theme, Material.Dark);
        Application.styleHints.colorScheme = Qt.Dark;
    }

    function test_a_closed_window_fades_out_and_stays_alive_hidden() {
        const frame = create(frameComponent);
        const watch = createTemporaryObject(closeWatchComponent, testCase, {
            target: frame
        });
        frame.x = 17;
        frame.close();
        compare(watch.accepted, [false]);
        compare(frame.visible, true, "while it fades");
        tryCompare(frame, "visible", false);
        compare(frame.x, 17);
        tryCompare(frame, "opacity", 0);
        frame.visible = true;
        tryCompare(frame, "opacity", 1);
    }

    function test_a_window_that_asks_for_it_is_destroyed_after_its_close() {
        const frame = frameComponent.createObject(testCase, {
            isDestroy: true
        });
        tryCompare(frame, "opacity", 1);
        let destroyed = false;
        frame.Component.destruction.connect(() => destroyed = true);
        frame.close();
        compare(destroyed, false);
        tryVerify(() => destroyed);
    }

    function test_the_main_window_accepts_its_close_and_ends_the_program() {
        const frame = create(mainFrameComponent);
        const watch = createTemporaryObject(closeWatchComponent, testCase, {
            target: frame
        });
        frame.close();
        compare(watch.accepted, [true]);
        compare(frame.quitCount, 1);
        tryCompare(frame, "visible", false);
        tryCompare(frame, "opacity", 0);
    }

    // ---- an installation is shown

    function waysToQuit() {
        return [["close button", frame => mouseClick(child(frame, "closeButton"))], ["the system's close", frame => frame.close()]].map(([tag, quit]) => ({
                    tag: tag,
                    quit: quit
                }));
    }

    function frameWhileInstalling() {
        HIDDeviceMgr.installing = true;
        const frame = create(mainFrameComponent);
        tryCompare(frame, "opacity", 1);
        MessageDialogMgr.setParent(frame);
        return frame;
    }

    function test_the_end_of_the_program_asks_while_firmware_is_installed_data() {
        return waysToQuit();
    }

    function test_the_end_of_the_program_asks_while_firmware_is_installed(row) {
        const frame = frameWhileInstalling();
        row.quit(frame);
        row.quit(frame);
        compare(MessageDialogMgr.shownCount, 1, "one question");
        compare(frame.quitCount, 0);
        compare(frame.visible, true);
        compare(frame.opacity, 1);
        compare(frame.quitQuestion.title, "正在安装固件，现在退出会中断升级。确定要退出吗？");
        tryCompare(frame.quitQuestion, "opened", true);
        mouseClick(findChild(frame.quitQuestion.contentItem, "cancelButton"));
        compare(frame.quitCount, 0);
        tryCompare(frame.quitQuestion, "visible", false);
        row.quit(frame);
        tryCompare(frame.quitQuestion, "opened", true);
        mouseClick(findChild(frame.quitQuestion.contentItem, "confirmButton"));
        compare(frame.quitCount, 1);
    }

    function test_other_windows_close_without_a_question() {
        HIDDeviceMgr.installing = true;
        const frame = create(frameComponent);
        frame.close();
        compare(MessageDialogMgr.shownCount, 0);
        tryCompare(frame, "visible", false);
    }

    function test_the_close_button_of_the_main_window_ends_the_program_data() {
        return [
            {
                tag: "windows and linux",
                macStyle: false
            },
            {
                tag: "macos",
                macStyle: true
            }
        ];
    }

    function test_the_close_button_of_the_main_window_ends_the_program(row) {
        const frame = create(mainFrameComponent, {
            macStyle: row.macStyle
        });
        mouseClick(child(frame, "closeButton"));
        compare(frame.quitCount, 1);
        compare(frame.visible, true);
    }

    function test_the_close_button_of_another_window_closes_it() {
        const frame = create(frameComponent);
        mouseClick(child(frame, "closeButton"));
        tryCompare(frame, "visible", false);
    }

    function test_the_buttons_are_reached_and_pressed_by_the_keyboard() {
        const frame = create(frameComponent);
        frame.requestActivate();
        tryCompare(frame, "active", true);
        const close = child(frame, "closeButton");
        close.forceActiveFocus(Qt.TabFocusReason);
        compare(close.activeFocus, true);
        compare(close.visualFocus, true);
        keyClick(Qt.Key_Return);
        tryCompare(frame, "visible", false);
    }

    function test_escape_closes_a_window_but_the_main_one() {
        const main = create(mainFrameComponent);
        const mainWatch = createTemporaryObject(closeWatchComponent, testCase, {
            target: main
        });
        main.requestActivate();
        tryCompare(main, "active", true);
        keyClick(Qt.Key_Escape);
        const frame = create(frameComponent);
        frame.requestActivate();
        // The windows of one program are active together.
        tryVerify(() => frame.activeFocusItem !== null);
        keyClick(Qt.Key_Escape);
        tryCompare(frame, "visible", false);
        compare(mainWatch.accepted, []);
        compare(main.visible, true);
        compare(main.quitCount, 0);
    }

    function test_every_button_has_a_name_for_a_screen_reader() {
        const frame = create(frameComponent);
        compare(child(frame, "minimizeButton").Accessible.name, "最小化");
        compare(child(frame, "maximizeButton").Accessible.name, "最大化");
        compare(child(frame, "closeButton").Accessible.name, "关闭");
        compare(child(frame, "closeButton").Accessible.role, Accessible.Button);
    }

    function test_the_minimise_button_minimises() {
        const frame = create(frameComponent);
        mouseClick(child(frame, "minimizeButton"));
        tryCompare(frame, "visibility", Window.Minimized);
    }

    function test_the_maximise_button_toggles_data() {
        return [
            {
                tag: "windows and linux",
                macStyle: false
            },
            {
                tag: "macos",
                macStyle: true
            }
        ];
    }

    function test_the_maximise_button_toggles(row) {
        const frame = create(frameComponent, {
            macStyle: row.macStyle
        });
        const button = child(frame, "maximizeButton");
        mouseClick(button);
        tryCompare(frame, "visibility", Window.Maximized);
        compare(button.Accessible.name, "还原");
        mouseClick(button);
        tryCompare(frame, "visibility", Window.Windowed);
    }

    function test_a_press_that_wobbles_on_a_button_is_still_a_click() {
        const frame = create(frameComponent);
        const button = child(frame, "minimizeButton");
        mousePress(button, 20, 15);
        mouseMove(button, 24, 17, -1, Qt.LeftButton);
        mouseMove(button, 26, 18, -1, Qt.LeftButton);
        mouseRelease(button, 26, 18);
        tryCompare(frame, "visibility", Window.Minimized);
    }

    function test_a_window_of_fixed_size_is_neither_maximised_nor_resized() {
        const frame = create(fixedFrameComponent);
        compare(child(frame, "maximizeButton").enabled, false);
        compare(child(frame, "resizeEdges").visible, false);
    }

    function test_a_button_is_pressed_up_to_the_edge_of_the_window_data() {
        return [
            {
                tag: "at the top",
                x: 20,
                y: 0
            },
            {
                tag: "in the corner",
                x: 39,
                y: 0
            },
            {
                tag: "at the right",
                x: 39,
                y: 15
            }
        ];
    }

    function test_a_button_is_pressed_up_to_the_edge_of_the_window(row) {
        const frame = create(frameComponent);
        mouseClick(child(frame, "closeButton"), row.x, row.y);
        tryCompare(frame, "visible", false);
    }

    function test_a_press_on_an_edge_lets_the_system_resize_the_window_there_data() {
        return [
            {
                tag: "top",
                x: 600,
                y: 1,
                edges: Qt.TopEdge
            },
            {
                tag: "top left",
                x: 2,
                y: 2,
                edges: Qt.TopEdge | Qt.LeftEdge
            },
            {
                tag: "top right, the buttons at the left",
                macStyle: true,
                x: 1297,
                y: 2,
                edges: Qt.TopEdge | Qt.RightEdge
            },
            {
                tag: "left",
                x: 1,
                y: 400,
                edges: Qt.LeftEdge
            },
            {
                tag: "right",
                x: 1299,
                y: 400,
                edges: Qt.RightEdge
            },
            {
                tag: "bottom",
                x: 600,
                y: 799,
                edges: Qt.BottomEdge
            },
            {
                tag: "bottom left",
                x: 4,
                y: 795,
                edges: Qt.BottomEdge | Qt.LeftEdge
            },
            {
                tag: "bottom right",
                x: 1295,
                y: 795,
                edges: Qt.BottomEdge | Qt.RightEdge
            }
        ];
    }

    function test_a_press_on_an_edge_lets_the_system_resize_the_window_there(row) {
        const frame = create(heldFrameComponent, {
            macStyle: row.macStyle ?? false
        });
        mousePress(frame.contentItem, row.x, row.y);
        compare(frame.resizedEdges, [row.edges]);
        mouseMove(frame.contentItem, row.x - 10, row.y + 10, -1, Qt.LeftButton);
        mouseRelease(frame.contentItem, row.x - 10, row.y + 10);
        compare(frame.resizedEdges, [row.edges]);
        compare(frame.moveCount, 0);
    }

    function test_the_edges_of_a_maximised_window_do_not_resize() {
        const frame = create(heldFrameComponent);
        compare(child(frame, "resizeEdges").visible, true);
        frame.visibility = Window.Maximized;
        tryCompare(child(frame, "resizeEdges"), "visible", false);
        mouseClick(frame.contentItem, 1, 400);
        compare(frame.resizedEdges, []);
    }

    function test_dragging_the_title_bar_lets_the_system_move_the_window_once() {
        const frame = create(heldFrameComponent);
        const bar = child(frame, "titleBar");
        mousePress(bar, 300, 15);
        compare(frame.moveCount, 0);
        mouseMove(bar, 303, 15, -1, Qt.LeftButton);
        compare(frame.moveCount, 1);
        mouseMove(bar, 340, 35, -1, Qt.LeftButton);
        mouseRelease(bar, 340, 35);
        compare(frame.moveCount, 1);
        mousePress(bar, 300, 15, Qt.RightButton);
        mouseMove(bar, 340, 15, -1, Qt.RightButton);
        mouseRelease(bar, 340, 15, Qt.RightButton);
        compare(frame.moveCount, 1);
        compare(frame.resizedEdges, []);
    }

    function test_buttons_and_extra_content_change_sides_with_the_system() {
        const windows = create(mainFrameComponent, {
            macStyle: false
        });
        verify(leftOf(child(windows, "closeButton"), windows) > 1200);
        verify(leftOf(child(windows, "minimizeButton"), windows) < leftOf(child(windows, "maximizeButton"), windows));
        verify(leftOf(child(windows, "maximizeButton"), windows) < leftOf(child(windows, "closeButton"), windows));
        compare(leftOf(child(windows, "more"), windows), 0);
        compare(windows.color, "#1e1e1e");

        const mac = create(mainFrameComponent, {
            macStyle: true
        });
        verify(leftOf(child(mac, "closeButton"), mac) < 20);
        verify(leftOf(child(mac, "closeButton"), mac) < leftOf(child(mac, "minimizeButton"), mac));
        verify(leftOf(child(mac, "minimizeButton"), mac) < leftOf(child(mac, "maximizeButton"), mac));
        compare(leftOf(child(mac, "more"), mac), 1260);
        compare(mac.color, "#000000");
    }

    function test_on_macos_the_window_follows_the_mouse_by_its_own_way() {
        const frame = create(heldFrameComponent, {
            macStyle: true
        });
        frame.x = 100;
        frame.y = 100;
        const bar = child(frame, "titleBar");
        mousePress(bar, 300, 15);
        // Seen from the window: the first step begins the drag, and then the window follows each before the next.
        mouseMove(bar, 320, 25, -1, Qt.LeftButton);
        mouseMove(bar, 330, 10, -1, Qt.LeftButton);
        compare([frame.x, frame.y], [130, 95]);
        mouseMove(bar, 320, 20, -1, Qt.LeftButton);
        compare([frame.x, frame.y], [150, 100]);
        mouseRelease(bar, 300, 15);
        compare(frame.moveCount, 0);
    }
}
