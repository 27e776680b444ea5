"""What each model's device drawer holds, what each control sends, and how each hardware value shows.

A row is one thing that the user does with the mouse: what it is done to, what the device is written (attribute and
bytes, in order), and what the screen then shows (see Panel.wait_shown).
"""

import math
from dataclasses import dataclass, field

from screens import GENERAL_PAGE, LIGHTING_PAGE, MICROPHONE_PAGE, MONITOR_PAGE

SWITCH = "check box"
TILE = "radio button"
SLIDER = "slider"
BUTTON = "button"

# The window of the automatic gain.
MEASUREMENT = "自动增益"
EFFECTS = ["静态", "呼吸", "波浪", "关闭"]
SCENES = ["原声", "播客", "游戏", "直播", "自定义"]
STRENGTHS = ["弱降噪", "强降噪"]


@dataclass(frozen=True)
class Click:
    role: str
    name: str
    writes: list = field(default_factory=list)
    shows: dict = field(default_factory=dict)
    # The titles of windows that it opens or closes.
    opens: str | None = None
    closes: str | None = None


@dataclass(frozen=True)
class CloseWindow:
    """A window that a click has opened, closed by the button of its own title bar, or by a key."""
    title: str
    key: str | None = None
    writes: list = field(default_factory=list)


@dataclass(frozen=True)
class Drag:
    """A slider that is dragged to one value after the other. Without an attribute nothing is written."""
    name: str
    values: list
    attribute: str | None
    text: object  # function (step) -> str
    shows: dict = field(default_factory=dict)
    # function (step) -> the byte that is written
    byte_of: object = round


@dataclass(frozen=True)
class Pick:
    """A colour that is typed into the picker which a click on a tile opens, or which is open already."""
    name: str
    color: str
    writes: list = field(default_factory=list)
    opens: bool = True


@dataclass(frozen=True)
class Turn:
    """A hardware value that goes through all of `values`; `shown` tells what the screen then shows."""
    attribute: str
    values: list
    shown: object  # function (value) -> dict


@dataclass(frozen=True)
class Model:
    word: str
    name: str
    pages: list
    microphone: list
    monitor: list
    turns: list
    # What is done on the page of the lights, the controls that it begins with in tab order, and its hardware values.
    lighting: list
    lighting_tab_order: list
    lighting_turns: list
    # The controls of the microphone page when everything on it is off, in tab order.
    tab_order: list
    # The same when everything on it is on.
    full_tab_order: list = field(default_factory=list)
    # Hardware values that no control of these pages shows, and their names in the log.
    unseen: dict = field(default_factory=dict)

    @property
    def controls(self):
        return set(self.tab_order)

    @property
    def more_controls(self):
        """What it holds more when everything is on."""
        return set(self.full_tab_order) - self.controls


def byte(value):
    return f"{value & 0xFF:02X}"


def byte_word(value):
    """The same as the emulator's commands take it."""
    return f"0x{byte(value)}"


def flip(name, attribute, shows_on=None, shows_off=None):
    """A switch that is off is turned on and off again."""
    return [Click(SWITCH, name, [(attribute, "01")], {(SWITCH, name): True} | (shows_on or {})),
            Click(SWITCH, name, [(attribute, "00")], {(SWITCH, name): False} | (shows_off or {}))]


def percent(number):
    """Halves are rounded up."""
    return f"{math.floor(number + 0.5)}%"


def percent_of_gain(low, count):
    return lambda step: percent((step - low) * 99 / count + 1)


def percent_of_monitor(low, count):
    return lambda step: percent((step - low) * 100 / count)


def decibels(value):
    return f"{value}dB"


def selected(names, chosen):
    return {(TILE, name): index == chosen for index, name in enumerate(names)}


def scene(index, boosted):
    """A click on a scene: the same values reach the device twice, in one round of writes."""
    writes = [("anti_noise", byte(boosted)), ("ai_jianzao", byte(2 if boosted else 0))]
    if boosted:
        writes.append(("device_boom_value", byte(-5)))
    shows = selected(SCENES, index) | {
        (SWITCH, "AI降噪"): boosted,
        (SWITCH, "防爆音"): boosted,
        (SWITCH, "压缩器"): boosted,
        (SLIDER, "防爆音"): -5 if boosted else None,
        (SLIDER, "压缩器"): -10 if boosted else None,
        (BUTTON, "均衡器"): "人声增强" if boosted else "关闭",
    }
    if boosted:
        shows |= selected(STRENGTHS, 1)
    else:
        shows |= {(TILE, name): None for name in STRENGTHS}
    return Click(TILE, SCENES[index], writes, shows)


def equalizer():
    """The way to the equaliser's window, and back."""
    return [Click(BUTTON, "均衡器", opens="均衡器"), CloseWindow("均衡器", key="Escape")]


CUSTOM = selected(SCENES, 4)


def audio_boost_of_microphones():
    return [
        scene(1, True), scene(0, False), scene(2, True), scene(3, True),
        Click(TILE, SCENES[4], [], CUSTOM | {(SWITCH, "AI降噪"): True, (SLIDER, "防爆音"): -5, (SLIDER, "压缩器"): -10}),
        scene(0, False),
        Click(SWITCH, "AI降噪", [("ai_jianzao", "01")], CUSTOM | {(SWITCH, "AI降噪"): True} | selected(STRENGTHS, 0)),
        Click(TILE, "强降噪", [("ai_jianzao", "02")], CUSTOM | selected(STRENGTHS, 1)),
        Click(TILE, "弱降噪", [("ai_jianzao", "01")], CUSTOM | selected(STRENGTHS, 0)),
        Click(SWITCH, "AI降噪", [("ai_jianzao", "00")], {(SWITCH, "AI降噪"): False, (TILE, "弱降噪"): None}),
        Click(TILE, SCENES[0], [("anti_noise", "00"), ("ai_jianzao", "00")], selected(SCENES, 0)),
        Click(SWITCH, "防爆音", [("anti_noise", "01")], CUSTOM | {(SWITCH, "防爆音"): True, (SLIDER, "防爆音"): -20}),
        Drag("防爆音", [-40, 0, -7], "device_boom_value", decibels),
        Click(SWITCH, "防爆音", [("anti_noise", "00")], {(SWITCH, "防爆音"): False, (SLIDER, "防爆音"): None}),
        Click(TILE, SCENES[0], [("anti_noise", "00"), ("ai_jianzao", "00")], selected(SCENES, 0)),
        # The compressor is a setting of the program; the device does not get it.
        Click(SWITCH, "压缩器", [], CUSTOM | {(SWITCH, "压缩器"): True, (SLIDER, "压缩器"): -40}),
        Drag("压缩器", [-80, 0, -33], None, decibels),
        Click(SWITCH, "压缩器", [], {(SWITCH, "压缩器"): False, (SLIDER, "压缩器"): None}),
    ]


def switch_turn(attribute, name):
    return Turn(attribute, [1, 0, 1, 0], lambda value: {(SWITCH, name): value == 1})


def slider_turn(attribute, name, values, text):
    return Turn(attribute, values, lambda value: {(SLIDER, name): value, ("description of", name): text(value)})


def noise_reduction(value):
    strengths = selected(STRENGTHS, value - 1) if value else {(TILE, name): None for name in STRENGTHS}
    return CUSTOM | strengths | {(SWITCH, "AI降噪"): value != 0}


def monitor(low, high, count):
    text = percent_of_monitor(low, count)
    return [Drag("麦克风/电脑监听比", [low, high, low + 3], "mic_listen_ratio", text),
            Drag("监听音量", [high, low, low + 5], "listen_volume", text)]


def turns(low_gain, high_gain, low, high):
    gain = percent_of_gain(low_gain, high_gain - low_gain)
    step = percent_of_monitor(low, high - low)
    steps = list(range(low, high + 1))
    return [
        switch_turn("mute", "静音"),
        slider_turn("mic_gain", "增益", list(range(low_gain, high_gain + 1)), gain),
        slider_turn("listen_volume", "监听音量", steps, step),
        slider_turn("mic_listen_ratio", "麦克风/电脑监听比", steps, step),
    ]


def wire(*colors):
    """Texts "#RRGGBB" as the device takes them."""
    return "".join(color[5:7] + color[3:5] + color[1:3] + "00" for color in colors).upper()


def samples(colors, count):
    """A gradient of three colours in `count` steps, the middle colour among them."""
    middle, last = (count - 1) // 2, count - 1

    def channels(color):
        return [int(color[at:at + 2], 16) for at in (1, 3, 5)]

    def between(first, second, share):
        return "#" + "".join(f"{math.floor(a + (b - a) * share + 0.5):02X}"
                             for a, b in zip(channels(first), channels(second)))

    return [between(colors[0], colors[1], step / middle) if step <= middle else
            between(colors[1], colors[2], (step - middle) / (last - middle)) for step in range(count)]


RAINBOW = [["#FDE725", "#27FFDE", "#FDE725"], ["#5D36FA", "#E720F9", "#5D36FA"], ["#E02903", "#FDE725", "#E02903"]]
INPUT_LEVELS = [["#00FF00", "#FF9900", "#FF0000"], RAINBOW[1], RAINBOW[2]]
BLACK, VIOLET = "#000000", "#3F2EF8"
INDICATORS = [("麦克风增益", "mic_gain_light_color", "#00FF00"), ("监听音量", "listen_volume_light_color", "#FFFF00"),
              ("麦克风/电脑音量监听比", "mic_listen_ratio_light_color", "#0000FF"), ("静音", "rgb_light_off", "#FF0000")]
SCREEN_BOX = "关闭显示屏时自动关灯"
RGB_BOX = "关闭RGB灯"


def effect(index):
    return Click(TILE, EFFECTS[index], [("background_light_off", byte((index + 1) % 4))], selected(EFFECTS, index))


def directions(name, attribute):
    names = [f"{name} 向左", f"{name} 向右"]
    return [Click(TILE, names[index], [(attribute, byte(1 - index))], selected(names, index)) for index in (0, 1)]


def gradient(name, attribute, presets, list_of):
    """Every button of a gradient, and the colours of the own one."""
    own = ["#102030", *presets[2][1:]]
    return [
        *(Click(BUTTON, f"{name} 渐变 {index + 1}", [(attribute, wire(*list_of(index, colors)))])
          for index, colors in enumerate(presets)),
        Click(BUTTON, f"{name} 自定义", [(attribute, wire(*list_of(3, presets[2])))]),
        Pick(f"{name} 选择颜色 1", own[0], [(attribute, wire(*list_of(3, own)))]),
        Pick(f"{name} 选择颜色 3", "#405060", [(attribute, wire(*list_of(3, [*own[:2], "#405060"])))]),
        Click(BUTTON, f"{name} 重置", [(attribute, wire(*list_of(0, presets[0])))], {(BUTTON, f"{name} 选择颜色 1"): None}),
    ]


def static_light(count):
    attribute = "background_static_effect"
    return [
        effect(0),
        Click(TILE, "幻彩", [(attribute, wire(*samples(RAINBOW[0], count)))], {(BUTTON, "颜色 选择颜色"): None}),
        *gradient("幻彩", attribute, RAINBOW, lambda index, colors: samples(colors, count)),
        Click(TILE, "单色", [(attribute, wire(VIOLET) * count)], {(BUTTON, "颜色 选择颜色"): VIOLET.lower()}),
        # Thirty on every model.
        Pick("颜色 选择颜色", "#10A0F0", [(attribute, wire("#10A0F0") * 30)]),
        Click(BUTTON, "颜色 重置", [(attribute, wire(VIOLET) * 30)]),
    ]


def breathing_light():
    attribute = "background_breath_effect"

    def seven(*colors):
        return [(attribute, wire(*colors, *[BLACK] * (7 - len(colors))))]

    return [
        effect(1),
        Click(TILE, "循环", seven(VIOLET), {(BUTTON, "添加颜色"): ""}),
        # A copy of the last colour, whose picker opens.
        Click(BUTTON, "添加颜色", seven(VIOLET, VIOLET)),
        Pick("颜色 2", "#A1B2C3", seven(VIOLET, "#A1B2C3"), opens=False),
        Click(BUTTON, "删除颜色", seven(VIOLET), {(BUTTON, "颜色 2"): None}),
        Click(TILE, "单色", seven(VIOLET)),
        Pick("颜色 选择颜色", "#0A0B0C", seven("#0A0B0C")),
        Click(BUTTON, "颜色 重置", seven("#0075FF")),
    ]


def lighting(count, input_count, t40):
    """Every control of the page of the lights. It begins with the wave."""

    def input_list(index, colors):
        if index != 0:
            return samples(colors, input_count)
        return [color for color, copies in zip(colors, (4, 1, 1) if t40 else (21, 6, 3)) for color in [color] * copies]

    rows = [
        *gradient("波浪", "background_wave_effect", RAINBOW, lambda index, colors: samples(colors, count)),
        *directions("波浪", "background_wave_light_direction"),
        *static_light(count),
        *breathing_light(),
        Click(TILE, "关闭", [("background_light_off", "00")], selected(EFFECTS, 3) | {(TILE, "单色"): None}),
        effect(2),
        *gradient("输入", "input_sound_wave_light_color", INPUT_LEVELS, input_list),
        *directions("输入", "input_sound_wave_direction"),
    ]
    for name, attribute, color in INDICATORS:
        rows += [Pick(f"{name} 选择颜色", "#123456", [(attribute, "56341200")]),
                 Click(BUTTON, f"{name} 重置", [(attribute, wire(color))])]
    rows.append(Drag("亮度", [1, 0.01], "rgb_light_brightness", lambda value: percent(value * 100),
                     byte_of=lambda value: round(value * 100)))
    # The box for the screen asks for a bus that is not there: lights_test.py has one.
    return rows + (flip(RGB_BOX, "other_light_off") if t40 else [])


def lighting_tab_order(t40):
    def buttons(name):
        return [(BUTTON, f"{name} {what}") for what in ("渐变 1", "渐变 2", "渐变 3", "自定义", "重置")] + [
            (TILE, f"{name} 向左"), (TILE, f"{name} 向右")]

    return [*((TILE, name) for name in EFFECTS), *buttons("波浪"), *buttons("输入"),
            *((BUTTON, f"{name} {what}") for name, _, _ in INDICATORS for what in ("选择颜色", "重置")),
            (SLIDER, "亮度"), (SWITCH, SCREEN_BOX), *([(SWITCH, RGB_BOX)] if t40 else [])]


def lighting_turns(t40):
    mode = Turn("background_light_off", [1, 2, 0, 3], lambda value: selected(EFFECTS, (value - 1) % 4))
    return [mode, *([switch_turn("other_light_off", RGB_BOX)] if t40 else [])]


MIXDESK_R2 = Model(
    word="r2",
    name="VEXO Mixdesk R2",
    pages=[MICROPHONE_PAGE, MONITOR_PAGE, LIGHTING_PAGE, GENERAL_PAGE],
    microphone=[
        Drag("增益", [30, 1, 12], "mic_gain", percent_of_gain(1, 29)),
        # Opening the window starts the measurement, its cancel button and its title bar stop it.
        Click(BUTTON, "开始检测", [("auto_gain", "01")], opens=MEASUREMENT),
        Click(BUTTON, "取消", [("auto_gain", "00")], closes=MEASUREMENT),
        Click(BUTTON, "开始检测", [("auto_gain", "01")], opens=MEASUREMENT),
        CloseWindow(MEASUREMENT, writes=[("auto_gain", "00")]),
        *flip("静音", "mute"),
        *flip("48V幻象电源", "power"),
        *flip("防爆音", "anti_noise"),
        *equalizer(),
    ],
    monitor=monitor(1, 30, 29),
    turns=turns(1, 30, 1, 30) + [switch_turn("power", "48V幻象电源")],
    lighting=lighting(30, 30, False),
    lighting_tab_order=lighting_tab_order(False),
    lighting_turns=lighting_turns(False),
    tab_order=[(SLIDER, "增益"), (BUTTON, "开始检测"), (SWITCH, "静音"), (SWITCH, "48V幻象电源"), (SWITCH, "防爆音"),
               (BUTTON, "均衡器")],
    unseen={"listen_output": "监听输出", "other_light_off": "其他灯光开关", "anti_noise": "防破音"},
)


def microphone_model(word, name, pages, t40):
    return Model(
        word=word,
        name=name,
        pages=pages,
        microphone=[
            Drag("增益", [18, 0, 9], "mic_gain", percent_of_gain(0, 18)),
            *flip("自动增益", "auto_gain_on"),
            *flip("静音", "mute"),
            *audio_boost_of_microphones(),
            *equalizer(),
        ],
        monitor=monitor(0, 13, 13),
        turns=turns(0, 18, 0, 13) + [
            switch_turn("auto_gain_on", "自动增益"),
            switch_turn("anti_noise", "防爆音"),
            Turn("ai_jianzao", [1, 2, 2, 0], noise_reduction),
        ],
        lighting=lighting(12, 6, True) if t40 else [],
        lighting_tab_order=lighting_tab_order(True) if t40 else [],
        lighting_turns=lighting_turns(True) if t40 else [],
        tab_order=[(SLIDER, "增益"), (SWITCH, "自动增益"), (SWITCH, "静音"), *((TILE, name) for name in SCENES),
                   (SWITCH, "AI降噪"), (SWITCH, "防爆音"), (SWITCH, "压缩器"), (BUTTON, "均衡器")],
        full_tab_order=[(SLIDER, "增益"), (SWITCH, "自动增益"), (SWITCH, "静音"), *((TILE, name) for name in SCENES),
                        (SWITCH, "AI降噪"), *((TILE, name) for name in STRENGTHS), (SWITCH, "防爆音"),
                        (SLIDER, "防爆音"), (SWITCH, "压缩器"), (SLIDER, "压缩器"), (BUTTON, "均衡器")],
        unseen={"listen_output": "监听输出"},
    )


VOXMIC_M40 = microphone_model("m40", "VEXO Voxmic M40", [MICROPHONE_PAGE, MONITOR_PAGE, GENERAL_PAGE], False)
VOXMIC_T40 = microphone_model("t40", "VEXO Voxmic T40", [MICROPHONE_PAGE, MONITOR_PAGE, LIGHTING_PAGE, GENERAL_PAGE],
                              True)
MONITOR_CONTROLS = {(SLIDER, "麦克风/电脑监听比"), (SLIDER, "监听音量")}
