import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckTest

/* A held key presses a control once, however often the system repeats it. */
LoggedTestCase {
    id: testCase

    name: "HeldKeys"
    width: 300
    height: 200
    visible: true

    SignalSpy {
        id: pressSpy
    }

    Component {
        id: vxButton

        VxButton {
            text: "确定"
        }
    }

    Component {
        id: bwButton

        BwButton {
            text: "确定"
        }
    }

    Component {
        id: iconButton

        CustomButton {
            text: "重置"
        }
    }

    Component {
        id: iconTile

        CustomButtonRect {
            name: "静音"
        }
    }

    Component {
        id: checkBox

        CustomCheckBox {
            text: "自动安装"
        }
    }

    Component {
        id: radioButton

        CustomRadioButton {
            text: "系统截图"
        }
    }

    Component {
        id: switchBox

        SwitchBox {}
    }

    Component {
        id: picker

        CustomComAppPlus {
            implicitWidth: 84
            implicitHeight: 190
        }
    }

    Component {
        id: tileButton

        TileButton {
            text: "原声"
            selected: false
        }
    }

    Component {
        id: titleBarButton

        TitleBarButton {
            name: "最大化"
        }
    }

    Component {
        id: menuRow

        MorePopupRow {
            text: "设置"
        }
    }

    Component {
        id: drawerTab

        DrawerTab {
            text: "话筒"
        }
    }

    Component {
        id: equalizerRow

        EqualizerRow {
            text: "均衡器"
            tips: ""
        }
    }

    function test_a_held_key_presses_once_data() {
        const controls = {
            VxButton: vxButton,
            BwButton: bwButton,
            CustomButton: iconButton,
            CustomButtonRect: iconTile,
            CustomCheckBox: checkBox,
            CustomRadioButton: radioButton,
            SwitchBox: switchBox,
            CustomComAppPlus: picker,
            TileButton: tileButton,
            TitleBarButton: titleBarButton,
            MorePopupRow: menuRow,
            DrawerTab: drawerTab,
            EqualizerRow: equalizerRow
        };
        return Object.keys(controls).reduce((rows, name) => rows.concat([["Return", Qt.Key_Return], ["Enter", Qt.Key_Enter], ["Space", Qt.Key_Space]].map(([word, key]) => ({
                        tag: `${name}, ${word}`,
                        component: controls[name],
                        key: key
                    }))), []);
    }

    function test_a_held_key_presses_once(row) {
        const control = createTemporaryObject(row.component, testCase);
        Window.window.requestActivate();
        tryCompare(Window.window, "active", true);
        reach(control);
        pressSpy.target = null;
        pressSpy.signalName = control instanceof CustomButtonRect ? "click" : control instanceof SwitchBox ? "toggled" : "clicked";
        pressSpy.target = control;
        pressSpy.clear();
        keyPress(row.key);
        for (let count = 0; count < 5; count++)
            Keyboard.repeat(row.key);
        keyRelease(row.key);
        compare(pressSpy.count, 1);
    }
}
