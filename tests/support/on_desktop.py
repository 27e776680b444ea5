"""Runs a test program on a private desktop: an X11 display, a session bus and a system bus.

    python3 on_desktop.py PROGRAM [ARG...]

On both buses every name is free. Ends with the program's code.
"""

import os
import pathlib
import subprocess
import sys
import tempfile

from stage import start_bus


def start_display(env):
    read_end, write_end = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(write_end), "-screen", "0", "800x600x24", "-nolisten", "tcp", "-noreset"],
                              pass_fds=[write_end], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(write_end)
    with os.fdopen(read_end) as answer:
        env["DISPLAY"] = f":{answer.readline().strip()}"
    env.pop("XAUTHORITY", None)
    return server


def main():
    env = dict(os.environ)
    processes = []
    with tempfile.TemporaryDirectory(prefix="vexo-desktop-", ignore_cleanup_errors=True) as name:
        try:
            processes.append(start_display(env))
            for bus in ("system", "session"):
                folder = pathlib.Path(name) / bus
                folder.mkdir()
                processes.append(start_bus(folder, env))
                env[f"DBUS_{bus.upper()}_BUS_ADDRESS"] = env["DBUS_SESSION_BUS_ADDRESS"]
            return subprocess.run(sys.argv[1:], env=env).returncode
        finally:
            for process in processes:
                process.kill()
                process.wait()


sys.exit(main())
