"""A tour of the program on a virtual display: pictures of its states, left in a folder.

    tools/env python3 tools/stage/tour.py --build build/release --out build/tour r2
"""

import argparse
import pathlib
import sys

from stage import Stage


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--out", required=True, type=pathlib.Path)
    parser.add_argument("model", choices=["r2", "m40", "t40"])
    arguments = parser.parse_args()

    def picture(name, text):
        stage.steady_screenshot(arguments.out / name)
        print(f"tour: {text}: {arguments.out / name}", flush=True)

    with Stage(arguments.build, [arguments.model], size=(1300, 800)) as stage:
        stage.start_program()
        stage.wait_text("连接你的 VEXO 设备")
        picture("1-waiting.png", "waiting for a device")
        stage.emulator("plug")
        stage.wait_text("已连接")
        picture("2-connected.png", "the virtual device is connected")
        stage.emulator("unplug")
        stage.wait_no_text("已连接")
        stage.wait_text("连接你的 VEXO 设备")
        picture("3-disconnected.png", "unplugged again")
    print("tour: done", flush=True)


if __name__ == "__main__":
    sys.exit(main())
