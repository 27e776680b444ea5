"""Sound servers for tests: a private PulseAudio, or PipeWire with its Pulse server, with sinks and microphones.

    with SoundServer(folder, env) as sound:
        sound.add_sink("speakers", "Speakers", hardware=True)
        player = sound.play(tone(440, 2.0), "speakers")
        heard = sound.record("speakers", 1.0)
        print(level_db(heard, 440))

Signals are numpy arrays of shape (frames, 2), float, at 48000 Hz.
"""

import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import threading
import time

import numpy

from stage import start_bus, wait_until

RATE = 48000
PIPEWIRE = "pipewire"
PULSEAUDIO = "pulseaudio"

# What makes a null sink count as built-in speakers.
BUILT_IN = "device.bus=pci device.form_factor=speaker"


def tone(frequency, seconds, amplitude=0.25, rate=RATE):
    """A steady sine on both channels."""
    time_axis = numpy.arange(int(seconds * rate)) / rate
    wave = amplitude * numpy.sin(2 * numpy.pi * frequency * time_axis)
    return numpy.column_stack([wave, wave]).astype(numpy.float32)


def amplitudes_of(signal, frequency, rate=RATE):
    """The amplitudes of one frequency in the pieces of 20 ms of a signal, for each channel. Tells frequencies apart that
    are 150 Hz from each other."""
    signal = numpy.asarray(signal, dtype=float)
    count = min(len(signal), rate // 50)
    if count == 0:
        return numpy.zeros((1, 1))
    window = numpy.blackman(count)
    projection = window * numpy.exp(-2j * numpy.pi * frequency * numpy.arange(count) / rate) * 2 / window.sum()
    pieces = signal[:len(signal) // count * count].reshape(-1, count, signal.shape[1])
    return numpy.abs(numpy.einsum("pfc,f->pc", pieces, projection))


def decibels(amplitude):
    """Of full scale; -200 for nothing."""
    return 20 * numpy.log10(max(float(amplitude), 1e-10))


def level_db(signal, frequency, rate=RATE):
    """The level of one frequency on the louder channel: the one on which the most pieces agree to 0.1 dB, so that the
    dropouts of a busy machine, which leave pieces of all levels, are not taken for another one. Not a number where fewer
    than a quarter of the pieces agree, or fewer than three of as many."""
    amplitudes = amplitudes_of(signal, frequency, rate)
    levels = numpy.array([decibels(amplitude) for amplitude in amplitudes[:, amplitudes.max(axis=0).argmax()]])
    agreeing = numpy.abs(levels[:, None] - levels) <= 0.1
    most = agreeing[agreeing.sum(axis=1).argmax()]
    if most.sum() < max(len(levels) / 4, min(len(levels), 3)):
        return numpy.nan
    return float(numpy.median(levels[most]))


def highest_level_db(signal, frequency, rate=RATE):
    """The level of one frequency in the piece where it is loudest."""
    return decibels(amplitudes_of(signal, frequency, rate).max())


def held_level_db(signal, frequency, rate=RATE):
    """The highest level that one frequency holds for 60 ms: what is gone is held nowhere, while the click of a dropout,
    which has every frequency, is over sooner."""
    pieces = amplitudes_of(signal, frequency, rate).max(axis=1)
    held = numpy.lib.stride_tricks.sliding_window_view(pieces, min(3, len(pieces))).min(axis=1)
    return decibels(held.max())


def rms_db(signal):
    return decibels(numpy.sqrt(numpy.mean(numpy.square(signal))))


class Recorder:
    """Records a source until stop(); what it has so far is `signal()`, from the time `began` on."""

    def __init__(self, command, env, rate=RATE):
        self.rate = rate
        self.process = subprocess.Popen(command, env=env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.data = bytearray()
        self.began = None
        self.thread = threading.Thread(target=self._read, daemon=True)
        self.thread.start()

    def _read(self):
        while block := self.process.stdout.read1(65536):
            if self.began is None:
                self.began = time.monotonic() - len(block) / 8 / self.rate
            self.data += block

    def frames(self):
        return len(self.data) // 8

    def signal(self):
        return self._frames_from(0, self.frames())

    def wait_frames(self, count):
        wait_until(lambda: self.frames() >= count, f"{count} recorded frames")

    def next(self, seconds):
        """What comes in from now on, that long."""
        return next(self.stretches(seconds))

    def stretches(self, seconds):
        """What comes in from the first use on, in stretches that long, one after the other."""
        first = self.frames()
        count = int(seconds * self.rate)
        while True:
            self.wait_frames(first + count)
            yield self._frames_from(first, count)
            first += count

    def _frames_from(self, first, count):
        return numpy.frombuffer(bytes(self.data[first * 8:(first + count) * 8]), dtype=numpy.float32).reshape(-1, 2)

    def take(self, seconds):
        """The oldest frames, that long, which are forgotten then: for recordings too long to be kept."""
        count = int(seconds * self.rate)
        self.wait_frames(count)
        taken = self._frames_from(0, count)
        del self.data[:count * 8]
        return taken

    def stop(self):
        self.process.terminate()
        self.process.wait()
        self.thread.join()
        self.process.stdout.close()


# What a follower runs: each line of its input is a command, one after the other.
FOLLOW = "import subprocess, sys\nfor line in sys.stdin: subprocess.run(line, shell=True)"


# What feeds a source that has no clock of its own: the frames of a file, as fast as they are heard.
FEED = f"""import sys, time
frames, written, began = open(sys.argv[1], "rb").read(), 0, time.monotonic()
with open(sys.argv[2], "wb", buffering=0) as pipe:
    while True:
        due = int((time.monotonic() - began) * {RATE})
        while written < due:
            at = written * 8 % len(frames)
            written += pipe.write(frames[at:at + min(due - written, 480) * 8]) // 8
        time.sleep(0.005)
"""


def sound_environment(folder):
    """The environment of a sound server's clients that know no display, and whose home is the folder."""
    env = dict(os.environ, HOME=str(folder), TMPDIR=str(folder), LANG="C.UTF-8", LC_ALL="C.UTF-8",
               **{f"XDG_{name.upper()}_HOME": str(folder / name) for name in ("config", "data", "cache", "state")})
    for name in ("DISPLAY", "DBUS_SESSION_BUS_ADDRESS"):
        env.pop(name, None)
    # The services of this machine stay out of it.
    env["DBUS_SYSTEM_BUS_ADDRESS"] = f"unix:path={folder}/no-system-bus"
    return env


class SoundServer:
    """A sound server of one's own below `folder`. `env` is extended so that every client of it finds it. PipeWire's
    session manager gets a session bus, if there is none."""

    def __init__(self, folder, env, kind=PULSEAUDIO, rate=RATE):
        self.folder = pathlib.Path(folder)
        self.env = env
        self.kind = kind
        self.rate = rate
        self.sinks = []
        self.clients = []
        self.servers = []
        self.modules = {}  # the number of each, by the words it was loaded with
        self.bus = None
        runtime = self.folder / "sound-runtime"
        runtime.mkdir(mode=0o700, exist_ok=True)
        self.env.update(
            XDG_RUNTIME_DIR=str(runtime),
            PULSE_SERVER=f"unix:{runtime}/pulse/native",
            PULSE_COOKIE=str(self.folder / "cookie"),
            PIPEWIRE_RUNTIME_DIR=str(runtime),
        )
        self.env.pop("PULSE_RUNTIME_PATH", None)
        self.runtime = runtime
        self.default_sink = None
        self.answered = None  # the time of the server's first answer

    def __enter__(self):
        try:
            self.start()
        except BaseException:
            self.__exit__(None, None, None)
            raise
        return self

    def __exit__(self, *_):
        for client in self.clients:
            if client.stdin is not None:
                # The children of a follower end before it.
                subprocess.run(["pkill", "-P", str(client.pid)])
            if client.poll() is None:
                client.kill()
            client.wait()
            if client.stdin is not None:
                client.stdin.close()
        self.stop()
        if self.bus is not None:
            self.bus.terminate()
            self.bus.wait()

    # ---- the server's life

    def start(self):
        """Starts the server, with the sinks and sources that it had before."""
        if self.kind == PIPEWIRE and "DBUS_SESSION_BUS_ADDRESS" not in self.env:
            self.bus = start_bus(self.folder, self.env)
        log = open(self._log_path(), "ab")
        if self.kind == PULSEAUDIO:
            commands = [["pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--disallow-exit=false",
                         "--use-pid-file=no", "--high-priority=no", "--log-level=1",
                         "-L", f"module-native-protocol-unix auth-anonymous=1 socket={self.runtime}/pulse/native"]]
        else:
            commands = [["pipewire"], ["wireplumber"], ["pipewire-pulse"]]
        (self.runtime / "pulse").mkdir(mode=0o700, exist_ok=True)
        for command in commands:
            self.servers.append(subprocess.Popen(command, env=self.server_env(), stdout=log, stderr=log,
                                                 stdin=subprocess.DEVNULL))
            if command == ["pipewire"]:
                # The others end at once if they cannot connect to it.
                wait_until(lambda: self._takes_connections("pipewire-0"), "pipewire's socket")
        log.close()
        wait_until(lambda: self._pactl("info").returncode == 0, f"{self.kind} to answer")
        self.answered = time.monotonic()
        ended = [server.args[0] for server in self.servers if server.poll() is not None]
        if ended:
            raise RuntimeError(f"{', '.join(ended)} ended at once:\n{self.log}")
        modules, self.modules = self.modules, {}
        for words in modules:
            self.load(*words)
        if self.default_sink:
            self.set_default_sink(self.default_sink)

    @property
    def log(self):
        return self._log_path().read_text(errors="replace")

    def _log_path(self):
        return self.folder / f"{self.kind}.log"

    def _takes_connections(self, name):
        with socket.socket(socket.AF_UNIX) as probe:
            return probe.connect_ex(str(self.runtime / name)) == 0

    def server_env(self):
        env = dict(self.env)
        for name in ("PULSE_SERVER", "LD_LIBRARY_PATH"):
            env.pop(name, None)
        return env

    def freeze(self):
        """The server goes on taking connections and says nothing more, until thaw() or its end."""
        for server in self.servers:
            server.send_signal(signal.SIGSTOP)

    def thaw(self):
        for server in self.servers:
            server.send_signal(signal.SIGCONT)

    def stop(self, kill=False):
        for server in reversed(self.servers):
            (server.kill if kill else server.terminate)()
        self.thaw()
        for server in self.servers:
            try:
                server.wait(5)
            except subprocess.TimeoutExpired:
                server.kill()
                server.wait()
        self.servers = []
        for left in ("pulse/native", "pipewire-0", "pipewire-0-manager"):
            (self.runtime / left).unlink(missing_ok=True)

    def _pactl(self, *words):
        return subprocess.run(["pactl", *words], env=self.env, capture_output=True, text=True, timeout=20)

    def pactl(self, *words):
        result = self._pactl(*words)
        if result.returncode != 0:
            raise RuntimeError(f"pactl {' '.join(words)}: {result.stderr}")
        return result.stdout

    # ---- sinks and sources

    def load(self, *words):
        number = self.pactl("load-module", *words).strip()
        self.modules[words] = number
        return number

    def unload(self, *words):
        self.pactl("unload-module", self.modules.pop(words))

    def sink_words(self, name, description, hardware=True, properties="", rate=None):
        said = f"device.description='{description}'"
        if hardware:
            said += " " + BUILT_IN
        if properties:
            said += " " + properties
        # By default a null sink of PulseAudio plays blocks of 2 s, and a new stream is heard 2 s later.
        short_blocks = ["norewinds=1"] if self.kind == PULSEAUDIO else []
        return ("module-null-sink", f"sink_name={name}", f"rate={rate or self.rate}", "channels=2", *short_blocks,
                f'sink_properties="{said}"')

    def add_sink(self, name, description, hardware=True, properties="", rate=None):
        """A null sink; with `hardware` it declares what real built-in speakers declare."""
        return self.load(*self.sink_words(name, description, hardware, properties, rate))

    def add_microphone(self, name, description):
        """A source that hears what is played into the sink `name`_in."""
        self.add_sink(f"{name}_in", f"{description} in", hardware=False)
        self.load("module-remap-source", f"master={name}_in.monitor", f"source_name={name}",
                  f"source_properties=\"device.description='{description}'\"")

    def remove_microphone(self, name):
        """Takes a source of add_microphone() away, with what it hears."""
        for words in [words for words in self.modules if f"source_name={name}" in words or f"sink_name={name}_in" in words][::-1]:
            self.unload(*words)

    def add_plain_microphone(self, name, description, signal):
        """A source of its own, which no sink stands behind: it records a signal again and again."""
        path = self.folder / f"{name}.raw"
        path.write_bytes(numpy.asarray(signal, dtype=numpy.float32).tobytes())
        pipe = self.folder / f"{name}.pipe"
        self.load("module-pipe-source", f"source_name={name}", f"file={pipe}", "format=float32le", f"rate={RATE}", "channels=2",
                  f"source_properties=\"device.description='{description}'\"")
        self.client([sys.executable, "-c", FEED, path, pipe])

    def recordings(self):
        """What records: the index of each stream and the name of its source, in order."""
        sources = {line.split()[0]: line.split()[1] for line in self.pactl("list", "short", "sources").splitlines()}
        lines = [line.split() for line in self.pactl("list", "short", "source-outputs").splitlines()]
        return sorted((words[0], sources.get(words[1])) for words in lines)

    def add_virtual_microphone(self, *signal, model="r2"):
        """The virtual device's microphone with this signal, under the device's name."""
        folder = self.folder / "virtual-microphone"
        folder.mkdir()
        process = self.client([sys.executable, pathlib.Path(__file__).with_name("virtual_microphone.py"),
                               "--model", model, folder, *signal],
                              stdout=subprocess.PIPE)
        if not process.stdout.readline():
            raise RuntimeError("the virtual microphone did not start")
        return process

    def change_virtual_microphone(self, signal):
        """Another signal for the virtual device's microphone."""
        (self.folder / "virtual-microphone" / "microphone").write_text(signal + "\n", encoding="utf-8")

    def set_default_sink(self, name):
        """Where streams go that name no sink; again after a restart."""
        self.pactl("set-default-sink", name)
        self.default_sink = name

    # ---- clients

    def client(self, command, stdin=None, env_extra=None, **words):
        """A client of the server, ended with it at the latest."""
        words.setdefault("stdout", subprocess.DEVNULL)
        process = subprocess.Popen([str(word) for word in command], env=dict(self.env, **(env_extra or {})),
                                   stderr=subprocess.DEVNULL, stdin=stdin or subprocess.DEVNULL, **words)
        self.clients.append(process)
        return process

    def play(self, signal, sink, name="player", rate=RATE, loop=True, latency_ms=20, program="pacat", properties=()):
        """Plays a signal into a sink with pacat, or a copy of it, again and again; returns the process. Its file,
        `signal_path`, can be replaced by another signal, which is played next. `properties` are words such as
        "application.icon_name=x"."""
        path = self.folder / f"signal-{len(self.clients)}.raw"
        path.write_bytes(numpy.asarray(signal, dtype=numpy.float32).tobytes())
        repeat = f'while cat "{path}"; do :; done' if loop else f'cat "{path}"'
        feeder = subprocess.Popen(["sh", "-c", repeat], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.clients.append(feeder)
        player = self.client([program, "--playback", "--raw", "--format=float32le", f"--rate={rate}", "--channels=2",
                              f"--device={sink}", f"--client-name={name}", f"--latency-msec={latency_ms}",
                              *(f"--property={each}" for each in properties)], stdin=feeder.stdout)
        feeder.stdout.close()
        player.signal_path = path
        wait_until(lambda: self.playback_of(player.pid) or player.poll() is not None, f"{name} to play")
        return player

    def follower(self):
        """A process that plays nothing until play_in() tells it to."""
        return self.client([sys.executable, "-c", FOLLOW], stdin=subprocess.PIPE)

    def play_in(self, follower, signal, sink):
        """Lets a child of a follower play a signal once. The child can be ended; then the next signal is played."""
        path = self.folder / f"follower-{follower.pid}.raw"
        path.write_bytes(numpy.asarray(signal, dtype=numpy.float32).tobytes())
        words = ["pacat", "--raw", "--format=float32le", f"--rate={RATE}", "--channels=2", "--latency-msec=20", f"--device={sink}"]
        follower.stdin.write(f"exec {' '.join(words)} {path}\n".encode())
        follower.stdin.flush()

    def playback_of(self, pid):
        """The index of the sink input of a process, or None."""
        current = None
        for line in self._pactl("list", "sink-inputs").stdout.splitlines():
            if line.startswith("Sink Input #"):
                current = line.split("#")[1]
            elif line.strip() == f'application.process.id = "{pid}"':
                return current
        return None

    def playbacks(self):
        """What plays: the name of each stream, and that of its sink, in order."""
        sinks = {int(line.split()[0]): line.split()[1] for line in self.pactl("list", "short", "sinks").splitlines()}
        found, sink = [], None
        for line in self.pactl("list", "sink-inputs").splitlines():
            key, _, value = line.strip().partition(" ")
            if key == "Sink:":
                sink = sinks.get(int(value))
            elif key == "media.name":
                found.append((value.split('"')[1], sink))
        return sorted(found)

    def recorder(self, sink, rate=RATE):
        """Records what a sink plays, from now on."""
        return self.source_recorder(f"{sink}.monitor", rate)

    def source_recorder(self, source, rate=RATE):
        """Records what a source hears, from now on."""
        before = self._pactl("list", "short", "source-outputs").stdout
        recorder = Recorder(["parec", "--raw", "--format=float32le", f"--rate={rate}", "--channels=2",
                             f"--device={source}", "--latency-msec=20", "--client-name=recorder"], self.env, rate)
        self.clients.append(recorder.process)
        wait_until(lambda: recorder.frames() > 0 or self._pactl("list", "short", "source-outputs").stdout != before,
                   "the recorder to record")
        return recorder

    def record(self, sink, seconds):
        recorder = self.recorder(sink)
        try:
            return recorder.next(seconds)
        finally:
            recorder.stop()


def available(kind):
    """Whether this machine has the programs of a server."""
    names = ["pulseaudio"] if kind == PULSEAUDIO else ["pipewire", "wireplumber", "pipewire-pulse"]
    return all(shutil.which(name) for name in [*names, "pactl", "pacat", "parec"])
