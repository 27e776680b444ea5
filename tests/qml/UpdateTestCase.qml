import QtQuick
import MediaControls
import VexoDeck
import VexoDeckNetwork
import VexoDeckSystemBridge
import VexoDeckTest

/*
    A test case with a scripted service: it notes the requests and answers them when the test says so. Questions are
    asked over an item of its own.
*/
ScreenTestCase {
    id: testCase

    // The requests that wait for an answer, in order: their name and what they were given.
    property var requests: []
    // Where the last download goes.
    property string target: "/somewhere/vexo_download_1.exe"
    readonly property string address: "https://x.example/setup.exe"
    readonly property Item questionPlace: Item {
        parent: testCase
        width: 1000
        height: 200
    }

    visible: true

    function initUpdate(platformName) {
        initConfig();
        requests = [];
        target = "/somewhere/vexo_download_1.exe";
        NetworkManager.holds = true;
        NetworkManager.requested.connect(note);
        VxConfig.platformName = platformName;
        MessageDialogMgr.setParent(questionPlace);
        SystemBridge.installs = true;
        SystemBridge.clearCalls();
        Application.version = "1.2.3";
    }

    function cleanupUpdate() {
        NetworkManager.requested.disconnect(note);
        NetworkManager.holds = false;
        VxConfig.platformName = Qt.platform.os;
        MessageDialogMgr.setParent(null);
        compare(MessageDialogMgr.shownCount, 0, "questions are left");
        compare(TestLog.takeFaults(), []);
    }

    // The name by which a test knows a call of the HTTP client.
    function nameOf(call) {
        const names = {
            "/vexo/pc/update/software": "app",
            "/vexo/pc/getFirmware": "firmware"
        };
        return call.name === "downloadFile" ? "download" : names[call.url.slice(NetworkMgr.base_url.length)] ?? call.url;
    }

    function note(call) {
        if (call.path)
            target = call.path;
        requests.push({
            name: nameOf(call),
            url: call.url,
            success: (ok, response) => {
                // The client gives an object, whatever the service sends.
                NetworkManager.requestCompleted(call.id, ok, typeof response === "object" ? response ?? {} : {});
                wait(0);
            },
            progress: (received, total) => NetworkManager.downloadProgress(call.id, received, total),
            error: (code, text) => {
                NetworkManager.requestError(call.id, code, text);
                wait(0);
            }
        });
    }

    function asked() {
        return requests.map(request => request.name);
    }

    // The next request that waits, which must be of this name.
    function take(name) {
        compare(requests[0]?.name, name);
        return requests.shift();
    }

    function answer(name, response) {
        take(name).success(true, response);
    }

    function fail(name) {
        take(name).error(404, "Not Found");
    }

    function applicationOffer(url) {
        return {
            code: 0,
            data: {
                upgradeFlag: 1,
                upgradeDate: {
                    fileUrl: url
                }
            }
        };
    }

    function firmwareOffer(url) {
        return {
            code: 0,
            data: {
                isUpgrade: "1",
                newVersion: {
                    filePath: url
                }
            }
        };
    }

    function nothingNew() {
        return {
            code: 0,
            data: {
                upgradeFlag: 0,
                isUpgrade: "0"
            }
        };
    }

    function press(dialog, buttonName) {
        tryCompare(dialog, "opened", true);
        mouseClick(part(dialog.contentItem, buttonName));
        compare(dialog.visible, false);
    }

    function installed() {
        return SystemBridge.calls.filter(call => call.name === "installFile").map(call => call.path);
    }

    function opened() {
        return SystemBridge.calls.filter(call => call.name === "openUrl").map(call => call.url);
    }
}
