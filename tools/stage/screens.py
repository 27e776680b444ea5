"""The screens of the program: how their controls are called, and the ways between them.

A name is what a screen reader says. The ways wait until they have arrived.
"""

WAITING_TITLE = "连接你的 VEXO 设备"
CONNECTED = "已连接"
START_BUTTON = "开启高清音质之旅"
MENU_BUTTON = "更多"
# The rows of the menu. The latter two open windows of the same names.
HELP = "帮助"
SUPPORT = "客服"
SETTINGS = "设置"
SETTINGS_BUTTON = "设备设置"
BACK_BUTTON = "返回"
CLOSE_BUTTON = "关闭"

# The pages of the device drawer, as their tabs call them.
MICROPHONE_PAGE = "话筒"
MONITOR_PAGE = "监听"
LIGHTING_PAGE = "灯光"
GENERAL_PAGE = "通用"


def open_menu(stage):
    stage.click(MENU_BUTTON)
    stage.wait_text(HELP, "menu item")


def close_menu(stage):
    stage.xdotool("key", "Escape")
    stage.wait_no_text(HELP, "menu item")


def choose_in_menu(stage, row):
    open_menu(stage)
    stage.click(row, "menu item")
    stage.wait_no_text(row, "menu item")


def open_main(stage):
    """From the welcome page, as soon as it shows a connected device, to the working screen."""
    stage.wait_text(CONNECTED)
    stage.click(START_BUTTON, "button")
    # Also waits for the end of the fade: a control of the page below does not show any more.
    stage.wait_no_text(START_BUTTON, "button")
    stage.wait_text(SETTINGS_BUTTON, "button")


def open_drawer(stage):
    """From the working screen to the device drawer, which may still move."""
    stage.click(SETTINGS_BUTTON, "button")
    stage.wait_text(BACK_BUTTON, "button")


def close_drawer(stage):
    stage.xdotool("key", "Escape")
    stage.wait_no_text(BACK_BUTTON, "button")
