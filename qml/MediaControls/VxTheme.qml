pragma Singleton

import QtQuick

/*
    The look that all documents share: colours, type sizes, spacings and times. The interface has one dark look.
*/
QtObject {
    readonly property color background: "#000000"
    readonly property color windowBackground: "#1e1e1e"
    readonly property color titleBar: "#1a1a1a"
    readonly property color unselected: "#3E3E3E"

    readonly property color accent: "#0075FF"
    readonly property color accentHover: "#2B8CFF"
    readonly property color accentPressed: "#0060D1"
    readonly property color neutral: "#434343"
    readonly property color neutralHover: "#535353"
    readonly property color danger: "#E5484D"

    readonly property color text: "#ffffff"
    readonly property color textSecondary: "#a8adb5"
    readonly property color focusRing: "#8fc1ff"

    readonly property int fadeMs: 200
    readonly property int easing: Easing.InOutQuad

    readonly property int radiusSmall: 6

    // For texts that shrink to fit a narrow control.
    readonly property int fontSmallest: 9
    readonly property int fontScale: 10
    readonly property int fontCaption: 12
    readonly property int fontSmall: 14
    readonly property int fontLead: 16
    readonly property int fontButton: 18
    readonly property int fontHeading: 20
    readonly property int fontDisplay: 40

    // Surfaces and lines of the controls.
    readonly property color surface: "#181818"
    readonly property color card: "#242424"
    readonly property color popup: "#292929"
    readonly property color popupHover: "#3a3a3a"
    readonly property color field: "#1c1c1c"
    readonly property color fieldLine: "#80ffffff"
    readonly property color invalid: "#ff4444"
    readonly property color outline: "#4a4a4a"
    readonly property color outlineHover: "#7a7a7a"
    readonly property color outlineDisabled: "#808080"
    readonly property color unselectedHover: "#5E5E5E"
    readonly property color track: "#383838"
    readonly property color switchOff: "#404040"
    readonly property color switchOffHover: "#525252"
    readonly property color check: "#0A59F7"
    readonly property color checkHover: "#2D72FA"
    // A mute button that is on.
    readonly property color worn: "#991010"
    readonly property color tooltip: "#000000"
    // The grid and the area below the curve of the equaliser.
    readonly property color grid: "#333333"
    readonly property color curveArea: "#660075FF"
    // The edge of a mark on a coloured ground.
    readonly property color shade: "#80000000"
    // Lightens any ground a little.
    readonly property color veilHover: "#1affffff"
    readonly property color veilPressed: "#0dffffff"

    readonly property color meterLow: "#00E27E"
    readonly property color meterMiddle: "#79C33A"
    readonly property color meterHigh: "#FFC000"
    readonly property color meterGround: "#000000"
    readonly property color clipping: "#FF3200"
    readonly property color clippingOff: "#232323"
    // Shows an empty meter, an unlit clip block and the marks of a scale on a card.
    readonly property color meterLine: "#7a7a7a"

    readonly property int radiusBar: 2
    readonly property int radiusField: 4
    readonly property int radiusTile: 5
    readonly property int radiusPanel: 8
    readonly property int radiusLarge: 12
    readonly property real disabledOpacity: 0.4
    // How fast a control answers the mouse.
    readonly property int hoverMs: 120
    readonly property int toolTipDelayMs: 700

    // The first installed family that has Latin, Cyrillic and Chinese letters of one style, else the system's default.
    // Chinese letters have other shapes in Japan and Taiwan.
    readonly property string fontFamily: fontFamilyFor(UiLanguage.code, Qt.fontFamilies()) || Qt.application.font.family // qmllint disable missing-property

    function fontFamilyFor(languageCode: string, installed: list<string>): string {
        const own = {
            "zh_TW": ["Microsoft JhengHei UI", "Microsoft JhengHei", "PingFang TC", "Noto Sans CJK TC", "Source Han Sans TC"],
            "ja_JP": ["Yu Gothic UI", "Meiryo UI", "Hiragino Sans", "Noto Sans CJK JP", "Source Han Sans"]
        };
        const usual = ["Microsoft YaHei UI", "Microsoft YaHei", "PingFang SC", "Noto Sans CJK SC", "Source Han Sans SC", "WenQuanYi Micro Hei"];
        const wanted = (own[languageCode] ?? []).concat(usual);
        return wanted.find(family => installed.includes(family)) ?? "";
    }
}
