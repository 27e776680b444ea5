"""The whole program against the virtual cloud service: TLS, the user's consent, and a service that answers nonsense."""

import time
import unittest

from log_check import TYPED_LOG, warnings_of
from screens import CONNECTED, START_BUTTON
from stage import Stage, wait_until
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
