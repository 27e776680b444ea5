"""The whole program against the virtual cloud service: TLS, the user's consent, and a service that answers nonsense."""

import hashlib
import json
import os
import sqlite3
import subprocess
import time
import unittest

from log_check import TYPED_LOG, warnings_of
from screens import CONNECTED, GENERAL_PAGE, START_BUTTON, close_drawer, open_drawer, open_main
from stage import Stage, wait_until
from stall_log import StallLog
from system_case import BUILD, CLEANUP_END, SystemCase

QUESTION = "是否与VEXO分享使用数据？"
IDENTITY = "/vexo/pc/get/trackId"
START = "/vexo/pc/track"
CONNECTION = "/vexo/pc/save/connect"
APPLICATION = "/vexo/pc/update/software"
FIRMWARE = "/vexo/pc/getFirmware"
NONSENSE = ("malformed", "array", "empty", "scalar", "null", "code 7", "status 500", "status 404", "cut 3", "length 5000",
            "reset", "silent", "redirect https://elsewhere.example/", "header 1000000")


class CloudCase(SystemCase):
    def make_stage(self):
        return Stage(BUILD, self.models, with_cloud=True)

    @property
    def cloud(self):
        return self.stage.cloud

    def settings(self):
        text = (self.stage.folder / "config" / "Vexo Deck" / "Settings.conf").read_text(encoding="utf-8")
        return dict(line.split("=", 1) for line in text.splitlines() if "=" in line)

    def plug(self):
        """Plugs the device and waits until the program knows it; its identity."""
        self.stage.emulator("plug")
        self.stage.wait_text(CONNECTED)
        return self.stage.emulator("state")["identity"]

    def paths(self):
        return {request["path"] for request in self.cloud.say("requests")["requests"]}


class FirstStart(CloudCase):
    def setUp(self):
        super().setUp()
        self.stage.asks_for_consent = True

    def test_a_yes_reports_the_start_and_the_device(self):
        program = self.start(environment=TYPED_LOG)
        self.stage.wait_text(QUESTION)
        identity, = self.cloud.wait(IDENTITY)
        self.assertEqual(identity["headers"]["host"], self.cloud.host)
        self.assertRegex(identity["headers"]["user-agent"], r"^VexoDeck/\d+\.\d+\.\d+$")
        self.assertEqual((identity["headers"]["token"], identity["headers"]["accesskey"]), ("token", "accessKey"))
        self.assertEqual(self.cloud.requests(START), [])
        self.stage.click("同意", "button")
        report = self.cloud.wait(START)[0]["json"]
        self.assertEqual(set(report), {"trackId", "startTime", "softwareVersion", "system", "osVersion"})
        self.assertEqual(identity["headers"]["user-agent"], "VexoDeck/" + report["softwareVersion"])
        wait_until(lambda: self.settings().get("share_data") == "true", "the answer in the settings")
        self.assertEqual(self.settings()["trackId"], report["trackId"])
        device = self.plug()
        connection = self.cloud.wait(CONNECTION)[0]["json"]
        self.assertEqual({name: connection[name] for name in ("trackId", "productSn", "productName")},
                         {"trackId": report["trackId"], "productSn": device["serial"], "productName": device["name"]})
        self.assertEqual(self.quit(program), 0)
        for secret in (report["trackId"], device["serial"]):
            self.assertNotIn(secret, program.log)
        self.assertEqual(warnings_of(program.log), [])
        self.assertTrue(self.stage.data_file("data_tracking.db").exists())

    def test_after_a_no_nothing_names_anybody(self):
        program = self.start()
        self.stage.wait_text(QUESTION)
        self.stage.click("不同意", "button")
        self.stage.wait_no_text(QUESTION)
        device = self.plug()
        self.stage.click(START_BUTTON, "button")
        self.cloud.wait(FIRMWARE)
        self.assertEqual(self.quit(program), 0)
        self.assertEqual(self.settings()["share_data"], "false")
        self.assertEqual(self.paths(), {IDENTITY, APPLICATION, FIRMWARE})
        for word in (device["serial"], device["name"], self.settings()["trackId"]):
            self.assertFalse(self.cloud.say(f"holds {word}")["holds"], word)
        self.assertFalse(self.stage.data_file("data_tracking.db").exists())

    def test_a_question_that_stays_open_comes_again(self):
        program = self.start()
        self.stage.wait_text(QUESTION)
        self.assertEqual(self.quit(program), 0)
        self.assertNotIn("share_data", self.settings())
        self.start()
        self.stage.wait_text(QUESTION)


class Service(CloudCase):
    def test_nonsense_for_every_call_leaves_the_program_as_it_is(self):
        self.stage.store_setting("share_data", "true")
        for way in NONSENSE:
            with self.subTest(way):
                self.cloud.say("clear")
                self.cloud.say("script * " + way)
                program = self.start(environment=TYPED_LOG)
                try:
                    self.use(program)
                finally:
                    program.process.kill()

    def use(self, program):
        # Where a connection breaks, the request that waits for it fails, too.
        wait_until(lambda: self.paths() & {IDENTITY, APPLICATION}, "the first request")
        self.plug()
        self.cloud.wait(CONNECTION)
        self.stage.emulator("unplug")
        self.stage.wait_no_text(CONNECTED)
        self.assertEqual(self.quit(program), 0)
        self.assertEqual(warnings_of(program.log), [])
        self.assertNotRegex(program.log, r"TypeError|ReferenceError")

    def test_a_certificate_of_another_host_ends_every_call(self):
        self.cloud.end()
        self.cloud.serve("other.example")
        program = self.start()
        program.wait_log("get trackId error: 6")
        self.assertEqual(self.quit(program), 0)
        self.assertEqual(self.paths(), set())


class Downloads(CloudCase):
    """Firmware is offered, fetched while the screen says so, and handed on; a bad file never gets that far."""

    SIZE = 4 << 20
    FETCHING = "正在下载最新固件"
    NOT_FETCHED = "新版本下载失败，请检查网络环境或稍后重试"
    # What the user is told where the device refuses a file, which was handed on.
    NOT_INSTALLED = "升级失败"

    def offer(self, digests=None, name="firmware.bin", size=SIZE, query=""):
        """Serves a file slowly enough to be seen and offers it as firmware; its true digest."""
        served = self.cloud.say(f"file {name} {size}")
        if size == self.SIZE:
            self.cloud.say(f"script {served['path']} drip {size // 20} 100")
        given = digests(served["sha256"]) if digests else {}
        self.cloud.say(f"reply {FIRMWARE} " + json.dumps(
            {"code": 0, "data": {"isUpgrade": "1", "newVersion": {"filePath": served["path"] + query} | given}}))
        return served["sha256"]

    def take(self):
        """From the start of the program to the button that takes the offered firmware."""
        program = self.start(environment=TYPED_LOG)
        self.plug()
        open_main(self.stage)
        open_drawer(self.stage)
        self.stage.click(GENERAL_PAGE, "page tab")
        self.stage.wait_text("立即更新", "button")
        self.stage.click("立即更新", "button")
        return program

    def cache(self):
        return self.stage.folder / "cache"

    def fetched(self):
        """What downloads have left, anywhere on the stage."""
        return [path for path in self.stage.folder.rglob("*")
                if path.name.startswith(("vexo_download_", "download_")) and path.is_file()]

    def expect_refusal(self, program):
        self.stage.wait_text(self.NOT_FETCHED)
        self.assertEqual(self.settings().get("upgradeFirmwareFilePath", ""), "")
        wait_until(lambda: self.fetched() == [], "the parts of the file to go")
        self.assertNotIn("固件升级结束", program.log)
        self.assertEqual(self.quit(program), 0)

    def test_a_right_digest_hands_the_file_on(self):
        digest = self.offer(digests=lambda sha256: {"firmwareSha256": sha256, "firmwareMd5": "0" * 32})
        program = self.take()
        self.stage.wait_text(self.FETCHING)
        # A file of random bytes is no firmware, which its installer tells.
        self.stage.wait_text(self.NOT_INSTALLED)
        path, = self.fetched()
        self.assertEqual(path.parent, self.cache())
        self.assertRegex(path.name, r"^vexo_download_\d+\.bin$")
        self.assertEqual(hashlib.sha256(path.read_bytes()).hexdigest(), digest)
        self.assertEqual(path.stat().st_mode & 0o777, 0o600)
        self.assertEqual(self.settings()["upgradeFirmwareFilePath"], str(path))
        self.assertEqual(self.quit(program), 0)

    def test_a_wrong_digest_refuses_the_file(self):
        self.offer(digests=lambda _: {"firmwareSha256": "0" * 64})
        self.expect_refusal(self.take())

    def test_a_wrong_weaker_digest_refuses_the_file(self):
        self.offer(digests=lambda _: {"firmwareMd5": "0" * 32})
        self.expect_refusal(self.take())

    def test_no_digest_takes_the_file_as_it_comes(self):
        self.offer()
        program = self.take()
        self.stage.wait_text(self.NOT_INSTALLED)
        self.assertEqual([path.stat().st_size for path in self.fetched()], [self.SIZE])
        self.assertEqual(self.quit(program), 0)

    def expect_own_name(self, name, query=""):
        """The file of the service's name lies in the folder for downloads, under a name of the program's."""
        self.offer(name=name, query=query, size=self.SIZE // 2)
        program = self.take()
        self.stage.wait_text(self.NOT_INSTALLED)
        path, = self.fetched()
        self.assertEqual(path.parent, self.cache())
        self.assertRegex(path.name, r"^vexo_download_\d+(\.bin)?$")
        self.assertEqual(list(self.stage.folder.rglob("*evil*")), [])
        self.assertEqual(self.quit(program), 0)

    def test_a_name_that_climbs_stays_in_the_folder(self):
        self.expect_own_name("..%2F..%2Fevil.bin")

    def test_a_query_that_climbs_stays_in_the_folder(self):
        self.expect_own_name("evil.bin", "?to=/../../evil.bin")

    def test_a_long_extension_is_left_out(self):
        self.expect_own_name("evil." + "x" * 300)

    def test_a_folder_that_cannot_be_written_to_is_a_failure(self):
        self.cache().rename(self.stage.folder / "away")
        self.cache().write_text("a file")
        self.offer(size=1000)
        program = self.take()
        self.stage.wait_text(self.NOT_INSTALLED)
        self.assertEqual(self.fetched(), [])
        self.assertEqual(self.quit(program), 0)

    def mount(self, *options):
        if os.geteuid() != 0:
            self.skipTest("mounting needs root")
        subprocess.run(["mount", "-t", "tmpfs", "-o", ",".join(options), "tmpfs", self.cache()], check=True)
        self.addCleanup(subprocess.run, ["umount", "--lazy", self.cache()], check=True)

    def test_a_full_disk_is_a_failure(self):
        self.mount("size=1m", "mode=700")
        self.offer()
        self.expect_refusal(self.take())

    def test_a_folder_that_is_read_only_is_a_failure(self):
        self.mount("ro")
        self.offer(size=1000)
        program = self.take()
        self.stage.wait_text(self.NOT_INSTALLED)
        self.assertEqual(self.fetched(), [])
        self.assertEqual(self.quit(program), 0)


class Stalls(CloudCase):
    """The main thread goes on while something that it asked does not answer."""

    HELD_SECONDS = 10
    # Far from what a wait for the answer would take; the figures are printed.
    LONGEST_MS = 1000

    def setUp(self):
        super().setUp()
        self.stage.store_setting("share_data", "true")
        self.stalls = StallLog(BUILD, self.stage.folder / "stalls.log")

    def start_measured(self):
        cloud, probe = self.cloud.environment, self.stalls.environment
        self.cloud.environment = cloud | probe | {name: cloud[name] + separator + probe[name] for name, separator in (
            ("QT_PLUGIN_PATH", ":"), ("QT_QPA_GENERIC_PLUGINS", ","))}
        return self.start()

    def use(self):
        open_main(self.stage)
        open_drawer(self.stage)
        close_drawer(self.stage)

    def expect_no_stall(self, began):
        stalls = self.stalls.between(began, self.stalls.now())
        print(stalls, flush=True)
        self.assertLess(stalls.longest, self.LONGEST_MS)

    def test_a_service_that_accepts_and_says_nothing(self):
        self.cloud.say("deaf on")
        program = self.start_measured()
        self.stage.emulator("plug")
        self.stage.wait_text(CONNECTED)
        began = self.stalls.now()
        self.use()
        self.expect_no_stall(began)
        self.assertEqual(self.quit(program), 0)

    def test_a_store_that_another_program_holds(self):
        program = self.start_measured()
        self.plug()
        store = self.stage.data_file("data_tracking.db")
        wait_until(store.exists, "the first event")
        program.wait_log("Event stored:")
        holder = sqlite3.connect(store, isolation_level=None, timeout=60)
        self.addCleanup(holder.close)
        holder.execute("BEGIN IMMEDIATE")
        held = time.monotonic()
        began = self.stalls.now()
        self.use()
        wait_until(lambda: "database is locked" in program.log, "an event that finds the store held")
        wait_until(lambda: time.monotonic() - held > self.HELD_SECONDS, "the end of the time")
        self.expect_no_stall(began)
        holder.execute("COMMIT")
        told = program.log.count("Event stored:")
        wait_until(lambda: holder.execute("SELECT COUNT(*) FROM events").fetchone()[0] >= told, "the events that waited")
        self.assertEqual(self.quit(program), 0)


class SilentResolver(SystemCase):
    def test_the_program_ends_while_the_host_is_looked_up(self):
        program = self.start(environment={"LD_PRELOAD": str(BUILD / "tests" / "system" / "libvexo_silent_resolver.so")})
        program.wait_log("started: GET")
        began = time.monotonic()
        self.assertEqual(self.quit(program), 0)
        self.assertLess(time.monotonic() - began, 20)
        self.assertIn(CLEANUP_END, program.log)


if __name__ == "__main__":
    unittest.main()
