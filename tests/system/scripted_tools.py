"""Programs of the desktop that tell how they were called: first in the path of what is started with its environment."""

import os

from stage import wait_until


class ScriptedTools:
    def __init__(self, stage, *names):
        self.folder = stage.folder / "bin"
        self.folder.mkdir()
        self.happened = stage.folder / "happened"
        self.happened.mkdir()
        for name in names:
            self.write(name)

    @property
    def environment(self):
        return {"PATH": f"{self.folder}:{os.environ['PATH']}"}

    def write(self, name):
        """A tool that tells with which words it was called, and where."""
        tool = self.folder / name
        tool.write_text(f'#!/bin/sh\nprintf "%s\\n%s" "$*" "$PWD" > "{self.happened}/{name}.$$"\n'
                        f'echo called >> "{self.happened}/{name}.calls"\n'
                        f'mv "{self.happened}/{name}.$$" "{self.happened}/{name}"\n', encoding="utf-8")
        tool.chmod(0o755)
        return tool

    def wait_call(self, name):
        """The words with which a tool was called last, and its folder."""
        called = self.happened / name
        wait_until(called.exists, f"a call of {name}")
        words, folder = called.read_text(encoding="utf-8").split("\n")
        called.unlink()
        return words, folder

    def count_calls(self, name):
        """How often a tool has been called."""
        calls = self.happened / f"{name}.calls"
        return len(calls.read_text(encoding="utf-8").splitlines()) if calls.exists() else 0
