"""Runs a Windows program under Wine with real endpoints: a private PulseAudio with null sinks, each recorded.

    python3 with_sound.py [--display] PROGRAM [ARG...]

With --display it also has a virtual display, in the Wine prefix that programs with windows use one at a time.

The program finds in its environment
  VEXO_RECORDED_<SINK>   the file that a sink's sound is written to as it plays, 32-bit float, interleaved
  VEXO_SOUND_REQUESTS    a file; a line "unload NAME" appended to it removes that sink or microphone. The same line in
                         the file of this name with ".done" says that it is removed

The sinks are "speakers" (48000 Hz), "cable" (48000 Hz, heard by the microphone "mic"), "old" (44100 Hz), "six" (six
channels) and "plug" (48000 Hz, to be removed). The microphone "plugmic" hears what "mic" hears, and can be removed.
"""

import contextlib
import os
import pathlib
import subprocess
import sys
import tempfile
import threading

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools" / "stage"))

from sound import SoundServer  # noqa: E402
from windows import WINE, windows_prefix, wine_folder  # noqa: E402

# Name, what the endpoint is called, rate in Hz, channels.
MAPS = {2: "stereo", 6: "surround-51"}
SINKS = [
    ("speakers", "Speakers", 48000, 2),
    ("cable", "VEXO Virtual Cable", 48000, 2),
    ("old", "Old Virtual Speakers", 44100, 2),
    ("six", "Surround Virtual Speakers", 48000, 6),
    ("plug", "Plugged Virtual Speakers", 48000, 2),
]


def add_sink(sound, name, description, rate, channels):
    return sound.load("module-null-sink", f"sink_name={name}", f"rate={rate}", f"channel_map={MAPS[channels]}",
                      f"sink_properties=\"device.description='{description}'\"")


def serve_requests(path, sound, modules, ended):
    done = 0
    while not ended.wait(0.05):
        lines = path.read_text().splitlines()
        for line in lines[done:]:
            verb, name = line.split()
            assert verb == "unload", line
            sound.pactl("unload-module", modules[name])
            with open(f"{path}.done", "a") as answers:
                answers.write(line + "\n")
        done = len(lines)


@contextlib.contextmanager
def display(env):
    """The words before a command that give it a display, in the prefix for programs with windows."""
    with windows_prefix() as prefix:
        env["WINEPREFIX"] = str(prefix)
        yield ["xvfb-run", "-a", "-s", "-screen 0 800x600x24"]


def main():
    words = sys.argv[1:]
    wants_display = words[0] == "--display"
    with tempfile.TemporaryDirectory(prefix="vexo-windows-sound-", ignore_cleanup_errors=True) as name:
        folder = pathlib.Path(name)
        env = dict(os.environ, HOME=str(folder), WINEPREFIX=str(wine_folder() / "console"))
        env.pop("DISPLAY", None)
        with SoundServer(folder, env) as sound:
            modules = {}
            for sink in SINKS:
                modules[sink[0]] = add_sink(sound, *sink)
            for name, description in [("mic", "Cable Microphone"), ("plugmic", "Plugged Microphone")]:
                modules[name] = sound.load("module-remap-source", "master=cable.monitor", f"source_name={name}",
                                           f"source_properties=\"device.description='{description}'\"")
            sound.pactl("set-default-sink", "speakers")
            sound.pactl("set-default-source", "mic")
            recorders = []
            for sink, _, rate, channels in SINKS:
                path = folder / f"{sink}.raw"
                with open(path, "wb") as file:
                    recorders.append(subprocess.Popen(
                        ["parec", "--raw", "--format=float32le", f"--rate={rate}", f"--channels={channels}", f"--channel-map={MAPS[channels]}",
                         f"--device={sink}.monitor", "--latency-msec=20"],
                        env=env, stdout=file, stderr=subprocess.DEVNULL))
                env[f"VEXO_RECORDED_{sink.upper()}"] = str(path)
            requests = folder / "requests"
            requests.write_text("")
            pathlib.Path(f"{requests}.done").write_text("")
            env["VEXO_SOUND_REQUESTS"] = str(requests)
            ended = threading.Event()
            servant = threading.Thread(target=serve_requests, args=(requests, sound, modules, ended))
            servant.start()
            try:
                with display(env) if wants_display else contextlib.nullcontext([]) as before:
                    return subprocess.run([*before, str(WINE), *words[wants_display:]],
                                          env=env).returncode
            finally:
                ended.set()
                servant.join()
                for recorder in recorders:
                    recorder.kill()
                    recorder.wait()


sys.exit(main())
