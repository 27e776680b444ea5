"""A device that is there and takes nothing: the window stays in use, the device is given up and comes back when it hears
again. benchmarks/drag.py measures how long the window takes to answer meanwhile."""

import unittest

import panel_table as table
from log_check import TYPED_LOG
from panel import Panel
from screens import WAITING_TITLE, close_menu, open_menu
from system_case import SystemCase

GIVEN_UP = "HIDDevice: 写入超时，放弃接口并重新打开:"


class HungDevice(SystemCase):
    models = ("m40",)
    plugged = True

    def test_window_stays_in_use_and_the_device_comes_back(self):
        panel = Panel(self.stage)
        program = self.start(environment=TYPED_LOG)
        panel.open()
        self.stage.emulator("deaf on")
        panel.click(table.SWITCH, "静音")
        self.stage.wait_text(WAITING_TITLE)
        program.wait_log(GIVEN_UP)
        open_menu(self.stage)
        close_menu(self.stage)
        # The write that hung has ended, and the device is opened anew.
        program.wait_log("HIDDevice 连接成功:", count=2)
        self.stage.emulator("deaf off")
        panel.open()
        panel.turn("mic_gain", 3)
        panel.wait_shown({(table.SLIDER, "增益"): 3})
        panel.clear()
        panel.click(table.SWITCH, "静音")
        self.stage.emulator("wait attribute mute 10000")
        self.assertEqual(program.log.count(GIVEN_UP), program.log.count("HIDDevice 连接成功:") - 1, "one line each time")
        self.assertEqual(self.quit(program), 0)

    def test_program_quits_while_its_device_hangs(self):
        panel = Panel(self.stage)
        program = self.start(environment=TYPED_LOG)
        panel.open()
        self.stage.emulator("deaf on")
        panel.click(table.SWITCH, "静音")
        program.wait_log("发送消息到设备: 1 ")
        self.assertEqual(self.quit(program), 0)


if __name__ == "__main__":
    unittest.main()
