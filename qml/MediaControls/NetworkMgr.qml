pragma Singleton

import QtQuick
// The program registers these modules when it starts: qmllint finds no description of them.
import VexoDeckNetwork // qmllint disable import
import VexoDeckSystemBridge // qmllint disable import

/*
    The way from the screens to the cloud service, and the addresses of the pages that open in the user's browser. The
    service decides about updates: it is told what is there, and nothing here compares versions.

    A callback success(ok, response) gets the service's answer, whose code is 0 where the service has done what was asked;
    error(code, text) tells that there is no answer. The first of the two that comes is called, never before the call has
    returned. progress(received, total) gets bytes; it runs inside of the client's lock and must not start a request. A
    callback that is not given is left out.

    Without a host of the operator nothing leaves: each request fails, and one line says so.
*/
QtObject {
    id: network

    // The root of the service's addresses, empty without an operator.
    property string base_url: Operator.serviceHost === "" ? "" : "https://" + Operator.serviceHost
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

    // The HTTP client. Any object with the same operations and signals will do.
    property var manager: NetworkManager // qmllint disable unqualified
    readonly property bool isOnline: manager.isOnline
    // The callbacks of each running request, by its number: success, error and progress.
    property var callbackMap: ({})
    property bool absenceTold: false
    // The SHA-256 of each offered file for which the service has given one, by its address.
    property var offeredDigests: Object.create(null)

    readonly property Connections managerConnections: Connections {
        target: network.manager

        function onRequestCompleted(requestId: int, success: bool, response: var) {
            network.finish(requestId, callbacks => callbacks.success && callbacks.success(success, response));
        }

        function onRequestError(requestId: int, errorCode: int, errorString: string) {
            network.finish(requestId, callbacks => callbacks.error && callbacks.error(errorCode, errorString));
        }

        function onDownloadProgress(requestId: int, received: real, total: real) {
            const callbacks = network.callbackMap[requestId];
            if (callbacks && callbacks.progress)
                callbacks.progress(received, total);
        }

        function onRequestProgress(requestId: int, received: real, total: real) {
            network.requestProgress(requestId, received, total);
        }

        function onUploadProgress(requestId: int, sent: real, total: real) {
            network.uploadProgress(requestId, sent, total);
        }

        function onFileUploaded(requestId: int, response: var) {
            network.fileUploaded(requestId, response);
        }

        function onFileDownloaded(requestId: int, filePath: string) {
            network.fileDownloaded(requestId, filePath);
        }
    }

    // Those of the client.
    signal requestProgress(int requestId, real bytesReceived, real bytesTotal)
    signal uploadProgress(int requestId, real bytesSent, real bytesTotal)
    signal fileUploaded(int requestId, var response)
    signal fileDownloaded(int requestId, string filePath)

    // Before the first request.
    function setUp() {
        setDefaultHeaders({
            "User-Agent": "VexoDeck/" + Application.version,
            Accept: "application/json",
            "Content-Type": "application/json",
            token: "token",
            accessKey: ConfigMgr.getValue(ConfigMgr.keys.accessKey)
        });
        setTimeout(10000);
        setRetryCount(3);
    }

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

    // Asks for the identity of this installation, unless it has one, and calls back when there is one.
    function getTrackId(callback: var) {
        const identity = ConfigMgr.getValue(ConfigMgr.keys.trackId);
        if (identity !== null && identity !== ConfigMgr.defaults.trackId) {
            if (callback)
                callback();
            return;
        }
        get("/vexo/pc/get/trackId", (ok, response) => {
            if (response.code !== 0 || !response.data)
                return;
            ConfigMgr.setValue(ConfigMgr.keys.trackId, String(response.data));
            if (callback)
                callback();
        }, (code, text) => console.log("get trackId error:", code, text));
    }

    // Reports the start of the program, and a connected device, where the user has agreed. Nothing waits for the answers.
    function startApp() {
        if (!ConfigMgr.getValue(ConfigMgr.keys.share_data))
            return;
        const system = SystemBridge.getSystemInfo(); // qmllint disable unqualified
        post("/vexo/pc/track", {
            trackId: ConfigMgr.getValue(ConfigMgr.keys.trackId),
            startTime: timeText(new Date()),
            softwareVersion: Application.version,
            system: system.platform,
            osVersion: system.kernelVersion
        }, (ok, response) => console.log("The start is reported:", response.code), null);
    }

    function connectDevice() {
        if (!ConfigMgr.getValue(ConfigMgr.keys.share_data))
            return;
        post("/vexo/pc/save/connect", {
            trackId: ConfigMgr.getValue(ConfigMgr.keys.trackId),
            connectTime: timeText(HIDDeviceMgr.connectTime),
            productSn: HIDDeviceMgr.getDeviceSN(),
            productName: HIDDeviceMgr.getDeviceName()
        }, (ok, response) => console.log("The device is reported:", response.code), null);
    }

    // Send records of connections, and events. Whether the user has agreed is asked where they are stored.
    function disconnectDevice(data: var, callback: var) {
        postDataList("/vexo/pc/save/connectTime", data, callback, null);
    }

    function trackData(data: var, callback: var) {
        postDataList("/vexo/pc/save/operation", data, callback, null);
    }

    // Asks for a newer version of the program, and of the connected device's firmware.
    function checkUpdateApp(success: var, error: var) {
        const clientTypes = {
            windows: "1",
            linux: "3"
        };
        post("/vexo/pc/update/software", {
            clientType: clientTypes[ConfigMgr.platformName] ?? "2",
            currentVersion: Application.version
        }, (ok, response) => {
            noteDigest(response?.data?.upgradeDate, "fileUrl", ["fileSha256", "fileMd5"]);
            if (success)
                success(ok, response);
        }, error);
    }

    function checkUpdateFirmware(success: var, error: var) {
        // The number names one device: it leaves with the user's consent only.
        const mayNameDevice = ConfigMgr.getValue(ConfigMgr.keys.share_data);
        post("/vexo/pc/getFirmware", {
            firmwareVersion: HIDDeviceMgr.getDeviceVersion(),
            productPid: HIDDeviceMgr.getDevicePID(),
            productSn: mayNameDevice ? HIDDeviceMgr.getDeviceSN() : "N/A",
            productVid: HIDDeviceMgr.getDeviceVID()
        }, (ok, response) => {
            noteDigest(response?.data?.newVersion, "filePath", ["firmwareSha256", "firmwareMd5"]);
            if (success)
                success(ok, response);
        }, error);
    }

    // An offered file counts as what the offer says of it, or not at all. The first digest that is given holds.
    function noteDigest(offer: var, addressName: string, digestNames: var) {
        if (!offer || !offer[addressName])
            return;
        const name = digestNames.find(digestName => offer[digestName]);
        offeredDigests[offer[addressName]] = name ? String(offer[name]) : "";
    }

    // Fetches a file and returns at once where it will be, or nothing where there is no place for it. It fails where the
    // file is not what the service has offered.
    function downloadFile(url: string, success: var, progress: var, error: var): string {
        if (base_url === "") {
            refuse(error);
            return "";
        }
        const target = downloadTarget(url);
        if (target === "") {
            console.log("NetworkMgr.downloadFile: 获取临时目录失败");
            if (error)
                error(false, {
                    error: "No temp directory available"
                }, "");
            return "";
        }
        const address = parseUrl(url);
        const requestId = manager.downloadFile(address, target, headersFor(address));
        if (offeredDigests[url])
            manager.expectDigest(requestId, offeredDigests[url]);
        enter(requestId, success, error, progress);
        return target;
    }

    // A name of its own in the folder for temporary files, with the address's extension.
    function downloadTarget(url: string): string {
        const folder = SystemBridge.getTempDirectory(); // qmllint disable unqualified
        if (!folder)
            return "";
        const separator = folder.includes("\\") ? "\\" : "/";
        const path = url.split(/[?#]/)[0];
        const name = path.slice(path.lastIndexOf("/") + 1);
        // What the service calls it must not lead elsewhere.
        const extension = /\.[A-Za-z0-9]{1,16}$/.exec(name);
        return folder + (folder.endsWith(separator) ? "" : separator) + "vexo_download_" + Date.now() + (extension ? extension[0] : "");
    }

    // Requests of an address: one that begins with "http" as it stands, any other below the service's root. postDataList
    // sends the values of data, an array or an object, as one array.
    function get(url: string, success: var, error: var) {
        send(url, (address, headers) => manager.get(address, headers), success, error);
    }

    function post(url: string, data: var, success: var, error: var) {
        send(url, (address, headers) => manager.post(address, data ?? {}, headers), success, error);
    }

    function postDataList(url: string, data: var, success: var, error: var) {
        // A map loses what stands under a number on its way to the client, so the keys begin with a letter.
        const values = {};
        for (const key of Object.keys(data ?? {}))
            values["r" + key] = data[key];
        send(url, (address, headers) => manager.postDataList(address, values, headers), success, error);
    }

    function put(url: string, data: var, success: var, error: var) {
        send(url, (address, headers) => manager.put(address, data ?? {}, headers), success, error);
    }

    function deleteResource(url: string, success: var, error: var) {
        send(url, (address, headers) => manager.deleteResource(address, headers), success, error);
    }

    // These return the number of the request; nothing is called back. 0 without an operator.
    function requestWithMethod(method: string, url: string, data: var, headers: var, timeoutMs: var): int {
        if (base_url !== "")
            return manager.requestWithMethod(method, parseUrl(url), data ?? {}, headers ?? headersFor(parseUrl(url)), timeoutMs ?? 30000);
        refuse(null);
        return 0;
    }

    function uploadFile(url: string, filePath: string, headers: var): int {
        if (base_url !== "")
            return manager.uploadFile(parseUrl(url), filePath, headers ?? headersFor(parseUrl(url)));
        refuse(null);
        return 0;
    }

    function setDefaultHeaders(headers: var) {
        manager.setDefaultHeaders(headers);
    }

    function setTimeout(timeoutMs: var) {
        manager.setTimeout(timeoutMs ?? 30000);
    }

    function setRetryCount(count: var) {
        manager.setRetryCount(count ?? 3);
    }

    function checkNetworkStatus() {
        manager.checkNetworkStatus();
    }

    function startNetworkMonitoring(intervalMs: var) {
        manager.startNetworkMonitoring(intervalMs ?? 5000);
    }

    function stopNetworkMonitoring() {
        manager.stopNetworkMonitoring();
    }

    function isNetworkAvailable(): bool {
        return isOnline;
    }

    function getNetworkInfo(): var {
        return {
            isOnline: isOnline
        };
    }

    function parseUrl(url: string): string {
        return url.startsWith("http") ? url : base_url + url;
    }

    // A time as the service reads it.
    function timeText(time: date): string {
        return Qt.formatDateTime(time, "yyyy-MM-dd HH:mm:ss");
    }

    // What names the program to the service goes to no other host.
    function headersFor(address: string): var {
        return address.startsWith(base_url + "/") ? {} : {
            token: null,
            accessKey: null
        };
    }

    function send(url: string, begin: var, success: var, error: var) {
        if (base_url === "") {
            refuse(error);
            return;
        }
        const address = parseUrl(url);
        enter(begin(address, headersFor(address)), success, error, null);
    }

    function enter(requestId: int, success: var, error: var, progress: var) {
        callbackMap[requestId] = {
            success: success,
            error: error,
            progress: progress
        };
    }

    // Calls back when the client has let go of its lock. Each call has a function of its own, since calls of the same
    // function are merged.
    function finish(requestId: int, call: var) {
        const callbacks = callbackMap[requestId];
        if (!callbacks)
            return;
        delete callbackMap[requestId];
        Qt.callLater(() => call(callbacks));
    }

    function refuse(error: var) {
        if (!absenceTold)
            console.log("This version of the program cannot reach the service.");
        absenceTold = true;
        if (error)
            Qt.callLater(() => error(-1, "No service"));
    }

    Component.onCompleted: setUp()
}
