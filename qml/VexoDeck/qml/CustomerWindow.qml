pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Layouts
import MediaControls
import VexoDeckTranslation // qmllint disable import

/* The ways to the support: one page for customers in China, one for all others. */
FixedWindow {
    id: customerWindow

    objectName: "customerWindow"
    title: qsTr("客服")
    fixedSize: Qt.size(540, 430)

    StackLayout {
        id: pages

        objectName: "pages"
        // Kept: before the first change of the language, no page shows in the languages after the second.
        currentIndex: TranslationManager.getCurrentLanguageIndex() // qmllint disable unqualified

        ContactPage {
            objectName: "contactPage0"
            heading: qsTr("联系我们")
            hours: qsTr("周一到周日：9:00-12:00，13:00-18:00 (GMT+8)")

            ContactLine {
                name: qsTr("电话")
                value: Operator.phone
            }
            ContactLine {
                id: chat

                name: qsTr("企业微信（请扫码添加客服）")

                Image {
                    objectName: "supportCode"
                    width: 100
                    height: 100
                    source: VxConfig.iconUrl("icons/erweima.png", "")
                    mipmap: true
                    Accessible.role: Accessible.Graphic
                    Accessible.name: chat.name
                }
            }
            ContactLine {
                name: qsTr("邮箱")
                value: Operator.mail
            }
        }

        ContactPage {
            objectName: "contactPage1"
            heading: qsTr("Support")
            hours: qsTr("Mon to Sun.9:00-12:00,13:00-18:30 (GMT+8)")

            LinkText {
                objectName: "onlineSupport"
                text: qsTr("Online Support")
                onClicked: WebPages.follow(NetworkMgr.custome_url)
            }
            ContactLine {
                name: qsTr("WhatsApp")
                value: Operator.internationalPhone
            }
            ContactLine {
                name: qsTr("Email")
                value: Operator.mail
            }
        }

        Connections {
            target: TranslationManager // qmllint disable unqualified

            function onLanguageChanged() {
                pages.currentIndex = TranslationManager.getCurrentLanguageIndex() === 0 ? 0 : 1; // qmllint disable unqualified
            }
        }
    }
}
