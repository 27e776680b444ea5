"""A tour of the program on a virtual display: pictures of its states, left in a folder.

    tools/env python3 tools/pictures/tour.py --build build/release --out build/tour r2

If PulseAudio is installed, the virtual device is heard, and the pictures of the working screen show it on the meters.
"""

import argparse
import contextlib
import pathlib
import sys

from PIL import Image, ImageChops

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "stage"))

from screens import (CLOSE_BUTTON, CONNECTED, GENERAL_PAGE, LIGHTING_PAGE, MICROPHONE_PAGE, MONITOR_PAGE, WAITING_TITLE, close_drawer,  # noqa: E402
                     close_menu, open_drawer, open_main, open_menu)
from sound import SoundServer, available  # noqa: E402
from stage import Stage, wait_until  # noqa: E402

PAGES = {"microphone": MICROPHONE_PAGE, "monitor": MONITOR_PAGE, "lighting": LIGHTING_PAGE, "general": GENERAL_PAGE}
# Voxmic M40 has no lights.
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
        program = stage.start_program()
        stage.wait_text(WAITING_TITLE)
        picture("1-waiting.png", "waiting for a device")
        stage.emulator("plug")
        stage.wait_text(CONNECTED)
        picture("2-connected.png", "the virtual device is connected")
        open_menu(stage)
        picture("3-menu.png", "the main window's menu")
        close_menu(stage)
        open_main(stage)
        lively_picture("4-main.png", "the working screen")
        open_drawer(stage)
        picture("5-drawer.png", "the device drawer")
        for page in MODEL_PAGES[arguments.model]:
            stage.click(PAGES[page], "page tab")
            picture(f"5-drawer-{page}.png", f"the page {PAGES[page]} of the drawer")
        if arguments.model == "m40" and stage.find(LIGHTING_PAGE, "page tab"):
            raise SystemExit("tour: Voxmic M40 shows a tab for lights")
        close_drawer(stage)
        lively_picture("6-main.png", "the drawer is closed again")
        stage.emulator("unplug")
        stage.wait_no_text(CONNECTED)
        stage.wait_text(WAITING_TITLE)
        picture("7-disconnected.png", "unplugged again")
        stage.click(CLOSE_BUTTON, "button")
        code = program.wait_exit()
        if code != 0:
            raise SystemExit(f"tour: the program ended with {code}:\n{program.log}")
    print("tour: done", flush=True)


if __name__ == "__main__":
    sys.exit(main())
