"""./run in a tree of its own, with stand-ins for what it builds; and how it ends with the program on a desktop."""

import os
import pathlib
import pty
import shutil
import socket
import subprocess
import unittest

from scripts import ROOT, ScriptCase, discard
from stage import wait_until
from system_case import BUILD

DESKTOP = ROOT / "tools" / "stage" / "desktop"
RUNS_ALREADY = "共享内存已存在，直接退出"


class Run(ScriptCase):
    """The words, and what they start."""

    def setUp(self):
        super().setUp()
        self.tree = self.folder / "tree"
        for name in ("env", "build"):
            self.script(self.tree / "tools" / name, f'echo "{name} $* [$DISPLAY$WAYLAND_DISPLAY]" >> "$CALLS"')
        shutil.copy(ROOT / "run", self.tree / "run")
        self.env.pop("XDG_RUNTIME_DIR", None)

    def run_tree(self, *words):
        return self.run_script(self.tree / "run", *words)

    def last_call(self, *words):
        result = self.run_tree(*words)
        self.assertEqual(result.returncode, 0, result.stderr)
        return self.called()[-1]

    def test_without_a_display_it_makes_a_tour(self):
        tour = "env python3 tools/pictures/tour.py --build build/release --out build/tour"
        self.assertEqual(self.last_call(), f"{tour} r2 []")
        self.assertEqual(self.last_call("t40"), f"{tour} t40 []")

    def test_on_a_display_it_starts_the_virtual_device_that_is_named(self):
        self.env["DISPLAY"] = ":7"
        self.assertEqual(self.last_call("m40"),
                         "env tools/stage/desktop build/release/app/VexoDeck build/release/emulator m40 [:7]")

    def test_with_the_real_bus_it_starts_the_program_alone(self):
        self.env["DISPLAY"] = ":7"
        self.assertEqual(self.last_call("--real"), "env build/release/app/VexoDeck [:7]")

    def test_words_that_it_does_not_understand_are_told_before_anything_is_built(self):
        for words, sentence in ((["r3"], '"r3" is not understood: say r2, m40, t40 or --real.'),
                                (["--real", "m40"], '--real takes no virtual device: leave out "m40".'),
                                (["--real"], "--real needs a display: start it on a desktop.")):
            result = self.run_tree(*words)
            self.assertEqual((result.returncode, result.stderr), (1, f"run: {sentence}\n"))
        self.assertEqual(self.called(), [])

    def test_a_build_that_fails_ends_it(self):
        self.script(self.tree / "tools" / "build", "exit 1")
        result = self.run_tree()
        self.assertEqual((result.returncode, result.stderr), (1, "run: the build failed, see above.\n"))

    def test_under_sudo_the_display_of_the_caller_is_found(self):
        # Only root may create a user's folder.
        if os.geteuid() != 0:
            self.skipTest("a folder below /run needs root")
        desktop = pathlib.Path(f"/run/user/{4200000000 + os.getpid()}")
        desktop.mkdir(parents=True)
        self.addCleanup(discard, desktop)
        self.env["SUDO_UID"] = desktop.name
        self.assertIn("tour.py", self.last_call("m40"))
        with socket.socket(socket.AF_UNIX) as display:
            display.bind(str(desktop / "wayland-1"))
            self.assertRegex(self.last_call("m40"), r"tools/stage/desktop .* \[wayland-1\]$")
            self.env["DISPLAY"] = ":7"
            self.assertRegex(self.last_call("m40"), r"tools/stage/desktop .* \[:7wayland-1\]$")

    def test_under_sudo_root_builds_and_the_program_is_that_of_the_caller(self):
        self.script(self.stubs / "id", "echo 0")
        self.stub("chown")
        (self.tree / "build").mkdir()
        self.env.update(SUDO_UID="4711", SUDO_GID="4712", DISPLAY=":7")
        start = "env --as-caller tools/stage/desktop build/release/app/VexoDeck build/release/emulator m40 [:7]"
        self.assertEqual(self.last_call("m40"), start)
        self.assertEqual(self.called(), ["env --prepare [:7]",
                                         "build release VexoDeck vexo-emulator vexo_hidapi_emulated vexo_cloud_line [:7]",
                                         "chown -hR 4711:4712 build", start])
        self.assertEqual(self.last_call("--real"), "env --as-caller build/release/app/VexoDeck [:7]")
        del self.env["DISPLAY"]
        self.assertRegex(self.last_call(), r"^env --as-caller python3 tools/pictures/tour\.py ")

    def test_root_who_calls_sudo_stays_root(self):
        self.stub("id", "echo 0")
        self.env.update(SUDO_UID="0", SUDO_GID="0", DISPLAY=":7")
        self.assertEqual(self.last_call("--real"), "env build/release/app/VexoDeck [:7]")

    def test_what_sudo_left_behind_means_nothing_to_another_user(self):
        self.stub("id", "echo 4711")
        self.env.update(SUDO_UID="4712", SUDO_GID="4712", DISPLAY=":7")
        self.assertEqual(self.last_call("--real"), "env build/release/app/VexoDeck [:7]")


class Desktop(ScriptCase):
    """The end of the program, beside the real emulator."""

    def setUp(self):
        super().setUp()
        (self.folder / "build").mkdir()
        # The microphone.
        self.stub("python3", "echo microphone")

    def ends(self, *lines, terminal=True, model="r2", typed=None):
        """The code and all words of a run whose program is a script of these lines. `typed` gives what is typed at the
        prompt, when it is time."""
        program = self.script(self.folder / "program", *lines)
        near, far = pty.openpty()
        words = self.folder / "words"
        with open(words, "w", encoding="utf-8") as out:
            process = self.start_script(DESKTOP, program, BUILD / "emulator", model, cwd=self.folder,
                                        stdin=far if terminal else subprocess.DEVNULL, stdout=out)
        os.close(far)
        try:
            if typed:
                os.write(near, typed())
            return process.wait(60), words.read_text(encoding="utf-8")
        finally:
            os.close(near)

    def test_a_program_that_ends_well_ends_it_well(self):
        for terminal in (True, False):
            code, words = self.ends("exit 0", terminal=terminal)
            self.assertEqual(code, 0, words)
            self.assertNotIn("run:", words)

    def test_a_program_that_fails_is_told_with_its_code(self):
        for terminal in (True, False):
            code, words = self.ends("echo 'could not connect to display :7'", "exit 134", terminal=terminal)
            self.assertEqual(code, 134, words)
            self.assertIn("could not connect to display :7\n", words)
            self.assertTrue(words.endswith("run: Vexo Deck ended with 134: its whole output is in build/run.log.\n"), words)

    def test_a_program_that_dies_is_told(self):
        # The log also holds the line of a second start.
        code, words = self.ends(f"echo '{RUNS_ALREADY}'", "kill -SEGV $$")
        self.assertEqual(code, 139, words)
        # Not the last line: the virtual device may still be greeting.
        self.assertIn("\nrun: Vexo Deck ended with 139: its whole output is in build/run.log.\n", words)

    def test_a_second_one_is_told_that_one_runs(self):
        for terminal in (True, False):
            code, words = self.ends(f"echo '{RUNS_ALREADY}'", "exit 1", terminal=terminal)
            self.assertEqual(code, 1, words)
            self.assertIn("run: Vexo Deck runs already: close its window first", words)

    def test_quit_at_the_prompt_ends_the_program(self):
        told = self.folder / "told"

        def typed():
            wait_until(told.exists, "the program to start")
            return b"get mute\nquit\n"

        code, words = self.ends(f"echo $$ $VEXO_EMULATOR_SOCKET > {told}.new; mv {told}.new {told}; exec sleep 1000",
                                typed=typed)
        self.assertEqual(code, 0, words)
        self.assertIn("Done.\n  device: r2\n", words)
        self.assertNotIn("run:", words)
        pid, path = told.read_text(encoding="utf-8").split()
        wait_until(lambda: not pathlib.Path(f"/proc/{pid}/exe").exists(), "the program to end")
        self.assertFalse(pathlib.Path(path).parent.exists(), "the folder of the run stays")

    def test_a_virtual_device_that_fails_is_told(self):
        code, words = self.ends("exec sleep 1000", model="r9", terminal=False)
        self.assertEqual(code, 2, words)
        self.assertIn("run: the virtual device ended with 2: look above or into build/emulator.log for the reason.", words)

    def test_the_microphone_is_that_of_the_device(self):
        for model in ("r2", "m40", "t40"):
            self.ends("exit 0", model=model)
            self.assertIn(f"virtual_microphone.py --model {model} /", self.called()[-1])


if __name__ == "__main__":
    unittest.main()
