"""The welcome page against the virtual devices: waiting, ready, and back; faults of the device and of the wire."""

import os
import random
import re
import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parents[1] / "support"))

import firmware  # noqa: E402
from log_check import TYPED_LOG, warnings_of  # noqa: E402
from screens import CONNECTED, START_BUTTON, WAITING_TITLE  # noqa: E402
from stage import wait_until  # noqa: E402
from system_case import SystemCase  # noqa: E402

# Bytes of a diagnostic log.
LOG_LIMIT = 10_000_000
DESCRIPTION = "Vexo Deck 可将你的兼容设备变身为强大中枢\n支持低延迟混音，体验高清音质，享受每一次声音表达"


class Welcome(SystemCase):
    def wait_waiting(self):
        self.stage.wait_text(WAITING_TITLE)
        self.stage.wait_text(DESCRIPTION)
        self.stage.wait_no_text(CONNECTED)
        self.stage.wait_no_text(START_BUTTON)

    def wait_ready(self, name):
        self.stage.wait_text(CONNECTED)
        self.stage.wait_text(START_BUTTON, "button")
        self.stage.wait_text(name)
        self.stage.wait_no_text(WAITING_TITLE)
        self.stage.wait_no_text(DESCRIPTION)

    def check_model(self, name):
        self.start()
        self.wait_waiting()
        self.stage.emulator("plug")
        self.wait_ready(name)
        answered = self.stage.emulator("state")["answered"]
        self.assertEqual({word: answered[word] for word in ("name", "serial", "version", "subscribe")},
                         {"name": 1, "serial": 1, "version": 1, "subscribe": 1})
        self.stage.emulator("unplug")
        self.wait_waiting()
        self.stage.emulator("plug")
        self.wait_ready(name)


class MixdeskR2(Welcome):
    def test_page_follows_the_device(self):
        self.check_model("VEXO Mixdesk R2")

    def test_serial_number_not_available_keeps_the_waiting_view(self):
        program = self.start()
        self.stage.emulator("identity serial N/A")
        self.stage.emulator("plug")
        program.wait_log("SN回调，长度:")
        program.wait_log("版本回调，长度:")
        self.wait_waiting()

    def test_device_that_never_answers_its_name_keeps_the_waiting_view(self):
        program = self.start()
        self.stage.emulator("answer name off")
        self.stage.emulator("plug")
        program.wait_log("SN回调，长度:")
        self.wait_waiting()
        self.check_four_sends(1)
        self.wait_waiting()

    def check_four_sends(self, message_id):
        """A query goes out, is repeated three times, a second apart, and then given up."""
        wait_until(lambda: self.count_frames(message_id) >= 4, f"four queries {message_id}")
        self.stage.emulator("wait quiet 2500 20000")
        self.assertEqual(self.count_frames(message_id), 4)

    def count_frames(self, message_id):
        return len(self.stage.emulator(f"dump {message_id}")["frames"])

    def test_device_that_answers_late_still_connects(self):
        self.start()
        self.stage.emulator("fault late 1 1500 to-host")
        self.stage.emulator("plug")
        self.wait_ready("VEXO Mixdesk R2")

    def test_device_that_answers_twice_and_out_of_order_connects(self):
        self.start()
        self.stage.emulator("fault duplicate 1")
        self.stage.emulator("fault reorder 0.5 to-host")
        self.stage.emulator("plug")
        self.wait_ready("VEXO Mixdesk R2")

    def test_answers_from_a_wrong_source_leave_the_program_alive(self):
        program = self.start()
        self.stage.emulator("fault wrong-source 1 to-host")
        self.stage.emulator("plug")
        # Such an answer does not complete its request, so all four sends go out.
        self.check_four_sends(23)
        self.stage.emulator("faults off")
        self.stage.emulator("unplug")
        self.wait_waiting()
        self.assertIsNone(program.process.poll())

    def test_lossy_wire_connects_all_the_same(self):
        seed = int(os.environ.get("VEXO_SEED", random.randrange(1 << 31)))
        print(f"seed {seed}")
        program = self.start()
        self.stage.emulator(f"seed {seed}")
        self.stage.emulator("fault drop 0.1")
        self.stage.emulator("fault corrupt 0.05 to-host")
        self.stage.emulator("fault split 0.5 to-host")
        self.stage.emulator("plug")
        self.stage.wait_text(CONNECTED)
        self.assertIsNone(program.process.poll())

    def test_storm_of_reports_and_nonsense_leaves_the_page_alive(self):
        program = self.start()
        self.stage.emulator("plug")
        self.wait_ready("VEXO Mixdesk R2")
        self.stage.emulator("send-raw hex:" + "55" * 60)
        self.stage.emulator("send-attribute-notification")
        self.stage.emulator("send-attribute-notification 5 200 1")
        self.stage.emulator("send-frame 3 1 1 2 3")
        self.stage.emulator("storm 3000 1000 mic_gain")
        self.stage.emulator("wait storm 20000")
        self.stage.emulator("unplug")
        self.wait_waiting()
        self.assertIsNone(program.process.poll())

    def test_full_logs_begin_anew_beside_their_old_files(self):
        old_line = b"." * 99 + b"\n"
        logs = [self.stage.data_file(name) for name in ("hid_data.log", "hid_attribute.log")]
        logs[0].parent.mkdir(parents=True)
        for log in logs:
            log.write_bytes(old_line * (LOG_LIMIT // len(old_line)))
        programs = [self.stage.start_program() for _ in range(2)]
        wait_until(lambda: [program.process.poll() for program in programs].count(1) == 1, "one of two programs to end")
        self.stage.emulator("plug")
        self.wait_ready("VEXO Mixdesk R2")
        self.stage.emulator("storm 500 1000 mic_gain")
        self.stage.emulator("wait storm 20000")
        for log in logs:
            wait_until(lambda log=log: log.with_name(log.name + ".1").exists() and log.stat().st_size < LOG_LIMIT,
                       f"a new {log.name}")
            self.assertEqual(log.with_name(log.name + ".1").stat().st_size, LOG_LIMIT)
            lines = log.read_bytes().split(b"\n")
            self.assertEqual(lines.pop(), b"")
            self.assertTrue(all(re.fullmatch(rb"\[[^]]+\] \[[^]]+\] .*[0-9A-F]", line) for line in lines))
        self.assertEqual(sorted(path.name for path in logs[0].parent.glob("hid_*")),
                         ["hid_attribute.log", "hid_attribute.log.1", "hid_data.log", "hid_data.log.1"])

    def test_idle_program_says_hello_often_enough_for_the_patience_of_a_device(self):
        # The link rests most of the time and catches up afterwards. A device waits for three of its hello intervals.
        self.start()
        self.stage.emulator("identity patience 3")
        self.stage.emulator("plug")
        self.wait_ready("VEXO Mixdesk R2")
        self.stage.emulator("wait quiet 1000 20000")
        self.stage.emulator("clear")
        wait_until(lambda: self.count_frames(0) >= 4, "four hellos")
        times = [frame["timeMs"] for frame in self.stage.emulator("dump 0")["frames"]]
        gaps = sorted(later - sooner for sooner, later in zip(times, times[1:]))
        print(f"milliseconds between hellos: {gaps}")
        # The median: a busy machine may delay a single hello.
        self.assertLess(gaps[len(gaps) // 2], 2000)
        wait_until(lambda: self.stage.emulator("set mic_gain 20")["notified"] == 1, "a notification to the program")


class MixerInItsBootloader(Welcome):
    models = ("r2", "r2-bootloader")

    def setUp(self):
        super().setUp()
        self.stage.store_setting("upgradeFirmwareFilePath",
                                 f"{self.stage.folder / 'firmware.bin'}\nupgradeFirmwareModel={0x9829}")
        self.program = self.start(environment=TYPED_LOG)
        self.stage.emulator("plug r2")
        self.wait_ready("VEXO Mixdesk R2")

    def test_a_recovery_that_fails_can_be_tried_again_and_the_mixer_comes_back(self):
        self.stage.emulator("unplug r2")
        self.wait_waiting()
        self.stage.emulator("plug r2-bootloader")
        self.stage.wait_screen("升级失败", ("重试", "button"), ("取消", "button"))
        self.stage.click("重试", "button")
        self.program.wait_log("固件升级结束", count=2)
        self.stage.wait_screen("升级失败", ("重试", "button"))
        self.stage.emulator("unplug r2-bootloader")
        self.stage.emulator("plug r2")
        self.stage.click("取消", "button")
        self.wait_ready("VEXO Mixdesk R2")
        missing = f'warning "无法打开固件文件: {self.stage.folder}/firmware.bin"'
        self.assertEqual(warnings_of(self.program.log), [missing] * 2)


class MixerWithoutFirmware(Welcome):
    models = ("r2-bootloader",)

    def test_a_mixer_in_its_bootloader_at_the_start_is_recovered(self):
        image = firmware.image("r2", (1, 13), 3000)
        path = self.stage.folder / "firmware.bin"
        path.write_bytes(firmware.file_for("r2", image))
        self.stage.store_setting("upgradeFirmwareFilePath", f"{path}\nupgradeFirmwareModel={0x9829}")
        self.stage.emulator("plug")
        program = self.start(environment=TYPED_LOG)
        wait_until(lambda: self.stage.find("升级成功"), "the upgrade to succeed", 30)
        flash = self.stage.emulator("flash 0 3000")
        self.assertEqual(bytes.fromhex(flash["bytes"]), image)
        self.assertTrue(flash["confirmed"])
        self.stage.click("确定", "button")
        self.wait_ready("VEXO Mixdesk R2")
        self.assertEqual(warnings_of(program.log), [])


class VoxmicM40(Welcome):
    models = ("m40",)

    def test_page_follows_the_device(self):
        self.check_model("VEXO Voxmic M40")


class VoxmicT40(Welcome):
    models = ("t40",)

    def test_page_follows_the_device(self):
        self.check_model("VEXO Voxmic T40")


class TwoDevices(Welcome):
    models = ("m40", "r2")

    def test_only_one_of_two_devices_is_used_while_it_is_there(self):
        self.start()
        self.stage.emulator("plug m40")
        self.stage.emulator("plug r2")
        self.stage.wait_text(CONNECTED)
        handles = [self.stage.emulator(f"state {name}")["openHandles"] for name in ("m40", "r2")]
        self.assertEqual(sorted(handles), [0, 1])


if __name__ == "__main__":
    unittest.main()
