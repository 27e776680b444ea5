"""A device that is on the bus and may not be opened: what the welcome page and the log say of it."""

import unittest

from log_check import TYPED_LOG, warnings_of
from screens import CONNECTED, START_BUTTON, WAITING_TITLE
from stage import wait_until
from system_case import BUILD, SystemCase

NOTICE = "没有设备的访问权限：请安装 udev 规则 70-vexo-deck.rules，然后重新插拔设备"
LOG_LINE = "无法打开设备，没有访问权限:"
TRIED = "设备在线，尝试连接"


class MissingAccess(SystemCase):
    def start_without_access(self):
        program = self.start(environment=TYPED_LOG)
        self.stage.wait_no_text(NOTICE)
        self.stage.emulator("permission denied")
        self.stage.emulator("plug")
        self.stage.wait_text(NOTICE)
        return program

    def count_scans(self):
        return self.stage.emulator("state")["counters"]["refusedOpens"]

    def test_the_page_says_what_is_missing_and_the_log_says_it_once(self):
        program = self.start_without_access()
        self.stage.wait_text(WAITING_TITLE)
        self.stage.steady_screenshot(BUILD / "access" / "notice.png")
        refused = self.count_scans()
        wait_until(lambda: self.count_scans() >= refused + 3, "three further scans")
        self.assertEqual([program.log.count(line) for line in (LOG_LINE, TRIED, "hid_open_path")], [1, 1, 1])
        self.assertIn("vexo-emulator/r2/3", program.log)
        self.assertIn("Permission denied", program.log)

        self.stage.emulator("permission granted")
        self.stage.wait_text(CONNECTED)
        self.stage.wait_text(START_BUTTON, "button")
        self.stage.wait_no_text(NOTICE)
        self.assertEqual(len(warnings_of(program.log)), 1, warnings_of(program.log))

    def test_the_line_goes_with_the_device(self):
        self.start_without_access()
        self.stage.emulator("unplug")
        self.stage.wait_no_text(NOTICE)
        self.stage.wait_text(WAITING_TITLE)


if __name__ == "__main__":
    unittest.main()
