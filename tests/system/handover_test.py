"""The program hands over to a new run of itself, or to an installer."""

import os
import pathlib
import signal
import unittest

from stage import wait_until
from system_case import ALREADY_RUNNING, CLEANUP_BEGIN, CLEANUP_END, QUIT, SystemCase, program_beside

RESTARTING = "SystemBridge::restartApplication 正在重启应用"
NOT_RESTARTED = "SystemBridge::restartApplication 重启失败:"
INSTALLING = "SystemBridge::installFile 安装程序已启动，正在退出当前程序"
RESTARTS = 20

# A window that closes as the main one does, and a program that takes its time to end. The settings hold the number of
# the run.
ROOT_DOCUMENT = """
    import QtQuick
    import MediaControls
    import VexoDeckHIDHotplug
    import VexoDeckSystemBridge
    Window {{
        property int run: 0

        function begin() {{
            {begin}
        }}

        visible: true
        onClosing: SystemBridge.quitApplication()
        Component.onCompleted: {{
            run = ConfigMgr.getValue("auto_gain") + 1
            ConfigMgr.setValue("auto_gain", run)
            console.log("run", run)
            Qt.callLater(begin)
        }}

        Connections {{
            target: Qt.application
            function onAboutToQuit() {{
                const end = Date.now() + 500
                while (Date.now() < end) {{}}
            }}
        }}
        Connections {{
            target: HIDHotplugManager
            // Each interface of a device connects.
            function onDeviceConnected(info, connected) {{
                enabled = false
                {connected}
            }}
        }}
    }}"""


class HandOver(SystemCase):
    def start_document(self, begin="", connected=""):
        self.stage.store_setting("auto_gain", 0)
        self.addCleanup(self.end_all, signal.SIGKILL)
        return self.program_with_root_document(ROOT_DOCUMENT.format(begin=begin, connected=connected))

    def runs(self):
        """The processes that run the program of this stage."""
        executable = str(self.stage.folder / "other-root" / "program")
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            try:
                if os.readlink(process / "exe").removesuffix(" (deleted)") == executable:
                    found.append(int(process.name))
            except OSError:
                pass  # It has ended.
        return found

    def end_all(self, sign=signal.SIGTERM):
        for process in self.runs():
            os.kill(process, sign)
        for program in self.stage.programs:
            program.wait_exit()
        wait_until(lambda: not self.runs(), "the end of all runs")


class Restart(HandOver):
    plugged = True

    def test_one_program_runs_after_each_of_many_restarts(self):
        program = self.start_document(begin=f"if (run <= {RESTARTS}) SystemBridge.restartApplication()")
        # Later runs write into the same log.
        last = f"run {RESTARTS + 1}\n"
        wait_until(lambda: last in program.log or not self.runs(), "the last run")
        self.assertIn(last, program.log)
        self.assertEqual(program.wait_exit(), 0)
        wait_until(lambda: len(self.runs()) == 1, "one program")
        self.assertEqual([program.log.count(f"run {run}\n") for run in range(1, RESTARTS + 2)], [1] * (RESTARTS + 1))
        self.assertEqual(program.log.count(RESTARTING), RESTARTS)
        self.assertEqual(program.log.count(CLEANUP_BEGIN), RESTARTS)
        self.assertEqual(program.log.count(CLEANUP_END), RESTARTS)
        # The last one holds the guard.
        second = self.stage.start_program(executable=self.stage.folder / "other-root" / "program")
        self.assertEqual(second.wait_exit(), 1, second.log)
        self.assertEqual(second.log.strip(), ALREADY_RUNNING)
        self.end_all()
        self.assertEqual(program.log.count(CLEANUP_END), RESTARTS + 1)
        self.assertNotIn(ALREADY_RUNNING, program.log)


class RestartThatFails(HandOver):
    def test_program_goes_on_and_stays_the_only_one(self):
        program = self.start_document(connected="for (let call = 0; call < 2; ++call) SystemBridge.restartApplication()")
        program.wait_log("run 1\n")
        (self.stage.folder / "other-root" / "program").unlink()
        self.stage.emulator("plug")
        # It may be tried again.
        wait_until(lambda: program.log.count(NOT_RESTARTED) == 2, "both attempts")
        second = self.stage.start_program()
        self.assertEqual(second.wait_exit(), 1, second.log)
        self.assertEqual(second.log.strip(), ALREADY_RUNNING)
        self.assertIsNone(program.process.poll())
        self.end_all()
        self.assertEqual(program.process.returncode, 0)
        self.assertEqual(program.log.count(CLEANUP_END), 1, program.log)


class Installer(HandOver):
    def test_program_that_has_started_an_installer_ends_once_and_lets_it_go_on(self):
        note = self.stage.folder / "installed"
        installer = self.stage.folder / "installer"
        go_on = self.stage.folder / "go-on"
        os.mkfifo(go_on)
        installer.write_text(f"#!/bin/sh\necho begun >> '{note}'\nread word < '{go_on}'\necho $word > '{note}'\n")
        installer.chmod(0o700)
        install = f"console.log('installs', SystemBridge.installFile('{installer}'))"
        program = self.start_document(connected=f"for (let call = 0; call < 2; ++call) {install}")
        program.wait_log("run 1\n")
        self.stage.emulator("plug")
        self.assertEqual(program.wait_exit(), 0, program.log)
        self.assertEqual(program.log.count("installs true\n"), 2, program.log)
        wait_until(lambda: note.exists() and note.read_text() == "begun\n", "the installer at work")
        steps = [INSTALLING, QUIT, "HIDDevice 断开连接:", CLEANUP_BEGIN, CLEANUP_END]
        self.assertEqual([program.log.count(step) for step in steps], [1] * len(steps), program.log)
        self.assertEqual(sorted(steps, key=program.log.index), steps, program.log)
        wait_until(lambda: self.stage.emulator("state")["openHandles"] == 0, "the handle closed")
        # What it has installed may be started.
        again = program_beside(self.stage.folder / "other-root", "import QtQml\nQtObject {}\n")
        self.stage.start_program(executable=again).wait_log("HIDHotplugManager 单例创建完成")
        go_on.write_text("done\n")
        wait_until(lambda: note.read_text() == "done\n", "the installer's end")


if __name__ == "__main__":
    unittest.main()
