"""A stage for the program for Windows: the same virtual display and emulator, the program under Wine.

The program's folder is unpacked from the zip that users get, into a folder with a blank and Chinese letters in its name.
The drop-in hidapi replaces the real one, and the program finds no DLL elsewhere. Its controls are read through UI
Automation (tests/windows/uiReader.cpp). Registry and drive are those of this checkout's Wine prefix for programs with
windows. One stage at a time uses it; its store of settings is empty at the start.

    with WindowsStage(build, native_build, ["r2"]) as stage:
        program = stage.start_program()
"""

import contextlib
import fcntl
import os
import pathlib
import shutil
import signal
import subprocess
import zipfile

from stage import Program, Stage

ROOT = pathlib.Path(__file__).resolve().parents[2]
WINE = ROOT / "tools" / "windows" / "wine"
STORE_KEY = r"HKCU\Software\Vexo Deck"


def wine_folder():
    """The folder of this checkout's Wine prefixes."""
    result = subprocess.run([str(WINE), "--folder"], check=True, capture_output=True, text=True)
    return pathlib.Path(result.stdout.strip())


@contextlib.contextmanager
def windows_prefix():
    """The Wine prefix for programs with windows, which nobody else uses meanwhile. Ends its processes at the end."""
    prefix = wine_folder() / "windows"
    with open(f"{prefix}.use", "w") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        try:
            yield prefix
        finally:
            subprocess.run(["wineserver", "--kill"], env=dict(os.environ, WINEPREFIX=str(prefix)), capture_output=True)


class WindowsStage(Stage):
    def __init__(self, build, native_build, models=("r2",), **words):
        super().__init__(native_build, models, **words)
        self.windows_build = pathlib.Path(build).resolve()
        self.held = contextlib.ExitStack()

    def _start(self):
        self.prefix = self.held.enter_context(windows_prefix())
        super()._start()
        packed = self.folder / "packed"
        subprocess.run(["cpack", "--config", str(self.windows_build / "CPackConfig.cmake"), "-B", str(packed)],
                       cwd=self.windows_build, check=True, capture_output=True)
        (archive,) = packed.glob("VexoDeck-*-windows-x64.zip")
        with zipfile.ZipFile(archive) as files:
            files.extractall(self.folder / "我的 程序")
        (self.program_folder,) = (self.folder / "我的 程序").iterdir()
        shutil.rmtree(packed)
        hidapi = self.program_folder / "libhidapi.dll"
        hidapi.unlink()
        hidapi.symlink_to(self.windows_build / "emulator" / "hidapi" / "libhidapi.dll")
        self.wine("reg", "delete", STORE_KEY, "/f", check=False)
        # The system is English there.
        self.wine("reg", "add", STORE_KEY + r"\Settings", "/v", "language", "/d", "zh_CN", "/f")

    def _start_bus(self):
        # Wine's programs use no session bus.
        pass

    def _start_emulator(self):
        self.env.update(WINEPREFIX=str(self.prefix))
        super()._start_emulator()

    def emulator_words(self):
        return ["--tcp", "0"]

    def __exit__(self, *words):
        try:
            if self.reader is not None:
                self.reader.stdin.close()
            self.held.close()
        finally:
            super().__exit__(*words)

    def wine(self, *words, check=True):
        result = subprocess.run([str(WINE), *words], env=self.env, capture_output=True, timeout=120)
        if check and result.returncode != 0:
            raise AssertionError(f"{' '.join(words)}: {result.returncode}\n{result.stderr.decode(errors='replace')}")
        return result.stdout.decode("utf-8", errors="replace")

    def start_program(self, environment=None):
        # Without a console Qt would send its log to the debugger. Wine passes Qt's variables on only under names with
        # the prefix WINE.
        env = dict(self.env, VEXO_EMULATOR_SOCKET=self.emulator_ready["tcp"], WINEQT_FORCE_STDERR_LOGGING="1",
                   **(environment or {}))
        program = Program([str(WINE), "--alone", str(self.program_folder / "VexoDeck.exe")], env,
                          self.folder / f"program-{len(self.programs)}.log")
        self.programs.append(program)
        return program

    def end_program(self, program, sign=signal.SIGKILL):
        return super().end_program(program, sign)

    def stored(self):
        """The store of settings, as the registry tells it: text by key."""
        values = {}
        for line in self.wine("reg", "query", STORE_KEY, "/s", check=False).splitlines():
            words = line.strip().split(None, 2)
            if len(words) >= 2 and words[1].startswith("REG_"):
                values[words[0]] = words[2] if len(words) == 3 else ""
        return values

    def _start_reader(self):
        """Reads through UI Automation; it stays, since starting a program under Wine takes longer than reading."""
        command = [str(WINE), str(self.windows_build / "tests" / "windows" / "uiReader.exe"), "Vexo Deck"]
        self.reader = subprocess.Popen(command, env=self.env, encoding="utf-8", stdin=subprocess.PIPE,
                                       stdout=subprocess.PIPE)
        self.processes.append(self.reader)
