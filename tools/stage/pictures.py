"""Takes the pictures of docs/screens.md: every page of every model, as the running program shows it.

    tools/env python3 tools/stage/pictures.py --build build/dev [--out docs/pictures]

The pictures are of the main window alone, and most are palette images, small enough for the repository.
"""

import argparse
import pathlib
import subprocess
import sys

import numpy
from PIL import Image

from stage import Stage

WINDOW = (1300, 800)
COLOURS = 256
# The grounds, lines and letters keep their very colours; the rest is for the soft shades of the devices.
EXACT_COLOURS = 64

# On the page of the drawer beside its controls, where the wheel scrolls.
PAGE_MARGIN = (880, 600)

SCENE_GAME = "游戏"
MODELS = ("r2", "m40", "t40")
# The pages of the drawer that have something on them.
PAGES = {"microphone": "话筒", "monitor": "监听"}
# What a test program draws, since no service of the program brings it about yet.
DRAWN = ("dialog", "upgrade-R2", "upgrade-M40", "upgrade-T40", "upgrade-failed-R2", "upgrade-done-R2")
# Pictures of many soft shades, which a palette would show as rings.
FULL_COLOUR = ("welcome-waiting", *(f"welcome-connected-{model}" for model in MODELS))


def with_palette(picture):
    pixels = numpy.asarray(picture).reshape(-1, 3)
    colours, places, counts = numpy.unique(pixels, axis=0, return_inverse=True, return_counts=True)
    order = numpy.argsort(-counts, kind="stable")
    palette = colours[order[:EXACT_COLOURS]]
    # Each of the other colours once, so that the large grounds do not take the palette.
    others = colours[order[EXACT_COLOURS:]]
    if len(others):
        sample = Image.fromarray(others[numpy.newaxis])
        shades = sample.quantize(COLOURS - len(palette), method=Image.Quantize.MEDIANCUT, kmeans=4).getpalette()
        palette = numpy.concatenate([palette, numpy.array(shades, dtype=numpy.uint8).reshape(-1, 3)])
    nearest = [numpy.argmin(((palette.astype(int) - colour) ** 2).sum(axis=1)) for colour in colours.astype(int)]
    result = Image.fromarray(numpy.array(nearest, dtype=numpy.uint8)[places].reshape(picture.size[::-1]), "P")
    result.putpalette(palette.tobytes())
    return result


class Camera:
    def __init__(self, stage, folder):
        self.stage = stage
        self.folder = folder

    def take(self, name):
        """The window as soon as nothing on it moves, with the mouse out of the way."""
        self.stage.xdotool("mousemove", WINDOW[0] - 1, WINDOW[1] - 1)
        path = self.folder / f"{name}.png"
        self.stage.steady_screenshot(path)
        picture = Image.open(path).convert("RGB")
        (picture if name in FULL_COLOUR else with_palette(picture)).save(path, optimize=True)
        print(f"pictures: {path}", flush=True)


def open_drawer(stage):
    stage.click("设备设置", "button")
    stage.wait_text("返回", "button")


def take_model(build, folder, model):
    with Stage(build, [model], size=WINDOW) as stage:
        camera = Camera(stage, folder)
        stage.start_program()
        stage.wait_text("连接你的 VEXO 设备")
        if model == "r2":
            camera.take("welcome-waiting")
            stage.click("更多")
            stage.wait_text("帮助", "menu item")
            camera.take("menu")
            stage.xdotool("key", "Escape")
            stage.wait_no_text("帮助", "menu item")
        stage.emulator("plug")
        stage.wait_text("已连接")
        camera.take(f"welcome-connected-{model}")
        stage.click("开启高清音质之旅", "button")
        stage.wait_no_text("开启高清音质之旅", "button")
        camera.take(f"main-{model}")
        open_drawer(stage)
        for page, tab in PAGES.items():
            stage.click(tab, "page tab")
            camera.take(f"drawer-{page}-{model}")
        if model != "r2":
            stage.click(PAGES["microphone"], "page tab")
            stage.click(SCENE_GAME, "radio button")
            stage.wait_text("强降噪", "radio button")
            # The lower half of the page.
            stage.xdotool("mousemove", *PAGE_MARGIN, "click", "--repeat", 20, 5)
            camera.take(f"drawer-boost-{model}")


def take_documents(build, folder):
    """What no service of the program brings about yet: drawn by the programs of the tests."""
    with Stage(build, [], size=WINDOW) as stage:
        programs = build.resolve() / "tests" / "qml"
        drawn = stage.folder / "drawn"
        subprocess.run([str(programs / "qml_screenshots"), str(drawn)], env=stage.env, check=True, capture_output=True)
        subprocess.run([str(programs / "gallery" / "vexo_control_gallery"), "--save", str(drawn / "control-gallery.png")],
                       env=stage.env, check=True, capture_output=True)
        for picture in DRAWN:
            with_palette(Image.open(drawn / f"{picture}.png").convert("RGB")).save(folder / f"{picture.lower()}.png", optimize=True)
        # The colour pickers have more colours than a palette.
        Image.open(drawn / "control-gallery.png").convert("RGB").save(folder / "control-gallery.png", optimize=True)
        print(f"pictures: {folder}: {', '.join(DRAWN)}, control-gallery".lower(), flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--out", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parents[2] / "docs" / "pictures")
    arguments = parser.parse_args()
    arguments.out.mkdir(parents=True, exist_ok=True)
    for model in MODELS:
        take_model(arguments.build, arguments.out, model)
    take_documents(arguments.build, arguments.out)


if __name__ == "__main__":
    sys.exit(main())
