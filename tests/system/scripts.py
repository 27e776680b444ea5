"""What the tests of the scripts share: a folder with stand-ins for programs, which come first in the path."""

import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def discard(folder):
    """Removes a folder of a test, unless something is mounted in it: that belongs to somebody else."""
    mounts = pathlib.Path("/proc/self/mountinfo").read_text(encoding="utf-8").splitlines()
    left = [line.split()[4] for line in mounts if line.split()[4].startswith(f"{folder}/")]
    if left:
        raise AssertionError(f"mounts were left, so the folder stays: {left}")
    shutil.rmtree(folder, ignore_errors=True)


class ScriptCase(unittest.TestCase):
    """Runs scripts of the tree with stand-ins. `stubs` holds them, `calls` is the file into which they write."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vexo-scripts-"))
        self.addCleanup(discard, self.folder)
        self.stubs = self.folder / "stubs"
        self.stubs.mkdir()
        self.calls = self.folder / "calls"
        self.calls.touch()
        self.env = dict(os.environ, PATH=f"{self.stubs}:{os.environ['PATH']}", CALLS=str(self.calls), LC_ALL="C.UTF-8")
        for name in ("VEXO_ENV", "VEXO_CACHE", "DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY", "SUDO_UID", "SUDO_GID"):
            self.env.pop(name, None)

    def script(self, path, *lines):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("#!/bin/bash\n" + "\n".join(lines) + "\n", encoding="utf-8")
        path.chmod(0o755)
        return path

    def stub(self, name, *lines):
        """A stand-in, which tells first how it was called."""
        return self.script(self.stubs / name, f'echo "{name} $*" >> "$CALLS"', *lines)

    def called(self):
        return self.calls.read_text(encoding="utf-8").splitlines()

    def run_script(self, *command, limit=60, **words):
        return subprocess.run([str(word) for word in command], env=self.env, capture_output=True, text=True,
                              stdin=subprocess.DEVNULL, timeout=limit, **words)

    def start_script(self, *command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, **words):
        # If a shell started the tests in the background, they ignore SIGINT.
        process = subprocess.Popen([str(word) for word in command], env=self.env, text=True, stdin=stdin, stdout=stdout,
                                   stderr=subprocess.STDOUT, start_new_session=True,
                                   preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL), **words)
        if process.stdout:
            self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process
