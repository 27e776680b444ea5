"""A stage for the whole program: virtual display, session bus, emulator, and the program itself as a process.

The program is seen as a user sees it: its controls are found by their accessible names and roles (AT-SPI), the
mouse is a real pointer on the virtual display, and pictures are taken of the screen. Everything that is started
lives in a private folder and ends with the stage.

    with Stage(build, ["r2"]) as stage:
        program = stage.start_program()
        stage.emulator("plug")
        stage.wait_text("已连接")
        stage.screenshot("connected.png")
"""

import ctypes
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import tempfile
import time

from cloud import Cloud
from texts import texts_of

# Hello intervals of about a second.
PATIENCE = 60

# How many seconds a wait lasts at most, unless it says otherwise. They pass only if something has failed.
LIMIT = 60.0
# wait_until() pauses as long as it takes to evaluate the condition, within these bounds, in seconds: so the program gets
# at least half of the processor's time.
SHORTEST_PAUSE, LONGEST_PAUSE = 0.02, 0.25


class Timeout(AssertionError):
    """A condition did not come true in time."""


def wait_until(condition, what, limit=LIMIT):
    """Waits for a condition and returns its value; `what` names it in the error."""
    now = time.monotonic()
    end = now + limit
    while True:
        began = now
        value = condition()
        if value:
            return value
        now = time.monotonic()
        if now > end:
            raise Timeout(f"not within {limit:g} s: {what}")
        time.sleep(min(max(SHORTEST_PAUSE, now - began), LONGEST_PAUSE))
        now = time.monotonic()


def start_bus(folder, env):
    """A session bus of one's own below a folder; its process. `env` is extended so that programs find it."""
    bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1", f"--address=unix:path={folder}/bus"],
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, env=env)
    env["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()
    bus.stdout.close()
    return bus


def cpu_seconds(pid):
    """Processor time of a process so far."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Program:
    """One run of a program. `log` is everything that it has printed so far."""

    def __init__(self, command, env, log_path, stdin=subprocess.DEVNULL, stdout=None, **words):
        """Standard output goes to the log, too, unless `stdout` names another place."""
        self.log_path = log_path
        with open(log_path, "wb") as log:
            self.process = subprocess.Popen(command, env=env, stdin=stdin, stdout=stdout or log, stderr=log, **words)

    @property
    def pid(self):
        return self.process.pid

    @property
    def log(self):
        return self.log_path.read_text(encoding="utf-8", errors="replace")

    def wait_log(self, text, count=1):
        wait_until(lambda: self.log.count(text) >= count or self._ended(), f"{count} times {text!r} in the log")
        if self.log.count(text) < count:
            raise AssertionError(f"the program ended ({self.process.returncode}) without logging {text!r}:\n{self.log}")

    def _ended(self):
        return self.process.poll() is not None

    def wait_exit(self):
        """The exit code, as the process gave it."""
        return self.process.wait(LIMIT)

    def status(self, field):
        """A number of /proc/PID/status, such as Threads."""
        return self._number("status", field)

    def resident_kib(self):
        """Resident memory, exact: VmRSS of the status is a sum that processors bring up to date now and then."""
        return self._number("smaps_rollup", "Rss")

    def _number(self, file, field):
        for line in pathlib.Path(f"/proc/{self.pid}/{file}").read_text().splitlines():
            if line.startswith(field + ":"):
                return int(line.split()[1])
        raise KeyError(field)

    def open_files(self):
        return len(os.listdir(f"/proc/{self.pid}/fd"))

    def cpu_seconds(self):
        return cpu_seconds(self.pid)


class ClientMessage(ctypes.Structure):
    """Xlib's XClientMessageEvent, in the size of an XEvent."""

    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int), ("display", ctypes.c_void_p),
                ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong), ("format", ctypes.c_int),
                ("data", ctypes.c_long * 5), ("rest", ctypes.c_long * 12)]


class Stage:
    def __init__(self, build, models=("r2",), plugged=False, size=(1400, 900), seed=None, environment=None, with_cloud=False):
        """`with_cloud`: all requests of the program go to a virtual cloud service, `cloud`."""
        self.build = pathlib.Path(build).resolve()
        self.models = list(models)
        self.plugged = plugged
        self.size = size
        # Points of the display in one unit of the program (QT_SCALE_FACTOR). controls() gives units.
        self.scale = 1
        self.seed = seed
        self.environment = environment or {}
        self.with_cloud = with_cloud
        self.cloud = None
        # The program's first start begins with a question, unless it is answered beforehand.
        self.asks_for_consent = False
        self.processes = []
        self.programs = []
        self.texts = {}
        self.folder = None
        self.control = None
        self.reader = None

    # ---- set-up and end

    def __enter__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vexo-stage-"))
        try:
            self._start()
        except BaseException:
            self.__exit__(None, None, None)
            raise
        return self

    def _start(self):
        for name in ("home", "config", "data", "cache", "runtime", "tmp"):
            (self.folder / name).mkdir(mode=0o700)
        self.env = dict(os.environ)
        self.env.update(
            HOME=str(self.folder / "home"),
            XDG_CONFIG_HOME=str(self.folder / "config"),
            XDG_DATA_HOME=str(self.folder / "data"),
            XDG_CACHE_HOME=str(self.folder / "cache"),
            XDG_RUNTIME_DIR=str(self.folder / "runtime"),
            # Also keeps the single-instance segment apart from that of other programs on this machine.
            TMPDIR=str(self.folder / "tmp"),
            LANG="C.UTF-8",
            LC_ALL="C.UTF-8",
            QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
            QT_QPA_PLATFORM="xcb",
            VEXO_EMULATOR_SOCKET=str(self.folder / "emulator.sock"),
            **self.environment,
        )
        self.env.pop("WAYLAND_DISPLAY", None)
        self._start_display()
        self._start_bus()
        if self.with_cloud:
            self.cloud = Cloud(self.build, self.folder / "cloud")
        if self.models:
            self._start_emulator()

    def _start_display(self):
        width, height = self.size
        read_end, write_end = os.pipe()
        server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", f"{width}x{height}x24", "-nolisten", "tcp", "-noreset"],
            pass_fds=[write_end], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.processes.append(server)
        os.close(write_end)
        with os.fdopen(read_end) as answer:
            number = answer.readline()
        if not number.endswith("\n"):
            raise RuntimeError("the virtual display did not start")
        self.env["DISPLAY"] = f":{number.strip()}"
        self.env.pop("XAUTHORITY", None)

    def _start_bus(self):
        self.processes.append(start_bus(self.folder, self.env))
        # The accessibility bus comes first: a program that starts before it stays unseen.
        subprocess.run(
            ["dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus.GetAddress"],
            env=self.env, check=True, capture_output=True, timeout=20)

    def _start_emulator(self):
        command = [str(self.build / "emulator" / "vexo-emulator")]
        if self.seed is not None:
            command += ["--seed", str(self.seed)]
        if self.plugged:
            command.append("--plug")
        command += self.emulator_words()
        emulator = subprocess.Popen(command + self.models, env=self.env, stdin=subprocess.DEVNULL,
                                    stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.processes.append(emulator)
        ready = emulator.stdout.readline()
        if b'"ready":true' not in ready:
            raise RuntimeError(f"the emulator did not start: {ready!r}")
        self.emulator_ready = json.loads(ready)
        self.control = socket.socket(socket.AF_UNIX)
        self.control.settimeout(60)
        self.control.connect(self.env["VEXO_EMULATOR_SOCKET"])
        self.answers = self.control.makefile("r", encoding="utf-8")
        # On a busy machine the program's hellos come late, and a device that has forgotten the program reports nothing
        # any more.
        for entry in self.emulator("devices")["devices"]:
            self.emulator(f"on {entry['device']} identity patience {PATIENCE}")

    def emulator_words(self):
        """Further words of the emulator's command line."""
        return []

    def __exit__(self, *_):
        if self.control is not None:
            self.control.close()
        for program in self.programs:
            if program.process.poll() is None:
                program.process.kill()
                program.process.wait()
        self._remove_kernel_objects()
        if self.cloud is not None:
            self.cloud.end()
        self._end_processes()
        if self.folder is not None:
            shutil.rmtree(self.folder, ignore_errors=True)

    def _end_processes(self):
        for process in reversed(self.processes):
            process.terminate()
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
            for stream in (process.stdin, process.stdout):
                if stream is not None:
                    stream.close()

    def kernel_objects(self):
        """What the kernel keeps of the stage's programs beyond their ends: pairs of kind ("shm", "sem") and id of the
        segments that nobody holds and of the semaphores, whose keys are those of files in the folder of temporary files."""
        keys = set()
        for path in (self.folder / "tmp").rglob("*"):
            try:
                status = path.stat()
            except OSError:
                continue
            # As ftok() makes it for Qt.
            keys.add(ord("Q") << 24 | (status.st_dev & 0xFF) << 16 | status.st_ino & 0xFFFF)
        objects = []
        for kind in ("shm", "sem"):
            for line in pathlib.Path(f"/proc/sysvipc/{kind}").read_text(encoding="ascii").splitlines()[1:]:
                words = line.split()
                if int(words[0]) in keys and (kind == "sem" or words[6] == "0"):
                    objects.append((kind, int(words[1])))
        return objects

    def _remove_kernel_objects(self):
        """The files that the keys are made from go with the stage, and another file may get the same key."""
        for kind, number in self.kernel_objects():
            subprocess.run(["ipcrm", "-m" if kind == "shm" else "-s", str(number)], check=False, capture_output=True)

    # ---- the virtual device

    def ask_emulator(self, command):
        """One command to the emulator; its answer as a dictionary, be it yes or no."""
        self.control.sendall((command + "\n").encode())
        return json.loads(self.answers.readline())

    def emulator(self, command):
        """One command to the emulator that has to succeed; its answer as a dictionary."""
        answer = self.ask_emulator(command)
        if not answer.get("ok"):
            raise AssertionError(f"the emulator refused {command!r}: {answer}")
        return answer

    # ---- the program

    def start_program(self, executable=None, environment=None, real_bus=False, language="zh_CN"):
        """`language`: what the system tells the program that its user speaks, as in LANGUAGE. Where it is the code of a
        translation, the controls are found by their source texts all the same."""
        self.texts = texts_of(language)
        env = self.env | {"LANGUAGE": language} | (environment or {})
        if not real_bus:
            env["LD_LIBRARY_PATH"] = str(self.build / "emulator" / "hidapi")
        if self.cloud is not None:
            env |= self.cloud.environment
        if executable is None:
            executable = self.build / "app" / "VexoDeck"
            if not self.asks_for_consent:
                self._refuse_consent()
        program = Program([str(executable)], env, self.folder / f"program-{len(self.programs)}.log")
        self.programs.append(program)
        return program

    def _refuse_consent(self):
        """Answers the question of the first start beforehand, unless the settings have an answer or are no settings."""
        settings = self.folder / "config" / "Vexo Deck" / "Settings.conf"
        try:
            text = settings.read_text(encoding="utf-8") if settings.exists() else "[General]\n"
            if text.startswith("[General]\n") and "\nshare_data=" not in text:
                settings.parent.mkdir(parents=True, exist_ok=True)
                settings.write_text(text.replace("\n", "\nshare_data=false\n", 1), encoding="utf-8")
        except (OSError, UnicodeDecodeError):
            # Whatever lies there is the test's own.
            pass

    def data_file(self, name):
        """A file of the program's application data folder."""
        return self.folder / "data" / "VEXO" / "Vexo Deck" / name

    def store_setting(self, key, value):
        """A setting as the program finds it at its start."""
        settings = self.folder / "config" / "Vexo Deck" / "Settings.conf"
        settings.parent.mkdir(parents=True, exist_ok=True)
        settings.write_text(f"[General]\n{key}={value}\n")

    # ---- what a user sees and does

    def controls(self):
        """Everything on the screen that a screen reader would meet: dictionaries with name, role, states,
        description, extents [x, y, width, height], value and range [lowest, highest] (null where there is none), and the
        reference by which a screen reader speaks to it."""
        return self._ask_reader("")

    def actions(self, control):
        """What assistive technology may do with a control as controls() gave it: names such as "Press"."""
        return self._ask_reader(json.dumps({"reference": control["reference"]}))

    def perform(self, control, action):
        """Performs an action of a control as assistive technology does."""
        if not self._ask_reader(json.dumps({"reference": control["reference"], "action": action})):
            raise AssertionError(f"no action {action!r} of {control}, which has {self.actions(control)}")

    def set_value(self, control, value):
        """Sets the value of a control as assistive technology does."""
        self._ask_reader(json.dumps({"reference": control["reference"], "value": value}))

    def _ask_reader(self, request):
        if self.reader is None or self.reader.poll() is not None:
            self._start_reader()
        self.reader.stdin.write(request + "\n")
        self.reader.stdin.flush()
        answer = self.reader.stdout.readline()
        if not answer:
            raise AssertionError("reading the screen failed")
        return json.loads(answer)

    def _start_reader(self):
        """The accessibility reader inside the stage's session; it stays, since starting it takes long."""
        script = pathlib.Path(__file__).with_name("ui.py")
        self.reader = subprocess.Popen(["python3", str(script)], env=self.env, text=True,
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.processes.append(self.reader)

    def _first(self, controls, name, role=None):
        names = self.texts.get(name, {name})
        for control in controls:
            if control["name"] in names and (role is None or control["role"] == role) and "showing" in control["states"]:
                return control
        return None

    def find(self, name, role=None):
        """The first control that shows on the screen with this name, or None."""
        return self._first(self.controls(), name, role)

    def wait_screen(self, *wanted, gone=()):
        """Waits until one reading of the screen has all that is wanted and nothing that shall be gone, each a name or
        a pair of name and role; the controls wanted. For readers that take long."""
        def pair(word):
            return (word, None) if isinstance(word, str) else word

        def found():
            controls = self.controls()
            if any(self._first(controls, *pair(word)) for word in gone):
                return None
            answer = [self._first(controls, *pair(word)) for word in wanted]
            return answer if all(answer) else None

        return wait_until(found, f"{wanted} on the screen without {gone}")

    def wait_text(self, name, role=None):
        return wait_until(lambda: self.find(name, role), f"{name!r} on the screen")

    def wait_at_rest(self, name, role=None):
        """Waits until a control stands still; gives it."""
        places = []

        def rests():
            control = self.find(name, role)
            places.append(control and control["extents"])
            return control and len(places) > 2 and places[-1] == places[-2] == places[-3] and control

        return wait_until(rests, f"{name!r} at rest")

    def wait_no_text(self, name, role=None):
        wait_until(lambda: self.find(name, role) is None, f"{name!r} gone from the screen")

    def click(self, name, role=None):
        self.click_control(self.wait_text(name, role))

    def click_control(self, control):
        """A click on the middle of a control as controls() gave it."""
        x, y, width, height = control["extents"]
        self.xdotool("mousemove", (x + width // 2) * self.scale, (y + height // 2) * self.scale, "click", 1)

    def xdotool(self, *words):
        subprocess.run(["xdotool", *map(str, words)], env=self.env, check=True, capture_output=True)

    def close_window(self, window):
        """Asks one of windows() to close, as a window manager or the taskbar does."""
        x11 = ctypes.CDLL("libX11.so.6")
        x11.XOpenDisplay.restype = ctypes.c_void_p
        x11.XInternAtom.restype = ctypes.c_ulong
        display = ctypes.c_void_p(x11.XOpenDisplay(self.env["DISPLAY"].encode()))
        if not display:
            raise RuntimeError(f"no display {self.env['DISPLAY']}")
        wanted, protocols = (x11.XInternAtom(display, name, False) for name in (b"WM_DELETE_WINDOW", b"WM_PROTOCOLS"))
        message = ClientMessage(type=33, window=int(window), message_type=protocols, format=32)
        message.data[0] = wanted
        x11.XSendEvent(display, ctypes.c_ulong(int(window)), False, 0, ctypes.byref(message))
        x11.XCloseDisplay(display)

    def windows(self, title):
        """The visible windows with this title."""
        def search():
            return subprocess.run(["xdotool", "search", "--onlyvisible", "--name", f"^{title}$"], env=self.env,
                                  capture_output=True, text=True)

        result = search()
        # A window that closes during the search ends it with an error. Finding nothing is not an error.
        for _ in range(5):
            if not result.stderr:
                break
            result = search()
        return result.stdout.split()

    def window_extents(self, window):
        """The place and size of a window of windows(): x, y, width, height."""
        result = subprocess.run(["xdotool", "getwindowgeometry", "--shell", window], env=self.env, check=True,
                                capture_output=True, text=True)
        values = dict(line.split("=") for line in result.stdout.split())
        return [int(values[name]) for name in ("X", "Y", "WIDTH", "HEIGHT")]

    def screenshot(self, path):
        path = pathlib.Path(path)
        path.parent.mkdir(parents=True, exist_ok=True)
        subprocess.run(["import", "-window", "root", str(path)], env=self.env, check=True)
        return path

    def steady_screenshot(self, path):
        """A picture taken when two in a row are the same: animations have ended."""
        last = None

        def rests():
            nonlocal last
            before = last
            self.screenshot(path)
            last = subprocess.run(["convert", str(path), "rgb:-"], env=self.env, check=True, capture_output=True).stdout
            return last == before

        wait_until(rests, "the picture on the screen to come to rest")

    def end_program(self, program, sign=signal.SIGTERM):
        program.process.send_signal(sign)
        return program.wait_exit()
