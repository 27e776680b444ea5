import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckTest

/* Every view of the program in a language whose texts are 40 % longer than the English ones: no text is cut off. */
MainWindowTestCase {
    id: testCase

    name: "LongTexts"

    readonly property WelcomeLayout page: stackView ? stackView.get(0) as WelcomeLayout : null

    Component {
        id: equalizerComponent

        EqualizerWindow {}
    }

    Component {
        id: settingsComponent

        SettingsWindow {}
    }

    Component {
        id: customerComponent

        CustomerWindow {}
    }

    function init() {
        LongTexts.install();
        initMainWindow();
    }

    function cleanup() {
        LongTexts.remove();
        compare(TestLog.takeFaults(), []);
    }

    function sizes() {
        return [[800, 500], [1300, 800]].map(size => ({
                    tag: size.join("x"),
                    size: size
                }));
    }

    function resize(row) {
        window.width = row.size[0];
        window.height = row.size[1];
    }

    // Also verifies that the texts are long: without the translator they would always fit.
    function verifyFits(root, text) {
        tryVerify(() => textsIn(root).some(label => label.text === text), 1000, `${text} is shown`);
        verify(text.includes("andernebel"), text);
        verifyNoClippedTexts(root);
    }

    function longText(source) {
        return qsTranslate("", source);
    }

    function test_welcome_data() {
        return sizes();
    }

    function test_welcome(row) {
        resize(row);
        verifyFits(stackView, longText("连接你的 VEXO 设备"));
        verifyFits(stackView, longText("Vexo Deck 可将你的兼容设备变身为强大中枢\n支持低延迟混音，体验高清音质，享受每一次声音表达"));
        HIDHotplugManager.accessMissing = true;
        verifyFits(stackView, longText("没有设备的访问权限：请安装 udev 规则 70-vexo-deck.rules，然后重新插拔设备"));
        verify(child("accessNotice").y > child("description").mapToItem(child("accessNotice").parent, 0, child("description").height).y);
        HIDHotplugManager.accessMissing = false;
        HIDHotplugManager.bootloaderPresent = true;
        verifyFits(stackView, longText("VEXO Mixdesk R2 的固件升级没有完成"));
        verifyFits(stackView, longText("恢复"));
        HIDHotplugManager.upgradeFirmwareSignal();
        verifyFits(stackView, longText("VEXO Mixdesk R2 的固件升级没有完成，缺少固件文件"));
        verifyFits(stackView, longText("下载固件"));
        HIDHotplugManager.bootloaderPresent = false;
        connectDevice(mixdeskR2);
        verifyFits(stackView, longText("已连接"));
        verifyFits(stackView, longText("开启高清音质之旅"));
    }

    function test_main_layout_and_drawer_data() {
        const models = [["Mixdesk R2", mixdeskR2], ["Voxmic M40", voxmicM40], ["Voxmic T40", voxmicT40]];
        return sizes().reduce((rows, row) => rows.concat(models.map(([tag, info]) => ({
                        tag: `${tag} ${row.tag}`,
                        info: info,
                        size: row.size
                    }))), []);
    }

    // The content of the drawer's pages has its own tests, since it scrolls.
    function test_main_layout_and_drawer(row) {
        resize(row);
        openMainLayout(row.info);
        verifyFits(child("mainSettings"), longText("输出"));
        verifyFits(child("mainSettings"), longText("输入"));
        mouseClick(child("deviceSettingsButton"));
        tryCompare(child("deviceSettingsDrawer"), "width", 450);
        verifyNoClippedTexts(child("mainSettings"));
        verifyNoClippedTexts(child("settingsHead"));
        for (let index = 0; index < (row.info === voxmicM40 ? 3 : 4); index++) {
            mouseClick(child("tab" + index));
            compare(child("tab" + index).checked, true);
            verifyFits(child("tabs"), child("tab" + index).text);
        }
        verify(child("pages").height >= 120, `the pages are ${child("pages").height} high`);
    }

    function test_menu_data() {
        return sizes();
    }

    function test_menu(row) {
        resize(row);
        activateWindow();
        mouseClick(child("moreButton"));
        const menu = findChild(child("moreButton"), "morePopup");
        tryCompare(menu, "opened", true);
        // The width of the longest language.
        menu.width = menu.widthFor("ru_RU");
        verifyFits(menu.contentItem, longText("设置"));
    }

    function test_upgrade_data() {
        return sizes();
    }

    function test_upgrade(row) {
        resize(row);
        page.installer = path => {};
        for (const info of [mixdeskR2, voxmicM40]) {
            connectDevice(info);
            MessageBus.publishUpdateFirmware("https://vexo.example/firmware.bin");
            verifyFits(child("upgradeView"), longText("正在下载最新固件"));
            page.handleDownloadDone("/tmp/firmware.bin");
            verifyFits(child("upgradeView"), longText("正在安装最新固件"));
            page.handleDownloadFailed();
            verifyFits(child("upgradeView"), longText("新版本下载失败，请检查网络环境或稍后重试"));
            verifyFits(child("upgradeView"), longText("重试"));
            HIDHotplugManager.upgradeFirmwareProgress(0, "升级失败");
            verifyFits(child("upgradeView"), longText("升级失败"));
            HIDHotplugManager.upgradeFirmwareProgress(100, "升级成功");
            verifyFits(child("upgradeView"), longText("升级成功"));
            verifyFits(child("upgradeView"), longText("确定"));
        }
    }

    function test_question_data() {
        return sizes();
    }

    function test_question(row) {
        resize(row);
        const dialog = MessageDialogMgr.showCustomDialogNew(longText("有新版本可升级,是否重启并升级软件?"), null, null);
        tryCompare(dialog, "opened", true);
        verifyFits(dialog.contentItem, longText("立即升级"));
        verifyFits(dialog.contentItem, longText("取消"));
        dialog.destroy();
    }

    function openWindowOf(component) {
        const opened = createTemporaryObject(component, testCase);
        opened.show();
        tryCompare(opened, "opacity", 1);
        return opened;
    }

    function test_settings() {
        for (const platformName of ["windows", "linux"]) {
            VxConfig.platformName = platformName;
            const settings = openWindowOf(settingsComponent);
            for (let stat = 0; stat < 5; stat++) {
                findChild(settings.contentItem, "statBox").stat = stat;
                verifyFits(settings.contentItem, longText("隐私政策"));
            }
            settings.destroy();
        }
        VxConfig.platformName = Qt.platform.os;
    }

    function test_support() {
        const support = openWindowOf(customerComponent);
        verifyFits(support.contentItem, longText("联系我们"));
        findChild(support.contentItem, "pages").currentIndex = 1;
        verifyFits(support.contentItem, longText("Online Support"));
        support.destroy();
    }

    function test_reset() {
        const reset = VxConfig.createWindow("ResetWindow.qml", testCase);
        verifyFits(reset.contentItem, longText("恢复出厂设置后，所有设置将恢复至默认状态，确定要恢复出厂设置吗？"));
        mouseClick(findChild(reset.contentItem, "okButton"));
        verifyFits(reset.contentItem, longText("设置中"));
        tryVerify(() => findChild(reset.contentItem, "successView").visible);
        verifyFits(reset.contentItem, longText("成功"));
        reset.destroy();
    }

    function test_installer_that_does_not_start() {
        const failure = VxConfig.createWindow("UpgradeWindow.qml", testCase);
        verifyFits(failure.contentItem, longText("安装程序无法启动，请从下载页面获取最新版本"));
        failure.destroy();
    }

    function test_automatic_gain_data() {
        return sizes();
    }

    function test_automatic_gain(row) {
        resize(row);
        const layout = openMainLayout(mixdeskR2);
        MessageBus.publishUpdateAutoGain(1);
        const measurement = findChild(layout, "autoGainWindow");
        tryCompare(measurement, "opacity", 1);
        verifyFits(measurement.contentItem, longText("取消"));
        HIDHotplugManager.messageReceived(HIDDeviceMgr.attrs.auto_gain, [0]);
        verifyFits(measurement.contentItem, longText("确定"));
        measurement.close();
    }

    function test_equalizer() {
        const equalizer = createTemporaryObject(equalizerComponent, testCase);
        equalizer.show();
        tryCompare(equalizer, "opacity", 1);
        // Names of presets have any length: a tile shows what does not fit in a tool tip.
        const names = textsIn(findChild(equalizer.contentItem, "presetList")).map(label => label.text);
        compare(clippedTexts(equalizer.contentItem).filter(text => !names.includes(text)), []);
        verify(textsIn(equalizer.contentItem).some(label => label.text === longText("均衡器")));
    }
}
