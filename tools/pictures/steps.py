"""The steps that take the pictures. Each leaves files NAME.png in a folder; what it returns is why it could not."""

import functools
import pathlib
import subprocess
from dataclasses import dataclass

from PIL import Image

from pictures import LANGUAGES
from screens import (CONNECTED, GENERAL_PAGE, LIGHTING_PAGE, MICROPHONE_PAGE, MONITOR_PAGE, SETTINGS, SETTINGS_BUTTON,
                     START_BUTTON, WAITING_TITLE, choose_in_menu, close_drawer, close_menu, open_drawer, open_main,
                     open_menu)
from stage import Stage
from windows import WindowsStage

ROOT = pathlib.Path(__file__).resolve().parents[2]
WINDOW = (1300, 800)
# Room for the windows that the documents open beside the main one.
SCREEN = (1400, 900)
# On the page of the drawer beside its controls, where the wheel scrolls.
PAGE_MARGIN = (880, 600)
SCENE_GAME = "游戏"
STRONG = "强降噪"


@dataclass(frozen=True)
class Builds:
    dev: pathlib.Path
    windows: pathlib.Path


class Camera:
    def __init__(self, stage, folder):
        self.stage = stage
        self.folder = folder

    def take(self, name, window=None):
        """The screen, or of it a window's part, as soon as nothing on it moves, with the mouse out of the way."""
        path = self.folder / f"{name}.png"
        self.stage.xdotool("mousemove", WINDOW[0] - 1, WINDOW[1] - 1)
        self.stage.steady_screenshot(path)
        if window:
            left, top, width, height = window["extents"]
            with Image.open(path) as screen:
                part = screen.crop((left, top, left + width, top + height))
            part.save(path)


def take_program(model, builds, folder):
    """The running program beside the virtual device of a model."""
    with Stage(builds.dev, [model], size=WINDOW) as stage:
        camera = Camera(stage, folder)
        stage.start_program()
        stage.wait_text(WAITING_TITLE)
        if model == "r2":
            camera.take("welcome-waiting")
            open_menu(stage)
            camera.take("menu")
            close_menu(stage)
        stage.emulator("plug")
        stage.wait_text(CONNECTED)
        camera.take(f"welcome-connected-{model}")
        open_main(stage)
        camera.take(f"main-{model}")
        open_drawer(stage)
        for name, tab in {"microphone": MICROPHONE_PAGE, "monitor": MONITOR_PAGE}.items():
            stage.click(tab, "page tab")
            camera.take(f"drawer-{name}-{model}")
        if model != "m40":
            take_lights(stage, camera, model)
        take_general(stage, camera, model)
        if model != "r2":
            stage.click(MICROPHONE_PAGE, "page tab")
            stage.click(SCENE_GAME, "radio button")
            stage.wait_text(STRONG, "radio button")
            scroll_down(stage)
            camera.take(f"drawer-boost-{model}")


def take_lights(stage, camera, model):
    """The page of the lights, each model with other sub-pages of its background."""
    stage.click(LIGHTING_PAGE, "page tab")
    stage.wait_text("波浪", "radio button")
    if model == "r2":
        camera.take(f"drawer-lighting-{model}")
        stage.click("静态", "radio button")
        stage.wait_text("幻彩", "radio button")
        stage.click("幻彩", "radio button")
        stage.click("幻彩 自定义", "button")
        stage.wait_text("幻彩 选择颜色 1", "button")
        camera.take("drawer-lighting-static")
        stage.click("幻彩 选择颜色 1", "button")
        stage.wait_text("HEX", "text")
        camera.take("drawer-lighting-picker")
        stage.xdotool("key", "Escape")
    else:
        stage.click("呼吸", "radio button")
        stage.click("循环", "radio button")
        stage.wait_text("添加颜色", "button")
        camera.take("drawer-lighting-breathing")
        scroll_down(stage)
        camera.take(f"drawer-lighting-{model}")


def take_language(code, builds, folder):
    """The program in a language, beside a Voxmic T40, which has every page of the drawer."""
    name = code.split("_")[0]
    with Stage(builds.dev, ["t40"], size=WINDOW) as stage:
        camera = Camera(stage, folder)
        stage.start_program(language=code)
        stage.wait_text(WAITING_TITLE)
        open_menu(stage)
        camera.take(f"menu-{name}")
        close_menu(stage)
        stage.emulator("plug")
        open_main(stage)
        open_drawer(stage)
        stage.click_control(stage.wait_at_rest(SCENE_GAME, "radio button"))
        stage.wait_text(STRONG, "radio button")
        camera.take(f"drawer-microphone-{name}")
        scroll_down(stage)
        camera.take(f"drawer-boost-{name}")
        for page, tab in {"monitor": MONITOR_PAGE, "lighting": LIGHTING_PAGE, "general": GENERAL_PAGE}.items():
            stage.click(tab, "page tab")
            camera.take(f"drawer-{page}-{name}")
        close_drawer(stage)
        camera.take(f"main-{name}")
        choose_in_menu(stage, SETTINGS)
        camera.take(f"settings-{name}", stage.wait_text(SETTINGS, "frame"))


def take_general(stage, camera, model):
    """The page of the general settings, and on the mixer its lower half."""
    stage.click(GENERAL_PAGE, "page tab")
    stage.wait_text("检查更新", "button")
    if model == "r2":
        stage.click("热键", "radio button")
        stage.click("热键", "text")
        stage.xdotool("key", "ctrl+shift+m")
        # The recording ends.
        stage.click(GENERAL_PAGE, "page tab")
    camera.take(f"drawer-general-{model}")
    if model == "r2":
        scroll_down(stage)
        camera.take(f"drawer-general-low-{model}")


def scroll_down(stage):
    """To the lower half of a page of the drawer."""
    stage.xdotool("mousemove", *PAGE_MARGIN, "click", "--repeat", 20, 5)


def take_documents(part, builds, folder):
    """The gallery, or what no service of the program brings about yet: the same documents with fake services."""
    with Stage(builds.dev, [], size=SCREEN) as stage:
        run(builds.dev / "tools" / "pictures" / "vexo_document_pictures", part, folder, env=stage.env)


def take_scenes(builds, folder):
    for name in ("mixer-scene", "mixer-limiter"):
        scene = ROOT / "docs" / "scenes" / f"{name.removeprefix('mixer-').replace('scene', 'mixer')}.scene"
        run(builds.dev / "tools" / "scene" / "vexo-mixer-scene", scene, folder / name)
        (folder / name / "scene.png").rename(folder / f"{name}.png")


def take_windows(builds, folder):
    """The program for Windows under Wine."""
    if not (builds.windows / "app" / "VexoDeck.exe").is_file():
        return f"there is no program in {builds.windows}"
    with WindowsStage(builds.windows, builds.dev, size=WINDOW) as stage:
        camera = Camera(stage, folder)
        stage.start_program()
        stage.wait_text(WAITING_TITLE)
        stage.emulator("plug")
        _, _, button = stage.wait_screen(CONNECTED, ("VEXO Mixdesk R2", "label"), (START_BUTTON, "button"))
        camera.take("windows-welcome")
        stage.click_control(button)
        (button,) = stage.wait_screen((SETTINGS_BUTTON, "button"), gone=[(START_BUTTON, "button")])
        camera.take("windows-main")
        stage.click_control(button)
        _, slider = stage.wait_screen(("返回", "button"), ("增益", "slider"))
        x, y, width, height = slider["extents"]
        stage.emulator("clear")
        stage.xdotool("mousemove", x + width * 3 // 4, y + height // 2, "click", 1)
        stage.emulator("wait attribute mic_gain 20000")
        camera.take("windows-gain")


def run(*command, env=None):
    result = subprocess.run([str(word) for word in command], env=env, capture_output=True, text=True)
    if result.returncode != 0:
        raise SystemExit(f"pictures: {command[0]} ended with {result.returncode}:\n{result.stderr}")


STEPS = {
    "program r2": functools.partial(take_program, "r2"),
    "program m40": functools.partial(take_program, "m40"),
    "program t40": functools.partial(take_program, "t40"),
    **{f"language {code}": functools.partial(take_language, code) for code in LANGUAGES},
    "upgrade": functools.partial(take_documents, "upgrade"),
    "mixer": functools.partial(take_documents, "mixer"),
    "settings": functools.partial(take_documents, "settings"),
    "gallery": functools.partial(take_documents, "gallery"),
    "scenes": take_scenes,
    "windows": take_windows,
}
