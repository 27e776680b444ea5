pragma ComponentBehavior: Bound

import QtQuick
import MediaControls
import VexoDeckSettings // qmllint disable import
import VexoDeckTranslation // qmllint disable import

/*
    The program's own settings: its version and newer ones, the language, and the consent to reports. Its creation looks
    for updates, which goes on while it is hidden.
*/
FixedWindow {
    id: settingsWindow

    objectName: "settingsWindow"
    title: qsTr("设置")
    fixedSize: Qt.size(600, 450)

    Item {
        QtObject {
            id: failure

            property WindowFrame window: null

            // At the start of the program there is no main window before the turn ends.
            function show() {
                if (!window || window.isClosing)
                    window = VxConfig.createWindow("UpgradeWindow.qml", settingsWindow.visible ? settingsWindow : MessageDialogMgr.parentWindow);
            }
        }

        SettingsPage {
            anchors.fill: parent
            anchors.leftMargin: margin
            anchors.topMargin: 12
            margin: 20
            spacing: 14

            SettingsSection {
                title: qsTr("关于 Vexo Deck")

                ApplicationUpdate {
                    id: checkUpdateRow

                    objectName: "checkUpdateRow"
                    shown: settingsWindow.visible && !settingsWindow.isClosing
                    onInstallFailed: Qt.callLater(failure.show)
                }
                Item {
                    width: parent.width
                    height: 8
                    visible: autoInstall.visible
                }
                Column {
                    id: autoInstall

                    objectName: "autoInstall"
                    width: parent.width
                    visible: checkUpdateRow.handsFree

                    CustomCheckBox {
                        id: autoInstallCheckBox

                        objectName: "autoInstallCheckBox"
                        width: Math.min(implicitWidth, parent.width)
                        text: qsTr("自动安装最新版本")
                        checked: ConfigMgr.getValue(ConfigMgr.keys.auto_install)
                        onClicked: ConfigMgr.setValue(ConfigMgr.keys.auto_install, checked)

                        Accessible.description: autoInstallNote.text
                    }
                    VxText {
                        id: autoInstallNote

                        objectName: "autoInstallNote"
                        leftPadding: 24
                        width: parent.width
                        text: qsTr("如关闭自动安装，你仍会收到新版本提示，但需手动点击“立即升级”后才可升级")
                        color: VxTheme.textSecondary
                        font.pixelSize: VxTheme.fontCaption
                        wrapMode: Text.Wrap
                    }
                }
            }

            SettingsSection {
                title: qsTr("语言")
                titleShown: false

                SettingRow {
                    text: qsTr("语言")

                    CustomComboBox {
                        id: languageBox

                        // The language has been changed elsewhere.
                        property bool follows: false

                        objectName: "languageBox"
                        name: qsTr("语言")
                        model: ["中文", "繁體中文", "English", "日本語", "Русский", "Deutsch", "Français", "Español", "Italiano"]
                        currentIndex: TranslationManager.getCurrentLanguageIndex() // qmllint disable unqualified
                        onItemSelected: index => {
                            if (follows)
                                return;
                            console.log("Setting language to:", index);
                            TranslationManager.setLanguageIndex(index); // qmllint disable unqualified
                        }
                    }
                }
            }

            SettingsSection {
                title: qsTr("分析")

                CustomCheckBox {
                    id: shareDataCheckBox

                    objectName: "shareDataCheckBox"
                    width: Math.min(implicitWidth, parent.width)
                    text: qsTr("与VEXO分享使用数据")
                    checked: ConfigMgr.getValue(ConfigMgr.keys.share_data)
                    onClicked: ConfigMgr.setValue(ConfigMgr.keys.share_data, checked)
                }
                Item {
                    width: parent.width
                    height: 8
                }
                LinkText {
                    objectName: "privacyLink"
                    width: Math.min(implicitWidth, parent.width)
                    text: qsTr("隐私政策")
                    onClicked: WebPages.follow(NetworkMgr.privacyPage(TranslationManager.getCurrentLanguage())) // qmllint disable unqualified
                }
            }
        }

        Connections {
            target: TranslationManager // qmllint disable unqualified

            function onLanguageChanged() {
                languageBox.follows = true;
                languageBox.currentIndex = TranslationManager.getCurrentLanguageIndex(); // qmllint disable unqualified
                languageBox.follows = false;
            }
        }

        Connections {
            target: SettingsManager // qmllint disable unqualified

            // The question of the first start has been answered.
            function onValueChanged(key: string) {
                if (key === ConfigMgr.keys.share_data)
                    shareDataCheckBox.checked = ConfigMgr.getValue(key);
            }
        }
    }
}
