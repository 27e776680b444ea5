"""The bridge as a process: see BridgeHost.cpp."""

import json
import subprocess

from stage import Program

LISTEN_BUS = 0xFFFFFFFF
LIVE_BUS = 0xFFFFFFFE


def source(process_id, *, solo=False, volume=1.0, muted1=False, muted2=False, bus1=True, bus2=True):
    """The record of one source, as the mixer screen sends it."""
    return {
        "processID": process_id, "solo": solo,
        "input1": {"enabled": bus1, "volume": volume, "muted": muted1},
        "input2": {"enabled": bus2, "volume": volume, "muted": muted2},
    }


def masters(*, listen_solo=True, mix_solo=False, listen_volume=1.0, mix_volume=1.0, listen_muted=False, mix_muted=False):
    """The records of both buses; by default the monitor mix is what Solo plays."""
    return [
        {"processID": LIVE_BUS, "solo": mix_solo, "input2": {"enabled": True, "volume": mix_volume, "muted": mix_muted}},
        {"processID": LISTEN_BUS, "solo": listen_solo,
         "input1": {"enabled": True, "volume": listen_volume, "muted": listen_muted}},
    ]


class BridgeHost(Program):
    def __init__(self, executable, env, log_path, user=None):
        super().__init__([str(executable)], dict(env, QT_QPA_PLATFORM="offscreen"), log_path, stdin=subprocess.PIPE,
                         stdout=subprocess.PIPE, encoding="utf-8", user=user)
        self._answer()

    def _answer(self):
        line = self.process.stdout.readline()
        if not line:
            raise AssertionError(f"the bridge ended ({self.process.wait()}):\n{self.log}")
        answer = json.loads(line)
        if "error" in answer:
            raise AssertionError(answer["error"])
        return answer["result"]

    def _ask(self, command):
        self.process.stdin.write(json.dumps(command) + "\n")
        self.process.stdin.flush()
        return self._answer()

    def call(self, name, *arguments):
        return self._ask({"call": name, "arguments": list(arguments)})

    def route(self, *sources, **words):
        """Sends the whole state: these sources, and the masters."""
        self.call("setAudioConfig", [*sources, *masters(**words)])

    def start_router(self, default="", solo="", bus1="", bus2=""):
        """Starts the router anew with these names of its outputs; without records."""
        return self._ask({"router": [default, solo, bus1, bus2]})

    def set_default_device(self, endpoint, is_render):
        return self._ask({"default": [endpoint, is_render]})

    def store(self, **settings):
        return self._ask({"settings": settings})

    def take_reports(self):
        return self._ask({"take": "levels"})

    def end(self):
        """Destroys the bridge; the exit code."""
        self._ask({"end": True})
        code = self.process.wait(20)
        self._close()
        return code

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self._close()

    def _close(self):
        self.process.stdin.close()
        self.process.stdout.close()
