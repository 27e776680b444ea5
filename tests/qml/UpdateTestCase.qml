import QtQuick
import MediaControls
import VexoDeck
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
    // What downloadFile() returns.
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
        NetworkMgr.service = scriptedService();
        NetworkMgr.absenceTold = false;
        VxConfig.platformName = platformName;
        MessageDialogMgr.setParent(questionPlace);
        SystemBridge.installs = true;
        SystemBridge.clearCalls();
        Application.version = "1.2.3";
    }

    function cleanupUpdate() {
        NetworkMgr.service = null;
        VxConfig.platformName = Qt.platform.os;
        MessageDialogMgr.setParent(null);
        compare(MessageDialogMgr.shownCount, 0, "questions are left");
        compare(TestLog.takeFaults(), []);
    }

    function scriptedService() {
        const note = (name, url, success, progress, error) => requests.push({
                name: name,
                url: url,
                success: success,
                progress: progress,
                error: error
            });
        return {
            checkUpdateApp: (success, error) => note("app", "", success, null, error),
            checkUpdateFirmware: (success, error) => note("firmware", "", success, null, error),
            downloadFile: (url, success, progress, error) => {
                note("download", url, success, progress, error);
                return target;
            }
        };
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
