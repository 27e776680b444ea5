"""tools/build in a tree of its own, whose build environment and build programs are stand-ins."""

import os
import pathlib
import shutil
import signal
import unittest

from scripts import ROOT, ScriptCase
from stage import wait_until


class Build(ScriptCase):
    def setUp(self):
        super().setUp()
        self.tree = self.folder / "tree"
        (self.tree / "tools").mkdir(parents=True)
        shutil.copy(ROOT / "tools" / "build", self.tree / "tools" / "build")
        self.script(self.tree / "tools" / "env", '"$@"')
        self.free_mb(100000)

    def free_mb(self, count):
        self.stub("df", "echo Filesystem 1048576-blocks Used Available", f"echo disk 0 0 {count} 0% /")

    def build(self, *words):
        return self.run_script(self.tree / "tools" / "build", *words)

    def start_build(self, *words):
        return self.start_script(self.tree / "tools" / "build", *words)

    def builds(self):
        return [call for call in self.called() if call.startswith("cmake --build")]

    def hang(self):
        """Builds that write down who they are and do not end."""
        pids = self.folder / "pids"
        pids.touch()
        self.stub("cmake", '[ "$1" = --build ] || exit 0', f"sleep 1000 & echo $$ $! >> {pids}; wait")

        def written():
            return [int(pid) for pid in pids.read_text(encoding="utf-8").split()]

        self.addCleanup(lambda: [os.kill(pid, signal.SIGKILL) for pid in self.living(written())])
        return written

    @staticmethod
    def living(pids):
        def lives(pid):
            try:
                return pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="utf-8").rsplit(")", 1)[1].split()[0] != "Z"
            except OSError:
                return False

        return [pid for pid in pids if lives(pid)]

    def test_it_configures_and_builds_what_is_named(self):
        self.stub("cmake")
        self.assertEqual(self.build("dev", "one", "two").returncode, 0)
        self.assertEqual(self.build("asan").returncode, 0)
        self.assertEqual([call for call in self.called() if call.startswith("cmake")],
                         ["cmake --preset dev", "cmake --build --preset dev --target one two",
                          "cmake --preset asan", "cmake --build --preset asan --target all"])

    def test_an_interrupted_build_ends_whole(self):
        for sign, to_all in ((signal.SIGINT, True), (signal.SIGTERM, False)):
            with self.subTest(sign=sign):
                pids = self.hang()
                (self.folder / "pids").write_text("")
                process = self.start_build("dev")
                wait_until(lambda: len(pids()) == 2, "the build to run")
                # A terminal interrupts the whole process group; another program ends only the process that it started.
                (os.killpg if to_all else os.kill)(process.pid, sign)
                self.assertEqual(process.wait(30), -sign)
                self.assertEqual(self.living(pids()), [])

    def test_two_builds_of_a_preset_run_one_after_the_other(self):
        gate = self.folder / "gate"
        self.stub("cmake", f"until [ -e {gate} ]; do sleep 0.05; done")
        first = self.start_build("dev")
        wait_until(lambda: len(self.called()) > 1, "the first build")
        second = self.start_build("dev")
        self.assertIn("waiting for another build of dev", second.stdout.readline())
        self.assertEqual(len([call for call in self.called() if call.startswith("cmake")]), 1)
        gate.touch()
        for process in (first, second):
            self.assertEqual(process.wait(30), 0)
        self.assertEqual(len(self.builds()), 2)

    def test_a_build_whose_script_was_killed_keeps_the_next_one_waiting(self):
        pids = self.hang()
        process = self.start_build("dev")
        wait_until(lambda: len(pids()) == 2, "the build to run")
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        second = self.start_build("dev")
        self.assertIn("waiting for another build of dev", second.stdout.readline())
        self.stub("cmake")
        for pid in pids():
            os.kill(pid, signal.SIGKILL)
        self.assertEqual(second.wait(30), 0)

    def test_builds_of_two_presets_do_not_wait_for_each_other(self):
        self.hang()
        first = self.start_build("dev")
        wait_until(self.builds, "the first build")
        self.stub("cmake")
        self.assertEqual(self.build("asan").returncode, 0)
        first.terminate()
        self.assertEqual(first.wait(30), -signal.SIGTERM)

    def test_too_full_a_disk_is_told_before_the_build(self):
        self.stub("cmake", 'mkdir -p build/dev && touch build/dev/CMakeCache.txt')
        self.free_mb(999)
        result = self.build("dev")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr, f"build: dev needs 1000 MB in {self.tree}/build, and 999 MB are free: make room there.\n")
        self.assertEqual(self.builds(), [])
        self.free_mb(1000)
        self.assertEqual(self.build("dev").returncode, 0)
        # A tree that is built already needs room for the changes only.
        self.free_mb(300)
        self.assertEqual(self.build("dev").returncode, 0)
        self.free_mb(299)
        self.assertEqual(self.build("dev").returncode, 1)

    def test_a_build_that_fails_shows_its_end(self):
        self.stub("cmake", "echo '[1/2] Building CXX object a.o'", "echo 'a.cpp:1: error: no'", "exit 1")
        result = self.build("dev")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr.splitlines(), ["a.cpp:1: error: no", "build: dev failed: the whole log is build/dev.log"])

    def test_a_disk_that_fills_up_is_told(self):
        self.stub("cmake", "echo 'as: error: No space left on device'", "exit 1")
        result = self.build("dev")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr.splitlines()[-1],
                         f"build: dev failed for want of disk space: make room for {self.tree}/build and the cache folder of "
                         "tools/env, then run the command again.")


if __name__ == "__main__":
    unittest.main()
