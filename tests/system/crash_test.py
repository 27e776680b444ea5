"""The program crashes: a report stays, which tells where and what came before, and the crash takes its course."""

import fcntl
import os
import pathlib
import signal
import socket
import subprocess
import sys
import termios
import time
import unittest

from stage import wait_until
from system_case import BUILD, ROOT, SystemCase, program_beside

TOLD = "The program has crashed, the report is "
LOGGED = "a line before the crash"
# Logs a line, and many long ones first, of which a report is larger than a page.
LOGGING = f"""
    import QtQml
    QtObject {{
        Component.onCompleted: Qt.callLater(() => {{
            for (let i = 0; i < 1000; ++i)
                console.log("earlier", i, "x".repeat(100))
            console.log("{LOGGED}")
        }})
    }}"""
MOST_REPORTS = 10
PIPE_BYTES = 4096


class Crashes(SystemCase):
    @property
    def folder(self):
        return self.stage.data_file("crashes")

    def reports(self):
        return sorted(self.folder.glob("crash-*.txt")) if self.folder.exists() else []

    def start_logging(self, **words):
        program = self.program_with_root_document(LOGGING, **words)
        program.wait_log(LOGGED)
        # The engine's compiled scripts have no tables for a backtrace: it would end there.
        state = pathlib.Path(f"/proc/{program.pid}/stat")
        wait_until(lambda: state.read_text().rsplit(")", 1)[1].split()[0] == "S", "the program at rest")
        return program

    def crash(self, sign=signal.SIGSEGV, **words):
        """Starts the program and sends it a signal; the program, which has ended by it, and its report."""
        before = self.reports()
        program = self.start_logging(**words)
        program.process.send_signal(sign)
        self.assertEqual(program.wait_exit(), -sign, program.log)
        new = [path for path in self.reports() if path not in before]
        return program, new[0].read_text(encoding="utf-8") if new else None

    def resolved(self, report):
        """What the developer's command makes of a report."""
        path = self.stage.folder / "report.txt"
        path.write_text(report, encoding="utf-8")
        command = [str(ROOT / "tools" / "crash-report"), str(path), "--debug", str(BUILD / "app" / "VexoDeck.debug")]
        return subprocess.run(command, check=True, capture_output=True, text=True).stdout

    def test_each_signal_leaves_a_report_and_ends_the_program(self):
        for sign in (signal.SIGSEGV, signal.SIGBUS, signal.SIGFPE, signal.SIGILL, signal.SIGABRT):
            with self.subTest(signal=sign.name):
                program, report = self.crash(sign)
                self.assertIsNotNone(report, program.log)
                self.assertRegex(report.splitlines()[0], r"^Vexo Deck \d+\.\d+\.\d+ crashed$")
                self.assertIn(f"signal: {int(sign)} {sign.name}", report)
                self.assertIn(f"sent by process {os.getpid()}", report)
                self.assertRegex(report, r"\ntime: 20\d\d-\d\d-\d\d \d\d:\d\d:\d\d UTC\n")
                self.assertRegex(report, r"\n  [^\n]*" + LOGGED + "\n")
                self.assertIn("earlier 999 x", report)
                self.assertNotIn("earlier 10 x", report)
                self.assertTrue(report.endswith("end of the report\n"), report)
                self.assertRegex(program.log, rf"crashed \({sign.name}\): the report is {self.folder}/crash-\S+\.txt\n")

    def test_the_report_is_for_the_user_alone(self):
        self.crash()
        (report,) = self.reports()
        self.assertEqual(oct(self.folder.stat().st_mode & 0o777), "0o700")
        self.assertEqual(report.stat().st_mode & 0o077, 0)

    def test_the_backtrace_is_resolved_to_functions_and_lines(self):
        _, report = self.crash()
        self.assertRegex(report, r"(?m)^#\d+ .*/program \+ 0x[0-9a-f]+ \(build id [0-9a-f]{40}\)$")
        text = self.resolved(report)
        self.assertRegex(text, r"main at .*app/main\.cpp:\d+")
        self.assertIn("QCoreApplication::exec()", text)

    def test_a_fault_is_resolved_to_who_made_it_and_who_called(self):
        library = BUILD / "tests" / "system" / "libvexo_faulty_hid.so"
        program = self.stage.start_program(environment={"LD_PRELOAD": str(library)})
        self.assertEqual(program.wait_exit(), -signal.SIGSEGV, program.log)
        (path,) = self.reports()
        report = path.read_text(encoding="utf-8")
        self.assertIn("signal: 11 SIGSEGV, code 1, address 0x10\n", report)
        text = self.resolved(report)
        self.assertRegex(text, r"\n#0 .*libvexo_faulty_hid\.so .*\n +hid_enumerate at .*/tests/system/faultyHid\.cpp:6:")
        self.assertRegex(text, r"HID\w+::\w+\(.*\) at .*/device/HID\w+\.cpp:\d+")

    def test_the_next_start_says_once_where_the_report_is(self):
        self.crash()
        (report,) = self.reports()
        for times in (1, 0):
            program = self.start_logging()
            self.assertEqual(program.log.count(TOLD), times, program.log)
            if times:
                self.assertIn(f"{TOLD}{report}\n", program.log)
            self.assertEqual(self.stage.end_program(program), 0)
        self.assertEqual(self.reports(), [report])

    def test_the_latest_reports_are_kept(self):
        self.folder.mkdir(parents=True)
        old = [self.folder / f"crash-20200101-0000{number:02}-1.txt" for number in range(MOST_REPORTS + 5)]
        for path in old:
            path.write_text("old")
        kept = [self.folder / "crash-notes.md", self.folder / "crash-19990101-000000-1.txt"]
        kept[0].write_text("somebody's own")
        kept[1].symlink_to(old[0])
        self.stage.end_program(self.start_logging())
        self.assertEqual(self.reports(), sorted([kept[1], *old[-MOST_REPORTS:]]))
        self.assertTrue(kept[0].exists())

    def test_a_crash_is_no_other_where_no_report_can_be_written(self):
        def missing(folder):
            folder.parent.mkdir(parents=True)
            folder.write_text("no folder")

        def elsewhere(folder):
            other = self.stage.folder / "other"
            other.mkdir()
            folder.parent.mkdir(parents=True, exist_ok=True)
            folder.unlink(missing_ok=True)
            folder.symlink_to(other)

        for plant in (missing, elsewhere):
            with self.subTest(plant.__name__):
                plant(self.folder)
                program, report = self.crash()
                self.assertIsNone(report)
                # The terminal gets it instead.
                self.assertRegex(program.log, r"\n#\d+ .*/program \+ 0x[0-9a-f]+")
        self.assertEqual(list((self.stage.folder / "other").iterdir()), [])

    def test_what_is_planted_under_the_name_of_the_report_is_left_alone(self):
        for plant in (os.mkfifo, lambda path: path.symlink_to(self.stage.folder / "target")):
            program = self.start_logging()
            # The name has the time of the start to a second.
            now = int(time.time())
            for second in range(now - 120, now + 1):
                name = time.strftime("crash-%Y%m%d-%H%M%S", time.gmtime(second))
                plant(self.folder / f"{name}-{program.pid}.txt")
            program.process.send_signal(signal.SIGSEGV)
            self.assertEqual(program.wait_exit(), -signal.SIGSEGV)
            self.assertRegex(program.log, r"\n#\d+ .*/program \+ 0x[0-9a-f]+")
        self.assertFalse((self.stage.folder / "target").exists())

    def test_a_full_disk_takes_what_it_can_and_the_terminal_the_rest(self):
        if os.geteuid() != 0:
            self.skipTest("mounting needs root")
        self.folder.mkdir(parents=True)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=4k,mode=700", "tmpfs", self.folder], check=True)
        self.addCleanup(subprocess.run, ["umount", "--lazy", self.folder], check=True)
        program, report = self.crash()
        self.assertLessEqual(len(report.encode()), 4096)
        self.assertIn("signal: 11", report)
        self.assertRegex(program.log, r"\n#\d+ .*/program \+ 0x[0-9a-f]+")
        (path,) = self.reports()
        self.assertIn(f"crashed (SIGSEGV): the first part of the report is {path}\n", program.log)

    def test_a_disk_without_any_room_keeps_no_empty_report(self):
        if os.geteuid() != 0:
            self.skipTest("mounting needs root")
        self.folder.mkdir(parents=True)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=4k,mode=700", "tmpfs", self.folder], check=True)
        self.addCleanup(subprocess.run, ["umount", "--lazy", self.folder], check=True)
        (self.folder / "filler").write_bytes(bytes(4096))
        program, report = self.crash()
        self.assertIsNone(report)
        self.assertRegex(program.log, r"\n#\d+ .*/program \+ 0x[0-9a-f]+")
        self.assertIn("crashed (SIGSEGV)\n", program.log)
        self.assertNotIn(TOLD, self.start_logging().log)

    def test_a_terminal_that_takes_nothing_does_not_hold_the_end(self):
        document = """
            import QtQml
            QtObject {
                property Timer timer: Timer { interval: 1; repeat: true; running: true; onTriggered: console.log("again") }
            }"""
        executable = program_beside(self.stage.folder / "other-root", document)
        read_end, write_end = os.pipe()
        fcntl.fcntl(write_end, fcntl.F_SETPIPE_SZ, PIPE_BYTES)
        self.addCleanup(os.close, read_end)
        process = subprocess.Popen([str(executable)], env=self.stage.env, stdout=write_end, stderr=write_end)
        os.close(write_end)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        # A line more than fits; the program waits for its log to be read.
        last = None

        def is_full():
            nonlocal last
            before, last = last, fcntl.ioctl(read_end, termios.FIONREAD, bytes(4))
            return last == before and int.from_bytes(last, sys.byteorder) > PIPE_BYTES - 100

        wait_until(is_full, "the pipe full")
        process.send_signal(signal.SIGSEGV)
        self.assertEqual(process.wait(60), -signal.SIGSEGV)
        (report,) = self.reports()
        self.assertIn("again", report.read_text())

    def test_the_process_that_reads_icons_leaves_no_report(self):
        ours, its = socket.socketpair()
        with ours, its:
            helper = subprocess.Popen(
                ["bash", "-c", f"exec 3<&{its.fileno()}; exec {BUILD}/app/VexoDeck --icon-helper"], env=self.stage.env,
                pass_fds=[its.fileno()])
            self.assertEqual(ours.recv(1), b"\0")
            helper.send_signal(signal.SIGSEGV)
            self.assertEqual(helper.wait(60), -signal.SIGSEGV)
        self.assertFalse(self.folder.exists())


if __name__ == "__main__":
    unittest.main()
