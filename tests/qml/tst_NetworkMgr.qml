import QtQuick
import MediaControls
import VexoDeckNetwork
import VexoDeckSettings
import VexoDeckSystemBridge
import VexoDeckTest

ConfigTestCase {
    id: testCase

    name: "NetworkMgr"

    readonly property string root: "https://" + Operator.serviceHost
    // What the callbacks got, in order.
    property var answers: []

    function take(...parts) {
        answers.push(parts);
    }

    function init() {
        initConfig();
        answers = [];
        NetworkMgr.base_url = root;
        NetworkMgr.absenceTold = false;
        NetworkMgr.callbackMap = {};
        SystemBridge.tempDirectory = "/somewhere";
        Application.version = "1.2.3";
        NetworkManager.holds = true;
        NetworkManager.clearCalls();
    }

    function cleanup() {
        NetworkMgr.base_url = root;
        SystemBridge.tempDirectory = "/somewhere";
        NetworkManager.holds = false;
        compare(TestLog.takeFaults(), []);
    }

    function calls() {
        return Array.from(NetworkManager.calls);
    }

    function last() {
        return calls()[calls().length - 1];
    }

    // Answers a call and lets the callbacks run.
    function answer(call, response, ok) {
        NetworkManager.requestCompleted(call.id, ok ?? true, response);
        wait(0);
    }

    function fail(call, code, text) {
        NetworkManager.requestError(call.id, code, text);
        NetworkManager.requestCompleted(call.id, false, {
            error: text,
            error_code: code
        });
        wait(0);
    }

    function agree() {
        ConfigMgr.setValue("share_data", true);
    }

    function connectMixdesk() {
        connectDevice(mixdeskR2);
        HIDDeviceMgr.connectTime = new Date(2025, 7, 1, 7, 3, 5);
    }

    function test_the_client_gets_its_headers_before_the_first_request() {
        ConfigMgr.setValue("accessKey", "k");
        NetworkMgr.setUp();
        compare(calls().map(call => call.name), ["setDefaultHeaders", "setTimeout", "setRetryCount"]);
        compare(calls()[0].headers, {
            "User-Agent": "VexoDeck/1.2.3",
            Accept: "application/json",
            "Content-Type": "application/json",
            token: "token",
            accessKey: "k"
        });
        compare(calls()[1].value, 10000);
        compare(calls()[2].value, 3);
    }

    function test_callbacks_come_once_and_after_the_signal() {
        NetworkMgr.get("/a", (ok, response) => take("success", ok, response.code), code => take("error", code));
        NetworkManager.requestCompleted(last().id, true, {
            code: 0
        });
        NetworkManager.requestCompleted(last().id, true, {
            code: 1
        });
        NetworkManager.requestError(last().id, 5, "");
        compare(answers, []);
        wait(0);
        compare(answers, [["success", true, 0]]);
        compare(NetworkMgr.callbackMap, {});
    }

    function test_an_error_goes_before_its_completion() {
        NetworkMgr.get("/a", () => take("success"), (code, text) => take("error", code, text));
        fail(last(), 203, "Not Found");
        compare(answers, [["error", 203, "Not Found"]]);
    }

    function test_two_requests_with_the_same_callback_call_it_twice() {
        const callback = (ok, response) => take(response.code);
        NetworkMgr.get("/a", callback, null);
        NetworkMgr.get("/b", callback, null);
        NetworkManager.requestCompleted(calls()[0].id, true, {
            code: 1
        });
        NetworkManager.requestCompleted(calls()[1].id, true, {
            code: 2
        });
        wait(0);
        compare(answers, [[1], [2]]);
    }

    function test_answers_of_unknown_numbers_and_missing_callbacks_are_harmless() {
        NetworkManager.requestCompleted(9999, true, {});
        NetworkManager.requestError(9999, 1, "");
        NetworkManager.downloadProgress(9999, 1, 2);
        NetworkMgr.get("/a", null, undefined);
        answer(last(), {});
        NetworkMgr.post("/a", undefined, null, null);
        fail(last(), 1, "");
        compare(NetworkMgr.callbackMap, {});
    }

    function test_progress_comes_at_once_and_keeps_the_callbacks() {
        NetworkMgr.downloadFile("/a.bin", () => take("success"), (received, total) => take(received, total), null);
        NetworkManager.downloadProgress(last().id, 1, 3000000000);
        compare(answers, [[1, 3000000000]]);
        answer(last(), {});
        compare(answers, [[1, 3000000000], ["success"]]);
    }

    function test_addresses_data() {
        return [["http://x.example/a", "http://x.example/a"], ["https://x.example/a", "https://x.example/a"], ["httpx", "httpx"], ["/a", root + "/a"], ["", root], ["HTTP://x", root + "HTTP://x"], ["file:///etc/passwd", root + "file:///etc/passwd"]].map(([url, address]) => ({
                    tag: url || "none",
                    url: url,
                    address: address
                }));
    }

    function test_addresses(row) {
        compare(NetworkMgr.parseUrl(row.url), row.address);
    }

    function test_the_generic_calls_pass_on_what_they_are_given() {
        NetworkMgr.get("/a", null, null);
        NetworkMgr.post("/a", {
            k: 1
        }, null, null);
        NetworkMgr.put("/a", {
            k: 2
        }, null, null);
        NetworkMgr.deleteResource("/a", null, null);
        NetworkMgr.postDataList("/a", [
            {
                k: 3
            },
            {
                k: 4
            }
        ], null, null);
        compare(calls().map(call => [call.name, call.url].join(" ")), ["get", "post", "put", "deleteResource", "postDataList"].map(name => name + " " + root + "/a"));
        compare(calls().map(call => JSON.stringify(call.data)), [undefined, '{"k":1}', '{"k":2}', undefined, '{"r0":{"k":3},"r1":{"k":4}}']);
        verify(calls().every(call => Object.keys(call.headers).length === 0));
        compare(NetworkMgr.requestWithMethod("PATCH", "/a"), last().id);
        compare(last().value, 30000);
        compare(NetworkMgr.uploadFile("/a", "/f"), last().id);
        compare(last().path, "/f");
        compare(Object.keys(NetworkMgr.callbackMap).length, 5);
    }

    function test_a_list_keeps_every_record_and_the_order_of_its_keys() {
        const records = [];
        for (let index = 0; index < 120; ++index)
            records.push({
                id: index
            });
        NetworkMgr.postDataList("/a", records, null, null);
        const sent = last().data;
        compare(Object.keys(sent).length, 120);
        compare(Object.keys(sent).slice(0, 4).map(key => sent[key].id), [0, 1, 10, 100]);
    }

    function test_settings_of_the_client_have_defaults() {
        NetworkMgr.setTimeout();
        NetworkMgr.setRetryCount();
        NetworkMgr.startNetworkMonitoring();
        NetworkMgr.checkNetworkStatus();
        NetworkMgr.stopNetworkMonitoring();
        compare(calls().map(call => [call.name, call.value]), [["setTimeout", 30000], ["setRetryCount", 3], ["startNetworkMonitoring", 5000], ["checkNetworkStatus", undefined], ["stopNetworkMonitoring", undefined]]);
        compare(NetworkMgr.isNetworkAvailable(), false);
        NetworkManager.isOnline = true;
        NetworkManager.onlineStatusChanged(true);
        compare(NetworkMgr.getNetworkInfo(), {
            isOnline: true
        });
        NetworkManager.isOnline = false;
        NetworkManager.onlineStatusChanged(false);
    }

    function test_an_identity_is_asked_for_once_and_kept() {
        NetworkMgr.getTrackId(() => take("identity"));
        compare([last().name, last().url], ["get", root + "/vexo/pc/get/trackId"]);
        compare(answers, []);
        answer(last(), {
            code: 0,
            data: "00042123456789012345"
        });
        compare(answers, [["identity"]]);
        compare(stored("trackId"), "00042123456789012345");
        compare(linesWith("00042123456789012345"), []);
        NetworkManager.clearCalls();
        NetworkMgr.getTrackId(() => take("again"));
        compare(answers, [["identity"], ["again"]]);
        compare(calls(), []);
    }

    function test_without_a_good_answer_there_is_no_identity_data() {
        return [
            {
                tag: "code",
                response: {
                    code: 1,
                    data: "5"
                }
            },
            {
                tag: "no data",
                response: {
                    code: 0
                }
            },
            {
                tag: "nothing",
                response: {}
            },
            {
                tag: "no json",
                response: {
                    error: "JSON parse error: x",
                    raw_data: "<"
                }
            },
            {
                tag: "array",
                response: {
                    data: []
                }
            }
        ];
    }

    function test_without_a_good_answer_there_is_no_identity(row) {
        NetworkMgr.getTrackId(() => take("identity"));
        answer(last(), row.response);
        compare(answers, []);
        compare(ConfigMgr.getValue("trackId"), "trackId");
    }

    function test_an_unreachable_service_is_a_line_and_asked_again_the_next_time() {
        NetworkMgr.getTrackId(() => take("identity"));
        fail(last(), 3, "Host not found");
        compare(answers, []);
        compare(linesWith("get trackId error: 3 Host not found").length, 1);
        NetworkMgr.getTrackId(null);
        compare(calls().length, 2);
    }

    function test_the_start_is_reported_with_consent_only() {
        ConfigMgr.setValue("share_data", false);
        NetworkMgr.startApp();
        NetworkMgr.connectDevice();
        compare(calls(), []);
        agree();
        NetworkMgr.startApp();
        compare([last().name, last().url], ["post", root + "/vexo/pc/track"]);
        compare(Object.keys(last().data), ["osVersion", "softwareVersion", "startTime", "system", "trackId"]);
        verify(/^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d$/.test(last().data.startTime));
        compare([last().data.osVersion, last().data.softwareVersion, last().data.system, last().data.trackId], ["6.1.0", "1.2.3", "Linux", "trackId"]);
        answer(last(), {});
        NetworkMgr.startApp();
        fail(last(), 1, "refused");
    }

    function test_a_device_is_reported_with_consent_only() {
        connectMixdesk();
        agree();
        ConfigMgr.setValue("trackId", "77");
        NetworkMgr.connectDevice();
        compare([last().name, last().url], ["post", root + "/vexo/pc/save/connect"]);
        compare(last().data, {
            connectTime: "2025-08-01 07:03:05",
            productName: "VEXO Mixdesk R2",
            productSn: "VX24A0117",
            trackId: "77"
        });
        answer(last(), {
            data: []
        });
    }

    function test_the_program_tells_its_version_and_the_kind_of_its_system_data() {
        return [["windows", "1"], ["osx", "2"], ["linux", "3"]].map(([platform, type]) => ({
                    tag: platform,
                    type: type
                }));
    }

    function test_the_program_tells_its_version_and_the_kind_of_its_system(row) {
        ConfigMgr.platformName = row.tag;
        NetworkMgr.checkUpdateApp((ok, response) => take(response.code), null);
        compare([last().name, last().url], ["post", root + "/vexo/pc/update/software"]);
        compare(last().data, {
            clientType: row.type,
            currentVersion: "1.2.3"
        });
        answer(last(), {
            code: 0
        });
        compare(answers, [[0]]);
    }

    function test_the_check_for_firmware_names_the_device_with_consent_only() {
        ConfigMgr.setValue("share_data", false);
        connectMixdesk();
        const known = {
            firmwareVersion: "V1.04",
            productPid: 1,
            productSn: "N/A",
            productVid: 2
        };
        NetworkMgr.checkUpdateFirmware(null, null);
        compare(last().url, root + "/vexo/pc/getFirmware");
        compare(last().data, known);
        agree();
        NetworkMgr.checkUpdateFirmware(null, null);
        compare(last().data, Object.assign(known, {
            productSn: "VX24A0117"
        }));
    }

    function test_records_go_as_a_list() {
        NetworkMgr.disconnectDevice([
            {
                duration: 5
            }
        ], (ok, response) => take(ok, response.code));
        compare([last().name, last().url], ["postDataList", root + "/vexo/pc/save/connectTime"]);
        compare(last().data, {
            r0: {
                duration: 5
            }
        });
        answer(last(), {
            code: 0
        });
        NetworkMgr.trackData([], (ok, response) => take(ok, response.code));
        compare(last().url, root + "/vexo/pc/save/operation");
        compare(last().data, {});
        fail(last(), 1, "refused");
        compare(answers, [[true, 0]]);
    }

    function test_a_download_has_a_name_of_its_own_data() {
        return [["https://x.example/a/b.bin", "bin"], ["/a/b.tar.gz", "gz"], ["/a/b", ""], ["/a.b/c", ""], ["/a.exe?name=x/y.txt", "exe"], ["/a.bin#b.c", "bin"], ["/a.b..", ""], ["/a.b\\..\\c", ""], ["/a.b\0c", ""], ["/a." + "x".repeat(300), ""], ["", ""]].map(([url, extension], index) => ({
                    tag: String(index),
                    url: url,
                    extension: extension
                }));
    }

    function test_a_download_has_a_name_of_its_own(row) {
        const path = NetworkMgr.downloadFile(row.url, null, null, null);
        compare([last().name, last().url, last().path], ["downloadFile", NetworkMgr.parseUrl(row.url), path]);
        compare(path.replace(/\d+/, "N"), "/somewhere/vexo_download_N" + (row.extension ? "." + row.extension : ""));
    }

    function test_a_download_goes_into_the_systems_folder_data() {
        return [["/tmp/", "/tmp/"], ["C:\\Temp", "C:\\Temp\\"], ["C:\\Temp\\", "C:\\Temp\\"], ["C:/Temp", "C:/Temp/"]].map(([folder, start]) => ({
                    tag: folder,
                    start: start
                }));
    }

    function test_a_download_goes_into_the_systems_folder(row) {
        SystemBridge.tempDirectory = row.tag;
        const path = NetworkMgr.downloadFile("/a", null, null, null);
        compare(path.replace(/\d+/, "N"), row.start + "vexo_download_N");
    }

    function test_secrets_go_to_the_services_own_host_only_data() {
        return [["/a", true], [root + "/a", true], ["http://" + Operator.serviceHost + "/a", false], ["https://x.example/a", false], [root + ".x.example/a", false], [root + "@x.example/a", false], [".x.example/a", false], ["@x.example/a", false], [root + ":8443/a", false]].map(([url, isOwn]) => ({
                    tag: url,
                    isOwn: isOwn
                }));
    }

    function test_secrets_go_to_the_services_own_host_only(row) {
        NetworkMgr.downloadFile(row.tag, null, null, null);
        NetworkMgr.get(row.tag, null, null);
        NetworkMgr.post(row.tag, {}, null, null);
        NetworkMgr.postDataList(row.tag, [], null, null);
        NetworkMgr.put(row.tag, {}, null, null);
        NetworkMgr.deleteResource(row.tag, null, null);
        NetworkMgr.requestWithMethod("GET", row.tag);
        NetworkMgr.uploadFile(row.tag, "/f");
        compare(calls().length, 8);
        for (const call of calls())
            compare(JSON.stringify(call.headers), row.isOwn ? "{}" : '{"accessKey":null,"token":null}', call.name);
    }

    function digests() {
        return calls().filter(call => call.name === "expectDigest").map(call => call.value);
    }

    function test_an_offered_file_is_held_to_its_digest() {
        const files = {
            "https://x.example/app": ["abc", "abc"],
            "https://x.example/number": [5, "5"],
            "https://x.example/none": [undefined, undefined],
            "https://x.example/empty": ["", undefined]
        };
        for (const url of Object.keys(files)) {
            NetworkMgr.checkUpdateApp(null, null);
            answer(last(), {
                code: 0,
                data: {
                    upgradeDate: {
                        fileUrl: url,
                        fileSha256: files[url][0]
                    }
                }
            });
            NetworkManager.clearCalls();
            NetworkMgr.downloadFile(url, null, null, null);
            compare(digests()[0], files[url][1], url);
        }
    }

    function test_the_stronger_digest_of_firmware_holds_and_the_weaker_one_where_it_is_alone_data() {
        return [
            {
                tag: "both",
                sha256: "abc",
                md5: "def",
                held: ["abc"]
            },
            {
                tag: "the weaker one",
                sha256: "",
                md5: "def",
                held: ["def"]
            },
            {
                tag: "none",
                sha256: "",
                md5: "",
                held: []
            }
        ];
    }

    function test_the_stronger_digest_of_firmware_holds_and_the_weaker_one_where_it_is_alone(row) {
        NetworkMgr.checkUpdateFirmware(null, null);
        answer(last(), {
            code: 0,
            data: {
                newVersion: {
                    filePath: "/firmware",
                    firmwareSha256: row.sha256,
                    firmwareMd5: row.md5
                }
            }
        });
        NetworkManager.clearCalls();
        NetworkMgr.downloadFile("/firmware", null, null, null);
        compare(digests(), row.held);
    }

    function test_the_digest_of_firmware_is_read_too_and_nonsense_is_none() {
        for (const data of [null, 5, "x", [],
            {},
            {
                newVersion: 5
            },
            {
                newVersion: {
                    filePath: "/f",
                    firmwareSha256: "abc"
                }
            }
        ]) {
            NetworkMgr.checkUpdateFirmware(null, null);
            answer(last(), {
                code: 0,
                data: data
            });
        }
        NetworkMgr.downloadFile("/f", null, null, null);
        NetworkMgr.downloadFile("/g", null, null, null);
        compare(digests(), ["abc"]);
    }

    function test_a_download_without_a_folder_fails_at_once() {
        SystemBridge.tempDirectory = "";
        compare(NetworkMgr.downloadFile("/a", null, null, take), "");
        compare(answers, [[false,
                {
                    error: "No temp directory available"
                },
                ""]]);
        compare(linesWith("NetworkMgr.downloadFile: 获取临时目录失败").length, 1);
        compare(calls(), []);
        compare(NetworkMgr.downloadFile("/a", null, null, null), "");
    }

    function test_without_an_operator_nothing_leaves_and_one_line_says_so() {
        NetworkMgr.base_url = "";
        agree();
        NetworkMgr.checkUpdateApp(() => take("success"), code => take("app", code));
        NetworkMgr.checkUpdateFirmware(() => take("success"), code => take("firmware", code));
        compare(NetworkMgr.downloadFile("https://x.example/a.bin", () => take("success"), () => take("progress"), code => take("download", code)), "");
        NetworkMgr.getTrackId(() => take("identity"));
        NetworkMgr.startApp();
        NetworkMgr.connectDevice();
        NetworkMgr.trackData([], () => take("events"));
        NetworkMgr.requestWithMethod("GET", "https://x.example");
        NetworkMgr.uploadFile("https://x.example", "/f");
        compare(answers, []);
        tryVerify(() => answers.length === 3);
        compare(answers, [["app", -1], ["firmware", -1], ["download", -1]]);
        compare(linesWith("This version of the program cannot reach the service.").length, 1);
        compare(calls(), []);
    }

    function test_signals_of_the_client_are_repeated() {
        for (const name of ["requestProgress", "uploadProgress", "fileUploaded", "fileDownloaded"])
            NetworkMgr[name].connect(take);
        NetworkManager.requestProgress(1, 2, 3);
        NetworkManager.uploadProgress(4, 5, 6);
        NetworkManager.fileUploaded(7, {});
        NetworkManager.fileDownloaded(8, "/p");
        for (const name of ["requestProgress", "uploadProgress", "fileUploaded", "fileDownloaded"])
            NetworkMgr[name].disconnect(take);
        compare(answers, [[1, 2, 3], [4, 5, 6], [7,
                {}
            ], [8, "/p"]]);
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
