"""The pictures of docs/pictures: which step makes each (steps.py), and how it is saved."""

from dataclasses import dataclass, replace

import numpy
from PIL import Image

# English, and the languages with the longest texts.
LANGUAGES = ("en_US", "ru_RU", "de_DE")
COLOURS = 256
# The grounds, lines and letters keep their very colours; the rest is for the soft shades of the devices.
EXACT_COLOURS = 64


# The pages of the drawer.
DRAWER = ("Main", "MainLayout", "DeviceSettings")
PAGES = {"microphone": "MicrophoneTab", "boost": "MicrophoneTab", "monitor": "MonitorTab", "lighting": "LightingTab",
         "general": "GeneralTab"}
# Which documents a picture shows, by the beginning of its name; what these are made of is found by itself.
SHOWS = {
    "welcome": ("Main", "WelcomeLayout", "WelcomeView"),
    "windows-welcome": ("Main", "WelcomeLayout", "WelcomeView"),
    "menu": ("Main", "WelcomeLayout", "WelcomeView", "MorePopup"),
    "main": ("Main", "MainLayout"),
    "windows-main": ("Main", "MainLayout"),
    "windows-gain": (*DRAWER, "MicrophoneTab"),
    **{f"drawer-{page}": (*DRAWER, document) for page, document in PAGES.items()},
    "dialog": ("Main", "MessageDialog"),
    "upgrade": ("Main", "WelcomeLayout", "UpgradeView"),
    "settings": ("SettingsWindow",),
    "support": ("CustomerWindow",),
    "reset": ("ResetWindow",),
    "installer-failed": ("UpgradeWindow",),
    "mixer": ("Main", "MainLayout"),
    # Curves of the sound, drawn by the scene player.
    "mixer-scene": (),
    "mixer-limiter": (),
    "equalizer": ("EqualizerWindow",),
    "auto-gain": ("AutoGainWindow",),
    "control-gallery": ("Gallery",),
}


@dataclass(frozen=True)
class Picture:
    step: str
    # A palette makes it small enough for the repository; a picture of many soft shades would show rings.
    palette: bool = True
    shows: tuple = ()


def _list():
    pictures = {"welcome-waiting": Picture("program r2", palette=False), "menu": Picture("program r2")}
    for model in ("r2", "m40", "t40"):
        step = f"program {model}"
        pictures[f"welcome-connected-{model}"] = Picture(step, palette=False)
        for name in ("main", "drawer-microphone", "drawer-monitor", "drawer-general"):
            pictures[f"{name}-{model}"] = Picture(step)
        if model != "r2":
            pictures[f"drawer-boost-{model}"] = Picture(step)
    pictures["drawer-general-low-r2"] = Picture("program r2")
    for name, model in {"r2": "r2", "static": "r2", "picker": "r2", "breathing": "t40", "t40": "t40"}.items():
        pictures[f"drawer-lighting-{name}"] = Picture(f"program {model}", palette=False)
    pictures.update(_of_languages())
    documents = {"upgrade": ("dialog", "upgrade-r2", "upgrade-m40", "upgrade-t40", "upgrade-failed-r2", "upgrade-done-r2"),
                 "settings": ("settings", "support-china", "support-others", "reset", "reset-done", "installer-failed")}
    for step, names in documents.items():
        pictures.update({name: Picture(step) for name in names})
    for name in ("empty", "popup", "full", "clipping", "solo"):
        pictures[f"mixer-{name}"] = Picture("mixer")
    for name in (*(f"equalizer-{preset}" for preset in range(7)), "equalizer-user", "auto-gain-measuring", "auto-gain-done"):
        pictures[name] = Picture("mixer", palette=False)
    pictures["control-gallery"] = Picture("gallery", palette=False)
    for name in ("mixer-scene", "mixer-limiter"):
        pictures[name] = Picture("scenes", palette=False)
    for name in ("welcome", "main", "gain"):
        pictures[f"windows-{name}"] = Picture("windows", palette=False)
    return {name: replace(picture, shows=_shown(name)) for name, picture in pictures.items()}


def _shown(name):
    return SHOWS[max((beginning for beginning in SHOWS if name.startswith(beginning)), key=len)]


def _of_languages():
    return {f"{name}-{code.split('_')[0]}": Picture(f"language {code}") for code in LANGUAGES
            for name in ("menu", "main", "drawer-microphone", "drawer-boost", "drawer-monitor", "drawer-lighting",
                         "drawer-general", "settings")}


PICTURES = _list()


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


def save(taken, path, palette):
    picture = Image.open(taken)
    if palette:
        picture = with_palette(picture.convert("RGB"))
    elif picture.mode != "RGBA":
        picture = picture.convert("RGB")
    picture.save(path, optimize=True)
