import QtQuick
import MediaControls

/* The controls that show something, and those that open. */
Column {
    spacing: 16

    Row {
        spacing: 16

        Section {
            title: "ColorPicker"

            ColorPicker {
                dynamicColors: ["#7A5CFF"]
                Component.onCompleted: flushToColor("#2B8CFF")
            }
        }
        Section {
            title: "CustomComboBox, open"

            Cell {
                width: 216
                height: 350
                pose: "open"
                sourceComponent: CustomComboBox {
                    implicitWidth: 200
                    model: ["中文", "繁體中文", "English", "日本語", "Русский", "Deutsch", "Français", "Español", "Italiano"]
                    currentIndex: 2
                }
            }
        }
        Section {
            title: "Slider, level meters"

            Row {
                height: 350
                spacing: 14

                Cell {
                    width: 70
                    height: 330
                    inset: 22
                    pose: "press"
                    sourceComponent: CustomSlider {
                        implicitHeight: 250
                        orientation: Qt.Vertical
                        value: 0.5
                    }
                }
                Repeater {
                    model: [[0.35, 0.3], [0.72, 0.8], [1, 0.95]]

                    AudioLevelIndicator {
                        id: meters

                        required property var modelData

                        y: 40
                        height: 250

                        // Meters fall by themselves without new levels.
                        Timer {
                            property int tick: 0

                            interval: 40
                            running: true
                            repeat: true
                            triggeredOnStart: true
                            onTriggered: {
                                tick = 1 - tick;
                                meters.setLevels(meters.modelData[0] - 0.002 * tick, meters.modelData[1] - 0.002 * tick);
                            }
                        }
                    }
                }
            }
        }
        Section {
            title: "CustomComAppBox2, open"

            Cell {
                width: 256
                height: 350
                pose: "open"
                sourceComponent: CustomComAppBox2 {
                    implicitWidth: 240
                    currentApp: AppInventory.running()[0] ?? null
                }
            }
        }
    }

    Row {
        spacing: 16

        Section {
            title: "Texts and states"

            Cell {
                width: 300
                height: 160
                inset: 110
                pose: "hover"
                anchor: Qt.AlignRight
                sourceComponent: CustomText {
                    text: "增益"
                    tips: "提高增益，避免声音过小。\n降低增益，避免声音失真。"
                }
            }
            Row {
                spacing: 16
                leftPadding: 8

                Repeater {
                    model: 5

                    CustomStatBox {
                        required property int index

                        stat: index
                    }
                }
            }
            Item {
                width: 1
                height: 8
            }
            CustomProgress {
                width: 300
                mainText: "使用正常的音量讲话"
                value: 0.62
            }
            Item {
                width: 1
                height: 8
            }
            AudioChannelIndicatorSingle {
                width: 300
                Component.onCompleted: setLevel(0.85)
            }
            AudioChannelIndicatorSingle {
                width: 300
                clippingDuration: 600000
                Component.onCompleted: {
                    setLevel(1);
                    setLevel(0.4);
                }
            }
        }
        Section {
            title: "Colour selectors"

            CustomColorSelect {
                defaultColor: "#3F2EF8"
            }
            Item {
                width: 1
                height: 12
            }
            CustomMultColorSelect {
                width: 300
            }
            Item {
                width: 1
                height: 12
            }
            CustomMultColorSelect {
                width: 300
                selectedPresetIndex: 3
                selectedGradient: ["#FF3200", "#7A5CFF", "#00E27E"]
            }
            Item {
                width: 1
                height: 12
            }
            CustomCycColorSelect {
                colorList: ["#3F2EF8", "#00E27E", "#FFC000", "#FF3200"]
            }
        }
        Section {
            title: "CustomComAppPlus"

            Row {
                spacing: 4

                Repeater {
                    model: ["", "hover", "press", "focus", ""]

                    Cell {
                        required property string modelData
                        required property int index

                        pose: modelData
                        enabled: index < 4
                        sourceComponent: CustomComAppPlus {
                            implicitWidth: 84
                            implicitHeight: 230
                            text: "添加应用"
                        }
                    }
                }
            }
        }
    }
}
