"""A microphone without a microphone: the sound input of a virtual device.

    virtual_microphone.py [--model r2|m40|t40] FOLDER [SIGNAL]

Makes a source with the name of a device of that model (r2 is the rule) on the sound server of this session, by which
the program finds it. SIGNAL is `silence`, `tone [HERTZ]`, `speech` (sounds that come and go like a voice; the rule) or
`file PATH`: a WAV file (48000 Hz, mono or stereo, whole numbers of 8 to 32 bits), or raw frames (48000 Hz, stereo, 32-bit
float). It can be changed at any time by writing another one into FOLDER/microphone. Prints a line when it is ready. Lives
until it is ended, and takes the source away then.
"""

import argparse
import functools
import pathlib
import signal
import subprocess
import sys
import wave

import numpy

RATE = 48000
NAMES = {"r2": "VEXO Mixdesk R2", "m40": "VEXO Voxmic M40", "t40": "VEXO Voxmic T40"}
SINK = "vexo_virtual_microphone_in"
SOURCE = "vexo_virtual_microphone"
BLOCK_FRAMES = 960
AMPLITUDE = 0.25


def silence():
    return numpy.zeros(RATE)


def tone(hertz=440.0):
    # A whole number of periods, so that the loop has no seam.
    count = max(1, round(hertz))
    return AMPLITUDE * numpy.sin(2 * numpy.pi * count * numpy.arange(RATE) / RATE)


@functools.cache
def speech(seconds=8, seed=7):
    """A voiced sound of changing pitch and vowel under syllables, with pauses between the words."""
    random = numpy.random.default_rng(seed)
    time = numpy.arange(seconds * RATE) / RATE
    pitch = 120 + 25 * numpy.sin(2 * numpy.pi * 0.5 * time) + 8 * numpy.sin(2 * numpy.pi * 3 * time)
    phase = 2 * numpy.pi * numpy.cumsum(pitch) / RATE
    formants = 600 + 200 * numpy.sin(2 * numpy.pi * 1.25 * time), 1500 + 500 * numpy.sin(2 * numpy.pi * 0.75 * time)
    voice = numpy.zeros(len(time))
    # The weights change slowly: a hundred of them a second are enough.
    coarse = slice(None, None, RATE // 100)
    for harmonic in range(1, 26):
        weight = sum(numpy.exp(-((harmonic * pitch[coarse] - formant[coarse]) / 250) ** 2) for formant in formants)
        voice += numpy.interp(time, time[coarse], weight + 0.3 / harmonic) * numpy.sin(harmonic * phase)
    syllables = numpy.clip(numpy.sin(2 * numpy.pi * 2.25 * time), 0, 1) ** 0.6
    words = numpy.repeat(random.random(seconds * 2) > 0.25, 50)
    words = numpy.interp(time, time[coarse], numpy.convolve(words, numpy.hanning(7) / numpy.hanning(7).sum(), mode="same"))
    voice = voice * syllables * words + 0.002 * random.standard_normal(len(time))
    return 0.7 * voice / numpy.abs(voice).max()


def from_wave(path):
    """The frames of a WAV file as stereo; raises ValueError for one that cannot be played as it is."""
    try:
        with wave.open(path) as file:
            rate, channels, width = file.getframerate(), file.getnchannels(), file.getsampwidth()
            data = file.readframes(file.getnframes())
    except (wave.Error, EOFError) as error:
        raise ValueError(f"{path} cannot be read: {error}") from error
    if rate != RATE or channels > 2 or width > 4:
        raise ValueError(f"{path} has {channels} channels of {8 * width} bits at {rate} Hz: mono or stereo of at most "
                         f"32 bits at {RATE} Hz is needed")
    octets = numpy.frombuffer(data, dtype=numpy.uint8)
    octets = octets[:len(octets) // (width * channels) * width * channels].reshape(-1, width)
    if width == 1:
        octets = octets ^ 0x80  # the only width without a sign
    # The octets are the upper ones of 32 bits, lowest first.
    numbers = numpy.zeros((len(octets), 4), dtype=numpy.uint8)
    numbers[:, 4 - width:] = octets
    samples = numbers.view("<i4").reshape(-1, channels) / 2.0**31
    return numpy.repeat(samples, 2, axis=1) if channels == 1 else samples


def from_file(path):
    with open(path, "rb") as file:
        if file.read(4) == b"RIFF":
            return from_wave(path)
    data = numpy.fromfile(path, dtype=numpy.float32)
    return data[:len(data) // 2 * 2].reshape(-1, 2)


def signal_of(words):
    """The frames of a signal's words; raises ValueError or OSError for words that say none."""
    kind, _, rest = words.strip().partition(" ")
    if kind == "file":
        frames = from_file(rest)
        if len(frames) == 0:
            raise ValueError(f"{rest} is empty")
        return frames
    makers = {"silence": silence, "tone": lambda: tone(float(rest) if rest else 440.0), "speech": speech}
    if kind not in makers:
        raise ValueError(f"{kind!r} is no signal: say silence, tone [HERTZ], speech or file PATH")
    mono = makers[kind]()
    return numpy.column_stack([mono, mono])


def load(*words):
    return subprocess.run(["pactl", "load-module", *words], check=True, capture_output=True, text=True).stdout.strip()


def read_words(control):
    """What the control file says; nothing while it is being written or replaced."""
    try:
        return control.read_text(encoding="utf-8").strip()
    except (OSError, UnicodeDecodeError):
        return ""


def feed(player, control, words):
    """Plays the signal that the control file names, over and over."""
    frames, at = signal_of(words).astype(numpy.float32), 0
    while True:
        written = read_words(control)
        if written not in ("", words):
            words = written
            try:
                frames, at = signal_of(words).astype(numpy.float32), 0
            except (ValueError, OSError) as error:
                print(f"virtual microphone: {error}", file=sys.stderr, flush=True)
        block = numpy.take(frames, range(at, at + BLOCK_FRAMES), axis=0, mode="wrap")
        at = (at + BLOCK_FRAMES) % len(frames)
        player.stdin.write(block.tobytes())
        player.stdin.flush()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--model", choices=NAMES, default="r2")
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("signal", nargs="*", default=["speech"])
    arguments = parser.parse_args()
    folder, name, words = arguments.folder, NAMES[arguments.model], " ".join(arguments.signal)
    try:
        signal_of(words)
    except (ValueError, OSError) as error:
        print(f"virtual microphone: {error}", file=sys.stderr, flush=True)
        return 2
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
    modules = []
    try:
        modules.append(load("module-null-sink", f"sink_name={SINK}", "rate=48000", "channels=2",
                            "sink_properties=\"device.description='Virtual microphone'\""))
        modules.append(load("module-remap-source", f"master={SINK}.monitor", f"source_name={SOURCE}",
                            f"source_properties=\"device.description='{name}'\""))
        control = folder / "microphone"
        control.write_text(words + "\n", encoding="utf-8")
        player = subprocess.Popen(["pacat", "--playback", "--raw", "--format=float32le", f"--rate={RATE}", "--channels=2",
                                   f"--device={SINK}", "--client-name=virtual microphone", "--latency-msec=40"],
                                  stdin=subprocess.PIPE)
        print(f"virtual microphone: {words}; write silence, tone, speech or file PATH to {control}", flush=True)
        feed(player, control, words)
    except subprocess.CalledProcessError:
        print("virtual microphone: no sound server here, so the device is silent", file=sys.stderr, flush=True)
        return 1
    except BrokenPipeError:
        return 1
    finally:
        for module in reversed(modules):
            subprocess.run(["pactl", "unload-module", module], capture_output=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
