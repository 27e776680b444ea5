import QtQml
import MediaControls
import VexoDeckSettings // qmllint disable import

/*
    Asks at the first start on Linux whether the user shares usage data; until the answer nothing is stored or sent. A
    question that stays without an answer comes again at the next start. The box of the settings window answers it, too.
*/
QtObject {
    id: consentQuestion

    readonly property string text: qsTr("是否与VEXO分享使用数据？")
    readonly property string agreeText: qsTr("同意")
    readonly property string refuseText: qsTr("不同意")
    // Over the main window, from the first question on.
    property var dialog: null

    readonly property Connections answerConnections: Connections {
        target: SettingsManager // qmllint disable unqualified

        function onValueChanged(key: string) {
            if (key === ConfigMgr.keys.share_data)
                consentQuestion.dialog?.close();
        }
    }

    function ask() {
        if (VxConfig.platformName !== "linux" || ConfigMgr.isStored(ConfigMgr.keys.share_data))
            return;
        dialog = MessageDialogMgr.showCustomDialogNew(text, () => agree(), () => refuse()) ?? null;
        if (!dialog)
            return;
        dialog.title = Qt.binding(() => text);
        dialog.confirmText = Qt.binding(() => agreeText);
        dialog.cancelText = Qt.binding(() => refuseText);
    }

    // Reports what has happened in this run, as if the user had agreed before.
    function agree() {
        ConfigMgr.setValue(ConfigMgr.keys.share_data, true);
        NetworkMgr.getTrackId(() => NetworkMgr.startApp());
        if (HIDDeviceMgr.deviceReady)
            NetworkMgr.connectDevice();
    }

    function refuse() {
        ConfigMgr.setValue(ConfigMgr.keys.share_data, false);
    }
}
