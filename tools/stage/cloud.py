"""The virtual cloud service beside a program, to which the plugin in cloudLine/ leads all of its requests.

    cloud.py BUILD FOLDER RECORD

prints the lines of the environment for the program as NAME=VALUE, and "ready", and runs the demonstration of the service
until a signal ends it. RECORD gets each request.
"""

import json
import pathlib
import signal
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
EMULATOR = ROOT / "emulator" / "cloud"
sys.path.insert(0, str(EMULATOR))

from certificates import Authority  # noqa: E402 (the path is set above)


class Cloud:
    """A running service for the operator's host, whose files lie in a folder."""

    def __init__(self, build, folder, *options):
        """`options` are words of the service's command line."""
        folder = pathlib.Path(folder)
        folder.mkdir(mode=0o700, exist_ok=True)
        self.host = json.loads((ROOT / "app" / "operator.json").read_text(encoding="utf-8"))["serviceHost"]
        self.plugins = pathlib.Path(build).resolve() / "tools" / "stage" / "cloudLine" / "plugins"
        self.authority = Authority(folder)
        self.serve(self.host, *options)

    def serve(self, certified, *options):
        """Starts the service with a certificate for a host."""
        certificate, key = self.authority.server(certified)
        self.process = subprocess.Popen(
            [sys.executable, str(EMULATOR / "vexo_cloud.py"), "--certificate", str(certificate), "--key", str(key), *options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.port = json.loads(self.process.stdout.readline())["port"]
        self.environment = {
            "QT_PLUGIN_PATH": str(self.plugins),
            "QT_QPA_GENERIC_PLUGINS": "cloudline",
            "VEXO_CLOUD_PORT": str(self.port),
            "VEXO_CLOUD_AUTHORITY": str(self.authority.certificate),
        }

    def say(self, command):
        """One command to the service that has to succeed; its answer as a dictionary."""
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        answer = json.loads(self.process.stdout.readline())
        if not answer.get("ok"):
            raise AssertionError(f"the service refused {command!r}: {answer}")
        return answer

    def requests(self, path):
        return self.say(f"requests {path}")["requests"]

    def wait(self, path, count=1, seconds=60):
        """Waits until so many requests of a path have come, and returns them."""
        if not self.say(f"wait {path} {count} {seconds}")["came"]:
            raise AssertionError(f"{count} requests of {path} did not come: {self.say('requests')['requests']}")
        return self.requests(path)

    def end(self):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait(20)


def demonstrate(build, folder, record):
    cloud = Cloud(build, folder, "--demo", "--record", record)
    for name, value in cloud.environment.items():
        print(f"{name}={value}")
    print("ready", flush=True)
    # The service ends with its input, and so with this process.
    signal.pause()


if __name__ == "__main__":
    demonstrate(*sys.argv[1:])
