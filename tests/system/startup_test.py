"""Start-up and shutdown, with the real executable as a process."""

import pathlib
import signal
import subprocess
import unittest

from log_check import TYPED_LOG, warnings_of
from screens import CONNECTED, WAITING_TITLE
from stage import Stage, wait_until
from system_case import ALREADY_RUNNING, BUILD, CLEANUP_BEGIN, CLEANUP_END, QUIT, SystemCase

BRIDGE_END = "SystemBridge::cleanupNativeBridge() - Cleaning up"
CAPTURE_END = "Audio routing service stopped"


class StartUp(SystemCase):
    def test_second_start_exits_with_1_prints_its_line_and_opens_no_window(self):
        first = self.start()
        second = self.stage.start_program()
        self.assertEqual(second.wait_exit(), 1)
        self.assertEqual(second.log.strip(), ALREADY_RUNNING)
        self.assertIsNone(first.process.poll())
        self.assertEqual(len(self.stage.windows("Vexo Deck")), 1)
        self.stage.emulator("plug")
        self.stage.wait_text(CONNECTED)

    def test_next_start_succeeds_after_the_first_instance_has_ended(self):
        self.assertEqual(self.quit(self.start()), 0)
        again = self.start()
        self.assertNotIn(ALREADY_RUNNING, again.log)
        self.assertEqual(self.quit(again), 0)

    def test_segment_that_a_killed_process_left_does_not_stop_the_next_start(self):
        killed = self.start()
        self.stage.end_program(killed, signal.SIGKILL)
        self.start()

    def test_what_a_killed_program_leaves_in_the_kernel_goes_with_its_stage(self):
        def numbers(kind):
            table = pathlib.Path(f"/proc/sysvipc/{kind}").read_text(encoding="ascii")
            return [int(line.split()[1]) for line in table.splitlines()[1:]]

        with Stage(BUILD, []) as stage:
            program = stage.start_program()
            wait_until(lambda: stage.windows("Vexo Deck"), "the main window")
            stage.end_program(program, signal.SIGKILL)
            left = stage.kernel_objects()
            self.assertEqual({kind for kind, _ in left}, {"shm", "sem"})
        for kind, number in left:
            self.assertNotIn(number, numbers(kind))

    def test_broken_root_document_gives_minus_one_and_both_clean_up_lines(self):
        program = self.program_with_root_document("import QtQuick\nWindow { visible: true; noSuchProperty: 1 }\n")
        self.assertEqual(program.wait_exit(), 255, program.log)  # -1 as the system gives it
        self.assertEqual(program.log.count(CLEANUP_BEGIN), 1)
        self.assertEqual(program.log.count(CLEANUP_END), 1)
        self.assertLess(program.log.index(CLEANUP_BEGIN), program.log.index(CLEANUP_END))
        # After the clean-up the engine deletes the bridge, which stops the capture service.
        self.assert_end_in_order(program, CLEANUP_END, BRIDGE_END, CAPTURE_END)
        # The device scan started before the document was read.
        self.assertLess(program.log.index("单例创建完成，开始监测设备"), program.log.index("noSuchProperty"))

    def test_garbage_of_the_documents_is_collected_in_one_go(self):
        program = self.start(environment={"QT_LOGGING_RULES": "qt.qml.gc.stateTransitions=true",
                                          "QT_MESSAGE_PATTERN": "%{threadid} %{category}: %{message}"})
        end = "qt.qml.gc.stateTransitions: Transitioning to the Invalid state\n"
        program.wait_log(end)
        collection = program.log.partition(end)[0].splitlines()[:-1]
        while "Preparing to execute the MarkStart state" not in collection[0]:
            collection.pop(0)
        # A collector that works in steps lets the documents go on in between, and they tell of it.
        main_thread = collection[0].split()[0] + " "
        self.assertEqual([line for line in collection if line.startswith(main_thread) and " qt.qml.gc." not in line], [])

    def test_start_up_and_clean_up_run_once_and_in_order(self):
        program = self.start()
        self.stage.wait_text(WAITING_TITLE)
        self.assertEqual(self.quit(program), 0)
        steps = ["QSettings file path:", "SystemBridge::initializeMonitorDevice()", "HIDHotplugManager 单例创建完成",
                 "订阅消息:"]  # the last by the documents
        self.assertEqual([program.log.count(step) for step in steps[:3]], [1, 1, 1])
        self.assertEqual(sorted(steps, key=program.log.index), steps)
        end = program.log[program.log.index(CLEANUP_BEGIN):]
        lines = [CLEANUP_BEGIN, "HIDHotplugManager::stopAndDisconnectDevice 停止监测并断开设备", CLEANUP_END]
        self.assertEqual([line for line in end.splitlines() if line in lines], lines)
        # Quitting stops the capture service first.
        self.assert_end_in_order(program, CAPTURE_END, CLEANUP_END, BRIDGE_END)

    def assert_end_in_order(self, program, *texts):
        self.assertEqual([text for line in program.log.splitlines() for text in texts if text in line], list(texts))

    def test_look_is_dark_without_a_dark_desktop(self):
        program = self.program_with_root_document("""
            import QtQuick
            Window {
                property SystemPalette look: SystemPalette {}
                Component.onCompleted: {
                    console.log("window", look.window, "text", look.windowText)
                    Qt.exit(7)
                }
            }""")
        self.assertEqual(program.wait_exit(), 7, program.log)
        self.assertIn("window #353535 text #ffffff", program.log)

    def test_services_and_compiled_documents_are_there_under_their_names(self):
        program = self.program_with_root_document("""
            import QtQuick
            import VexoDeckSettings 1.0 as Settings
            import VexoDeckSystemBridge 1.0 as Bridge
            import VexoDeckHIDHotplug 1.0 as Hotplug
            Window {
                function firstLine(path) {
                    const request = new XMLHttpRequest()
                    request.open("GET", path, false)
                    request.send()
                    return request.responseText.split("\\n")[0]
                }
                Component.onCompleted: {
                    console.log("services", Settings.SettingsManager, Bridge.SystemBridge, Hotplug.HIDHotplugManager)
                    for (const name of ["VexoDeck", "MediaControls"])
                        console.log("documents:", firstLine(`qrc:/qt/qml/${name}/qmldir`))
                    Qt.exit(7)
                }
            }""", environment={"QML_XHR_ALLOW_FILE_READ": "1"})
        self.assertEqual(program.wait_exit(), 7, program.log)
        self.assertRegex(program.log, r"services SettingsManager\(.*\) SystemBridge\(.*\) HIDHotplugManager\(")
        for name in ("VexoDeck", "MediaControls"):
            self.assertIn(f"documents: module {name}\n", program.log)
        symbols = subprocess.run(["nm", "--demangle", BUILD / "app" / "VexoDeck"], check=True, capture_output=True,
                                 text=True).stdout
        for name in ("qml_register_types_VexoDeck", "qml_register_types_MediaControls"):
            # Local in a program that mold linked.
            self.assertTrue(f" T {name}()\n" in symbols or f" t {name}()\n" in symbols, name)

    def test_draws_by_itself_where_no_graphics_card_is(self):
        devices = [name for pattern in ("dri/renderD*", "nvidia[0-9]*", "dxg", "mali[0-9]*", "kgsl-3d[0-9]*")
                   for name in pathlib.Path("/dev").glob(pattern)]
        program = self.program_with_root_document("""
            import QtQuick
            Window {
                visible: true
                Item {
                    GraphicsInfo.onApiChanged: {
                        console.log("software", GraphicsInfo.api === GraphicsInfo.Software)
                        Qt.exit(7)
                    }
                }
            }""")
        self.assertEqual(program.wait_exit(), 7, program.log)
        self.assertIn("software false" if devices else "software true", program.log)

    def test_double_click_on_the_title_bar_maximises(self):
        self.start()
        x, y, _, _ = self.stage.wait_text("Vexo Deck", "frame")["extents"]
        self.stage.xdotool("mousemove", x + 300, y + 15, "click", "--repeat", 2, "--delay", 50, 1)
        self.stage.wait_text("还原", "button")

    def test_damaged_settings_do_not_stop_the_start(self):
        settings = self.stage.folder / "config" / "Vexo Deck" / "Settings.conf"
        settings.parent.mkdir(parents=True)
        settings.write_bytes(b"\x00\xff[[[=%%%\n\x80=\xfe\n[unclosed")
        program = self.start()
        self.assertIn(f'QSettings file path:  "{settings}"', program.log)
        self.stage.wait_text(WAITING_TITLE)
        self.assertEqual(self.quit(program), 0)

    def test_settings_that_cannot_be_written_do_not_stop_the_start(self):
        (self.stage.folder / "config" / "Vexo Deck").write_text("a file where the folder should be")
        program = self.start()
        self.assertIn("QSettings file path:", program.log)
        self.stage.wait_text(WAITING_TITLE)
        self.assertEqual(self.quit(program), 0)

    def test_log_folder_that_cannot_be_written_gives_the_warnings_and_nothing_else(self):
        blocker = self.stage.folder / "data" / "VEXO"
        blocker.write_text("a file where the folder should be")
        program = self.start(environment=TYPED_LOG)
        self.stage.emulator("plug")
        self.stage.wait_text(CONNECTED)
        program.wait_log("无法打开属性日志文件:")
        self.assertEqual(self.quit(program), 0)
        folder = blocker / "Vexo Deck"
        self.assertEqual(set(warnings_of(program.log)),
                         {f'warning 无法打开日志文件: "{folder}/hid_data.log" 错误: "Not a directory"',
                          f'warning 无法打开属性日志文件: "{folder}/hid_attribute.log" 错误: "Not a directory"'})


class StartUpWithDevice(SystemCase):
    plugged = True

    def test_device_present_at_start_connects_and_logs_its_traffic(self):
        self.start()
        self.stage.wait_text(CONNECTED)
        lines = self.stage.data_file("hid_data.log").read_text().splitlines()
        self.assertTrue(any("] [TX] 01" in line for line in lines), lines[:3])
        self.assertTrue(any("] [RX] 55" in line for line in lines), lines[:3])

    def test_quitting_closes_the_device_before_the_process_ends(self):
        program = self.start()
        self.stage.wait_text(CONNECTED)
        self.assertEqual(self.quit(program), 0)
        # The close button disconnects the device first, while the event loop still runs.
        end = program.log[program.log.index(QUIT):]
        # The windows that are closed meanwhile do not begin anew; the clean-up finds nothing open.
        self.assertEqual(end.count(QUIT), 1, end)
        self.assertEqual(end.count("HIDDevice 断开连接:"), 1, end)
        self.assertEqual(end.count("停止监测并断开设备"), 2, end)
        self.assertIn("HIDDevice 断开连接:", end)
        self.assertLess(end.index("HIDDevice 断开连接:"), end.index(CLEANUP_BEGIN))
        self.assertIn(CLEANUP_END, end)
        self.assertNotIn("HIDDevice 连接成功:", end)
        wait_until(lambda: self.stage.emulator("state")["openHandles"] == 0, "the handle closed")

    def test_device_connects_before_any_window_shows(self):
        self.program_with_root_document("import QtQml\nQtObject {}\n")
        self.stage.emulator("wait ready 60000")
        self.assertEqual(self.stage.windows("Vexo Deck"), [])

    def test_clean_up_closes_a_device_that_is_open_still(self):
        program = self.program_with_root_document(
            "import QtQml\nimport VexoDeckHIDHotplug\n"
            "QtObject {\n"
            "    readonly property Connections end: Connections {\n"
            "        target: HIDHotplugManager\n"
            "        function onDeviceConnected(info, connected) { if (connected) Qt.quit(); }\n"
            "    }\n"
            "}\n")
        self.assertEqual(program.wait_exit(), 0, program.log)
        steps = ["HIDDevice 连接成功:", CLEANUP_BEGIN, "HIDDevice 断开连接:", CLEANUP_END]
        self.assertEqual([program.log.count(step) for step in steps], [1, 1, 1, 1], program.log)
        self.assertEqual(sorted(steps, key=program.log.index), steps, program.log)
        self.assertEqual(self.stage.emulator("state")["openHandles"], 0)


class MixerInItsBootloader(SystemCase):
    models = ("r2-bootloader", "m40")

    def test_bootloader_at_start_stops_the_manager_and_no_device_connects(self):
        self.stage.emulator("plug r2-bootloader")
        program = self.start()
        program.wait_log("停止监测并断开设备")
        # A further scan would find a device that is plugged in now.
        self.stage.emulator("unplug r2-bootloader")
        self.stage.emulator("plug m40")
        opened = self.stage.ask_emulator("on m40 wait open 5000")
        self.assertFalse(opened["ok"], "the scan went on")
        self.assertNotIn("HIDDevice 连接成功:", program.log)
        self.stage.wait_text(WAITING_TITLE)


if __name__ == "__main__":
    unittest.main()
