"""A device that is plugged and unplugged again and again leaves nothing behind in the program."""

import unittest

from stage import wait_until
from system_case import LONG, SystemCase

WARM_UP = 5
# What the script engine takes before it collects garbage, whatever the number of cycles.
MEMORY_GROWTH_KIB = 4096


class Replugged(SystemCase):
    def test_plug_and_unplug_cycles_leave_no_thread_handle_or_memory_behind(self):
        program = self.start()
        cycles = 500 if LONG else 30
        before = None
        for cycle in range(cycles):
            self.stage.emulator("plug")
            self.stage.emulator("wait ready 20000")
            self.stage.emulator("unplug")
            self.stage.emulator("wait closed 20000")
            if cycle == WARM_UP:
                before = self.usage(program)
        wait_until(lambda: self.usage(program)[0] <= before[0], f"{before[0]} threads again")
        after = self.usage(program)
        print(f"threads, handles, KiB resident after {WARM_UP + 1} cycles: {before}, after {cycles}: {after}")
        self.assertLessEqual(after[1], before[1], "open files grew")
        self.assertLess(after[2], before[2] + MEMORY_GROWTH_KIB, "memory grew")

    @staticmethod
    def usage(program):
        return program.status("Threads"), program.open_files(), program.resident_kib()


if __name__ == "__main__":
    unittest.main()
