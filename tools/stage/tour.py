"""A tour of the program on a virtual display: pictures of its states, left in a folder.

    tools/env python3 tools/stage/tour.py --build build/release --out build/tour r2

Where PulseAudio is installed the virtual device is heard, and the pictures of the working screen show it on the meters.
"""

import argparse
import contextlib
import pathlib
import sys

from PIL import Image, ImageChops

from sound import SoundServer, available
from stage import Stage, wait_until

# The pages of the device drawer, as their tabs call them; Voxmic M40 has no lights.
PAGES = {"microphone": "话筒", "monitor": "监听", "lighting": "灯光", "general": "通用"}
MODEL_PAGES = {"r2": list(PAGES), "m40": ["microphone", "monitor", "general"], "t40": list(PAGES)}
# Pixels that differ when a meter has gone up for everybody to see: some fifty rows of its two bars.
MOVED_PIXELS = 1000


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--out", required=True, type=pathlib.Path)
    parser.add_argument("model", choices=["r2", "m40", "t40"])
    arguments = parser.parse_args()

    def told(name, text):
        print(f"tour: {text}: {arguments.out / name}", flush=True)

    def picture(name, text):
        stage.steady_screenshot(arguments.out / name)
        told(name, text)

    def lively_picture(name, text):
        """A picture of a screen at rest but for its meters, taken while the device hears something."""
        path = arguments.out / name
        stage.steady_screenshot(path)
        if sound:
            silent = Image.open(path).convert("L")
            sound.change_virtual_microphone("speech")
            wait_until(lambda: moved_pixels(silent, stage.screenshot(path)) > MOVED_PIXELS, f"the meters of {name} to move")
            sound.change_virtual_microphone("silence")
        told(name, text)

    def moved_pixels(before, path):
        difference = ImageChops.difference(before, Image.open(path).convert("L"))
        return sum(difference.histogram()[60:])

    with contextlib.ExitStack() as opened:
        stage = opened.enter_context(Stage(arguments.build, [arguments.model], size=(1300, 800)))
        sound = None
        if available("pulseaudio"):
            sound = opened.enter_context(SoundServer(stage.folder, stage.env))
            sound.add_sink("speakers", "Speakers")
            sound.add_virtual_microphone("silence", model=arguments.model)
        stage.start_program()
        stage.wait_text("连接你的 VEXO 设备")
        picture("1-waiting.png", "waiting for a device")
        stage.emulator("plug")
        stage.wait_text("已连接")
        picture("2-connected.png", "the virtual device is connected")
        stage.click("更多")
        stage.wait_text("帮助", "menu item")
        picture("3-menu.png", "the main window's menu")
        stage.xdotool("key", "Escape")
        stage.wait_no_text("帮助", "menu item")
        stage.click("开启高清音质之旅", "button")
        stage.wait_text("设备设置", "button")
        lively_picture("4-main.png", "the working screen")
        stage.click("设备设置", "button")
        stage.wait_text("返回", "button")
        # The drawer moves to its place.
        picture("5-drawer.png", "the device drawer")
        for page in MODEL_PAGES[arguments.model]:
            stage.click(PAGES[page], "page tab")
            picture(f"5-drawer-{page}.png", f"the page {PAGES[page]} of the drawer")
        if arguments.model == "m40" and stage.find(PAGES["lighting"], "page tab"):
            raise SystemExit("tour: Voxmic M40 shows a tab for lights")
        stage.xdotool("key", "Escape")
        stage.wait_no_text("返回", "button")
        lively_picture("6-main.png", "the drawer is closed again")
        stage.emulator("unplug")
        stage.wait_no_text("已连接")
        stage.wait_text("连接你的 VEXO 设备")
        picture("7-disconnected.png", "unplugged again")
    print("tour: done", flush=True)


if __name__ == "__main__":
    sys.exit(main())
