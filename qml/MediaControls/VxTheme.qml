pragma Singleton

import QtQuick

/*
    The look that all documents share: colours, type sizes, spacings and times. The interface has one dark look.
*/
QtObject {
    readonly property color background: "#000000"
    readonly property color windowBackground: "#1e1e1e"
    readonly property color titleBar: "#1a1a1a"
    readonly property color unselected: "#3e3e3e"

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

    readonly property int fontCaption: 12
    readonly property int fontSmall: 14
    readonly property int fontLead: 16
    readonly property int fontButton: 18
    readonly property int fontHeading: 20
    readonly property int fontDisplay: 40

    // The first installed family that draws Latin, Cyrillic and Chinese in one hand; else what the system prefers.
    readonly property string fontFamily: {
        const installed = Qt.fontFamilies();
        const wanted = ["Microsoft YaHei UI", "Microsoft YaHei", "PingFang SC", "Noto Sans CJK SC", "Source Han Sans SC", "WenQuanYi Micro Hei"];
        return wanted.find(family => installed.includes(family)) ?? Qt.application.font.family;
    }
}
