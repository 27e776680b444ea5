import QtQuick
import QtTest
import MediaControls
import VexoDeck
import VexoDeckHIDHotplug
import VexoDeckNetwork
import VexoDeckTest
import VexoDeckTranslation

/* A test case that shows the views of the program in any of its languages. A new view is a row of views(). */
MainWindowTestCase {
    id: testCase

    readonly property WelcomeLayout page: stackView ? stackView.get(0) as WelcomeLayout : null
    readonly property var models: [["Mixdesk R2", mixdeskR2], ["Voxmic M40", voxmicM40], ["Voxmic T40", voxmicT40]]
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
    Component {
        id: upgradeComponent

        UpgradeWindow {}
    }

    Component {
        id: selectorsComponent

        Column {
            CustomColorSelect {}
            CustomMultColorSelect {
                presetGradients: [["#ff0000", "#00ff00", "#0000ff"]]
                selectedGradient: ["#ff0000", "#00ff00", "#0000ff"]
                selectedPresetIndex: 3
            }
            CustomCycColorSelect {
                colorList: ["#ff0000", "#00ff00"]
            }
            ColorPicker {}
        }
    }

    function init() {
        // What the test before has shown is deleted now, before its texts are translated again.
        wait(0);
        TranslationManager.setLanguage("zh_CN");
        initMainWindow();
    }

    function cleanup() {
        TranslationManager.setLanguage("zh_CN");
        compare(TestLog.takeFaults(), []);
    }

    // ---- the views: open() shows one and returns the items to look at, refresh() shows a text anew that its caller
    // has translated.

    function views() {
        const rows = [
            {
                tag: "waiting page",
                open: () => {
                    HIDHotplugManager.accessMissing = true;
                    return [stackView, child("titleBar")];
                }
            },
            {
                tag: "mixer in its bootloader",
                open: () => {
                    HIDHotplugManager.bootloaderPresent = true;
                    HIDHotplugManager.upgradeFirmwareSignal();
                    return [stackView];
                }
            },
            {
                tag: "mixer left in its bootloader",
                open: () => {
                    HIDHotplugManager.bootloaderPresent = true;
                    return [stackView];
                }
            },
            {
                tag: "ready page",
                open: () => {
                    connectDevice(mixdeskR2);
                    tryCompare(child("startButton"), "visible", true);
                    // It fades.
                    tryCompare(child("description"), "visible", false);
                    return [stackView];
                }
            },
            {
                tag: "menu",
                open: () => {
                    activateWindow();
                    mouseClick(child("moreButton"));
                    const menu = findChild(child("moreButton"), "morePopup");
                    tryCompare(menu, "opened", true);
                    return [menu.contentItem];
                }
            },
            {
                tag: "picker of applications",
                open: () => {
                    openMainLayout(mixdeskR2);
                    mouseClick(child("plusButton"));
                    const popup = findChild(child("plusButton"), "popup");
                    tryCompare(popup, "opened", true);
                    return [popup.contentItem];
                }
            },
            {
                tag: "equalizer",
                open: () => {
                    ConfigMgr.addStringList("device_equalizer_values", JSON.stringify({
                        name: "自定义",
                        value: [0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0],
                        img: "icons/zdy.svg"
                    }));
                    // Of the user: it can be changed and deleted.
                    ConfigMgr.setValue("device_equalizer_current_index", ConfigMgr.defaults.device_equalizer_values.length);
                    const equalizer = createTemporaryObject(equalizerComponent, testCase);
                    equalizer.show();
                    tryCompare(equalizer, "opacity", 1);
                    return [equalizer.contentItem];
                }
            },
            {
                tag: "colour selectors",
                open: () => [createTemporaryObject(selectorsComponent, window.contentItem)]
            },
            {
                tag: "measurement of the gain",
                open: () => [openMeasurement().contentItem]
            },
            {
                tag: "measured gain",
                open: () => {
                    const measurement = openMeasurement();
                    MessageBus.publishUpdateMicGainLevel(30);
                    return [measurement.contentItem];
                }
            },
            questionRow("question of the program", null), questionRow("question of a window", "MessageDialog")];
        // The two microphones differ in their drawer only.
        const pages = [].concat(...models.map(([model, info]) => drawerRows(model, info)));
        const others = [].concat(...models.slice(0, 2).map(([model, info]) => [mixerRow(model, info), ...upgradeRows(model, info)]));
        return rows.concat(pages, others, windowRows());
    }

    // The windows of the menu and of the reset.
    function windowRows() {
        const stats = ["up to date", "checking", "failed", "found", "downloading"];
        const settings = [].concat(...["windows", "linux"].map(platform => stats.map((name, stat) => ({
                        tag: `settings, ${name} on ${platform}`,
                        open: () => {
                            // The answers never come.
                            NetworkManager.holds = true;
                            VxConfig.platformName = platform;
                            const roots = openWindowOf(settingsComponent);
                            findChild(roots[0], "statBox").stat = stat;
                            return roots;
                        },
                        close: () => {
                            NetworkManager.holds = false;
                            VxConfig.platformName = Qt.platform.os;
                        }
                    }))));
        return settings.concat([
            {
                tag: "support",
                open: () => {
                    const roots = openWindowOf(customerComponent);
                    // It shows no page in most languages until the language changes.
                    const code = TranslationManager.getCurrentLanguage();
                    TranslationManager.setLanguage(code === "it_IT" ? "fr_FR" : "it_IT");
                    TranslationManager.setLanguage(code);
                    return roots;
                }
            },
            {
                tag: "failed installer",
                open: () => openWindowOf(upgradeComponent)
            },
            resetRow("reset", reset => {}), resetRow("running reset", reset => mouseClick(findChild(reset, "okButton"))), resetRow("finished reset", reset => {
                mouseClick(findChild(reset, "okButton"));
                tryCompare(findChild(reset, "successView"), "visible", true);
            })]);
    }

    function openWindowOf(component) {
        const opened = createTemporaryObject(component, testCase);
        opened.show();
        tryCompare(opened, "opacity", 1);
        return [opened.contentItem];
    }

    function resetRow(tag, step) {
        return {
            tag: tag,
            open: () => {
                const reset = VxConfig.createWindow("ResetWindow.qml", window.contentItem);
                tryCompare(reset, "opacity", 1);
                step(reset.contentItem);
                return [reset.contentItem];
            }
        };
    }

    function openMeasurement() {
        const layout = openMainLayout(mixdeskR2);
        MessageBus.publishUpdateAutoGain(1);
        const measurement = findChild(layout, "autoGainWindow");
        tryCompare(measurement, "opacity", 1);
        return measurement;
    }

    function questionRow(tag, context) {
        const source = "有新版本可升级,是否重启并升级软件?";
        const question = {
            dialog: null
        };
        return {
            tag: tag,
            open: () => {
                question.dialog = MessageDialogMgr.showCustomDialogNew(qsTranslate("MessageDialog", source), null, null, context ? qsTranslate(context, "立即升级") : undefined, context ? qsTranslate(context, "取消") : undefined);
                tryCompare(question.dialog, "opened", true);
                return [question.dialog.contentItem];
            },
            refresh: () => {
                question.dialog.title = qsTranslate("MessageDialog", source);
                if (context) {
                    question.dialog.confirmText = qsTranslate(context, "立即升级");
                    question.dialog.cancelText = qsTranslate(context, "取消");
                }
            },
            close: () => question.dialog.destroy()
        };
    }

    function mixerRow(model, info) {
        return {
            tag: model + ", mixer",
            open: () => {
                if (info !== mixdeskR2)
                    ConfigMgr.setStringList("appList", ["Music", "Game"].map(name => JSON.stringify({
                            name: name,
                            bundleIdentifier: "file:///opt/" + name,
                            processIdentifier: "4001",
                            iconFilePath: "",
                            isInput: false
                        })));
                openMainLayout(info);
                return [child("mainSettings")];
            }
        };
    }

    // Each page of the drawer, with all that it can show; that of the lights for each of their effects and kinds of colours.
    function drawerRows(model, info) {
        const lights = [["static", 0,
                {}
            ], ["static gradient", 0,
                {
                    color_bg_static_type: 1
                }
            ], ["breathing", 1,
                {}
            ], ["breathing in turn", 1,
                {
                    color_bg_bln_type: 1
                }
            ], ["wave", 2,
                {}
            ]].map(([name, effect, types]) => ["lighting, " + name, Object.assign({
                    color_bg_effect: effect
                }, types)]);
        const first = [["microphone",
                {}
            ], ["monitor",
                {}
            ]];
        const tabs = info === voxmicM40 ? [0, 1, 2] : [0, 1, ...lights.map(() => 2), 3];
        const pages = first.concat(info === voxmicM40 ? [] : lights, [["general",
                {}
            ]]);
        return pages.map(([name, settings], index) => ({
                    tag: `${model}, ${name}`,
                    open: () => {
                        for (const key of ["ai_jianzao", "device_boom", "device_compressor", "device_equalizer"])
                            ConfigMgr.setValue(key, true);
                        for (const key in settings)
                            ConfigMgr.setValue(key, settings[key]);
                        openDrawer(info);
                        const tab = child("tab" + tabs[index]);
                        mouseClick(tab);
                        compare(tab.checked, true);
                        return [child("settingsHead"), child("tabs"), child("pages")];
                    }
                }));
    }

    function upgradeRows(model, info) {
        const steps = [["download", () => {}], ["installation", () => page.handleDownloadDone("/tmp/firmware.bin")], ["failed download", () => page.handleDownloadFailed()], ["failed upgrade", () => HIDHotplugManager.upgradeFirmwareProgress(0, "升级失败")], ["upgrade done", () => HIDHotplugManager.upgradeFirmwareProgress(100, "升级成功")]];
        return steps.map(([name, step]) => ({
                    tag: `${model}, ${name}`,
                    open: () => {
                        page.installer = path => {};
                        connectDevice(info);
                        MessageBus.publishUpdateFirmware("https://vexo.example/firmware.bin");
                        step();
                        return [child("upgradeView")];
                    },
                    close: () => page.isUpdateFirmware = false
                }));
    }

    // ---- what is seen and heard

    function sameTextsIn(roots) {
        return [].concat(...roots.map(root => textsIn(root).map(label => label.text)));
    }

    // What a screen reader says.
    function namesIn(item) {
        if (!item.visible)
            return [];
        const own = item.Accessible.ignored ? [] : [item.Accessible.name, item.Accessible.description].filter(text => text);
        return Array.from(item.children).reduce((names, part) => names.concat(namesIn(part)), own);
    }

    function wordsOf(roots) {
        return sameTextsIn(roots).concat(...roots.map(namesIn));
    }

    function speak(view, code) {
        TranslationManager.setLanguage(code);
        compare(TranslationManager.getCurrentLanguage(), code);
        if (view.refresh)
            view.refresh();
    }

    function end(view) {
        if (view.close)
            view.close();
    }
}
