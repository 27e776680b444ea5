import QtQuick
import MediaControls

/* The controls that are pressed, each in its states. */
Section {
    title: "Controls"

    Row {
        leftPadding: 190

        Repeater {
            model: ["normal", "hover", "pressed", "keyboard focus", "disabled"]

            VxText {
                required property string modelData

                width: 142
                leftPadding: 8
                text: modelData
                color: VxTheme.textSecondary
                font.pixelSize: VxTheme.fontCaption
            }
        }
    }
    StateRow {
        title: "VxButton, type 0"
        sourceComponent: VxButton {
            text: "立即更新"
        }
    }
    StateRow {
        title: "VxButton, type 1"
        sourceComponent: VxButton {
            type: 1
            text: "取消"
        }
    }
    StateRow {
        title: "BwButton"
        sourceComponent: BwButton {
            text: "检查更新"
        }
    }
    StateRow {
        title: "CustomButton"
        sourceComponent: CustomButton {
            icon.source: "qrc:/qt/qml/MediaControls/icons/reset.svg"
        }
    }
    StateRow {
        title: "CustomButtonRect"
        sourceComponent: CustomButtonRect {
            src: "qrc:/qt/qml/MediaControls/icons/audio.svg"
        }
    }
    StateRow {
        title: "CustomButtonRect, active"
        sourceComponent: CustomButtonRect {
            src: "qrc:/qt/qml/MediaControls/icons/audio.svg"
            isActive: true
        }
    }
    StateRow {
        title: "CustomButtonRect, worn"
        sourceComponent: CustomButtonRect {
            src: "qrc:/qt/qml/MediaControls/icons/audio.svg"
            isActive: true
            isWorn: true
        }
    }
    StateRow {
        title: "CustomButtonRect, isSelect off"
        sourceComponent: CustomButtonRect {
            src: "qrc:/qt/qml/MediaControls/icons/audio.svg"
            isSelect: false
        }
    }
    StateRow {
        title: "LinkText"
        sourceComponent: LinkText {
            text: "隐私政策"
        }
    }
    StateRow {
        title: "CustomCheckBox"
        sourceComponent: CustomCheckBox {
            text: "自动安装"
        }
    }
    StateRow {
        title: "CustomCheckBox, ticked"
        sourceComponent: CustomCheckBox {
            text: "自动安装"
            checked: true
        }
    }
    StateRow {
        title: "CustomRadioButton"
        sourceComponent: CustomRadioButton {
            text: "系统截图"
        }
    }
    StateRow {
        title: "CustomRadioButton, checked"
        sourceComponent: CustomRadioButton {
            text: "系统截图"
            checked: true
        }
    }
    StateRow {
        title: "SwitchBox"
        sourceComponent: SwitchBox {}
    }
    StateRow {
        title: "SwitchBox, on"
        sourceComponent: SwitchBox {
            checked: true
        }
    }
    StateRow {
        title: "CustomComboBox"
        sourceComponent: CustomComboBox {
            implicitWidth: 126
            model: ["44.1 kHz", "48 kHz", "192 kHz"]
            currentIndex: 1
        }
    }
    StateRow {
        title: "CustomSlider"
        sourceComponent: CustomSlider {
            implicitWidth: 124
            value: 0.5
        }
    }
    StateRow {
        title: "CustomSlider, no tool tip"
        sourceComponent: CustomSlider {
            implicitWidth: 124
            value: 0.5
            showTooltip: false
        }
    }
}
