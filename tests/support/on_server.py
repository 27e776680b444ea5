"""Runs a test program on a private sound server.

    python3 on_server.py pulseaudio|pipewire PROGRAM [ARG...]

The server has the sinks "one", its default, and "two", which count as real outputs and play nothing, and the microphone
"mic", called "Desk Microphone", which hears what is played into the sink "mic_in". The program finds the process ids of
the server in VEXO_SOUND_SERVER_IDS, separated by blanks. Ends with the program's code, or with 77 where the server is not
installed.
"""

import pathlib
import subprocess
import sys
import tempfile

from sound import SoundServer, available, sound_environment

NOT_INSTALLED = 77


def main():
    kind, *command = sys.argv[1:]
    if not available(kind):
        print(f"{kind} is not installed: nothing is tested on it")
        return NOT_INSTALLED
    with tempfile.TemporaryDirectory(prefix="vexo-sound-", ignore_cleanup_errors=True) as name:
        folder = pathlib.Path(name)
        with SoundServer(folder, sound_environment(folder), kind) as sound:
            for sink in ("one", "two"):
                sound.add_sink(sink, f"Sink {sink}")
            sound.set_default_sink("one")
            sound.add_microphone("mic", "Desk Microphone")
            env = dict(sound.env, VEXO_SOUND_SERVER_IDS=" ".join(str(server.pid) for server in sound.servers))
            return subprocess.run(command, env=env).returncode


sys.exit(main())
