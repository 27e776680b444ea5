import QtQuick
import MediaControls
import VexoDeckTest

LoggedTestCase {
    id: testCase

    name: "NetworkMgr"

    // What the callbacks got, in order.
    property var answers: []

    function take(...parts) {
        answers.push(parts);
    }

    function init() {
        TestLog.begin();
        answers = [];
        NetworkMgr.service = null;
        NetworkMgr.absenceTold = false;
    }

    function cleanup() {
        NetworkMgr.service = null;
        compare(TestLog.takeFaults(), []);
    }

    function test_requests_without_a_service_fail_later_and_say_so_once() {
        NetworkMgr.checkUpdateApp(() => take("success"), code => take("app", code));
        NetworkMgr.checkUpdateFirmware(() => take("success"), code => take("firmware", code));
        compare(NetworkMgr.downloadFile("https://x.example/a.bin", () => take("success"), () => take("progress"), code => take("download", code)), "");
        compare(answers, []);
        tryVerify(() => answers.length === 3);
        compare(answers, [["app", -1], ["firmware", -1], ["download", -1]]);
        compare(linesWith("This version of the program cannot reach the service.").length, 1);
    }

    function test_requests_without_a_callback_are_harmless() {
        NetworkMgr.checkUpdateApp(null, null);
        NetworkMgr.checkUpdateFirmware(undefined, undefined);
        NetworkMgr.downloadFile("", null, null, null);
        NetworkMgr.getTrackId(() => take("identity"));
        NetworkMgr.startApp();
        NetworkMgr.connectDevice();
        wait(0);
        compare(answers, []);
    }

    function test_a_service_gets_the_requests() {
        NetworkMgr.service = {
            checkUpdateApp: (success, error) => take("app", success, error),
            checkUpdateFirmware: (success, error) => take("firmware", success, error),
            downloadFile: (url, success, progress, error) => {
                take("download", url, success, progress, error);
                return "/somewhere/a.bin";
            },
            getTrackId: callback => take("identity", callback),
            startApp: () => take("start"),
            connectDevice: () => take("connect")
        };
        NetworkMgr.checkUpdateApp(1, 2);
        NetworkMgr.checkUpdateFirmware(3, 4);
        compare(NetworkMgr.downloadFile("u", 5, 6, 7), "/somewhere/a.bin");
        NetworkMgr.getTrackId(8);
        NetworkMgr.startApp();
        NetworkMgr.connectDevice();
        compare(answers, [["app", 1, 2], ["firmware", 3, 4], ["download", "u", 5, 6, 7], ["identity", 8], ["start"], ["connect"]]);
    }

    function test_the_addresses_have_the_operators_hosts_and_the_services_paths() {
        const privacy = "http://" + Operator.serviceHost + ":8081/";
        compare(NetworkMgr.base_url, "https://" + Operator.serviceHost);
        compare(NetworkMgr.help_url, Operator.chineseSite + "/supportDetail?type=2");
        compare(NetworkMgr.help_url_en, Operator.internationalSite + "/support/video");
        compare(NetworkMgr.custome_url, Operator.supportChat);
        compare(NetworkMgr.privacy_url_zh, privacy + "privacy-policy.html");
        compare(NetworkMgr.default_url, Operator.chineseSite + "/downloadDetail?type=4&keyword=");
        compare(NetworkMgr.default_url_en, Operator.internationalSite + "/support/download");
    }

    function test_the_privacy_page_goes_by_the_language_data() {
        const pages = {
            zh_CN: "privacy-policy.html",
            zh_TW: "Deck-privacy-policy-TW.html",
            en_US: "privacy-policy_en.html",
            ja_JP: "Deck-privacy-policy-JP.html",
            ru_RU: "Deck-privacy-policy-RU.html",
            de_DE: "Deck-privacy-policy-DE.html",
            fr_FR: "Deck-privacy-policy-FR.html",
            es_ES: "Deck-privacy-policy-ES.html",
            it_IT: "Deck-IT.html",
            ko_KR: "privacy-policy_en.html",
            "": "privacy-policy_en.html"
        };
        return Object.keys(pages).map(language => ({
                    tag: language || "none",
                    language: language,
                    page: pages[language]
                }));
    }

    function test_the_privacy_page_goes_by_the_language(row) {
        compare(NetworkMgr.privacyPage(row.language), NetworkMgr.privacySite + "/" + row.page);
    }

    function test_help_and_download_pages_are_chinese_for_language_0_only() {
        for (const index of [-1, 1, 2, 8]) {
            compare(NetworkMgr.helpPage(index), NetworkMgr.help_url_en);
            compare(NetworkMgr.downloadPage(index), NetworkMgr.default_url_en);
        }
        compare(NetworkMgr.helpPage(0), NetworkMgr.help_url);
        compare(NetworkMgr.downloadPage(0), NetworkMgr.default_url);
    }

    function test_the_operators_values_are_there() {
        for (const member of ["homePage", "serviceHost", "chineseSite", "internationalSite", "supportChat", "phone", "internationalPhone", "mail"])
            verify(typeof Operator[member] === "string" && Operator[member] !== "", member);
    }
}
