"""What the system tests share: where the build is, and a test case with a stage."""

import os
import pathlib
import shutil
import sys
import unittest

from screens import CLOSE_BUTTON
from stage import Stage, wait_until

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ["VEXO_BUILD"])
LONG = "VEXO_LONG" in os.environ

ALREADY_RUNNING = "共享内存已存在，直接退出"
QUIT = "SystemBridge::quitApplication 正在退出应用程序"
CLEANUP_BEGIN = "应用程序即将退出，开始清理资源..."
CLEANUP_END = "资源清理完成"


class StageCase(unittest.TestCase):
    """A test with the whole program on `stage`. A failing test leaves a picture of the screen."""

    stage = None

    def setUp(self):
        self.addCleanup(self._picture_of_failure)

    def _picture_of_failure(self):
        outcome = self._outcome.result
        if any(case is self for case, _ in outcome.failures + outcome.errors):
            picture = self.stage.screenshot(BUILD / "failures" / f"{self.id()}.png")
            print(f"picture of the screen: {picture}", file=sys.stderr)
            for program in self.stage.programs:
                print(f"the program's log:\n{program.log}", file=sys.stderr)
            print(f"the device: {self.stage.emulator('state')}", file=sys.stderr)
            print("its last reports:", *self.stage.emulator("reports both")["reports"][-40:], sep="\n", file=sys.stderr)

    def start(self, **words):
        """Starts the program and waits for its first page."""
        program = self.stage.start_program(**words)
        wait_until(lambda: self.stage.windows("Vexo Deck") or program.process.poll() is not None, "the main window")
        self.assertIsNone(program.process.poll(), f"the program ended:\n{program.log}")
        return program


class SystemCase(StageCase):
    """A test with a stage of its own."""

    models = ("r2",)
    plugged = False

    def setUp(self):
        self.stage = self.make_stage()
        self.addCleanup(self.stage.__exit__, None, None, None)
        self.stage.__enter__()
        super().setUp()

    def make_stage(self):
        return Stage(BUILD, self.models, plugged=self.plugged)

    def quit(self, program):
        """Closes the main window with its own button; the exit code."""
        self.stage.click(CLOSE_BUTTON, "button")
        return program.wait_exit()

    def program_with_root_document(self, document, **words):
        """Starts the program with another root document: the engine looks beside the executable before it looks
        into the program's resources."""
        return self.stage.start_program(executable=program_beside(self.stage.folder / "other-root", document), **words)


def program_beside(folder, document):
    """A copy of the program in a folder, with this root document; its path."""
    (folder / "VexoDeck").mkdir(parents=True, exist_ok=True)
    executable = folder / "program"
    if not executable.exists():
        shutil.copy(BUILD / "app" / "VexoDeck", executable)
    (folder / "VexoDeck" / "qmldir").write_text("module VexoDeck\nMain 1.0 Main.qml\n")
    (folder / "VexoDeck" / "Main.qml").write_text(document)
    return executable
