pragma Singleton

import QtQuick

/* Asks the user questions over the window that setParent() names. */
QtObject {
    id: dialogMgr

    // The dialogue of showCustomDialog(), made at its first call.
    property var currentDialog: null
    property var parentWindow: null
    property string dialogDocument: "MessageDialog.qml"

    signal confirmed
    signal cancelled

    function setParent(parent: var) {
        parentWindow = parent;
    }

    // A new dialogue at each call. It is not destroyed when it closes: callers keep it to see whether their question
    // is still on the screen. Nothing is returned where it cannot be made.
    function showCustomDialogNew(msg: var, success: var, error: var, confirmText: var, cancelText: var): var {
        const dialog = createDialog();
        if (!dialog)
            return;
        dialog.title = msg ?? "";
        if (success)
            dialog.confirmed.connect(success);
        if (error)
            dialog.cancelled.connect(error);
        dialog.confirmText = confirmText ?? qsTr("立即升级");
        dialog.cancelText = cancelText ?? qsTr("取消");
        dialog.open();
        return dialog;
    }

    // One dialogue for all calls; the answers come as the signals of this object.
    function showCustomDialog(msg: var) {
        if (!currentDialog) {
            currentDialog = createDialog();
            if (!currentDialog)
                return;
            currentDialog.confirmed.connect(confirmed);
            currentDialog.cancelled.connect(cancelled);
        }
        currentDialog.showCustomDialog(msg);
    }

    function createDialog(): var {
        const component = Qt.createComponent(dialogDocument);
        if (component.status !== Component.Ready) {
            console.log("Failed to load MessageDialog component:", component.errorString());
            return null;
        }
        const dialog = component.createObject(parentWindow);
        if (!dialog)
            console.log("Failed to create dialog object");
        return dialog;
    }
}
