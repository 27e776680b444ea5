"""Takes the pictures of docs/screens.md: every page of every model, as the running program shows it.

    tools/env python3 tools/stage/pictures.py --build build/release [--out docs/pictures]

The pictures are palette images of the main window alone, small enough for the repository.
"""

import argparse
import pathlib
import sys

from PIL import Image

from stage import Stage

WINDOW = (1300, 800)
COLOURS = 160

SCENE_GAME = "游戏"
PAGES = {"microphone": "话筒", "monitor": "监听", "lighting": "灯光", "general": "通用"}
MODEL_PAGES = {"r2": list(PAGES), "m40": ["microphone", "monitor", "general"], "t40": list(PAGES)}


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
        picture.quantize(COLOURS, method=Image.Quantize.MEDIANCUT, dither=Image.Dither.FLOYDSTEINBERG).save(path, optimize=True)
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
        for page in MODEL_PAGES[model]:
            stage.click(PAGES[page], "page tab")
            camera.take(f"drawer-{page}-{model}")
        if model != "r2":
            stage.click(PAGES["microphone"], "page tab")
            stage.click(SCENE_GAME, "radio button")
            stage.wait_text("强降噪", "radio button")
            camera.take(f"drawer-boost-{model}")


def take_upgrade(build, folder):
    """A mixer in its bootloader, with a firmware that was downloaded before, goes straight to its upgrade."""
    with Stage(build, ["r2-bootloader"], size=WINDOW) as stage:
        settings = stage.folder / "config" / "Vexo Deck" / "Settings.conf"
        settings.parent.mkdir(parents=True)
        settings.write_text(f"[General]\nupgradeFirmwareFilePath={stage.folder / 'firmware.bin'}\n")
        stage.start_program()
        stage.wait_text("连接你的 VEXO 设备")
        stage.emulator("plug")
        stage.wait_text("正在安装最新固件")
        Camera(stage, folder).take("upgrade")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--out", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parents[2] / "docs" / "pictures")
    arguments = parser.parse_args()
    arguments.out.mkdir(parents=True, exist_ok=True)
    for model in MODEL_PAGES:
        take_model(arguments.build, arguments.out, model)
    take_upgrade(arguments.build, arguments.out)


if __name__ == "__main__":
    sys.exit(main())
