import QtQuick
import QtQuick.Controls
import MediaControls

ApplicationWindow {
    id: gallery

    width: 2250
    height: 1078
    visible: true
    title: "Control gallery"
    color: VxTheme.surface
    font.family: VxTheme.fontFamily

    Row {
        x: 24
        y: 96
        spacing: 16

        States {}
        Parts {}
    }

    Component.onCompleted: {
        MessageDialogMgr.setParent(gallery);
        MessageDialogMgr.showCustomDialogNew("VEXO Mixdesk R2 有新固件可升级，是否升级设备？", () => {}, () => {});
    }
}
