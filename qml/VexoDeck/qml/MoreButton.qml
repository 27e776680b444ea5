import QtQuick
import MediaControls
import VexoDeckTranslation // qmllint disable import

/* The button of the title bar that opens the main window's menu, with the windows that the menu shows. */
TitleBarButton {
    id: moreButton

    property bool macStyle: false

    objectName: "moreButton"
    implicitWidth: 30
    name: qsTr("更多")
    icon.source: VxConfig.iconUrl("icons/more.svg", "")
    checked: morePopup.opened
    onClicked: {
        if (morePopup.visible) {
            morePopup.close();
            return;
        }
        morePopup.byKeyboard = visualFocus;
        morePopup.open();
    }

    Accessible.role: Accessible.ButtonMenu
    Accessible.onPressAction: click()

    CustomerWindow {
        id: customerWindow
    }

    // Looks for updates from the start of the program on.
    SettingsWindow {
        id: settingsWindow
    }

    MorePopup {
        id: morePopup

        // The focus was visible on the button: it stays visible on the rows and when it returns to the button.
        property bool byKeyboard: false

        macStyle: moreButton.macStyle
        rows: [
            {
                text: qsTr("帮助"),
                icon: VxConfig.iconUrl("icons/bz.svg", ""),
                action: () => WebPages.open(NetworkMgr.helpPage(TranslationManager.getCurrentLanguageIndex())) // qmllint disable unqualified
            },
            {
                text: qsTr("客服"),
                icon: VxConfig.iconUrl("icons/kf.svg", ""),
                action: () => customerWindow.show()
            },
            {
                text: qsTr("设置"),
                icon: VxConfig.iconUrl("icons/sz.svg", ""),
                action: () => settingsWindow.show()
            }
        ]
        onOpened: {
            if (byKeyboard)
                focusRow(0, 1);
        }
        onClosed: {
            if (byKeyboard && moreButton.activeFocus)
                moreButton.focusReason = Qt.TabFocusReason;
        }
    }
}
