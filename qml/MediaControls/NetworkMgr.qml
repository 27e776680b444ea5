pragma Singleton

import QtQml

/*
    The way from the screens to the cloud service, and the addresses of the pages that open in the user's browser.

    A callback success(ok, response) gets the service's answer, whose code is 0 where the service has done what was asked;
    error(code, text) tells that there is no answer. One of the two is called, never before the call has returned. A
    callback that is not given is left out.
*/
QtObject {
    id: network

    readonly property string base_url: "https://" + Operator.serviceHost
    readonly property string help_url: Operator.chineseSite + "/supportDetail?type=2"
    readonly property string help_url_en: Operator.internationalSite + "/support/video"
    readonly property string custome_url: Operator.supportChat
    readonly property string privacySite: "http://" + Operator.serviceHost + ":8081"
    readonly property string privacy_url_zh: privacySite + "/privacy-policy.html"
    readonly property string privacy_url_en: privacySite + "/privacy-policy_en.html"
    readonly property string privacy_url_it: privacySite + "/Deck-IT.html"
    readonly property string privacy_url_tw: privacySite + "/Deck-privacy-policy-TW.html"
    readonly property string privacy_url_ru: privacySite + "/Deck-privacy-policy-RU.html"
    readonly property string privacy_url_jp: privacySite + "/Deck-privacy-policy-JP.html"
    readonly property string privacy_url_fr: privacySite + "/Deck-privacy-policy-FR.html"
    readonly property string privacy_url_de: privacySite + "/Deck-privacy-policy-DE.html"
    readonly property string privacy_url_es: privacySite + "/Deck-privacy-policy-ES.html"
    readonly property string default_url: Operator.chineseSite + "/downloadDetail?type=4&keyword="
    readonly property string default_url_en: Operator.internationalSite + "/support/download"

    // Carries out the requests: an object with the functions below, from checkUpdateApp() on. Without one, each request
    // has no answer.
    property var service: null
    property bool absenceTold: false

    // The pages in a language: by its index in the list of languages, of which 0 is simplified Chinese, or by its code.
    function helpPage(languageIndex: int): string {
        return languageIndex === 0 ? help_url : help_url_en;
    }

    function downloadPage(languageIndex: int): string {
        return languageIndex === 0 ? default_url : default_url_en;
    }

    function privacyPage(language: string): string {
        switch (language) {
        case "zh_CN":
            return privacy_url_zh;
        case "it_IT":
            return privacy_url_it;
        case "zh_TW":
            return privacy_url_tw;
        case "ru_RU":
            return privacy_url_ru;
        case "ja_JP":
            return privacy_url_jp;
        case "fr_FR":
            return privacy_url_fr;
        case "de_DE":
            return privacy_url_de;
        case "es_ES":
            return privacy_url_es;
        default:
            return privacy_url_en;
        }
    }

    // Asks for a newer version of the program, and of the connected device's firmware.
    function checkUpdateApp(success: var, error: var) {
        if (service)
            service.checkUpdateApp(success, error);
        else
            refuse(error);
    }

    function checkUpdateFirmware(success: var, error: var) {
        if (service)
            service.checkUpdateFirmware(success, error);
        else
            refuse(error);
    }

    // Fetches a file and returns at once where it will be, or nothing where there is no place for it. progress(received,
    // total) gets bytes.
    function downloadFile(url: string, success: var, progress: var, error: var): string {
        if (service)
            return service.downloadFile(url, success, progress, error);
        refuse(error);
        return "";
    }

    // Asks for the identity of this installation, unless it has one, and calls back when there is one.
    function getTrackId(callback: var) {
        if (service)
            service.getTrackId(callback);
        else
            refuse(null);
    }

    // Reports the start of the program, and a connected device. Nothing waits for the answers.
    function startApp() {
        if (service)
            service.startApp();
        else
            refuse(null);
    }

    function connectDevice() {
        if (service)
            service.connectDevice();
        else
            refuse(null);
    }

    function refuse(error: var) {
        const reason = "This version of the program cannot reach the service.";
        if (!absenceTold)
            console.log(reason);
        absenceTold = true;
        if (error)
            Qt.callLater(() => error(-1, reason));
    }
}
