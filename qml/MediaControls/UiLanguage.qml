pragma Singleton

import QtQml
// The program registers this module when it starts: qmllint finds no description of it.
import VexoDeckTranslation // qmllint disable import

/* The language of the screens as a property, for bindings on it. Texts need none: they are translated anew. */
QtObject {
    id: uiLanguage

    property string code: TranslationManager.getCurrentLanguage() // qmllint disable unqualified

    readonly property Connections follower: Connections {
        target: TranslationManager // qmllint disable unqualified

        function onLanguageChanged(languageCode: string) {
            uiLanguage.code = languageCode;
        }
    }
}
