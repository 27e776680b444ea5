"""However the program ends, it ends once, and the settings are on the disk that have to be there."""

import os
import pathlib
import random
import re
import shutil
import signal
import subprocess
import unittest

from screens import CONNECTED, WAITING_TITLE
from session_manager import SessionManager
from stage import wait_until
from system_case import ALREADY_RUNNING, CLEANUP_BEGIN, CLEANUP_END, LONG, QUIT, SystemCase, program_beside

ROUNDS = 200 if LONG else 12
# Milliseconds after which a change has to be on the disk: a step of a slider; and any other, which is written before the
# program turns to its next event. The disk may take a moment.
STEP_MS, CHANGE_MS = 500, 100
NOT_WRITTEN = "the settings cannot be written"

# Drags a slider, beside which a list changes its length. After each turn a line tells the last step, the last change and
# the time.
CHANGING = """
    import QtQml
    import MediaControls
    QtObject {
        property int step: ConfigMgr.getValue("auto_gain")
        property int change: Number(ConfigMgr.getStringList("appList")[0] ?? 0)
        property int ticks: 0
        property Timer timer: Timer {
            interval: 20
            repeat: true
            running: true
            onTriggered: {
                ConfigMgr.setValue("auto_gain", ++step)
                if (++ticks % 5 === 0) {
                    ++change
                    ConfigMgr.setStringList("appList", change % 2 ? [change] : [change, "another"])
                }
                console.log("changed", step, change, Date.now())
            }
        }
    }"""


class EndingCase(SystemCase):
    def setUp(self):
        # What the test's own parent ignores, as a shell's background does, the program would ignore, too.
        for sign in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            self.addCleanup(signal.signal, sign, signal.signal(sign, signal.SIG_DFL))
        super().setUp()

    @property
    def settings(self):
        return self.stage.folder / "config" / "Vexo Deck" / "Settings.conf"

    def assert_ended_once(self, program, code=0):
        self.assertEqual(program.wait_exit(), code, program.log)
        for line in (CLEANUP_BEGIN, CLEANUP_END):
            self.assertEqual(program.log.count(line), 1, program.log)

    def values(self, path):
        """Step and change that a store holds; every line of it has to be whole."""
        text = path.read_text(encoding="utf-8")
        self.assertRegex(text, r"\A\[General\]\n(\w+=.*\n)*\Z")
        return [int(found.group(1)) if (found := re.search(rf"^{key}=(\d+)", text, re.MULTILINE)) else 0
                for key in ("auto_gain", "appList")]


def changes(log):
    """What CHANGING has told so far: step, change and time of each turn. The last line may be cut."""
    return [tuple(map(int, found)) for found in re.findall(r"changed (\d+) (\d+) (\d+)\n", log)]


class Signals(EndingCase):
    plugged = True

    def check(self, sign):
        program = self.start()
        self.stage.wait_text(CONNECTED)
        program.process.send_signal(sign)
        self.assert_ended_once(program)
        self.assertEqual(program.log.count(QUIT), 1, program.log)
        self.assertEqual(program.log.count("HIDDevice 断开连接:"), 1, program.log)
        self.assertLess(program.log.index("HIDDevice 断开连接:"), program.log.index(CLEANUP_BEGIN))
        wait_until(lambda: self.stage.emulator("state")["openHandles"] == 0, "the handle closed")
        self.assertNotIn(ALREADY_RUNNING, self.start().log)

    def test_termination_takes_the_way_of_the_close_button(self):
        self.check(signal.SIGTERM)

    def test_interrupt_takes_the_way_of_the_close_button(self):
        self.check(signal.SIGINT)

    def test_hang_up_takes_the_way_of_the_close_button(self):
        self.check(signal.SIGHUP)

    def test_second_signal_ends_a_program_that_hangs_in_its_end(self):
        program = self.program_with_root_document("""
            import QtQml
            QtObject {
                property Connections end: Connections {
                    target: Qt.application
                    function onAboutToQuit() {
                        console.log("hanging")
                        while (true) {}
                    }
                }
                Component.onCompleted: console.log("complete")
            }""")
        program.wait_log("complete")
        program.process.send_signal(signal.SIGTERM)
        program.wait_log("hanging")
        program.process.send_signal(signal.SIGTERM)
        self.assertEqual(program.wait_exit(), -signal.SIGTERM)

    def test_signal_before_the_first_turn_of_the_event_loop_is_heard(self):
        program = self.program_with_root_document("""
            import QtQml
            QtObject {
                Component.onCompleted: {
                    console.log("loading")
                    const end = Date.now() + 1000
                    while (Date.now() < end) {}
                }
            }""")
        program.wait_log("loading")
        program.process.send_signal(signal.SIGTERM)
        self.assert_ended_once(program)


class ClosedOutput(EndingCase):
    def test_who_reads_the_output_may_go(self):
        executable = program_beside(self.stage.folder / "other-root", CHANGING)
        read_end, write_end = os.pipe()
        os.close(read_end)
        # No bus: its library ignores the signal for the whole process.
        env = dict(self.stage.env, DBUS_SESSION_BUS_ADDRESS="unix:path=/nowhere", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="0")
        program = subprocess.Popen([str(executable)], env=env, stdout=write_end, stderr=write_end)
        os.close(write_end)
        self.addCleanup(program.wait)
        self.addCleanup(program.kill)
        wait_until(lambda: program.poll() is not None or self.settings.exists() and self.values(self.settings)[0] > 50,
                   "settings that change")
        self.assertIsNone(program.poll())
        program.send_signal(signal.SIGTERM)
        self.assertEqual(program.wait(60), 0)


class Settings(EndingCase):
    def run_and_end(self, end):
        """Lets the settings change for a moment; what `end` returns, and what the program has told."""
        program = self.program_with_root_document(CHANGING)
        wait_until(lambda: len(changes(program.log)) >= self.turns or program.process.poll() is not None, "changes")
        path = end(program)
        return program, path, changes(program.log)

    def ended_by(self, sign):
        def end(program):
            program.process.send_signal(sign)
            program.wait_exit()
            return self.settings
        return end

    def cut(self, program):
        """As if the power had failed: the files as they are in a moment in which nothing runs."""
        program.process.send_signal(signal.SIGSTOP)
        state = pathlib.Path(f"/proc/{program.pid}/stat")
        wait_until(lambda: state.read_text().rsplit(")", 1)[1].split()[0] == "T", "the program stopped")
        copy = self.stage.folder / "cut"
        shutil.rmtree(copy, ignore_errors=True)
        shutil.copytree(self.settings.parent, copy)
        program.process.send_signal(signal.SIGKILL)
        program.wait_exit()
        shutil.rmtree(self.settings.parent)
        shutil.move(copy, self.settings.parent)
        return self.settings

    def test_what_has_to_be_on_the_disk_is_there_however_the_program_ends(self):
        seed = random.randrange(1 << 32)
        print(f"seed {seed}")
        chance = random.Random(seed)
        ends = {name: self.ended_by(getattr(signal, name)) for name in ("SIGTERM", "SIGINT", "SIGHUP", "SIGKILL")}
        ends["cut"] = self.cut
        for number in range(ROUNDS):
            name = chance.choice(["SIGKILL", "SIGKILL", "cut", "cut", "SIGTERM", "SIGINT", "SIGHUP"])
            self.turns = chance.randrange(1, 80)
            program, path, told = self.run_and_end(ends[name])
            with self.subTest(round=number, end=name, turns=self.turns):
                step, change = self.values(path)
                last_step, last_change, now = told[-1]
                if name in ("SIGKILL", "cut"):
                    # The line of the last turn may be missing.
                    self.assertIn(step, range(self.due(told, 0, now - STEP_MS), last_step + 2))
                    self.assertIn(change, range(self.due(told, 1, now - CHANGE_MS), last_change + 2))
                else:
                    self.assertEqual((step, change), (last_step, last_change))
                    self.assert_ended_once(program)

    @staticmethod
    def due(told, place, until):
        """What the store has to hold of what was told up to a time."""
        return max((turn[place] for turn in told if turn[2] <= until), default=0)

    def test_session_manager_finds_all_saved_before_it_ends_the_session(self):
        with SessionManager() as manager:
            program = self.program_with_root_document(CHANGING, environment={"SESSION_MANAGER": manager.address})
            manager.wait_client()
            program.wait_log("changed")
            told = changes(program.log)
            manager.save_all()
            step, change = self.values(self.settings)
            self.assertGreaterEqual(step, told[-1][0])
            self.assertGreaterEqual(change, told[-1][1])
            manager.end_all()
            self.assert_ended_once(program)
            self.assertEqual(self.values(self.settings), list(changes(program.log)[-1][:2]))

    def test_session_manager_ends_the_program_as_its_close_button_does(self):
        with SessionManager() as manager:
            program = self.stage.start_program(environment={"SESSION_MANAGER": manager.address})
            manager.wait_client()
            self.stage.wait_text(WAITING_TITLE)
            manager.save_all()
            manager.end_all()
            self.assert_ended_once(program)
            self.assertEqual(program.log.count(QUIT), 1, program.log)

    def test_loss_of_the_display_loses_no_step_and_cleans_up(self):
        self.turns = 30

        def end(program):
            self.stage.processes[0].terminate()
            program.wait_exit()
            return self.settings

        program, path, told = self.run_and_end(end)
        self.assertEqual(self.values(path), list(told[-1][:2]))
        self.assert_ended_once(program, code=1)

    def test_full_disk_costs_nothing_once_there_is_room_again(self):
        if os.geteuid() != 0:
            self.skipTest("mounting needs root")
        folder = self.settings.parent
        folder.mkdir(parents=True)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=256k,mode=700", "tmpfs", folder], check=True)
        self.addCleanup(subprocess.run, ["umount", "--lazy", folder], check=True)
        before = "[General]\nauto_gain=1\nlong=" + 20000 * "x" + "\n"
        self.settings.write_text(before)
        filler = folder / "filler"
        for room in (0, 1, 2):  # pages, of which the store needs five
            with self.subTest(room=room):
                self.fill(filler, room)
                program = self.program_with_root_document("""
                    import QtQml
                    import MediaControls
                    QtObject { Component.onCompleted: ConfigMgr.setValue("device_mute", true) }""")
                program.wait_log(NOT_WRITTEN)
                self.assertEqual(self.settings.read_text(), before)
                # Nor does the end of the program find room, or damage the file.
                program.process.send_signal(signal.SIGTERM)
                self.assert_ended_once(program)
                self.assertEqual(program.log.count(NOT_WRITTEN), 1, program.log)
                self.assertEqual(self.settings.read_text(), before)
        program = self.program_with_root_document(CHANGING.replace("running: true", "running: ticks === 0"))
        program.wait_log(NOT_WRITTEN)
        filler.unlink()
        # No further change.
        wait_until(lambda: self.values(self.settings)[0] == 2, "the change in the file")
        self.assertEqual(program.log.count(NOT_WRITTEN), 1, program.log)
        self.assertIn(20000 * "x", self.settings.read_text())

    @staticmethod
    def fill(filler, pages):
        filler.unlink(missing_ok=True)
        state = os.statvfs(filler.parent)
        filler.write_bytes(bytes((state.f_bfree - pages) * state.f_bsize))

    def test_lines_that_are_no_settings_are_kept_beside_the_file(self):
        self.settings.parent.mkdir(parents=True)
        garbage = b"[General]\nauto_gain=4\nhalf a line\n\x00\xff\n[unclosed\n"
        self.settings.write_bytes(garbage)
        self.turns = 2
        _, _, told = self.run_and_end(self.ended_by(signal.SIGTERM))
        self.assertEqual(self.settings.with_name("Settings.conf.damaged").read_bytes(), garbage)
        self.assertGreater(told[0][0], 4)
        self.assertEqual(self.values(self.settings), list(told[-1][:2]))


if __name__ == "__main__":
    unittest.main()
