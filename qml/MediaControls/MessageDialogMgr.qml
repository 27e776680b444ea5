pragma Singleton

import QtQuick

/* Asks the user questions over the window that setParent() names. */
QtObject {
    id: dialogMgr

    // The dialogue of showCustomDialog(), created at the first call.
    property var currentDialog: null
    property var parentWindow: null
    property string dialogDocument: "MessageDialog.qml"
    // Questions on the screen.
    property int shownCount: 0
    // Where the questions end, from the top of their window: what lies above cannot be pressed. 0 without a question.
    readonly property int lowerEdge: shownCount > 0 ? 75 : 0

    signal confirmed
    signal cancelled

    function setParent(parent: var) {
        parentWindow = parent;
    }

    // Creates a new dialogue. It is not destroyed when it closes: callers keep it to see whether their question is
    // still on the screen. Returns nothing when it cannot be created.
    function showCustomDialogNew(msg: var, success: var, error: var, confirmText: var, cancelText: var): var {
        const dialog = createDialog();
        if (!dialog)
            return;
        dialog.title = msg ?? "";
        if (success)
            dialog.confirmed.connect(success);
        if (error)
            dialog.cancelled.connect(error);
        // Otherwise the dialogue's own texts stay, which follow the language.
        if (confirmText !== undefined && confirmText !== null)
            dialog.confirmText = confirmText;
        if (cancelText !== undefined && cancelText !== null)
            dialog.cancelText = cancelText;
        dialog.open();
        return dialog;
    }

    // One dialogue for all calls. Its answers are the signals of this object.
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
